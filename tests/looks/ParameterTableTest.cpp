// Parameters by name, and values as people type them.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <set>
#include <utility>

#include "looks/LookErrors.h"
#include "looks/ParameterTable.h"
#include "support/Text.h"

namespace lomix::looks {
namespace {

using testing::AllOf;
using testing::HasSubstr;

Parameter slider(int index, const char* name, double minimum, double maximum, const char* unit) {
  Parameter parameter;
  parameter.index = index;
  parameter.name = name;
  parameter.unit = unit;
  parameter.minimum = minimum;
  parameter.maximum = maximum;
  return parameter;
}

Parameter popup(int index, const char* name, std::vector<std::string> choices) {
  Parameter parameter;
  parameter.index = index;
  parameter.name = name;
  parameter.isChoice = true;
  parameter.minimum = 1;
  parameter.maximum = static_cast<double>(choices.size());
  parameter.choices = std::move(choices);
  return parameter;
}

const ParameterTable& table() {
  static const ParameterTable instance({popup(0, "Edge Mode", {"Wrap Round", "Hold"}),
                                        slider(1, "Amount", -100, 100, "%"),
                                        slider(2, "Speed w/Limit", -2.5, 1000, "")});
  return instance;
}

/// Reads "Name=Value".
std::pair<int, double> assign(std::string_view text) {
  const std::size_t equals = text.find('=');
  const Parameter& parameter = table().get(trimmed(text.substr(0, equals)), "test");
  return {parameter.index, parseValue(parameter, trimmed(text.substr(equals + 1)))};
}

TEST(ParameterTable, AssignmentsAreReadAsInThePanel) {
  struct Case {
    const char* text;
    int index;
    double value;
  };
  for (const Case& c : {Case{"Amount=30", 1, 30},
                        {"amount = 30 %", 1, 30},
                        {"AMOUNT=-12.5%", 1, -12.5},
                        {"Amount=100", 1, 100},
                        {"Amount=-100", 1, -100},
                        {"speed-w-limit=1e3", 2, 1000},
                        {"Speed w/Limit=-2.5", 2, -2.5},
                        {"speed_w/limit=0", 2, 0},
                        {"Edge Mode=Hold", 0, 2},
                        {"edge-mode=wrap round", 0, 1},
                        {"EDGE_MODE=wrap-round", 0, 1},
                        {" edge  mode = 2 ", 0, 2}}) {
    EXPECT_EQ(assign(c.text), std::pair(c.index, c.value)) << c.text;
  }
}

TEST(ParameterTable, RefusalsNameTheWayOut) {
  struct Case {
    const char* text;
    const char* hint;
  };
  for (const Case& c : {Case{"Amont=3", "'Amount'"},
                        {"speed=3", "did you mean"},
                        {"edge=1", "'Edge Mode'"},
                        {"=3", "the name of the parameter is missing"},
                        {"Amount=", "-100 % to 100 %"},
                        {"Amount=100.5", "-100 % to 100 %"},
                        {"Amount=-101", "-100 % to 100 %"},
                        {"Amount=nan", "-100 %"},
                        {"Amount=3%%", "-100 %"},
                        {"Amount=%", "-100 %"},
                        {"Amount=1,5", "-100 %"},
                        {"speed w limit=3%", "-2.5 to 1000"},
                        {"speed w limit=1000.1", "-2.5 to 1000"},
                        {"Edge Mode=0", "Wrap Round or Hold"},
                        {"Edge Mode=3", "1 to 2"},
                        {"Edge Mode=1.0", "1 to 2"},
                        {"Edge Mode=Ho", "Hold"},
                        {"Edge Mode=", "Hold"}}) {
    EXPECT_THAT([&] { assign(c.text); },
                testing::ThrowsMessage<UsageError>(AllOf(HasSubstr(c.hint), HasSubstr(": "))))
        << c.text;
  }
}

TEST(ParameterTable, UnknownNamesSayTheNearestOneAndWhereAllAreListed) {
  const auto withHint = [](const ParameterTable& parameters, const char* name) -> std::string {
    try {
      parameters.get(name, "--set");
    } catch (const UnknownName& error) {
      return error.withHint("see the list").what();
    }
    return "found";
  };
  EXPECT_EQ(withHint(table(), "Amont"),
            "--set: there is no parameter 'Amont' (did you mean 'Amount'? see the list)");
  EXPECT_EQ(withHint(ParameterTable({}), "Amount"),
            "--set: there is no parameter 'Amount' (see the list)");
}

// Other programs and files store the keys.
TEST(EffectTable, KeysAreStableAndFindTheirParameters) {
  const std::vector<std::string> keys{"time_control",
                                      "time",
                                      "distortion_mode",
                                      "signal_distortion",
                                      "scan_distortion",
                                      "horizontal_sync",
                                      "vertical_sync",
                                      "bars_overlay",
                                      "noise",
                                      "scanline_overlay",
                                      "scanline_speed",
                                      "scanline_thickness",
                                      "blend_with_original"};
  const std::vector<Parameter>& all = effectTable().all();
  ASSERT_EQ(all.size(), keys.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i].key, keys[i]);
    EXPECT_EQ(effectTable().find(keys[i]), &all[i]);
    EXPECT_EQ(effectTable().find(all[i].name), &all[i]);
    EXPECT_FALSE(all[i].help.empty()) << keys[i];
    EXPECT_EQ(all[i].help.find('\n'), std::string::npos) << keys[i];
  }
}

TEST(ParameterTable, NumbersOutsideTheRangeAreRefused) {
  const Parameter& mode = table().all()[0];
  const Parameter& amount = table().all()[1];
  for (const double value : {-100.0, 0.5, 100.0}) EXPECT_NO_THROW(requireInRange(amount, value));
  EXPECT_NO_THROW(requireInRange(mode, 2));
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {-100.1, 101.0, infinity, std::nan("")}) {
    EXPECT_THROW(requireInRange(amount, value), ValueOutOfRange) << value;
  }
  for (const double value : {0.0, 1.5, 3.0, std::nan("")}) {
    EXPECT_THROW(requireInRange(mode, value), ValueOutOfRange) << value;
  }
}

}  // namespace
}  // namespace lomix::looks
