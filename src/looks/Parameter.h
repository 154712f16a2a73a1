// A parameter as plain numbers and texts, whoever declared it: this effect's table or a module.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lomix::looks {

/// Values are in the panel's units; a choice is counted from 1.
struct Parameter {
  int index = 0;     ///< From 0, in panel order.
  std::string key;   ///< Stable: "scan_distortion"; empty where a module declared it.
  std::string name;  ///< In the panel.
  std::string unit;  ///< "%", "s", "rows", "rows/s", "".
  std::string help;  ///< One line; empty where a module declared it.
  int id = 0;        ///< Hosts store values under it.
  int flags = 0;     ///< As declared to the host.
  bool isChoice = false;
  bool canChangeOverTime = true;
  double minimum = 0.0;  ///< Valid range, both ends included.
  double maximum = 0.0;
  double sliderMinimum = 0.0;  ///< What dragging reaches; not for choices.
  double sliderMaximum = 0.0;
  double defaultValue = 0.0;
  int decimals = 0;                  ///< Digits after the point that the panel shows.
  std::vector<std::string> choices;  ///< In order; value 1 is the first.

  bool isPercent() const { return unit == "%"; }
};

/// Returns the effect's own parameters, in panel order.
std::vector<Parameter> effectParameters();
/// Returns their number.
int effectParameterCount() noexcept;

}  // namespace lomix::looks
