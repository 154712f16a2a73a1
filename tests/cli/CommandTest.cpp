// The built command: exit codes, output, and the files that it leaves.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "cli/CommandProcess.h"
#include "lomix/lomix.h"
#include "media/drawing/Scene.h"
#include "media/drawing/TestCard.h"
#include "media/picture/PictureFile.h"
#include "media/video/Video.h"

namespace lomix {
namespace {

using media::Picture;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Lomix : public CommandProcess {
 protected:
  Lomix() {
    media::writePicture(media::drawTestCard(96, 54, media::CardCorner::Transparent),
                        path("card.png"), false);
  }

  /// Returns all pixels of an 8-bit picture.
  std::vector<std::uint8_t> pixels(const std::string& name) {
    const Picture picture = media::readPicture(path(name));
    EXPECT_EQ(picture.depth(), 8) << name;
    std::vector<std::uint8_t> all;
    for (int y = 0; y < picture.height(); ++y) {
      all.insert(all.end(), picture.row8(y).begin(), picture.row8(y).end());
    }
    return all;
  }
  /// Returns every file of the folder with its bytes.
  std::map<std::string, std::string> contents() {
    std::map<std::string, std::string> all;
    for (const std::string& name : names()) all[name] = read(path(name));
    return all;
  }
};

TEST_F(Lomix, BadInputIsOneLineAndLeavesTheFolderAsItWas) {
  const std::string card = read(path("card.png"));
  write(path("cut.png"), card.substr(0, card.size() / 2));
  write(path("empty.exr"), "");
  write(path("text.so"), "no module");
  write(path("s.20240131123059123.png"), card);
  // A second of silence.
  write(path("tone.wav"),
        std::string("RIFF\x64\x1f\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x40\x1f\0\0"
                    "\1\0\x8\0"
                    "data\x40\x1f\0\0",
                    44) +
            std::string(8000, '\x80'));
  write(path("cut.so"), read(LOMIX_MODULE).substr(0, 5000));
  write(path("taken.png"), "precious");
  std::filesystem::create_directory(path("folder"));
  struct Case {
    std::vector<std::string> arguments;
    int exitCode;
    const char* message;  ///< Part of the error message.
  };
  const std::vector<std::string> good{"render", "card.png", "out.png"};
  const auto with = [&](std::vector<std::string> more) {
    more.insert(more.begin(), good.begin(), good.end());
    return more;
  };
  const std::vector<Case> cases{
      {{}, 2, "no command"},
      {{"sparkle"}, 2, "sparkle"},
      {{"rendr", "card.png"}, 2, "did you mean 'render'?"},
      {with({"--ovrwrite"}), 2, "did you mean '--overwrite'?"},
      {with({"--preset", ""}), 2, "--preset: its value is empty"},
      {with({"--time", ""}), 2, "--time"},
      {with({"--frames", ""}), 2, "--frames"},
      {with({"--codec", ""}), 2, "--codec"},
      {with({"--report", ""}), 2, "--report"},
      {with({"--save-preset", " "}), 2, "--save-preset"},
      {with({"--raw", "4x4:"}), 2, "--raw"},
      {with({"--preset", "list"}), 2, "'list' ('lomix presets' lists all"},
      {with({"--set", "=5"}), 2, "--set: the name of the parameter is missing"},
      {with({"--set", std::string(9999, 'x') + "=5"}), 2, "xxx...'"},
      {with({"--codec", "h264"}), 2, "'out.png' is no video"},
      {with({"--crf", "20"}), 2, "'out.png' is no video"},
      {{"render", "tone.wav", "out.png"}, 1, "sound but no video"},
      {{"render", "card.png", "o.##.png", "--frames", "999999999", "--fps", "29.97"},
       1,
       "its time"},
      {{"render", "s.##.png", "o.##.png", "--fps", "29.97"}, 1, "its time"},
      {{"render"}, 2, "INPUT"},
      {{"render", "card.png"}, 2, "OUTPUT"},
      {with({"more.png"}), 2, "more.png"},
      {with({"--frobnicate"}), 2, "--frobnicate"},
      {with({"--set"}), 2, "--set"},
      {with({"--set", "Noise"}), 2, "NAME=VALUE"},
      {with({"--set", "Nose=3"}), 2, "'Noise'"},
      {with({"--set", "Noise=100.1"}), 2, "0 % to 100 %"},
      {with({"--set", "Scanline Thickness=0"}), 2, "1 to 10000"},
      {with({"--set", "Distortion Mode=Fold"}), 2, "Tile or Stretch"},
      {with({"--key", "Noise=0:1,soon:2"}), 2, "soon:2"},
      {with({"--preset", "weak-arial"}), 2, "'weak-aerial'"},
      {with({"--preset", "missing.json"}), 1, "missing.json"},
      {with({"--preset", "./card.png"}), 1, "'./card.png' line 1: "},
      {with({"--preset", "snow", "--save-preset", "taken.png"}), 1, "--overwrite"},
      {with({"--save-preset", "nowhere/p.json"}), 1, "nowhere"},
      {with({"--time", "soon"}), 2, "soon"},
      {with({"--depth", "16"}), 2, "8 or 32"},
      {with({"--depth", "8", "--depth", "32"}), 2, "--depth"},
      {with({"--depth", "32", "--host", "premiere"}), 2, "premiere"},
      {with({"--host", "vlc"}), 2, "ae or premiere"},
      {with({"--engine", "steam"}), 2, "steam"},
      {with({"--engine", "rows", "--plugin", "text.so"}), 2, "--engine plugin"},
      {with({"--threads", "0"}), 2, "--threads"},
      {with({"--downsample", "0"}), 2, "--downsample"},
      {with({"--frames", "1-2"}), 2, "out.####.png"},
      {with({"--frames", "9-2"}), 2, "backwards"},
      {with({"--frames", "1-2x0"}), 2, "steps of 0"},
      {with({"--frames", "1,,2"}), 2, "1-99x2"},
      {with({"--fps", "0"}), 2, "--fps"},
      {with({"--overwrite", "--skip-existing"}), 2, "--overwrite"},
      {with({"--report", "nowhere/r.json"}), 1, "nowhere"},
      {{"render", "card.png", "o.#.#.png", "--frames", "1"}, 1, "more than one"},
      {{"render", "a.#.png", "o.#.png"}, 1, "a.1.png"},
      {{"render", "a.#.png", "o.#.png", "--time", "1"}, 2, "--fps"},
      {with({"--plugin", "missing.so"}), 1, "missing.so"},
      {with({"--plugin", "text.so"}), 1, "text.so"},
      {with({"--plugin", "folder"}), 1, "folder"},
      {with({"--plugin", "cut.so"}), 1, "cut.so"},
      {{"params", "--plugin", "cut.so"}, 1, "ends before"},
      {{"inspect", "cut.so"}, 1, "ends before"},
      {{"render", "missing.png", "out.png"}, 1, "no such file"},
      {{"render", "folder", "out"}, 1, "no picture and no video"},
      {{"render", "folder", "out.png"}, 2, "'out.png' is the name of a file, but 'folder' is a"},
      {{"render", "folder", "out.####.exr"}, 2, "end its name with /"},
      {{"render", "folder", "out.mp4"}, 2, "end its name with /"},
      {{"render", "cut.png", "out.png"}, 1, "cut.png"},
      {{"render", "empty.exr", "out.png"}, 1, "empty"},
      {{"render", "card.png", "out.xyz"}, 1, ".xyz"},
      {{"render", "card.png", "out"}, 1, "extension"},
      {{"render", "card.png", "taken.png"}, 1, "or replace it with --overwrite)"},
      {{"render", "card.png", "nowhere/out.png"}, 1, "nowhere"},
      {{"render", "card.png", "/proc/self/out.png"}, 1, "/proc/self/out.png"},
      {{"testcard"}, 2, "OUTPUT"},
      {{"testcard", "out.png", "--size", "12"}, 2, "1280x720"},
      {{"testcard", "out.png", "--size", "0x9"}, 2, "0x9"},
      {{"testcard", "out.png", "--size", "16385x9"}, 2, "16384"},
      {{"testcard", "out.png", "--scene", "--alpha"}, 2, "--alpha"},
      {{"testcard", "taken.png"}, 1, "--overwrite"},
      {{"params", "extra"}, 2, "extra"},
      {{"presets", "--show", "snov"}, 2, "'snow'"},
      {{"sheet", "card.png", "out.png"}, 2, "--sweep"},
      {{"sheet", "card.png", "out.png", "--sweep", "Noise"}, 2, "NAME=FROM:TO:COUNT"},
      {{"sheet", "card.png", "out.png", "--sweep", "Noise=0:100"}, 2, "FROM:TO:COUNT"},
      {{"sheet", "card.png", "out.png", "--sweep", "Noise=0:100:1"}, 2, "2 to 1000"},
      {{"sheet", "card.png", "out.png", "--sweep", "Noise=0:101:5"}, 2, "0 % to 100 %"},
      {{"sheet", "card.png", "out.png", "--sweep", "Distortion Mode=1:2:2"}, 2, "commas"},
      {{"sheet", "card.png", "out.png", "--times", "0:soon:3"}, 2, "soon"},
      {{"sheet", "card.png", "out.png", "--times", "0:1:200", "--presets"}, 2, "more than 1000"},
      {{"sheet", "card.png", "out.png", "--times", "0:1:99", "--width", "4096"}, 1, "too large"},
      {{"sheet", "card.png", "out.png", "--presets", "--preset", "snow"}, 2, "--preset"},
      {{"sheet", "cut.png", "out.png", "--presets"}, 1, "cut.png"},
      {{"sheet", "card.png", "taken.png", "--presets"}, 1, "--overwrite"},
      {{"plot", "out.xyz"}, 1, ".xyz"},
      {{"plot", "nowhere/out.svg"}, 1, "nowhere"},
      {{"plot", "out.svg", "--over", "4:1"}, 2, "FROM:TO"},
      {{"plot", "out.svg", "--over", "0:1e300"}, 2, "FROM:TO"},
      {{"sheet", "card.png", "out.png", "--times", "0,9999999/1"}, 2, "too far"},
      {{"compare", "card.png"}, 2, "B"},
      {{"compare", "card.png", "cut.png"}, 1, "cut.png"},
      {{"compare", "card.png", "card.png", "taken.png"}, 1, "--overwrite"},
      {{"compare", "card.png", "card.png", "--view", "top"}, 2, "side, split or difference"},
      {{"presets", "--json", "--schema"}, 2, "--schema"},
      {{"inspect"}, 2, "MODULE"},
      {{"inspect", "text.so", "--json"}, 1, "text.so"},
  };
  const auto before = names();
  for (const Case& c : cases) {
    const Result result = run(c.arguments);
    const std::string line = testing::PrintToString(c.arguments);
    EXPECT_EQ(result.exitCode, c.exitCode) << line << result.err;
    EXPECT_THAT(result.err, StartsWith("error: ")) << line;
    EXPECT_THAT(result.err, EndsWith(")\n")) << line;
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << line << result.err;
    EXPECT_THAT(result.err, HasSubstr(c.message)) << line;
    EXPECT_THAT(result.out, IsEmpty()) << line;
    EXPECT_EQ(names(), before) << line;
  }
  EXPECT_EQ(read(path("taken.png")), "precious");
}

TEST_F(Lomix, BlendedWhollyWithTheOriginalThePictureIsUntouched) {
  expectDone({"render", "card.png", "out.png", "--set", "Noise=80", "--set", "Scan Distortion=50",
              "--set", "blend-w-original=100"});
  EXPECT_EQ(pixels("out.png"), pixels("card.png"));
}

TEST_F(Lomix, TheSameTimeGivesTheSamePictureInEveryNotation) {
  const std::vector<std::string> look{"--set", "Signal Distortion=40", "--set", "Vertical Sync=30"};
  const auto render = [&](const std::string& out, std::vector<std::string> more) {
    more.insert(more.begin(), look.begin(), look.end());
    more.insert(more.begin(), {"render", "card.png", out});
    expectDone(more);
    return pixels(out);
  };
  const auto decimal = render("a.png", {"--time", "1.5"});
  EXPECT_EQ(render("b.png", {"--time", "45/30"}), decimal);
  EXPECT_EQ(render("c.png", {"--set", "Time Control=Manual", "--set", "Time=1.5"}), decimal);
  EXPECT_EQ(render("d.png", {"--time", "1.5", "--host", "premiere"}), decimal);
  EXPECT_NE(render("e.png", {}), decimal);
  const std::vector<std::string> keys{"--key", "Signal Distortion=1:0,2:80", "--key",
                                      "Vertical Sync=0:30,9:30"};
  EXPECT_EQ(render("f.png", {keys[0], keys[1], keys[2], keys[3], "--time", "1.5"}), decimal);
}

TEST_F(Lomix, SettingsAndKeysChangeAPreset) {
  const auto render = [&](const std::string& out, std::vector<std::string> more) {
    more.insert(more.begin(), {"render", "card.png", out, "--time", "0.5"});
    expectDone(more);
    return pixels(out);
  };
  const auto changed = render("a.png", {"--preset", "Signal Drop", "--set", "Noise=20", "--key",
                                        "Bars Overlay=0:0,1:90", "--save-preset", "mine.json"});
  EXPECT_EQ(render("b.png", {"--preset", "mine.json"}), changed);
  EXPECT_NE(render("c.png", {"--preset", "signal-drop"}), changed);
  write(path("shown.json"), run({"presets", "--show", "signal-drop"}).out);
  EXPECT_EQ(render("d.png", {"--preset", "shown.json"}), pixels("c.png"));
}

TEST_F(Lomix, ThePresetsAreListedForPeopleAndPrograms) {
  const auto report = nlohmann::json::parse(run({"presets", "--json"}).out)["presets"];
  const std::string list = run({"presets"}).out;
  EXPECT_EQ(std::ranges::count(list, '\n'), static_cast<std::ptrdiff_t>(report.size()));
  for (const auto& preset : report) {
    EXPECT_THAT(list, HasSubstr(preset["id"].get<std::string>() + " "));
    EXPECT_THAT(list, HasSubstr(preset["description"].get<std::string>() + "\n"));
  }
}

TEST_F(Lomix, EveryEngineGivesTheSamePicture) {
  const auto render = [&](const std::string& out, std::vector<std::string> more) {
    more.insert(more.begin(),
                {"render", "card.png", out, "--set", "Noise=30", "--set", "Bars Overlay=40",
                 "--set", "Scan Distortion=50", "--depth", "32", "--downsample", "1,2"});
    expectDone(more);
    return read(path(out));
  };
  const std::string byModule = render("a.png", {"--time", "1.3", "--engine", "plugin"});
  EXPECT_EQ(render("b.png", {"--time", "1.3"}), byModule);
  EXPECT_EQ(render("c.png", {"--time", "1.3", "--threads", "1"}), byModule);
  EXPECT_EQ(render("d.png", {"--time", "1.3", "--threads", "7"}), byModule);
  EXPECT_NE(render("e.png", {"--time", "1.4"}), byModule);
}

TEST_F(Lomix, ATimeThatHasNoEffectIsNoted) {
  const Result result = run({"render", "card.png", "out.png", "--set", "time=2"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, StartsWith("note: Time"));
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1);
  const Result quiet = run({"render", "card.png", "out2.png", "--set", "time=2", "--quiet"});
  EXPECT_EQ(quiet.exitCode, 0);
  EXPECT_THAT(quiet.err + quiet.out, IsEmpty());
}

TEST_F(Lomix, DepthIsTheInputsUnlessAnOptionSetsIt) {
  expectDone({"render", "card.png", "deep.png", "--depth", "32"});
  expectDone({"render", "deep.png", "same.png"});
  expectDone({"render", "deep.png", "premiere.png", "--host", "premiere"});
  expectDone({"render", "deep.png", "eight.png", "--depth", "8"});
  using media::Storage;
  EXPECT_EQ(media::readPicture(path("deep.png")).info.storage, Storage::UInt16);
  EXPECT_EQ(media::readPicture(path("same.png")).info.storage, Storage::UInt16);
  EXPECT_EQ(media::readPicture(path("premiere.png")).info.storage, Storage::UInt8);
  EXPECT_EQ(media::readPicture(path("eight.png")).info.storage, Storage::UInt8);
}

TEST_F(Lomix, ReducedResolutionGivesTheSmallerPicture) {
  expectDone({"render", "card.png", "out.png", "--downsample", "5,4"});
  const Picture picture = media::readPicture(path("out.png"));
  EXPECT_EQ(picture.width(), 20);
  EXPECT_EQ(picture.height(), 14);
}

TEST_F(Lomix, TheEffectScalesItsLengthsWithTheReduction) {
  expectDone(
      {"render", "card.png", "half.png", "--downsample", "2", "--set", "blend-w-original=100"});
  const auto render = [&](const std::string& in, const std::string& out,
                          const std::string& reduction, const std::string& thickness) {
    expectDone({"render", in, out, "--downsample", reduction, "--set", "Scanline Overlay=100",
                "--set", "Scanline Thickness=" + thickness});
    return pixels(out);
  };
  // Lengths in pixels halve with the picture: 8 of the full size are 4 of the half.
  const auto reduced = render("card.png", "a.png", "2", "8");
  EXPECT_EQ(reduced, render("half.png", "b.png", "1", "4"));
  EXPECT_NE(reduced, render("half.png", "c.png", "1", "8"));
}

TEST_F(Lomix, AFaultyModuleIsAnErrorAndNothingIsWritten) {
  const auto before = names();
  struct Case {
    const char* fault;
    const char* cause;
  };
  for (const Case& c : {Case{"Error", "error 4, \"no signal\""}, Case{"Overrun", "broke a rule"},
                        Case{"Throw", "exception left the module"}}) {
    const Result result = run({"render", "card.png", "out.png", "--plugin", FAULTY_MODULE, "--host",
                               "premiere", "--set", std::string("Fault=") + c.fault});
    EXPECT_EQ(result.exitCode, 1) << c.fault;
    EXPECT_THAT(result.err, StartsWith("error: "));
    EXPECT_THAT(result.err, HasSubstr(c.cause));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    EXPECT_EQ(names(), before) << c.fault;
  }
  expectDone({"render", "card.png", "out.png", "--plugin", FAULTY_MODULE, "--host", "premiere"});
}

TEST_F(Lomix, NoOutputIsTheFileOfAnInputOrOfAnotherOutput) {
  namespace fs = std::filesystem;
  fs::create_symlink("card.png", path("soft.png"));
  fs::create_hard_link(path("card.png"), path("hard.png"));
  fs::create_symlink("later.png", path("dangling.png"));
  fs::copy_file(path("card.png"), path("f.01.png"));
  fs::copy_file(path("card.png"), path("f.02.png"));
  fs::create_hard_link(path("f.02.png"), path("g.01.png"));
  ASSERT_EQ(run({"render", "card.png", "o.png", "--set", "Noise=3", "--save-preset", "look.json"})
                .exitCode,
            0);
  const auto before = contents();
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"render", "card.png", "./card.png"},
           {"render", "card.png", "soft.png"},
           {"render", "soft.png", "hard.png"},
           {"render", "card.png", "p.png", "--report", "card.png"},
           {"render", "card.png", "p.png", "--report", "hard.png"},
           {"render", "card.png", "p.png", "--report",
            "../" + folder_.filename().string() + "/p.png"},
           {"render", "card.png", "later.png", "--report", "dangling.png"},
           {"render", "card.png", "p.png", "--report", "r.json", "--save-preset", "r.json"},
           {"render", "card.png", "p.png", "--preset", "look.json", "--save-preset", "./look.json"},
           {"render", "card.png", "p.png", "--preset", "look.json", "--report", "look.json"},
           {"render", "f.##.png", "f.%02d.png"},
           {"render", "f.##.png", "g.##.png"},
           {"render", "f.01.png", "f.##.png", "--frames", "1-3"},
           {"render", "card.png", "p.##.png", "--frames", "1-3", "--report", "p.02.png"},
           {"compare", "card.png", "o.png", "soft.png"},
           {"sheet", "card.png", "hard.png", "--presets"},
           {"sheet", "card.png", "look.json", "--preset", "look.json", "--times", "0,1"}}) {
    std::vector<std::string> line = arguments;
    line.push_back("--overwrite");
    const Result result = run(line);
    EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(line) << result.err;
    EXPECT_THAT(result.err, HasSubstr("(name another file)")) << testing::PrintToString(line);
    EXPECT_TRUE(contents() == before) << testing::PrintToString(line);
  }
}

TEST_F(Lomix, ReportsAndPresetsReplaceFilesOnlyWhenAsked) {
  write(path("r.json"), "precious");
  for (const std::string option : {"--report", "--save-preset"}) {
    const Result refused = run({"render", "card.png", "out.png", option, "r.json"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, HasSubstr("cannot write 'r.json': it exists"));
    EXPECT_EQ(names(), (std::set<std::string>{"card.png", "r.json"}));
    EXPECT_EQ(read(path("r.json")), "precious");
  }
  expectDone({"render", "card.png", "out.png", "--report", "r.json", "--overwrite"});
  EXPECT_THAT(read(path("r.json")), StartsWith("{"));
}

TEST_F(Lomix, AKeptOutputHasAReportToo) {
  const auto report = [this](const std::string& name) {
    return nlohmann::json::parse(read(path(name)));
  };
  expectDone({"render", "card.png", "out.png", "--report", "first.json"});
  EXPECT_FALSE(report("first.json").contains("kept"));
  expectDone({"render", "card.png", "out.png", "--skip-existing", "--report", "r.json"});
  EXPECT_EQ(report("r.json")["kept"], true);
  EXPECT_EQ(report("r.json")["frames"], nlohmann::json::parse(R"({"rendered": 0, "skipped": 1,
                                                                  "failed": 0})"));
  std::filesystem::create_directory(path("folder"));
  std::filesystem::copy_file(path("card.png"), path("folder/out.png"));
  expectDone(
      {"render", "card.png", "out.png", "folder", "--skip-existing", "--report", "all.json"});
  ASSERT_EQ(report("all.json")["runs"].size(), 2u);
  EXPECT_EQ(report("all.json")["runs"][0]["frames"]["rendered"], 1);
  EXPECT_EQ(report("all.json")["runs"][1]["kept"], true);
}

TEST_F(Lomix, ASinglePictureHasTheVeryNameThatIsGiven) {
  std::filesystem::copy_file(path("card.png"), path("Photo #2.png"));
  for (const std::string name : {"Photo #3.png", "100%d.png", "50%%.png", "##.png"}) {
    const Result result = run({"render", "Photo #2.png", name});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, StartsWith("wrote '" + name + "'"));
    EXPECT_TRUE(names().contains(name)) << testing::PrintToString(names());
  }
  expectDone({"render", "card.png", "take #2, 100%%.%02d.png", "--frames", "7"});
  EXPECT_TRUE(names().contains("take #2, 100%.07.png"));
  expectDone({"render", "take #2, 100%%.%02d.png", "b.#.png"});
  EXPECT_TRUE(names().contains("b.7.png"));
}

TEST_F(Lomix, ManyInputsGoToOneFolder) {
  namespace fs = std::filesystem;
  fs::create_directories(path("in/below"));
  fs::copy_file(path("card.png"), path("in/a.png"));
  fs::copy_file(path("card.png"), path("in/below/b.png"));
  write(path("in/notes.txt"), "no picture");
  write(path("bad.png"), "no picture");
  const Result some = run({"render", "card.png", "bad.png", "in", "out/", "--recursive", "--report",
                           "r.json", "--set", "Noise=30"});
  EXPECT_EQ(some.exitCode, 3) << some.err;
  EXPECT_THAT(some.err, HasSubstr("warning: 'in/notes.txt': it is left out"));
  EXPECT_THAT(some.err, HasSubstr("error: cannot read 'bad.png'"));
  EXPECT_THAT(some.err, HasSubstr("1 of 4 inputs failed"));
  expectDone({"render", "card.png", "one.png", "--set", "Noise=30"});
  for (const char* name : {"out/card.png", "out/a.png", "out/below/b.png"}) {
    EXPECT_EQ(read(path(name)), read(path("one.png"))) << name;
  }
  const auto report = nlohmann::json::parse(read(path("r.json")));
  EXPECT_EQ(report["inputs"], 4);
  EXPECT_EQ(report["failed"], 1);
  EXPECT_EQ(report["runs"].size(), 4u);
  EXPECT_THAT(report["runs"][1]["error"].get<std::string>(), HasSubstr("bad.png"));
  EXPECT_EQ(run({"render", "in", "flat"}).exitCode, 0);
  EXPECT_TRUE(fs::exists(path("flat/a.png")) && !fs::exists(path("flat/below")));
  EXPECT_EQ(run({"render", "card.png", "bad.png", "in/a.png"}).exitCode, 2);
  EXPECT_EQ(run({"render", "in/a.png", "flat/a.png", "out"}).exitCode, 2);
  EXPECT_EQ(run({"render", "in/a.png", "in", "--overwrite"}).exitCode, 2);
  EXPECT_EQ(run({"render", "in", "new.png/"}).exitCode, 0);
  EXPECT_EQ(run({"render", "in", "new.png", "--overwrite"}).exitCode, 0);
  EXPECT_TRUE(fs::exists(path("new.png/a.png")));
  // Left by runs that were killed.
  fs::create_directories(path("new.png/below"));
  for (const char* name :
       {"new.png/.lomix-0123456789abcdef.png", "new.png/below/.lomix-0123456789abcdef"}) {
    write(path(name), "");
    EXPECT_EQ(run({"render", "in", "new.png", "--recursive", "--overwrite"}).exitCode, 0);
    EXPECT_FALSE(fs::exists(path(name))) << name;
  }
  // What an error says to do is the command's option for it.
  const Result taken = run({"render", "in", "out"});
  EXPECT_EQ(taken.exitCode, 1);
  EXPECT_THAT(taken.err,
              HasSubstr("'out/a.png': it exists (choose another name, or replace it with "
                        "--overwrite)"));
  write(path("s.1.png"), read(path("card.png")));
  expectDone({"render", "s.#.png", "out/"});
  const Result frames = run({"render", "s.#.png", "card.png", "out/"});
  EXPECT_EQ(frames.exitCode, 1);
  EXPECT_THAT(frames.err, HasSubstr("frames exist: 1 (replace them with --overwrite, or keep them "
                                    "with --skip-existing)"));
}

TEST_F(Lomix, TestcardWritesTheBuiltInPictures) {
  struct Case {
    std::vector<std::string> options;
    Picture expected;
  };
  for (const Case& c : {Case{{}, media::drawTestCard(160, 90)},
                        {{"--alpha"}, media::drawTestCard(160, 90, media::CardCorner::Transparent)},
                        {{"--scene"}, media::drawScene(160, 90)}}) {
    std::vector<std::string> arguments{"testcard", "drawn.png", "--size", "160x90", "--overwrite"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    expectDone(arguments);
    media::writePicture(c.expected, path("expected.png"), true);
    EXPECT_EQ(read(path("drawn.png")), read(path("expected.png"))) << arguments.back();
  }
}

TEST_F(Lomix, ParametersComeFromTheModule) {
  const auto report = nlohmann::json::parse(run({"params", "--json"}).out);
  ASSERT_EQ(report["parameters"].size(), 13u);
  const auto& last = report["parameters"][12];
  EXPECT_EQ(last["name"], "Blend w/Original");
  EXPECT_EQ(last["id"], 10);
  EXPECT_EQ(last["maximum"], 100.0);
  EXPECT_EQ(report["parameters"][2]["choices"], nlohmann::json({"Tile", "Stretch"}));
  const std::string text = run({"params"}).out;
  for (const char* line : {"Time                  0 s         0 s and up\n",
                           "Noise                 0 %         0 % to 100 %\n",
                           "Distortion Mode       Stretch     Tile or Stretch\n",
                           "Scanline Speed        1 row/s     -10000 rows/s to 10000 rows/s\n",
                           "Scanline Thickness    1 row       1 row to 10000 rows\n"}) {
    EXPECT_THAT(text, HasSubstr(line));
  }
}

TEST_F(Lomix, InspectShowsVersionFlagsAndAbout) {
  const auto report = nlohmann::json::parse(run({"inspect", LOMIX_MODULE, "--json"}).out);
  EXPECT_EQ(report["version"]["word"], 0x100601);
  EXPECT_EQ(report["outFlags"]["names"], nlohmann::json({"KEEP_RESOURCE_OPEN", "NON_PARAM_VARY"}));
  EXPECT_THAT(report["about"].get<std::string>(), StartsWith("Lomix, v2.0.0\r"));
  EXPECT_THAT(run({"inspect", LOMIX_MODULE}).out, HasSubstr("2.0.0 release, build 1"));
}

TEST_F(Lomix, JsonIsUtf8WhateverTheNamesOfFiles) {
  std::filesystem::create_symlink(LOMIX_MODULE, path("m\xff.so"));
  const Result result = run({"inspect", "./m\xff.so", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(nlohmann::json::parse(result.out)["module"], "./m\xef\xbf\xbd.so");
}

TEST_F(Lomix, HelpIsNoError) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"},
                                                    {"help"},
                                                    {"help", "sheet"},
                                                    {"render", "--help"},
                                                    {"params", "-h"},
                                                    {"inspect", "--help"},
                                                    {"presets", "--help"},
                                                    {"sheet", "--help"},
                                                    {"plot", "--help"},
                                                    {"compare", "--help"},
                                                    {"testcard", "--help"}}) {
    const Result result = run(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("Examples:\n  lomix ")) << arguments[0];
    EXPECT_THAT(result.err, IsEmpty());
  }
}

TEST_F(Lomix, TheVersionNamesTheLibrariesWhenAsked) {
  const std::string version = std::string("lomix ") + lomix_version_text();
  EXPECT_EQ(run({"--version"}).out, version + "\n");
  EXPECT_EQ(run({"--verbose"}).exitCode, 2);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--version", "--verbose"}, {"--verbose", "--version"}}) {
    const Result result = run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith(version + "\ninstruction set " + lomix_instruction_set() +
                                       "\nOpenImageIO "));
    const std::regex line("[A-Za-z0-9 ]+ \\S*[a-z0-9]\\S*");
    std::set<std::string> libraries;
    std::istringstream lines(result.out);
    for (std::string text; std::getline(lines, text);) {
      EXPECT_TRUE(std::regex_match(text, line)) << text;
      libraries.insert(text.substr(0, text.find(' ')));
    }
    std::set<std::string> expected{"lomix", "instruction", "OpenImageIO", "cairo", "fontconfig"};
    if (!media::videoLibraries().empty()) {
      expected.insert(
          {"FFmpeg", "libavformat", "libavcodec", "libavutil", "libswscale", "libwebpdemux"});
    }
    EXPECT_EQ(libraries, expected);
  }
}

TEST_F(Lomix, AFullStandardOutputIsAnError) {
  const Result result = finish(start({"params"}, "/dev/full"));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, StartsWith("error: standard output"));
}

TEST_F(Lomix, AnInterruptLeavesNothingBehind) {
  const auto before = names();
  const pid_t process = start({"testcard", "large.png", "--size", "8000x8000"});
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
  while (names() == before && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  ASSERT_FALSE(names().contains("large.png"));
  kill(process, SIGINT);
  EXPECT_EQ(finish(process).exitCode, 130);
  EXPECT_EQ(names(), before);
}

}  // namespace
}  // namespace lomix
