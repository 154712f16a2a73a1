// Presets: the built-in ones, those of the first format, and invalid ones.
#include <gmock/gmock.h>

#include <map>
#include <set>

#include "looks/PresetStore.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/ScratchFolder.h"

namespace lomix::looks {
namespace {

using testing::HasSubstr;

class Presets : public ScratchFolder {
 protected:
  Preset parse(const std::string& text) { return parsePreset(text, "'p.json'", table()); }
  const ParameterTable& table() { return effectTable(); }

  std::map<std::string, double> valuesAt(const Look& look, double seconds) {
    std::map<std::string, double> values;
    for (const Parameter& parameter : table().all()) {
      if (look.curves().contains(parameter.index)) {
        values[parameter.name] = look.valueAt(parameter, seconds);
      }
    }
    return values;
  }
};

std::string manyNames() {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "\"" + std::to_string(i) + "\": 0, ";
  return text;
}

// The file never changes: every later version has to load what an earlier one saved.
TEST_F(Presets, AFileOfTheFirstFormatMeansWhatItMeant) {
  const Preset preset = parse(read(PRESET_FORMAT_1));
  EXPECT_EQ(preset.name, "Everything");
  EXPECT_EQ(preset.description, "Every parameter of the first format, some of them with keys");
  std::map<std::string, double> expected{{"Time Control", 2},     {"Time", 5},
                                         {"Distortion Mode", 1},  {"Signal Distortion", 12.5},
                                         {"Scan Distortion", 20}, {"Horizontal Sync", -3},
                                         {"Vertical Sync", 4.5},  {"Bars Overlay", 0},
                                         {"Noise", 33},           {"Scanline Overlay", 100},
                                         {"Scanline Speed", 100}, {"Scanline Thickness", 2},
                                         {"Blend w/Original", 10}};
  EXPECT_EQ(valuesAt(preset.look, 0), expected);
  expected["Time"] = 5.4;
  expected["Distortion Mode"] = 2;
  expected["Scan Distortion"] = 20;
  expected["Scanline Speed"] = -10000;
  EXPECT_EQ(valuesAt(preset.look, 2), expected);
}

TEST_F(Presets, TheBuiltInOnesAreValidAndSurviveBeingSaved) {
  EXPECT_GE(builtInPresets().size(), 12u);
  std::set<std::string> names, looks;
  for (const auto& [id, name, description, text] : builtInPresets()) {
    const Preset preset = parsePreset(text, id, table());
    EXPECT_EQ(preset.name, name);
    EXPECT_EQ(preset.description, description);
    EXPECT_EQ(normalisedName(preset.name), id);
    names.insert(preset.name);
    EXPECT_FALSE(preset.look.curves().empty()) << id;
    const auto saved = path(std::string(id) + ".json");
    savePreset(preset.look, table(), saved, false);
    const auto back = findPreset(saved.string());
    const Preset again = parsePreset(back.text, back.source, table());
    EXPECT_EQ(normalisedName(again.name), id);
    for (const double seconds : {-1.0, 0.0, 0.7, 1.1, 2.45, 60.0}) {
      EXPECT_EQ(valuesAt(again.look, seconds), valuesAt(preset.look, seconds)) << id;
    }
    looks.insert(toJson(again, table())["description"]);
  }
  EXPECT_EQ(names.size(), builtInPresets().size());
  EXPECT_EQ(looks.size(), builtInPresets().size());
}

TEST_F(Presets, ASavedOneIsReplacedOnlyOnRequest) {
  Look look;
  look.set(table().get("Noise", "").index, 30.0);
  savePreset(look, table(), path("a.json"), false);
  EXPECT_NO_THROW(savePreset(look, table(), path("a.json"), false));
  look.set(table().get("Noise", "").index, 31.0);
  EXPECT_THROW(savePreset(look, table(), path("a.json"), false), MediaError);
  EXPECT_THAT(read(path("a.json")), HasSubstr("\"Noise\": 30"));
  savePreset(look, table(), path("a.json"), true);
  EXPECT_THAT(read(path("a.json")), HasSubstr("\"Noise\": 31"));
  EXPECT_EQ(names(), std::set<std::string>{"a.json"});
}

TEST_F(Presets, LongTextsAndManyValuesAreRefused) {
  const std::string begin = R"({"format": 1, "name": "a", "description": "b", ")";
  std::string many = begin + R"(keys": {"Noise": [0)";
  for (int i = 0; i < 100'000; ++i) many += ",1";
  for (const auto& [text, cause] :
       {std::pair{begin + std::string(5000, 'k') + R"(": 1})", "too long"},
        {begin + R"(x": ")" + std::string(5000, 'v') + R"("})", "too long"},
        {many + "]}}", "too many values"},
        {begin + std::string(3000, 'k') + R"(": 1})", "kkk...\""}}) {
    try {
      parsePreset(text, "it", table());
      ADD_FAILURE() << cause;
    } catch (const CommandError& error) {
      EXPECT_THAT(error.what(), HasSubstr(cause));
      EXPECT_LT(std::string(error.what()).size(), 300u);
    }
  }
}

TEST_F(Presets, ErrorsNameTheLineAndTheCause) {
  struct Case {
    std::string text;
    int line;
    const char* hint;
  };
  const auto with = [](const std::string& more) {
    return "{\n \"format\": 1,\n \"name\": \"N\", \"description\": \"D\",\n" + more + "\n}\n";
  };
  const auto keys = [&](const std::string& list) {
    return with("\"keys\": {\"Noise\": " + list + "}");
  };
  for (const Case& c : std::vector<Case>{
           {"", 1, "not JSON"},
           {"{\n\"format\": 1,,\n}", 2, "not JSON"},
           {"{\n\"name\": \"\xff\"}", 2, "not JSON"},
           {"[\n[[{\"a\": 1e999}]]]", 2, "not JSON"},
           {"\n" + std::string(100000, '['), 2, "nested too deeply"},
           {"{\n" + manyNames(), 2, "too many names (the limit is 256)"},
           {"\n[]", 2, "a preset must be an object"},
           {"{\n\n\"name\": \"N\"}", 1, "\"format\" is missing"},
           {"{\n\"format\": \"1\"}", 2, "\"format\" must be a whole number"},
           {"{\n\"format\": 2, \"colours\": []}", 2, "newer lomix"},
           {"{\n\"format\": 1,\n\"description\": \"D\"}", 1, "\"name\" is missing"},
           {"{\"format\": 1,\n\"name\":\n3, \"description\": \"D\"}", 2, "\"name\" must be text"},
           {"{\"format\": 1, \"name\": \"N\",\n\"description\": \"a\\nb\"}", 2, "one line"},
           {with("\"colour\": 1"), 4, "\"colour\" is not known here"},
           {with("\"parameters\": []"), 4, "\"parameters\" must be an object"},
           {with("\"parameters\": {\n\"Bars Overlay\": 1,\n\"Nose\": 3}"), 6, "'Noise'"},
           {with("\"parameters\": {\n\"Noise\": 101}"), 5, "Noise: 101 is out of range (use 0 %"},
           {with("\"parameters\": {\n\"Noise\": \"30\"}"), 5, "write a number"},
           {with("\"parameters\": {\"Distortion Mode\": 1}"), 4, "a choice in quotes"},
           {with("\"parameters\": {\"Distortion Mode\": \"Fold\"}"), 4, "Tile or Stretch"},
           {with("\"parameters\": {\"Noise\": 1,\n\"Noise\": 2}"), 5, "already in this object"},
           {with("\"parameters\": {\"Noise\": 1,\n\"noise\": 2}"), 5, "set twice"},
           {with("\"parameters\": {\"Noise\": 1},\n\"keys\": {\n\"Noise\": []}"), 6, "no key"},
           {with("\"keys\": {\n\"Time Control\": []}"), 5, "cannot change over time"},
           {keys("5"), 4, "must be a list"},
           {keys("[\n{\"seconds\": 0, \"value\": 1},\n3]"), 6, "a key of Noise must be an object"},
           {keys("[\n{\n\"seconds\": 0}]"), 5, "\"value\" is missing"},
           {keys("[{\"seconds\":\n0,\n\"value\":\n-1}]"), 6, "out of range"},
           {keys("[{\"seconds\": true, \"value\": 1}]"), 4, "\"seconds\" must be a number"},
           {keys("[{\"seconds\": 0, \"value\": 1},\n{\"seconds\": 0, \"value\": 1}]"), 5, "order"},
           {keys("[{\"seconds\": 0, \"value\": 1,\n\"interpolation\": \"fast\"}]"), 5, "\"hold\""},
           {keys("[{\"seconds\": 0, \"value\": 1,\n\"ease\": true}]"), 5, "\"ease\" is not known"},
       }) {
    EXPECT_THAT([&] { parse(c.text); },
                testing::ThrowsMessage<CommandError>(
                    AllOf(testing::StartsWith("'p.json' line " + std::to_string(c.line) + ": "),
                          HasSubstr(c.hint), testing::EndsWith(")"))))
        << c.text;
  }
}

}  // namespace
}  // namespace lomix::looks
