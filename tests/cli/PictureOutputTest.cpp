// Pictures through pipes, their formats and quality, and warnings of what their files do not keep.
#include <nlohmann/json.hpp>

#include "cli/VideoProcess.h"
#include "media/drawing/TestCard.h"
#include "media/picture/PictureFile.h"

namespace lomix {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class PictureOutput : public Video {
 protected:
  PictureOutput() {
    media::writePicture(media::drawTestCard(96, 54), path("card.png"), false);
    media::writePicture(media::drawTestCard(96, 54), path("card.jpg"), false);
    media::writePicture(media::drawTestCard(96, 54), path("card.exr"), false);
    media::writePicture(media::drawTestCard(96, 54), path("card.tga"), false);
  }
  /// Renders standard input, which a shell command makes, to standard output or a file.
  Result pipe(const std::string& source, const std::string& arguments) {
    return finish(startProgram({"sh", "-c", source + " | " + kRender + arguments}));
  }
  static inline const std::string kRender = LOMIX_COMMAND " render --set Noise=30 ";
  const std::string kStream =
      "ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=10:d=1 -f image2pipe -c:v ";
};

TEST_F(PictureOutput, APipedPictureIsThatOfTheFileInTheFormatOfTheInput) {
  for (const std::string name : {"card.png", "card.jpg", "card.exr"}) {
    run({"render", "--set", "Noise=30", name, "file-" + name});
    const Result piped = pipe("cat " + name, "- -");
    EXPECT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_THAT(piped.err, StartsWith("wrote '-': 1 frame in "));
    EXPECT_EQ(piped.out, read(path("file-" + name))) << name;
  }
  EXPECT_EQ(run({"render", "--set", "Noise=30", "card.png", "-"}).out, read(path("file-card.png")));
  EXPECT_EQ(pipe("cat card.png", "- to.png").exitCode, 0);
  EXPECT_EQ(read(path("to.png")), read(path("file-card.png")));
  // In pieces, and at a time of its own.
  run({"render", "--set", "Noise=30", "card.png", "late.png", "--time", "1"});
  EXPECT_EQ(pipe("(head -c 20 card.png; sleep 0.1; tail -c +21 card.png)", "- - --time 1").out,
            read(path("late.png")));
  EXPECT_THAT(names(), testing::Not(testing::Contains(StartsWith(".lomix-"))));
}

TEST_F(PictureOutput, TheFormatIsChosenForOutputsAndForContentThatDoesNotTell) {
  const std::string png = "\x89PNG";
  const std::string jpeg = "\xff\xd8";
  EXPECT_THAT(pipe("cat card.jpg", "- - --format png").out, StartsWith(png));
  EXPECT_THAT(pipe("cat card.png", "- - --format .JPG").out, StartsWith(jpeg));
  EXPECT_EQ(pipe("cat card.png", "- named --format jpg").exitCode, 0);
  EXPECT_THAT(read(path("named")), StartsWith(jpeg));
  run({"render", "--set", "Noise=30", "card.tga", "file.tga"});
  EXPECT_EQ(pipe("cat card.tga", "- - --format tga").out, read(path("file.tga")));
  struct Case {
    std::vector<std::string> arguments;
    const char* message;
  };
  for (const Case& c :
       {Case{{"card.png", "out.jpg", "--format", "png"}, "--format: the name 'out.jpg' says"},
        {{"card.png", "out.mp4", "--format", "png"}, "--format: 'out.mp4' is a video"},
        {{"card.png", "-", "--format", "mp4"}, "pictures cannot be written as 'mp4'"},
        {{"card.png", "-", "--quality", "50"}, "--quality: '-' is no JPEG"},
        {{"card.jpg", "out.png", "--quality", "50"}, "--quality: 'out.png' is no JPEG"},
        {{"card.jpg", "out.mp4", "--quality", "50"}, "--quality: 'out.mp4' is no JPEG"},
        {{"card.jpg", "out.jpg", "--quality", "0"}, "--quality: "},
        {{"card.jpg", "out.jpg", "--quality", "101"}, "--quality: "},
        {{"card.png", "card.exr", "folder/", "--quality", "9"}, "--quality: no input"},
        {{"card.png", "card.exr", "folder/", "--format", "png"}, "--format: in a folder"}}) {
    std::vector<std::string> arguments = c.arguments;
    arguments.insert(arguments.begin(), "render");
    const Result result = run(arguments);
    EXPECT_EQ(result.exitCode, 2) << c.message;
    EXPECT_THAT(result.err, StartsWith("error: ")) << c.message;
    EXPECT_THAT(result.err, HasSubstr(c.message));
    EXPECT_THAT(result.out, IsEmpty()) << c.message;
  }
}

TEST_F(PictureOutput, APipeThatEndsEarlyIsAnErrorAndWritesNothing) {
  struct Case {
    const char* source;
    const char* message;
  };
  for (const Case& c : {Case{"true", "it is empty (check the command before the pipe)"},
                        {"head -c 900 card.png", "it ends too early"},
                        {"head -c 900 card.jpg", "check that it is a whole picture"},
                        {"head -c 5 card.png", "check that it is a whole"},
                        {"echo 'no picture'", "check that it is a whole video"}}) {
    const Result result = pipe(c.source, "- -");
    EXPECT_EQ(result.exitCode, 1) << c.source;
    EXPECT_THAT(result.err, StartsWith("error: cannot read '-': ")) << c.source;
    EXPECT_THAT(result.err, HasSubstr(c.message)) << c.source;
    EXPECT_THAT(result.out, IsEmpty()) << c.source;
  }
}

TEST_F(PictureOutput, StreamsOfFramesStayVideos) {
  const auto expectVideo = [this](const std::string& source) {
    const Result video = pipe(source, "- -");
    EXPECT_EQ(video.out.substr(0, 17), "YUV4MPEG2 W64 H48") << source << video.err;
    EXPECT_THAT(video.err, HasSubstr("wrote '-': 10 frames")) << source;
  };
  for (const std::string codec : {"png", "mjpeg", "bmp"}) expectVideo(kStream + codec + " -");
  for (const std::string container : {"mpegts", "apng"}) {
    expectVideo("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=10:d=1 -f " + container + " -");
  }
  EXPECT_THAT(pipe(kStream + "png -", "- one.png").err,
              HasSubstr("one picture for several frames"));
  EXPECT_THAT(pipe(kStream + "png -", "- - --format png --frames 2").out.substr(0, 4), "\x89PNG");
  EXPECT_EQ(run({"render", "card.png", "-", "--codec", "y4m"}).out.substr(0, 9), "YUV4MPEG2");
}

TEST_F(PictureOutput, QualityIsInTheReportAndConcernsTheJpegsOfAFolder) {
  ASSERT_EQ(run({"render", "card.png", "a.jpg", "--report", "a.json"}).exitCode, 0);
  ASSERT_EQ(run({"render", "card.png", "b.jpg", "--report", "b.json", "--quality", "20"}).exitCode,
            0);
  const auto jpeg = [this](const std::string& name) {
    return nlohmann::json::parse(read(path(name)))["jpeg"];
  };
  EXPECT_EQ(jpeg("a.json"),
            (nlohmann::json{{"quality", 95}, {"chromaSubsampling", media::kJpegSubsampling}}));
  EXPECT_EQ(jpeg("b.json")["quality"], 20);
  EXPECT_LT(std::filesystem::file_size(path("b.jpg")),
            std::filesystem::file_size(path("a.jpg")) / 2);
  ASSERT_EQ(run({"render", "card.png", "card.jpg", "all/", "--quality", "20"}).exitCode, 0);
  ASSERT_EQ(run({"render", "card.jpg", "c.jpg", "--quality", "20"}).exitCode, 0);
  EXPECT_EQ(read(path("all/card.jpg")), read(path("c.jpg")));
}

TEST_F(PictureOutput, LossesAreWarnedOfOnceForASequenceAndInTheReport) {
  for (const int n : {1, 2}) {
    const std::string name = "k." + std::to_string(n) + ".png";
    media::writePicture(media::drawTestCard(96, 54, media::CardCorner::Transparent), path(name),
                        true);
    // A text behind the header of 33 bytes: length, type, keyword, text, checksum.
    std::string png = read(path(name));
    png.insert(33, std::string("\0\0\0\x08tEXtstudio\0x\xaa\xd4\x7f\x02", 20));
    write(path(name), png);
  }
  const Result result = run({"render", "k.#.png", "k.#.jpg", "--report", "r.json"});
  EXPECT_EQ(result.exitCode, 0);
  const std::string loss =
      "'k.#.jpg': 'studio' is left out (.jpg files do not hold it; choose the format of the input)";
  EXPECT_EQ(std::regex_search(result.err, std::regex("studio[^]*studio")), false);
  EXPECT_THAT(result.err, HasSubstr("warning: " + loss + "\n"));
  EXPECT_THAT(nlohmann::json::parse(read(path("r.json")))["warnings"],
              ElementsAre(HasSubstr("transparency is left out"), loss));
  EXPECT_THAT(withoutProgress(run({"render", "k.#.png", "l.#.png"}).err), IsEmpty());
}

}  // namespace
}  // namespace lomix
