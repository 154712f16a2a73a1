// Renders that several runs divide among them: shares, segments of films, merged reports, and the
// examples for render farms.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <regex>

#include "cli/FieldPictures.h"
#include "cli/VideoProcess.h"

namespace lomix {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Share : public Video {
 protected:
  /// Runs a command line of `lomix`, split into words as a shell does.
  Result lomix(const std::string& line) {
    std::vector<std::string> words(1);
    bool isQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
      if (line[i] == '\'') {
        isQuoted = !isQuoted;
      } else if (line[i] == ' ' && !isQuoted) {
        if (!words.back().empty()) words.emplace_back();
      } else {
        words.back() += line[line[i] == '\\' ? ++i : i];
      }
    }
    if (words.back().empty()) words.pop_back();
    return run(words);
  }
  void expectLomix(const std::string& line) {
    const Result result = lomix(line);
    EXPECT_EQ(result.exitCode, 0) << line << "\n" << result.err;
  }
  /// Runs all shares, one by one, in an order that is not theirs.
  void renderShares(const std::string& line, int count) {
    std::vector<int> order(static_cast<std::size_t>(count));
    std::iota(order.begin(), order.end(), 1);
    std::shuffle(order.begin(), order.end(), std::mt19937(static_cast<unsigned>(count)));
    for (const int k : order) {
      expectLomix("render --quiet" + kLook + " " + line + " --share " + std::to_string(k) + "/" +
                  std::to_string(count));
    }
  }
  std::vector<std::string> filesWith(const std::string& beginning) {
    std::vector<std::string> found;
    for (const std::string& name : names()) {
      if (name.starts_with(beginning)) found.push_back(name);
    }
    return found;
  }
  /// Expects the files of two beginnings to have the same numbers and bytes, and removes the second
  /// ones.
  void expectSameFiles(const std::string& good, const std::string& other, const std::string& what) {
    const auto expected = filesWith(good);
    EXPECT_EQ(filesWith(other).size(), expected.size()) << what;
    for (const std::string& name : expected) {
      EXPECT_EQ(read(path(other + name.substr(good.size()))), read(path(name))) << what << name;
    }
    for (const std::string& name : filesWith(other)) std::filesystem::remove(path(name));
  }
  nlohmann::json report(const std::string& name) { return nlohmann::json::parse(read(path(name))); }
};

TEST_F(Share, AllTogetherAreTheWholeAndNoneHasAFrameOfAnother) {
  expectLomix("testcard card.png --size 48x27");
  expectLomix("render card.png 'in.###.png' --frames 1-20x2,21-30,40 --quiet");
  makeClip("clip.mp4", "s=48x32:r=25:d=0.6", "");
  shell("mkdir folder; for i in 1 2 3 4 5 6 7; do cp card.png folder/out.$i.png; done");
  struct Case {
    std::string input;
    std::string output;
    std::string options;
  };
  for (const Case& c : {Case{"'in.###.png'", "'%.###.png'", ""},
                        {"'in.###.png'", "'%.###.png'", "--share-blocks"},
                        {"'in.###.png'", "'%.###.png'", "--frames 3-29x2,40 --fps 30000/1001"},
                        {"card.png", "'%.#.png'", "--frames=-3-9"},
                        {"clip.mp4", "'%.#.png'", ""},
                        {"clip.mp4", "'%.#.png'", "--share-blocks --frames 2-13"},
                        {"folder", "%/", ""}}) {
    const auto line = [&](const std::string& output) {
      const std::string name = std::string(c.output).replace(c.output.find('%'), 1, output);
      return c.input + " " + name + " " + c.options;
    };
    const bool blocks = c.options.starts_with("--share-blocks");
    const std::string whole = line("good");
    expectLomix("render " +
                (blocks ? whole.substr(0, whole.find("--share-blocks")) +
                              whole.substr(whole.find("--share-blocks") + 14)
                        : whole) +
                kLook + " --quiet");
    if (c.input == "folder") {
      renderShares(line("other"), 3);
      EXPECT_EQ(shell("diff -r good other && ls other | wc -l"), "7\n");
      continue;
    }
    // A frame that two shares have would be refused, since it exists.
    for (const int count : {1, 3, 40}) {
      renderShares(line("other"), count);
      expectSameFiles("good", "other", whole + std::to_string(count));
    }
    for (const std::string& name : filesWith("good")) std::filesystem::remove(path(name));
  }
}

/// Films that are shared, and what the film of their segments has in common with that of one run.
TEST_F(Share, JoinedSegmentsAreTheFilmOfOneRun) {
  write(path("words.srt"), "1\n00:00:00,100 --> 00:00:01,000\nHello\n");
  write(path("chapters.txt"),
        ";FFMETADATA1\ntitle=Name\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=700\ntitle=One\n"
        "[CHAPTER]\nTIMEBASE=1/1000\nSTART=700\nEND=2000\ntitle=Two\n");
  const std::string others =
      "-f lavfi -i sine=d=1.4 -i words.srt -i chapters.txt -map 0 -map 1 -map 2 -map_metadata 3 ";
  makeClip("film.mkv", "s=96x64:r=30000/1001:d=1.4", others + "-c:a flac -c:s srt");
  makeClip("film.mp4", "s=96x64:r=25:d=1.4",
           others + "-c:a aac -c:s mov_text -timecode 01:00:00:00 -x264-params bframes=3");
  // Times at uneven distances; sound that begins before the pictures.
  makeClip("vfr.mp4", "s=96x64:r=30:d=2",
           "-vf \"select='not(mod(n,3))+lt(n,12)'\" -vsync vfr -video_track_timescale 90000");
  shell(
      "ffmpeg -v error -itsoffset 0.23 -i vfr.mp4 -f lavfi -i sine=d=2 -c:v copy -c:a aac "
      "late.mp4; ffmpeg -v error -i vfr.mp4 -c copy vfr.mkv");
  expectLomix("render 'film.mkv' 'p.###.png' --frames 3-30 --video-only --quiet");
  struct Case {
    std::string input;
    std::string extension;
    std::string options;
    bool exact = true;  ///< Whether segments and film have the same decoded pixels.
  };
  for (const Case& c : {Case{"film.mkv", "mkv", ""},
                        {"film.mkv", "mov", "--codec prores --no-audio"},
                        {"film.mp4", "mov", "--codec png --frames 7-29"},
                        {"film.mp4", "mkv", "--frames 3-30x3"},
                        {"film.mp4", "mp4", "--crf 30", false},
                        {"vfr.mp4", "mp4", "--crf 30", false},
                        {"vfr.mkv", "mp4", "--codec hevc", false},
                        {"late.mp4", "mkv", "--codec h264", false},
                        {"late.mp4", "mkv", "--keep-timestamps"},
                        {"late.mp4", "mov", "--codec png"},
                        {"film.mp4", "webm", "--codec vp9 --video-only --no-subtitles", false},
                        {"'p.###.png'", "mov", "--fps 30000/1001 --codec png"},
                        {"'p.###.png'", "mkv", "--fps 25"}}) {
    const std::string good = "good." + c.extension;
    const std::string joined = "joined." + c.extension;
    const std::string what = c.input + " " + c.extension + " " + c.options + ": ";
    expectLomix("render " + c.input + " " + good + kLook + " --quiet " + c.options);
    renderShares(c.input + " 'part.##." + c.extension + "' " + c.options, 3);
    const bool pictures = c.input.starts_with("'");
    expectLomix("join 'part.##." + c.extension + "' " + joined + " --quiet" +
                (pictures ? "" : " --source " + c.input));
    const std::string frames =
        c.exact
            ? "ffmpeg -v error -vsync passthrough -copyts -i FILE -map v:0 -f framemd5 - | "
              "grep -v '^#software'"
            : "ffprobe -v error -select_streams v:0 -show_entries frame=pts_time -of csv FILE | "
              "grep -o 'frame,[0-9.]*'";
    for (const std::string& look :
         {frames,
          std::string("ffprobe -v error -show_entries "
                      "stream=index,codec_name,width,height,r_frame_rate,pix_fmt,"
                      "color_space,color_range,start_time:stream_tags=timecode:"
                      "chapter=start_time,end_time:chapter_tags=title:format_tags=title -of csv "
                      "FILE"),
          std::string("for s in a s; do ffprobe -v error -select_streams $s -show_data_hash md5 "
                      "-show_entries packet=pts_time,data_hash -of csv FILE; done"),
          // Decodes without a complaint.
          std::string("ffmpeg -v warning -vsync passthrough -i FILE -f null - 2>&1 | "
                      "sed 's/@ 0x[0-9a-f]*//'")}) {
      const auto of = [&](const std::string& file) {
        return shell(std::regex_replace(look, std::regex("FILE"), file));
      };
      EXPECT_EQ(of(joined), of(good)) << what;
    }
    shell("rm -f part.* " + joined);
    std::filesystem::remove(path(good));
  }
}

TEST_F(Share, RecordingsAreSharedByTheFramesThatCanBeShown) {
  // Its frames before a key frame need those before them, also where they are stored after it.
  makeClip("open.ts", "s=96x64:r=25:d=2",
           "-f lavfi -i sine=d=2 -c:a mp2 -x264-params "
           "keyint=12:min-keyint=12:bframes=3:open-gop=1:b-adapt=0:scenecut=0");
  constexpr std::size_t kPacket = 188;
  const std::string film = read(path("open.ts"));
  for (const int percent : {13, 41}) {
    const std::size_t begin = film.size() / kPacket * static_cast<std::size_t>(percent) / 100;
    write(path("begins" + std::to_string(percent) + ".ts"), film.substr(begin * kPacket));
  }
  const std::string fields = "-vf tinterlace=interleave_top,setfield=tff -flags +ildct+ilme ";
  makeClip("mixed.ts", "s=96x64:r=50:d=2", fields + "-x264opts tff=1:keyint=12");
  makeClip("mpeg2.ts", "s=96x64:r=50:d=2", fields + "-c:v mpeg2video -bf 2 -g 12");
  // At its second key frame, behind the tables.
  const std::string mpeg2 = read(path("mpeg2.ts"));
  const std::size_t key = std::stoul(shell(
      "ffprobe -v error -select_streams v -show_entries packet=pos,flags -of csv=p=0 mpeg2.ts | "
      "grep K | sed -n 2p"));
  write(path("begins_key.ts"), mpeg2.substr(0, 3 * kPacket) + mpeg2.substr(key));
  write(path("fields.h264"), fieldPictures(20));
  shell("ffmpeg -v error -r 25 -i fields.h264 -c copy fields.ts 2>&1");
  const std::string fewer = read(path("fields.ts"));
  write(path("begins_fields.ts"), fewer.substr(fewer.size() / kPacket / 5 * kPacket));
  for (const auto& [input, everyPacketIsAFrame] : {std::pair<std::string, bool>{"open.ts", true},
                                                   {"begins13.ts", false},
                                                   {"begins41.ts", false},
                                                   {"begins_key.ts", false},
                                                   {"mixed.ts", true},
                                                   {"mpeg2.ts", true},
                                                   {"fields.ts", false},
                                                   {"begins_fields.ts", false}}) {
    const auto count = [&, name = input](const std::string& what) {
      return std::stoi(shell("ffprobe -v error -select_streams v -count_" + what +
                             " -show_entries stream=nb_read_" + what + " -of csv=p=0 " + name +
                             " | head -1"));
    };
    ASSERT_EQ(count("frames") == count("packets"), everyPacketIsAFrame) << input;
    const auto frames = [this](const std::string& name) {
      return shell("ffmpeg -v error -vsync passthrough -i " + name +
                   " -map v:0 -f framemd5 - | grep -v '^#software'");
    };
    expectLomix("render " + input + " good.mkv --quiet" + kLook);
    renderShares(input + " 'part.#.mkv'", 5);
    expectLomix("join 'part.#.mkv' joined.mkv --quiet --source " + input);
    EXPECT_EQ(frames("joined.mkv"), frames("good.mkv")) << input;
    shell("rm good.* part.* joined.*");
  }
}

TEST_F(Share, JoiningNamesTheSoundThatTheSourceLacks) {
  makeClip("film.mkv", "s=96x64:r=25:d=5", "-f lavfi -i sine=d=3 -c:a flac");
  // The tag of the sound promises as much as that of the pictures.
  std::string film = read(path("film.mkv"));
  film.replace(film.rfind("00:00:03."), 9, "00:00:05.");
  write(path("film.mkv"), film);
  const std::string loss = " seconds of sound are missing at the end (what is there is ";
  for (const auto& [frames, missing] : {std::pair<std::string, std::string>{"", "2.00 of 5.00"},
                                        {"--frames 50-99", "1.00 of 2.00"},
                                        {"--frames 0-9", ""}}) {
    const int exitCode = missing.empty() ? 0 : 3;
    const Result whole = lomix("render film.mkv whole.mkv --quiet --overwrite " + frames);
    EXPECT_EQ(whole.exitCode, exitCode) << frames << whole.err;
    for (const char* share : {"1/2", "2/2"}) {
      expectLomix("render film.mkv 'p.#.mkv' --quiet --overwrite --share " + std::string(share) +
                  " " + frames);
    }
    const Result joined = lomix("join 'p.#.mkv' joined.mkv --source film.mkv --quiet --overwrite");
    EXPECT_EQ(joined.exitCode, exitCode) << frames << joined.err;
    if (missing.empty()) continue;
    EXPECT_THAT(whole.err, HasSubstr("'film.mkv': " + missing + loss));
    EXPECT_THAT(joined.err, HasSubstr("'film.mkv': " + missing + loss));
    const std::string counted = "stream=nb_read_frames -count_frames";
    EXPECT_EQ(probe("joined.mkv", "v", counted), probe("whole.mkv", "v", counted));
    expectLomix("join 'p.#.mkv' joined.mkv --video-only --quiet --overwrite");
  }
}

TEST_F(Share, JoinedFilmsAreTurnedAndLitAsThatOfOneRun) {
  makeClip("flat.mp4", "s=96x64:r=25:d=0.4", "");
  shell("ffmpeg -v error -i flat.mp4 -c copy -metadata:s:v rotate=90 turned.mp4");
  makeClip("hdr.mp4", "s=96x64:r=25:d=0.4",
           "-pix_fmt yuv420p10le -color_trc smpte2084 -c:v libx265 -x265-params 'log-level=none:"
           "master-display=G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,1):"
           "max-cll=1000,400'");
  struct Case {
    const char* input;
    const char* extension;
    const char* options;
    const char* told;  ///< Is in the side data that ffprobe lists; empty: it lists none.
  };
  for (const Case& c : {Case{"turned.mp4", "mp4", "", "side_data,90"},
                        {"turned.mp4", "mkv", "", ""},
                        {"hdr.mp4", "mp4", "", "1000,400"},
                        {"hdr.mp4", "mkv", "--codec hevc", "1000,400"},
                        {"hdr.mp4", "mp4", "--colour srgb:rec709", ""},
                        {"hdr.mp4", "mkv", "--codec hevc --colour srgb:rec709", ""}}) {
    const std::string input = c.input;
    const std::string extension = c.extension;
    const auto sideData = [&](const std::string& name) {
      return probe(name + "." + extension, "v",
                   "stream=width,height:stream_side_data=rotation,max_content,max_average,"
                   "max_luminance,red_x");
    };
    expectLomix("render " + input + " whole." + extension + kLook + " --quiet " + c.options);
    renderShares(input + " 'part.#." + extension + "' " + c.options, 2);
    const std::string join = "join 'part.#." + extension + "' ";
    expectLomix(join + "from." + extension + " --quiet --source " + input);
    expectLomix(join + "alone." + extension + " --quiet --video-only");
    EXPECT_THAT(sideData("whole"), HasSubstr(c.told)) << input << c.options;
    EXPECT_EQ(sideData("whole").find("side_data") == std::string::npos, *c.told == 0);
    for (const std::string film : {"from", "alone"}) {
      EXPECT_EQ(sideData(film), sideData("whole")) << film << input << c.options;
    }
    shell("rm part.* whole.* from.* alone.*");
  }
}

TEST_F(Share, SegmentsThatDoNotFitAreRefusedAndNothingIsWritten) {
  makeClip("film.mp4", "s=96x64:r=25:d=0.8", "-f lavfi -i sine=d=0.8 -shortest");
  makeClip("other.mp4", "s=96x64:r=25:d=0.8", "-f lavfi -i sine=f=99:d=0.8 -shortest");
  renderShares("film.mp4 'a.#.mkv'", 4);
  renderShares("film.mp4 'b.#.mkv' --set 'Noise=31'", 4);
  renderShares("film.mp4 'c.#.mkv' --codec h264", 4);
  renderShares("film.mp4 'd.#.mov' --codec png", 4);
  // Two sequences of equal length, and one under two names.
  expectLomix("testcard card.png --size 48x27");
  expectLomix("render card.png 'x.#.png' --frames 1-4 --quiet");
  expectLomix("render card.png 'y.#.png' --frames 1-4 --set Noise=50 --quiet");
  for (const std::string line :
       {"'x.#.png' 's.#.mkv' --share 1/2", "'y.#.png' 't.#.mkv' --share 2/2",
        "'./x.#.png' 's.#.mkv' --share 2/2"}) {
    expectLomix("render --quiet " + line);
  }
  shell("mkfifo pipe; cp a.2.mkv copy.mkv; head -c 20000 a.2.mkv > cut.mkv; touch taken.mkv");
  const auto before = names();
  struct Case {
    const char* line;
    int exitCode;
    const char* cause;
  };
  for (const Case& c : {
           Case{"a.1.mkv a.3.mkv o.mkv --source film.mp4", 1,
                "of 4 segments these are missing: 2, 4 (render them, with --share 2/4 and"},
           {"'a.#.mkv' o.mkv", 2, "--source is required"},
           {"'a.#.mkv' o.mkv --source other.mp4", 1, "the video that was rendered had"},
           {"'a.#.mkv' o.mkv --source missing.mp4", 1, "no such file"},
           {"'a.#.mkv' o.mkv --source -", 2, "--source: '-' is no file that can be compared"},
           {"'a.#.mkv' o.mkv --source pipe", 2, "--source: 'pipe' is no file"},
           {"'a.#.mkv' o.mp4 --source film.mp4", 2, "'o.mp4' is no .mkv file"},
           {"'a.#.mkv' taken.mkv --source film.mp4", 1, "--overwrite"},
           {"'a.#.mkv' a.2.mkv --source film.mp4", 2, "the same file"},
           {"'a.#.mkv' copy.mkv o.mkv --source film.mp4", 1, "it is segment 2 as"},
           {"a.1.mkv b.2.mkv a.3.mkv a.4.mkv o.mkv --source film.mp4", 1, "of another job"},
           {"a.1.mkv c.2.mkv a.3.mkv a.4.mkv o.mkv --source film.mp4", 1, "of another job"},
           {"a.1.mkv d.2.mov a.3.mkv a.4.mkv o.mkv --source film.mp4", 1, "of another job"},
           {"s.1.mkv t.2.mkv o.mkv", 1, "the input, the settings or the number of shares differ"},
           {"'e.#.mkv' o.mkv", 1, "no segment exists (looked for 'e.1.mkv')"},
           {"film.mp4 o.mp4", 1, "it is no segment of a film"},
           {"missing.mkv o.mkv", 1, "no such file"},
           {"a.1.mkv", 2, "OUTPUT is required"},
       }) {
    const Result result = lomix(std::string("join ") + c.line);
    EXPECT_EQ(result.exitCode, c.exitCode) << c.line << result.err;
    EXPECT_THAT(result.err, AllOf(StartsWith("error: "), EndsWith(")\n"), HasSubstr(c.cause)))
        << c.line;
    EXPECT_EQ(names(), before) << c.line;
  }
  expectLomix("join 's.#.mkv' o.mkv --quiet");
  // A segment that was cut off has fewer frames, or none that can be read.
  const Result cut = lomix("join a.1.mkv cut.mkv a.3.mkv a.4.mkv c.mkv --source film.mp4");
  EXPECT_TRUE(cut.exitCode == 1 || cut.exitCode == 3) << cut.err;
  EXPECT_THAT(cut.err, AllOf(HasSubstr("'cut.mkv'"), EndsWith(")\n")));
}

TEST_F(Share, WrongUsageIsOneLine) {
  expectLomix("testcard card.png --size 48x27");
  makeClip("film.mp4", "s=48x32:r=25:d=0.4", "");
  shell("mkfifo pipe.mp4");
  const auto before = names();
  struct Case {
    const char* line;
    const char* cause;
  };
  for (const Case& c : {
           Case{"card.png 'o.#.png' --frames 1-4 --share 0/4",
                "the first is 1/4 (where a queue counts from 0, add 1 to its number"},
           {"card.png 'o.#.png' --frames 1-4 --share 5/4", "they are 1/4 to 4/4"},
           {"card.png 'o.#.png' --frames 1-4 --share 2", "one such as 3/8"},
           {"card.png 'o.#.png' --frames 1-4 --share 1/0", "one such as 3/8"},
           {"card.png 'o.#.png' --frames 1-4 --share 1/x", "one such as 3/8"},
           {"card.png 'o.#.png' --frames 1-4 --share-blocks", "--share"},
           {"card.png o.png --share 1/2", "is one picture"},
           {"card.png 'o.#.mkv' --share 1/2", "is one picture"},
           {"card.png 'o.#.mkv' --share 1/2 --frames 0.001s-0.002s", "no frame is chosen"},
           {"film.mp4 o.mp4 --share 1/2", "(name it as film.##.mkv)"},
           {"film.mp4 'o.#.avi' --share 1/2", "use .mp4, .mov, .mkv or .webm"},
           {"film.mp4 - --share 1/2", "cannot be shared"},
           {"- 'o.#.mkv' --share 1/2", "cannot be shared"},
           {"film.mp4 'o.#.mkv' --share 1/2 --frames 0s-1s", "by their numbers"},
           {"pipe.mp4 'o.#.mkv' --share 1/2", "'pipe.mp4' cannot be read twice"},
           {"missing.mp4 'o.#.mkv' --share 1/2", "there is no such file"},
       }) {
    const Result result = lomix(std::string("render ") + c.line);
    const bool isMissing = std::string(c.line).starts_with("missing");
    EXPECT_EQ(result.exitCode, isMissing ? 1 : 2) << c.line << result.err;
    EXPECT_THAT(result.err, AllOf(StartsWith("error: "), EndsWith(")\n"), HasSubstr(c.cause)))
        << c.line;
    EXPECT_EQ(names(), before) << c.line;
  }
  const Result empty = lomix("render card.png 'o.#.png' --frames 1-2 --share 3/3");
  EXPECT_EQ(empty.exitCode, 0) << empty.err;
  EXPECT_EQ(empty.out, "nothing to do: share 3 of 3 has none of the 2 frames\n");
}

TEST_F(Share, ReportsMergeAndTheirCommandRendersWhatIsLeft) {
  expectLomix("testcard card.png --size 48x27");
  expectLomix("render card.png 'in.##.png' --frames 1-12 --quiet");
  write(path("in.05.png"), "no picture");
  const std::string line =
      "render 'in.##.png' 'it'\\''s.##.png' --set 'Scan Distortion=20' --frames 1-12 --quiet "
      "--report 'r.#.json' --share ";
  expectLomix(line + "1/3");
  EXPECT_EQ(lomix(line + "2/3").exitCode, 3);
  EXPECT_EQ(report("r.2.json")["share"]["frames"], "2-11x3");
  EXPECT_EQ(report("r.2.json")["done"], "2,8,11");
  const Result text = lomix("report r.1.json r.2.json");
  EXPECT_EQ(text.exitCode, 3);
  EXPECT_THAT(text.out, StartsWith("'it's.##.png': 7 of 12 frames done\n"
                                   "no report: share 3 of 3\nmissing: 3-12x3\nfailed: 5 (cannot"));
  EXPECT_THAT(text.out,
              EndsWith("  lomix render 'in.##.png' 'it'\\''s.##.png' --set 'Scan Distortion=20' "
                       "--quiet --frames 3,5-6,9,12 --skip-existing\n"));
  // The printed command, as a shell reads it, with the picture repaired.
  shell("cp in.06.png in.05.png");
  const std::string command = text.out.substr(text.out.rfind("  lomix ") + 8);
  expectLomix(command.substr(0, command.size() - 1) + " --report rest.json");
  EXPECT_EQ(report("rest.json")["done"], "3,5-6,9,12");
  EXPECT_EQ(filesWith("it's").size(), 12);
  const Result all = lomix("report r.1.json r.2.json rest.json --json");
  EXPECT_EQ(all.exitCode, 0) << all.err;
  const auto merged = nlohmann::json::parse(all.out);
  EXPECT_EQ(merged["frames"],
            nlohmann::json({{"whole", 12}, {"done", 12}, {"missing", ""}, {"failed", 0}}));
  EXPECT_EQ(merged["commands"], nlohmann::json::array());

  expectLomix("render 'in.##.png' 'x.##.png' --share 3/3 --report x.json --quiet");
  write(path("list.json"), "[1]");
  write(path("old.json"), "{\"output\": \"it's.##.png\"}");
  for (const auto& [file, cause] : {std::pair{"x.json", "it is of another job than 'r.1.json'"},
                                    {"list.json", "it is no report"},
                                    {"old.json", "it is"},
                                    {"nowhere.json", "no such file"}}) {
    const Result result = lomix(std::string("report r.1.json ") + file);
    EXPECT_EQ(result.exitCode, 1) << file;
    EXPECT_THAT(result.err, AllOf(StartsWith("error: "), HasSubstr(file), HasSubstr(cause)));
  }
}

TEST_F(Share, ReportsOfSegmentsNameTheShares) {
  makeClip("film.mp4", "s=48x32:r=25:d=0.4", "");
  const std::string line = "render film.mp4 'p.#.mkv' --quiet --report 'r.#.json' --share ";
  for (const char* share : {"1/3", "3/3"}) expectLomix(line + share);
  const Result left = lomix("report r.1.json r.3.json");
  EXPECT_EQ(left.exitCode, 3);
  EXPECT_THAT(left.out, EndsWith("missing: 3-5\nrender what is left with\n  lomix render film.mp4 "
                                 "'p.#.mkv' --report 'r.#.json' --quiet --share 2/3 "
                                 "--skip-existing\n"));
  shell("ln -s " LOMIX_COMMAND " lomix; PATH=.:$PATH; eval \"$(" LOMIX_COMMAND
        " report r.*.json 2>/dev/null | grep '^  lomix')\"");
  expectLomix("report r.1.json r.2.json r.3.json");
  expectLomix("join 'p.#.mkv' film.mkv --source film.mp4 --quiet");
}

TEST_F(Share, CommandsOfReportsRunAsTheyStand) {
  makeClip("film.mp4", "s=48x32:r=25:d=0.4", "");
  expectLomix("testcard card.png --size 48x27");
  shell("mkdir in; for i in 1 2 3 4 5; do cp card.png in/$i.png; done; ln -s " LOMIX_COMMAND
        " lomix");
  const std::string saved = " --save-preset look.json --set 'Noise=20' --quiet ";
  const auto renderRest = [this] {
    shell(
        "lomix() { ./lomix \"$@\"; }; lomix report [ar].*json > left || test $? = 3; "
        "grep '^  lomix' left > again.sh; . ./again.sh");
  };
  struct Case {
    const char* input;
    const char* output;
    const char* done;  ///< The share that was rendered, with its report.
    int files;
  };
  for (const Case& c : {Case{"film.mp4", "out/p.#.mkv", "--share 1/3 --report a.json", 3},
                        {"film.mp4", "out/p.#.mkv", "--share 1/3 --report r.#.json", 3},
                        {"film.mp4", "out/p.#.png", "--share 2/3 --report a.json", 10},
                        {"in", "out/", "--share 2/3 --report a.json", 5},
                        {"in", "out/", "--share 2/3 --report r.#.json", 5}}) {
    shell("mkdir out");
    expectLomix("render " + std::string(c.input) + " " + c.output + saved + c.done);
    renderRest();
    EXPECT_EQ(shell("ls out | wc -l"), std::to_string(c.files) + "\n") << c.output << c.done;
    shell("rm -r out *.json");
  }
  // An input that failed, of a folder without shares.
  write(path("in/2.png"), "no picture");
  EXPECT_EQ(lomix("render in out/ --report a.json" + saved).exitCode, 3);
  shell("cp in/1.png in/2.png");
  renderRest();
  EXPECT_EQ(shell("ls out | wc -l"), "5\n");
}

TEST_F(Share, ATryThatGoesOnReplacesItsOwnReportOnly) {
  expectLomix("testcard card.png --size 640x360");
  const std::string line =
      "render card.png 'o.####.png' --frames 1-9999 --skip-existing --quiet --report 'r.#.json' ";
  expectLomix(line + "--share 2/5000");
  EXPECT_EQ(report("r.2.json")["done"], "2,5002");
  std::filesystem::remove(path("o.5002.png"));
  expectLomix(line + "--share 2/5000");
  EXPECT_EQ(report("r.2.json")["frames"]["rendered"], 1);
  EXPECT_EQ(report("r.2.json")["frames"]["skipped"], 1);
  // That of another share, or of other outputs, stays.
  shell("cp r.2.json r.3.json");
  const Result other = lomix(line + "--share 3/5000");
  EXPECT_EQ(other.exitCode, 1);
  EXPECT_THAT(other.err, HasSubstr("cannot write 'r.3.json': it exists"));
  EXPECT_THAT(filesWith("o."), ElementsAre("o.0002.png", "o.5002.png"));
}

TEST_F(Share, TheExamplesForFarmsRenderTheWhole) {
  expectLomix("testcard card.png --size 48x27");
  expectLomix("render card.png 'in.####.png' --frames 1-20 --quiet");
  expectLomix("render 'in.####.png' 'good.####.png' --preset weak-aerial --quiet");
  const std::string farm = LOMIX_EXAMPLES "/farm/";
  const std::string path = "ln -sf " LOMIX_COMMAND " lomix; PATH=$PWD:$PATH; export PATH; ";
  const std::string names = " 'in.####.png' 'out.####.png' --preset weak-aerial";
  for (const std::string script : {"slurm.sh", "parallel.sh"}) {
    shell("bash -n " + farm + script);
    shell("! command -v shellcheck >/dev/null || shellcheck " + farm + script);
  }
  shell(path +
        "for k in 1 2 3 4 5 6 7 8; do SLURM_ARRAY_JOB_ID=7 SLURM_ARRAY_TASK_COUNT=8 "
        "SLURM_ARRAY_TASK_ID=$k " +
        farm + "slurm.sh" + names + "; done; lomix report lomix-7.*.json");
  expectSameFiles("good", "out", "slurm");
  // Run the pods' own command.
  shell(path +
        "cat > pod.py <<'END'\n"
        "import yaml\n"
        "job = yaml.safe_load(open('" +
        farm +
        "kubernetes.yaml'))\n"
        "spec = job['spec']; pod = spec['template']['spec']['containers'][0]\n"
        "assert spec['completionMode'] == 'Indexed' and job['kind'] == 'Job'\n"
        "assert pod['env'] == [{'name': 'LOMIX_SHARES', 'value': str(spec['completions'])}]\n"
        "assert pod['command'] == ['sh', '-c']\n"
        "print(pod['args'][0])\n"
        "END\n"
        "for k in 0 1 2 3 4 5 6 7; do JOB_COMPLETION_INDEX=$k LOMIX_SHARES=8 "
        "sh -c \"$(python3 pod.py)\"; done; lomix report lomix.*.json; rm lomix.*.json");
  expectSameFiles("good", "out", "kubernetes");
  if (finish(startProgram({"sh", "-c", "command -v parallel"})).exitCode != 0) return;
  shell(path + farm + "parallel.sh 5" + names + " </dev/null; lomix report lomix.*.json");
  expectSameFiles("good", "out", "parallel");
}

}  // namespace
}  // namespace lomix
