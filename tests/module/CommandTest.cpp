// The commands besides rendering and the panel: set-up, about text, parameters, dynamic flags.

#include <algorithm>
#include <limits>

#include "module/EffectTest.h"

namespace lomix::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Commands, OthersThanTheHandledTouchNothing) {
  Host host = readyHost();
  host.clearAudit();
  std::memset(&host.outData(), 0x5A, sizeof(PF_OutData));
  PF_OutData before;
  std::memcpy(&before, &host.outData(), sizeof before);
  const std::vector<PF_Cmd> handled{0, 1, 4, 11, 13, 14, 18, 23, 24};
  std::vector<PF_Cmd> numbers{-1, std::numeric_limits<PF_Cmd>::min(),
                              std::numeric_limits<PF_Cmd>::max()};
  for (PF_Cmd command = -30; command < 60; ++command) numbers.push_back(command);
  for (const PF_Cmd command : numbers) {
    if (std::find(handled.begin(), handled.end(), command) != handled.end()) continue;
    EXPECT_EQ(host.send(command), 0) << command;
  }
  EXPECT_EQ(std::memcmp(&before, &host.outData(), sizeof before), 0);
  EXPECT_THAT(host.log(), IsEmpty());
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(Commands, AboutShowsNameVersionAndPurpose) {
  Host host = readyHost();
  std::string text;
  EXPECT_EQ(host.about(text), 0);
  EXPECT_EQ(text, "Lomix, v2.0.0\rA realistic Lomix Image Distortion Plugin");
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(Commands, AboutOutcomesWhenTheHostRefuses) {
  struct Case {
    const char* name;
    bool basicSuite;
    const char* failing;
    PF_Err expected;
  };
  for (const Case& c : {Case{"no basic suite", false, "ansi.sprintf", 516},
                        Case{"no text suite", true, "acquire:PF ANSI Suite 1", 516},
                        Case{"text function fails", true, "ansi.sprintf", 0},
                        Case{"suite cannot be released", true, "release:PF ANSI Suite 1", 0}}) {
    HostOptions options;
    options.basicSuite = c.basicSuite;
    Host host = readyHost(options);
    host.failAt(c.failing, 1, 99);
    std::string text;
    EXPECT_EQ(host.about(text), c.expected) << c.name;
    EXPECT_THAT(host.audit(), IsEmpty()) << c.name;
  }
}

TEST(Commands, GlobalSetupReportsVersionAndFlags) {
  Host host(effectModule());
  GlobalInfo info;
  EXPECT_EQ(host.globalSetup(info), 0);
  EXPECT_EQ(info.version, 0x100601U);
  EXPECT_EQ(info.outFlags, 0x5);
  EXPECT_EQ(info.outFlags2, 0x9401);
  EXPECT_EQ(host.outData().global_data, nullptr);
  EXPECT_EQ(host.globalSetdown(), 0);
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(Commands, ParametersAreDeclaredAsDocumented) {
  struct Row {
    const char* name;
    PF_ParamType type;
    A_long id;
    double minimum, maximum, sliderMinimum, sliderMaximum, standard;
    int precision, display, flags;
  };
  // Popups have choices instead of a slider range, a precision and a display.
  constexpr Row kRows[] = {
      {"Time Control", 7, 12, 1, 2, 0, 0, 1, 0, 0, 0x46},
      {"Time", 10, 13, 0, 3.4028234663852886e+38, 0, 100, 0, 1, 0, 0},
      {"Distortion Mode", 7, 12, 1, 2, 0, 0, 2, 0, 0, 0},
      {"Signal Distortion", 10, 1, 0, 100, 0, 100, 0, 0, 1, 0},
      {"Scan Distortion", 10, 2, 0, 100, 0, 100, 0, 0, 1, 0},
      {"Horizontal Sync", 10, 15, -100, 100, 0, 100, 0, 1, 1, 0},
      {"Vertical Sync", 10, 3, -100, 100, 0, 100, 0, 1, 1, 0},
      {"Bars Overlay", 10, 4, 0, 100, 0, 100, 0, 0, 1, 0},
      {"Noise", 10, 6, 0, 100, 0, 100, 0, 0, 1, 0},
      {"Scanline Overlay", 10, 7, 0, 100, 0, 100, 0, 0, 1, 0},
      {"Scanline Speed", 10, 9, -10000, 10000, 0, 100, 1, 1, 0, 0},
      {"Scanline Thickness", 10, 8, 1, 10000, 1, 100, 1, 0, 0, 0},
      {"Blend w/Original", 10, 10, 0, 100, 0, 100, 0, 0, 1, 0},
  };
  const Host host = readyHost();
  const std::vector<Parameter>& parameters = host.parameters();
  ASSERT_EQ(parameters.size(), 1 + std::size(kRows));
  EXPECT_EQ(parameters[0].definition.param_type, PF_Param_LAYER);
  for (std::size_t i = 0; i < std::size(kRows); ++i) {
    SCOPED_TRACE(kRows[i].name);
    const Row& row = kRows[i];
    const Parameter& parameter = parameters[i + 1];
    const PF_ParamDef& definition = parameter.definition;
    EXPECT_EQ(parameter.name(), row.name);
    EXPECT_EQ(definition.param_type, row.type);
    EXPECT_EQ(definition.uu.id, row.id);
    EXPECT_EQ(definition.flags, row.flags);
    EXPECT_EQ(definition.ui_flags, 0);
    EXPECT_EQ(parameter.minimum(), row.minimum);
    EXPECT_EQ(parameter.maximum(), row.maximum);
    EXPECT_EQ(parameter.defaultValue(), row.standard);
    EXPECT_EQ(parameter.value(), row.standard);
    if (row.type == PF_Param_POPUP) continue;
    const PF_FloatSliderDef& slider = definition.u.fs_d;
    EXPECT_EQ(slider.slider_min, row.sliderMinimum);
    EXPECT_EQ(slider.slider_max, row.sliderMaximum);
    EXPECT_EQ(slider.precision, row.precision);
    EXPECT_EQ(slider.display_flags, row.display);
    EXPECT_EQ(slider.fs_flags, 0U);
    EXPECT_EQ(slider.curve_tolerance, 0.05f);
  }
  EXPECT_THAT(parameters[kTimeControl].choices, ElementsAre("Automatic", "Manual"));
  EXPECT_THAT(parameters[kDistortionMode].choices, ElementsAre("Tile", "Stretch"));
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(Commands, ParametersSetupEndsAtTheFirstRefusedParameter) {
  for (const int refused : {1, 7, 13}) {
    Host host(effectModule());
    host.failAt("inter.add_param", refused, 77);
    EXPECT_EQ(host.paramsSetup(), 77);
    EXPECT_EQ(host.callCount("inter.add_param"), refused);
    EXPECT_EQ(host.outData().num_params, 0);
  }
}

TEST(DynamicFlags, FollowTimeControlAndLeaveOtherBits) {
  struct Case {
    double timeControl;
    PF_OutFlags before, after;
  };
  for (const Case& c : {Case{1, 0x5, 0x5}, Case{1, 0x1, 0x5}, Case{2, 0x5, 0x1},
                        Case{2, 0x7FFFFFFF, 0x7FFFFFFB}, Case{1, 0x40, 0x44}}) {
    Host host = readyHost();
    host.setValue(kTimeControl, c.timeControl);
    PF_OutFlags flags = c.before;
    FrameSettings frame;
    frame.currentTime = 30;
    frame.timeStep = 2;
    frame.timeScale = 60;
    EXPECT_EQ(host.queryDynamicFlags(flags, frame), 0);
    EXPECT_EQ(flags, c.after);
    ASSERT_EQ(host.log().size(), 2U);
    EXPECT_EQ(host.log()[0].arguments, "1, 30, 2, 60");
    EXPECT_THAT(host.audit(), IsEmpty());
    EXPECT_THAT(toleratedNames(host), IsEmpty());
  }
}

TEST(DynamicFlags, FirstErrorIsReturnedAndTheParameterAlwaysCheckedIn) {
  struct Case {
    PF_Err checkout, checkin, expected;
    PF_OutFlags flags;
  };
  for (const Case& c : {Case{11, 0, 11, 0x1}, Case{0, 22, 22, 0x5}, Case{11, 22, 11, 0x1}}) {
    Host host = readyHost();
    if (c.checkout) host.failAt("inter.checkout_param", 1, c.checkout);
    if (c.checkin) host.failAt("inter.checkin_param", 1, c.checkin);
    PF_OutFlags flags = 0x1;
    EXPECT_EQ(host.queryDynamicFlags(flags), c.expected);
    EXPECT_EQ(flags, c.flags);
    EXPECT_EQ(host.callCount("inter.checkin_param"), 1);
    EXPECT_THAT(host.audit(), IsEmpty());
    EXPECT_EQ(toleratedNames(host).size(), c.checkout ? 1U : 0U);
  }
}

}  // namespace
}  // namespace lomix::host
