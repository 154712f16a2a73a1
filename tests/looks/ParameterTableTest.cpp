#include <gmock/gmock.h>

#include <cstring>

#include "looks/ParameterTable.h"
#include "support/Errors.h"

namespace lomix::cli {
namespace {

using testing::AllOf;
using testing::HasSubstr;

host::Parameter slider(int index, const char* name, float minimum, float maximum, bool percent) {
  host::Parameter parameter;
  parameter.index = index;
  parameter.definition.param_type = PF_Param_FLOAT_SLIDER;
  std::strncpy(parameter.definition.name, name, sizeof parameter.definition.name - 1);
  PF_FloatSliderDef& definition = parameter.definition.u.fs_d;
  definition.valid_min = minimum;
  definition.valid_max = maximum;
  definition.display_flags = percent ? PF_ValueDisplayFlag_PERCENT : PF_ValueDisplayFlag_NONE;
  return parameter;
}

host::Parameter popup(int index, const char* name, std::vector<std::string> choices) {
  host::Parameter parameter;
  parameter.index = index;
  parameter.definition.param_type = PF_Param_POPUP;
  std::strncpy(parameter.definition.name, name, sizeof parameter.definition.name - 1);
  parameter.definition.u.pd.num_choices = static_cast<A_short>(choices.size());
  parameter.choices = std::move(choices);
  return parameter;
}

const ParameterTable& table() {
  static const ParameterTable instance(
      {host::Parameter{}, popup(1, "Edge Mode", {"Wrap Round", "Hold"}),
       slider(2, "Amount", -100, 100, true), slider(3, "Speed w/Limit", -2.5f, 1000, false)});
  return instance;
}

TEST(ParameterTable, TheInputLayerIsNoParameter) {
  EXPECT_EQ(table().all().size(), 3u);
  EXPECT_EQ(table().find(""), nullptr);
}

TEST(ParameterTable, AssignmentsAreReadAsInThePanel) {
  struct Case {
    const char* text;
    int index;
    double value;
  };
  for (const Case& c : {Case{"Amount=30", 2, 30},
                        {"amount = 30 %", 2, 30},
                        {"AMOUNT=-12.5%", 2, -12.5},
                        {"Amount=100", 2, 100},
                        {"Amount=-100", 2, -100},
                        {"speed-w-limit=1e3", 3, 1000},
                        {"Speed w/Limit=-2.5", 3, -2.5},
                        {"speed_w/limit=0", 3, 0},
                        {"Edge Mode=Hold", 1, 2},
                        {"edge-mode=wrap round", 1, 1},
                        {"EDGE_MODE=wrap-round", 1, 1},
                        {" edge  mode = 2 ", 1, 2}}) {
    const Assignment assignment = table().parse(c.text);
    EXPECT_EQ(assignment.index, c.index) << c.text;
    EXPECT_EQ(assignment.value, c.value) << c.text;
  }
}

TEST(ParameterTable, RefusalsNameTheWayOut) {
  struct Case {
    const char* text;
    const char* hint;
  };
  for (const Case& c : {Case{"Amount", "NAME=VALUE"},
                        {"Amont=3", "'Amount'"},
                        {"speed=3", "'lomix params'"},
                        {"edge=1", "'Edge Mode'"},
                        {"=3", "'lomix params'"},
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
    EXPECT_THAT([&] { table().parse(c.text); },
                testing::ThrowsMessage<UsageError>(AllOf(HasSubstr(c.hint), HasSubstr(": "))))
        << c.text;
  }
}

}  // namespace
}  // namespace lomix::cli
