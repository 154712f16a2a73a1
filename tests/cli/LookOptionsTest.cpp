// --set and --key with the effect's own parameters.
#include <gmock/gmock.h>

#include "cli/LookOptions.h"
#include "support/Errors.h"

namespace lomix::cli {
namespace {

using testing::HasSubstr;

const looks::Parameter& parameterOf(const char* text) {
  return splitSetting(looks::effectTable(), text, "--key", "").parameter;
}

looks::Look lookOf(std::vector<std::string> arguments) {
  CLI::App app;
  LookOptions options;
  options.addTo(app);
  std::ranges::reverse(arguments);
  app.parse(arguments);
  return options.read(looks::effectTable());
}

TEST(Look, AKeyedValueFollowsItsInterpolation) {
  struct Case {
    const char* keys;
    double seconds, value;
  };
  for (const Case& c : {Case{"Noise=0:10,2:50", 0, 10},
                        {"Noise=0:10,2:50", 0.5, 20},
                        {"Noise=0:10,2:50", 2, 50},
                        {"Noise=1:10,2:50", -3, 10},
                        {"Noise=1:10,2:50", 99, 50},
                        {"noise = -1.5 : 10 % , 2e0:50@hold", 1.25, 41.428571428571431},
                        {"Noise=0:0@hold,4:80", 3.999, 0},
                        {"Noise=0:0@hold,4:80", 4, 80},
                        {"Noise=0:0@ease,4:80", 1, 12.5},
                        {"Noise=0:0@ease,4:80", 2, 40},
                        {"Noise=0:0,2.5:60@ease,4:0", 3.25, 30},
                        {"Vertical Sync=0:-100@linear,1:100", 0.25, -50},
                        {"Distortion Mode=0:Tile,1:stretch@hold,2:1", 0.99, 1},
                        {"Distortion Mode=0:Tile,1:stretch@hold,2:1", 1.5, 2},
                        {"Noise=7:33", 0, 33}}) {
    const looks::Look look = lookOf({"--key", c.keys});
    EXPECT_EQ(look.curves().size(), 1u) << c.keys;
    EXPECT_DOUBLE_EQ(look.valueAt(parameterOf(c.keys), c.seconds), c.value)
        << c.keys << " at " << c.seconds;
  }
}

TEST(Look, KeysReplaceSettingsAndLaterOnesReplaceEarlierOnes) {
  const looks::Look look =
      lookOf({"--key", "Noise=0:1,1:2", "--set", "Noise=50", "--set", "Bars Overlay=5", "--set",
              "Bars Overlay=6", "--key", "noise=0:10,1:20"});
  EXPECT_EQ(look.curves().size(), 2u);
  EXPECT_EQ(look.valueAt(parameterOf("Bars Overlay="), 0.5), 6);
  EXPECT_EQ(look.valueAt(parameterOf("Noise="), 0.5), 15);
}

TEST(Look, BadKeysSayWhatToWrite) {
  struct Case {
    const char* keys;
    const char* hint;
  };
  for (const Case& c : {Case{"Noise", "NAME=KEYS"},
                        {"Nose=0:1", "(did you mean 'Noise'? 'lomix params' lists all)"},
                        {"Noise=", "SECONDS:VALUE"},
                        {"Noise=5", "'5' is not a key"},
                        {"Noise=0:1,", "'' is not a key"},
                        {"Noise=soon:1", "'soon:1' is not a key"},
                        {"Noise=nan:1", "'nan:1' is not a key"},
                        {"Noise=0:", "'' is not a number"},
                        {"Noise=0:101", "0 % to 100 %"},
                        {"Noise=0:1:2", "'1:2' is not a number"},
                        {"Noise=0:1@fast", "hold, linear or ease"},
                        {"Noise=0:1@", "hold, linear or ease"},
                        {"Noise=1:1,1:2", "order of time"},
                        {"Noise=1:1,0.5:2", "the key at 0.5 s does not come after the one at 1 s"},
                        {"Distortion Mode=0:Tile@ease,1:Stretch", "use hold"},
                        {"Distortion Mode=0:Fold", "Tile or Stretch"},
                        {"Time Control=0:Automatic,1:Manual", "cannot change over time"}}) {
    EXPECT_THAT(
        [&] {
          lookOf({"--key", c.keys});
        },
        testing::ThrowsMessage<UsageError>(
            AllOf(HasSubstr(c.hint), HasSubstr(": "), testing::EndsWith(")"))))
        << c.keys;
  }
}

}  // namespace
}  // namespace lomix::cli
