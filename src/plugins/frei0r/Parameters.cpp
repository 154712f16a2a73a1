#include "plugins/frei0r/Parameters.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <vector>

#include "plugins/Parameters.h"

namespace lomix::frei0r {
namespace {

std::string explanationOf(const lomix_parameter_info& info) {
  std::ostringstream text;
  text << info.help << " (0 to 1: ";
  if (info.kind == LOMIX_CHOICE) {
    for (int i = 0; i < info.choice_count; ++i) text << (i > 0 ? ", " : "") << info.choices[i];
    text << " in equal steps)";
  } else {
    text << info.slider_minimum << " to " << info.slider_maximum << ' ' << info.unit << ')';
  }
  return text.str();
}

}  // namespace

double valueAt(const lomix_parameter_info& info, double position) {
  position = std::clamp(position, 0.0, 1.0);
  if (info.kind == LOMIX_CHOICE) {
    return std::min(std::floor(position * info.choice_count) + 1.0, info.maximum);
  }
  return info.slider_minimum + position * (info.slider_maximum - info.slider_minimum);
}

double defaultPosition(const lomix_parameter_info& info) {
  return (info.default_value - info.slider_minimum) / (info.slider_maximum - info.slider_minimum);
}

const std::string& explanation(std::size_t index) {
  static const std::vector<std::string> all = [] {
    std::vector<std::string> list;
    for (const auto& info : plugins::effectParameters()) list.push_back(explanationOf(info));
    return list;
  }();
  return all[index];
}

}  // namespace lomix::frei0r
