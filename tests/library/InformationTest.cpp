// Version, statuses, parameters, presets and looks through the C API.
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "effect/shell/EffectInfo.h"
#include "effect/shell/Parameters.h"
#include "engine/SimdTarget.h"
#include "lomix/lomix.h"

namespace lomix::library_test {
namespace {

using testing::HasSubstr;

struct DestroyLook {
  void operator()(lomix_look* look) const { lomix_look_destroy(look); }
};
using LookPtr = std::unique_ptr<lomix_look, DestroyLook>;

LookPtr newLook() {
  lomix_look* look = nullptr;
  EXPECT_EQ(lomix_look_create(&look, nullptr), LOMIX_OK);
  return LookPtr(look);
}

std::array<double, 13> valuesOf(const LookPtr& look, double seconds) {
  std::array<double, 13> values{};
  EXPECT_EQ(lomix_look_values(look.get(), seconds, values.data(), 13, nullptr), LOMIX_OK);
  return values;
}

double valueOf(const LookPtr& look, const char* name, double seconds) {
  std::int32_t index = -1;
  EXPECT_EQ(lomix_parameter_find(name, &index, nullptr), LOMIX_OK) << name;
  return valuesOf(look, seconds).at(static_cast<std::size_t>(index));
}

std::string jsonOf(const LookPtr& look, const char* name = nullptr,
                   const char* description = nullptr) {
  std::size_t length = 0;
  EXPECT_EQ(lomix_look_write_json(look.get(), name, description, nullptr, 0, &length, nullptr),
            LOMIX_BUFFER_TOO_SMALL);
  std::string text(length, '\0');
  EXPECT_EQ(lomix_look_write_json(look.get(), name, description, text.data(), length + 1, &length,
                                  nullptr),
            LOMIX_OK);
  return text;
}

TEST(Version, IsTheEffects) {
  EXPECT_EQ(LOMIX_VERSION_MAJOR, kVersionMajor);
  EXPECT_EQ(LOMIX_VERSION_MINOR, kVersionMinor);
  EXPECT_EQ(LOMIX_VERSION_PATCH, kVersionBugfix);
  EXPECT_EQ(lomix_version(), LOMIX_VERSION);
  EXPECT_EQ(lomix_version_text(), std::to_string(kVersionMajor) + "." +
                                      std::to_string(kVersionMinor) + "." +
                                      std::to_string(kVersionBugfix));
  EXPECT_EQ(lomix_api_2(), LOMIX_API_NUMBER);
  EXPECT_STREQ(lomix_instruction_set(), engine::availableTargets().front()->name);
  // Set where a run on an emulated processor has to prove which code it exercises.
  if (const char* expected = std::getenv("LOMIX_EXPECT_INSTRUCTION_SET")) {
    EXPECT_STREQ(lomix_instruction_set(), expected);
  }
}

TEST(Status, EveryOneHasATextOfItsOwn) {
  std::set<std::string> texts;
  for (lomix_status status = LOMIX_OK; status <= LOMIX_INTERNAL_ERROR; ++status) {
    texts.insert(lomix_status_text(status));
  }
  EXPECT_EQ(texts.size(), 9u);
  EXPECT_EQ(texts.count(lomix_status_text(1234)), 0u);
}

TEST(Parameters, AreThoseOfTheEffect) {
  ASSERT_EQ(lomix_parameter_count(), static_cast<int>(kParameters.size()));
  for (std::int32_t i = 0; i < lomix_parameter_count(); ++i) {
    const ParameterSpec& spec = kParameters[static_cast<std::size_t>(i)];
    lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
    ASSERT_EQ(lomix_parameter_get(i, &info, nullptr), LOMIX_OK);
    EXPECT_EQ(info.struct_size, sizeof info);
    EXPECT_EQ(info.index, i);
    EXPECT_STREQ(info.key, spec.key);
    EXPECT_STREQ(info.name, spec.name);
    EXPECT_STREQ(info.unit, spec.unit);
    EXPECT_STREQ(info.help, spec.help);
    EXPECT_EQ(info.default_value, spec.defaultValue);
    EXPECT_EQ(info.decimals, spec.precision);
    EXPECT_EQ(info.flags == LOMIX_PARAMETER_CONSTANT, i == 0) << "Time Control alone has no keys";
    if (spec.type == PF_Param_POPUP) {
      EXPECT_EQ(info.kind, LOMIX_CHOICE);
      ASSERT_EQ(info.choice_count, 2);
      EXPECT_EQ(std::string(info.choices[0]) + "|" + info.choices[1], spec.choices);
    } else {
      EXPECT_EQ(info.kind, LOMIX_NUMBER);
      EXPECT_EQ(info.minimum, spec.validMin);
      EXPECT_EQ(info.maximum, spec.validMax);
      EXPECT_EQ(info.slider_minimum, spec.sliderMin);
      EXPECT_EQ(info.slider_maximum, spec.sliderMax);
      EXPECT_EQ(info.choices, nullptr);
    }
  }
}

TEST(Parameters, ASmallerStructIsNotWrittenBeyondItsEnd) {
  lomix_parameter_info info;
  std::memset(&info, 0x5A, sizeof info);
  info.struct_size = offsetof(lomix_parameter_info, unit);
  ASSERT_EQ(lomix_parameter_get(4, &info, nullptr), LOMIX_OK);
  EXPECT_STREQ(info.key, "scan_distortion");
  EXPECT_STREQ(info.name, "Scan Distortion");
  const auto* bytes = reinterpret_cast<const unsigned char*>(&info);
  for (std::size_t i = info.struct_size; i < sizeof info; ++i) ASSERT_EQ(bytes[i], 0x5A) << i;
}

TEST(Parameters, AreFoundByAnySpelling) {
  struct Case {
    const char* name;
    int index;
  };
  for (const Case& c : {Case{"scan_distortion", 4},
                        {"Scan Distortion", 4},
                        {"SCAN-distortion", 4},
                        {"Blend w/Original", 12},
                        {"blend_with_original", 12},
                        {"time", 1}}) {
    std::int32_t index = -7;
    EXPECT_EQ(lomix_parameter_find(c.name, &index, nullptr), LOMIX_OK) << c.name;
    EXPECT_EQ(index, c.index) << c.name;
  }
  std::int32_t index = 3;
  lomix_error error = LOMIX_ERROR_INIT;
  EXPECT_EQ(lomix_parameter_find("nois", &index, &error), LOMIX_UNKNOWN_NAME);
  EXPECT_EQ(index, -1);
  EXPECT_STREQ(error.message, "there is no parameter 'nois' (did you mean 'Noise'?)");
  EXPECT_EQ(error.status, LOMIX_UNKNOWN_NAME);
}

TEST(Errors, AMessageIsCutAtAWholeCharacterAndWithinItsRecord) {
  std::string name = "N\u00f6\u00f6\u00f6\u00f6\u00f6\u00f6\u00f6\u00f6";
  for (std::uint32_t size = 0; size <= 64; ++size) {
    lomix_error error;
    std::memset(&error, 0x5A, sizeof error);
    error.struct_size = size;
    std::int32_t index = 0;
    EXPECT_EQ(lomix_parameter_find(name.c_str(), &index, &error), LOMIX_UNKNOWN_NAME);
    const auto* bytes = reinterpret_cast<const unsigned char*>(&error);
    for (std::size_t i = std::max<std::size_t>(size, 4); i < sizeof error; ++i) {
      ASSERT_EQ(bytes[i], 0x5A) << "byte " << i << " of a record of " << size;
    }
    if (size <= offsetof(lomix_error, message)) continue;
    const std::string message = error.message;
    ASSERT_LT(message.size(), size - offsetof(lomix_error, message));
    EXPECT_TRUE(message.empty() || (static_cast<unsigned char>(message.back()) & 0xC0) != 0xC0)
        << message;
  }
}

TEST(Looks, ValuesKeysAndDefaults) {
  const LookPtr look = newLook();
  for (std::size_t i = 0; i < kParameters.size(); ++i) {
    EXPECT_EQ(valuesOf(look, 3.0)[i], kParameters[i].defaultValue);
  }
  EXPECT_EQ(lomix_look_set_number(look.get(), "noise", 30.0, nullptr), LOMIX_OK);
  EXPECT_EQ(lomix_look_set_text(look.get(), "Distortion Mode", "tile", nullptr), LOMIX_OK);
  EXPECT_EQ(lomix_look_set_text(look.get(), "bars overlay", "12.5 %", nullptr), LOMIX_OK);
  EXPECT_EQ(lomix_look_set_keys_text(look.get(), "vertical_sync", "0:-100,2:100@ease,4:0", nullptr),
            LOMIX_OK);
  EXPECT_EQ(valueOf(look, "noise", -1), 30);
  EXPECT_EQ(valueOf(look, "distortion_mode", 0), 1);
  EXPECT_EQ(valueOf(look, "bars_overlay", 0), 12.5);
  EXPECT_EQ(valueOf(look, "vertical_sync", 0.5), -50);
  EXPECT_EQ(valueOf(look, "vertical_sync", 3.0), 50);
  EXPECT_EQ(lomix_look_reset(look.get(), "noise", nullptr), LOMIX_OK);
  EXPECT_EQ(valueOf(look, "noise", 0), 0);

  lomix_look* copied = nullptr;
  ASSERT_EQ(lomix_look_copy(look.get(), &copied, nullptr), LOMIX_OK);
  const LookPtr copy(copied);
  EXPECT_EQ(lomix_look_set_number(look.get(), "bars_overlay", 1, nullptr), LOMIX_OK);
  EXPECT_EQ(valueOf(copy, "bars_overlay", 0), 12.5);
}

TEST(Looks, KeysAreAddedInOrderAndReplacedAtTheSameTime) {
  const LookPtr look = newLook();
  const auto add = [&](double seconds, double value, std::int32_t interpolation) {
    const lomix_key key{sizeof(lomix_key), interpolation, seconds, value};
    return lomix_look_add_key(look.get(), "noise", &key, nullptr);
  };
  EXPECT_EQ(add(2, 20, LOMIX_EASE), LOMIX_OK);
  EXPECT_EQ(add(0, 10, 0), LOMIX_OK);
  EXPECT_EQ(add(4, 40, LOMIX_HOLD), LOMIX_OK);
  EXPECT_EQ(add(2, 30, LOMIX_HOLD), LOMIX_OK);
  std::array<lomix_key, 3> keys{};
  keys[0].struct_size = sizeof(lomix_key);
  std::int32_t count = 0;
  ASSERT_EQ(lomix_look_get_keys(look.get(), "noise", nullptr, 0, &count, nullptr), LOMIX_OK);
  ASSERT_EQ(count, 3);
  ASSERT_EQ(lomix_look_get_keys(look.get(), "noise", keys.data(), 3, &count, nullptr), LOMIX_OK);
  const double expected[3][3] = {{0, 10, LOMIX_LINEAR}, {2, 30, LOMIX_HOLD}, {4, 40, LOMIX_HOLD}};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(keys[i].seconds, expected[i][0]);
    EXPECT_EQ(keys[i].value, expected[i][1]);
    EXPECT_EQ(keys[i].interpolation, expected[i][2]);
  }
  EXPECT_EQ(valueOf(look, "noise", 1), 20);
  // Keys that are read can be set again.
  const LookPtr other = newLook();
  EXPECT_EQ(lomix_look_set_keys(other.get(), "Noise", keys.data(), 3, nullptr), LOMIX_OK);
  EXPECT_EQ(jsonOf(other), jsonOf(look));
  // A refused key changes nothing.
  EXPECT_EQ(add(3, 101, 0), LOMIX_OUT_OF_RANGE);
  EXPECT_EQ(add(std::nan(""), 1, 0), LOMIX_BAD_ARGUMENT);
  EXPECT_EQ(add(3, 1, 9), LOMIX_BAD_ARGUMENT);
  EXPECT_EQ(jsonOf(other), jsonOf(look));
  // One value for all times has no keys, and gives way to the first key.
  EXPECT_EQ(lomix_look_set_number(look.get(), "noise", 5, nullptr), LOMIX_OK);
  ASSERT_EQ(lomix_look_get_keys(look.get(), "noise", keys.data(), 3, &count, nullptr), LOMIX_OK);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(add(7, 70, 0), LOMIX_OK);
  EXPECT_EQ(add(8, 80, 0), LOMIX_OK);
  EXPECT_EQ(valueOf(look, "noise", 7.5), 75);
}

TEST(Looks, FramesOfKeysReachFromTheFirstKeyToTheLast) {
  struct Case {
    const char* keys;
    double rate;
    std::int64_t first;
    std::int32_t count;
  };
  for (const Case& c : {Case{"0:0,1:10", 24, 0, 25},
                        {"0:0,1:10", 23.976, 0, 25},  // Frame 23.976 is after 1 s.
                        {"1.001:5,2.002:50@ease,3:1", 23.976, 24, 49},  // Keys on frames.
                        {"0.51:7,0.52:8", 10, 5, 2},
                        {"-0.25:7,0.1:8@hold,0.2:9", 10, -3, 6},
                        {"2:7", 24, 0, 0}}) {
    const LookPtr look = newLook();
    ASSERT_EQ(lomix_look_set_keys_text(look.get(), "noise", c.keys, nullptr), LOMIX_OK);
    std::int64_t first = -1;
    std::int32_t count = -1;
    std::array<double, 64> values{};
    ASSERT_EQ(
        lomix_look_get_frames(look.get(), "Noise", c.rate, &first, nullptr, 0, &count, nullptr),
        LOMIX_OK);
    EXPECT_EQ(first, c.first) << c.keys;
    EXPECT_EQ(count, c.count) << c.keys;
    values.fill(-1);
    ASSERT_EQ(lomix_look_get_frames(look.get(), "noise", c.rate, &first, values.data(), 50, &count,
                                    nullptr),
              LOMIX_OK);
    for (int i = 0; i < 64; ++i) {
      const double time = lomix_time_of_frame(static_cast<double>(c.first) + i, c.rate);
      EXPECT_EQ(values[static_cast<std::size_t>(i)], i < count ? valueOf(look, "noise", time) : -1)
          << c.keys << ", frame " << i;
    }
  }
  const LookPtr look = newLook();
  std::int64_t first = -1;
  std::int32_t count = -1;
  EXPECT_EQ(lomix_look_get_frames(look.get(), "noise", 24, &first, nullptr, 0, &count, nullptr),
            LOMIX_OK);
  EXPECT_EQ(count, 0) << "one value for all times";
  for (const char* keys : {"0:0,1e9:10", "-1e300:0,1e300:10", "1e300:1,1.1e300:2"}) {
    ASSERT_EQ(lomix_look_set_keys_text(look.get(), "noise", keys, nullptr), LOMIX_OK) << keys;
    lomix_error error = LOMIX_ERROR_INIT;
    EXPECT_EQ(lomix_look_get_frames(look.get(), "noise", 24, &first, nullptr, 0, &count, &error),
              LOMIX_BAD_ARGUMENT);
    EXPECT_THAT(error.message, HasSubstr("too many frames"));
    EXPECT_EQ(count, 0);
  }
}

// A program of a newer library, whose keys have a field that this one does not know.
TEST(Looks, KeysOfAnotherSizeAreReadAndWrittenWhereTheyAre) {
  struct LaterKey {
    lomix_key key;
    double later;
  };
  const LookPtr look = newLook();
  LaterKey keys[3] = {};
  for (int i = 0; i < 3; ++i) keys[i] = {{sizeof(LaterKey), 0, i * 1.0, i * 10.0}, 77.0};
  ASSERT_EQ(lomix_look_set_keys(look.get(), "noise", &keys[0].key, 3, nullptr), LOMIX_OK);
  EXPECT_EQ(valueOf(look, "noise", 1.5), 15);
  for (int i = 0; i < 3; ++i) keys[i].key.seconds = keys[i].key.value = -1.0;
  std::int32_t count = 0;
  ASSERT_EQ(lomix_look_get_keys(look.get(), "noise", &keys[0].key, 3, &count, nullptr), LOMIX_OK);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(keys[i].key.seconds, i * 1.0);
    EXPECT_EQ(keys[i].key.value, i * 10.0);
    EXPECT_EQ(keys[i].later, 77.0) << "not the library's to write";
  }
}

TEST(Looks, JsonGoesRoundAndErrorsNameTheLine) {
  const LookPtr look = newLook();
  EXPECT_EQ(lomix_look_set_text(look.get(), "distortion_mode", "Tile", nullptr), LOMIX_OK);
  EXPECT_EQ(lomix_look_set_keys_text(look.get(), "noise", "0:0,2.5:60@ease,4:0", nullptr),
            LOMIX_OK);
  const std::string text = jsonOf(look, "Mine", "A test");
  EXPECT_THAT(text, HasSubstr("\"name\": \"Mine\""));
  lomix_look* read = nullptr;
  ASSERT_EQ(lomix_look_create_from_json(text.data(), text.size(), nullptr, &read, nullptr),
            LOMIX_OK);
  EXPECT_EQ(jsonOf(LookPtr(read), "Mine", "A test"), text);

  struct Case {
    const char* text;
    const char* message;
  };
  for (const Case& c :
       {Case{"", "'x.json' line 1: "},
        {"{\n\"format\": 1,\n\"name\": \"n\", \"description\": \"d\",\n\"parameters\": "
         "{\n\"Nose\": 1}}",
         "'x.json' line 5: preset: there is no parameter 'Nose' (did you mean 'Noise'?)"},
        {"{\"format\": 1, \"name\": \"n\", \"description\": \"d\",\n\"parameters\": {\"Noise\": "
         "101}}",
         "'x.json' line 2: Noise: 101 is out of range (use 0 % to 100 %)"},
        {"{\"format\": 99}", "later than this version can read"}}) {
    lomix_error error = LOMIX_ERROR_INIT;
    read = reinterpret_cast<lomix_look*>(1);
    EXPECT_EQ(lomix_look_create_from_json(c.text, std::strlen(c.text), "'x.json'", &read, &error),
              LOMIX_BAD_PRESET);
    EXPECT_EQ(read, nullptr);
    EXPECT_THAT(error.message, HasSubstr(c.message));
  }
}

TEST(Looks, ADescriptionOfEverythingStillFitsAPreset) {
  const LookPtr look = newLook();
  for (const ParameterSpec& spec : kParameters) {
    EXPECT_EQ(lomix_look_set_number(look.get(), spec.key, spec.type == PF_Param_POPUP ? 2 : 12.25,
                                    nullptr),
              LOMIX_OK);
  }
  const std::string text = jsonOf(look);
  lomix_look* read = nullptr;
  lomix_error error = LOMIX_ERROR_INIT;
  EXPECT_EQ(lomix_look_create_from_json(text.data(), text.size(), nullptr, &read, &error), LOMIX_OK)
      << error.message;
  EXPECT_EQ(valuesOf(LookPtr(read), 1.0), valuesOf(look, 1.0));
}

TEST(Effect, SaysWhatMenusShow) {
  EXPECT_STREQ(lomix_effect_name(), "Lomix");
  EXPECT_STREQ(lomix_effect_category(), "Distort");
  EXPECT_THAT(lomix_effect_description(), HasSubstr("Distortion"));
}

TEST(Presets, AreListedAndMakeLooks) {
  ASSERT_GE(lomix_preset_count(), 18);
  std::string last;
  for (std::int32_t i = 0; i < lomix_preset_count(); ++i) {
    lomix_preset_info info = LOMIX_PRESET_INFO_INIT;
    ASSERT_EQ(lomix_preset_get(i, &info, nullptr), LOMIX_OK);
    EXPECT_LT(last, info.id);
    last = info.id;
    lomix_look* byName = nullptr;
    lomix_look* byText = nullptr;
    EXPECT_EQ(lomix_look_create_from_preset(info.id, &byName, nullptr), LOMIX_OK) << info.id;
    EXPECT_EQ(
        lomix_look_create_from_json(info.json, std::strlen(info.json), nullptr, &byText, nullptr),
        LOMIX_OK);
    const LookPtr named(byName);
    EXPECT_EQ(jsonOf(named), jsonOf(LookPtr(byText)));
    EXPECT_THAT(jsonOf(named, info.name, info.description), HasSubstr(info.description));
  }
  lomix_error error = LOMIX_ERROR_INIT;
  lomix_look* look = nullptr;
  EXPECT_EQ(lomix_look_create_from_preset("Weak Arial", &look, &error), LOMIX_UNKNOWN_NAME);
  EXPECT_THAT(error.message, HasSubstr("did you mean 'weak-aerial'?"));
}

}  // namespace
}  // namespace lomix::library_test
