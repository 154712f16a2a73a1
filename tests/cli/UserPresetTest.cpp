// The user's own presets in the data folder of the system.
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "cli/CommandProcess.h"
#include "media/drawing/TestCard.h"
#include "media/picture/PictureFile.h"

namespace lomix {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// Has a data folder of its own. HOME is put back after each test.
class UserPreset : public CommandProcess {
 protected:
  UserPreset() : home_(std::getenv("HOME") != nullptr ? std::getenv("HOME") : "") {
    media::writePicture(media::drawTestCard(48, 27), path("card.png"), false);
    std::filesystem::create_directories(own());
    setenv("XDG_DATA_HOME", path("data").c_str(), 1);
  }
  ~UserPreset() override {
    unsetenv("XDG_DATA_HOME");
    setenv("HOME", home_.c_str(), 1);
  }

  std::filesystem::path own() const { return path("data") / "lomix" / "presets"; }
  static std::string preset(const std::string& description, int noise) {
    return R"({"format": 1, "name": "Mine", "description": ")" + description +
           R"(", "parameters": {"Noise": )" + std::to_string(noise) + "}}\n";
  }
  /// Returns the bytes of the card with a preset.
  std::string rendered(const std::string& name) {
    const Result result =
        run({"render", "card.png", "out.png", "--overwrite", "--quiet", "--preset", name});
    EXPECT_EQ(result.exitCode, 0) << name << result.err;
    return read(path("out.png"));
  }

 private:
  std::string home_;
};

TEST_F(UserPreset, IsListedAndTakenByName) {
  write(own() / "Late Night.json", preset("Much grain", 80));
  write(own() / "late-night.json", preset("Little grain", 5));
  write(path("much.json"), preset("Much grain", 80));
  write(path("little.json"), preset("Little grain", 5));
  const Result list = run({"presets"});
  EXPECT_THAT(list.out, AllOf(HasSubstr("\nweak-aerial "), HasSubstr("\nIn '" + own().string()),
                              HasSubstr("\nLate Night            Much grain\n")));
  EXPECT_EQ(list.err, "");
  // The very name first, then any spelling.
  EXPECT_EQ(rendered("Late Night"), rendered("much.json"));
  EXPECT_EQ(rendered("late-night"), rendered("little.json"));
  EXPECT_EQ(rendered("late_NIGHT"), rendered("much.json"));
  EXPECT_EQ(run({"presets", "--show", "late-night"}).out, preset("Little grain", 5));
  const auto json = nlohmann::json::parse(run({"presets", "--json"}).out);
  ASSERT_EQ(json["ownPresets"].size(), 2);
  EXPECT_EQ(json["ownPresets"][1]["id"], "late-night");
  EXPECT_EQ(json["ownPresets"][1]["parameters"]["Noise"], 5);
  const Result wrong = run({"render", "card.png", "x.png", "--preset", "late-nigth"});
  EXPECT_EQ(wrong.exitCode, 2);
  EXPECT_THAT(wrong.err, HasSubstr("did you mean 'late-night'?"));
}

TEST_F(UserPreset, LosesItsNameToABuiltInOne) {
  const std::string builtIn = rendered("snow");
  write(own() / "Snow.json", preset("Not the snow", 1));
  EXPECT_THAT(run({"presets"}).out, HasSubstr("Not the snow (hidden by the built-in preset"));
  EXPECT_EQ(rendered("snow"), builtIn);
  EXPECT_EQ(rendered("Snow"), builtIn);
  EXPECT_NE(rendered((own() / "Snow.json").string()), builtIn);
}

TEST_F(UserPreset, ThatIsBrokenIsOneWarning) {
  write(own() / "a.json", "{");
  write(own() / "b.json", R"({"format": 1, "name": "B", "description": "B",
                              "parameters": {"Nose": 1}})");
  std::filesystem::create_directory(own() / "c.json");
  std::filesystem::create_symlink(own() / "nowhere", own() / "d.json");
  write(own() / "good.json", preset("Works", 5));
  write(own() / "notes.txt", "no preset");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"presets"}, {"presets", "--json"}}) {
    const Result list = run(arguments);
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_THAT(list.out, AllOf(HasSubstr("Works"), Not(HasSubstr("notes"))));
    EXPECT_THAT(list.err, testing::MatchesRegex("warning: [^\n]*a\\.json[^\n]*\n"
                                                "warning: [^\n]*b\\.json[^\n]*Nose[^\n]*\n"
                                                "warning: [^\n]*c\\.json[^\n]*\n"
                                                "warning: [^\n]*d\\.json[^\n]*\n"));
  }
  const Result broken = run({"render", "card.png", "x.png", "--preset", "a"});
  EXPECT_EQ(broken.exitCode, 1);
  EXPECT_THAT(broken.err, HasSubstr("a.json"));
}

TEST_F(UserPreset, IsNoOutputOfTheRunThatReadsIt) {
  write(own() / "mine.json", preset("Mine", 5));
  const std::string file = (own() / "mine.json").string();
  const Result result = run({"render", "card.png", "x.png", "--preset", "mine", "--set", "Noise=9",
                             "--save-preset", file, "--overwrite"});
  EXPECT_EQ(result.exitCode, 2) << result.err;
  EXPECT_EQ(read(file), preset("Mine", 5));
}

TEST_F(UserPreset, FolderComesFromTheEnvironment) {
  const std::string below = (path(".local") / "share" / "lomix" / "presets").string();
  std::filesystem::create_directories(below);
  write(below + "/home.json", preset("At home", 5));
  write(own() / "data.json", preset("In the data folder", 5));
  setenv("HOME", folder_.c_str(), 1);
  struct Case {
    const char* data;
    const char* listed;
  };
  for (const Case& c : {Case{"", "At home"}, {"data", "At home"}, {nullptr, "At home"}}) {
    c.data != nullptr ? setenv("XDG_DATA_HOME", c.data, 1) : unsetenv("XDG_DATA_HOME");
    EXPECT_THAT(run({"presets"}).out, AllOf(HasSubstr(c.listed), Not(HasSubstr("In the data"))));
  }
  unsetenv("HOME");
  const Result bare = run({"presets"});
  EXPECT_EQ(bare.exitCode, 0);
  EXPECT_THAT(bare.out, Not(HasSubstr("At home")));
  EXPECT_EQ(run({"render", "card.png", "x.png", "--preset", "home"}).exitCode, 2);
}

}  // namespace
}  // namespace lomix
