// A parameter's description, from the effect's own table or from a module.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lomix::looks {

/// The description of one parameter. Values are in the panel's units; choices count from 1.
struct Parameter {
  int index = 0;     ///< From 0, in panel order.
  std::string key;   ///< Stable: "scan_distortion"; empty where a module declared it.
  std::string name;  ///< In the panel.
  std::string unit;  ///< "%", "s", "rows", "rows/s", "".
  std::string help;  ///< One line; empty where a module declared it.
  int id = 0;        ///< Hosts store values under this number.
  int flags = 0;     ///< As declared to the host.
  bool isChoice = false;
  bool canChangeOverTime = true;
  double minimum = 0.0;  ///< Valid range, both ends included.
  double maximum = 0.0;
  double sliderMinimum = 0.0;  ///< Range of the panel's slider; not for choices.
  double sliderMaximum = 0.0;
  double defaultValue = 0.0;
  int decimals = 0;                  ///< Digits after the point that the panel shows.
  std::vector<std::string> choices;  ///< In order; value 1 is the first.

  bool isPercent() const { return unit == "%"; }
};

/// What the effect says about itself in menus.
struct EffectTexts {
  const char* name;
  const char* category;
  const char* description;
};
EffectTexts effectTexts() noexcept;

/// Returns the effect's own parameters, in panel order.
std::vector<Parameter> effectParameters();
/// Returns the number of the effect's own parameters.
int effectParameterCount() noexcept;

}  // namespace lomix::looks
