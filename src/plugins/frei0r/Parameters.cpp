#include "plugins/frei0r/Parameters.h"

#include <algorithm>
#include <cmath>
#include <sstream>

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

std::vector<Parameter> readParameters() {
  std::vector<Parameter> parameters;
  for (int i = 0; i < lomix_parameter_count(); ++i) {
    lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
    lomix_parameter_get(i, &info, nullptr);
    parameters.push_back({info, explanationOf(info)});
  }
  return parameters;
}

}  // namespace

double Parameter::valueAt(double position) const {
  position = std::clamp(position, 0.0, 1.0);
  if (info.kind == LOMIX_CHOICE) {
    return std::min(std::floor(position * info.choice_count) + 1.0, info.maximum);
  }
  return info.slider_minimum + position * (info.slider_maximum - info.slider_minimum);
}

double Parameter::defaultPosition() const {
  return (info.default_value - info.slider_minimum) / (info.slider_maximum - info.slider_minimum);
}

const std::vector<Parameter>& effectParameters() {
  static const std::vector<Parameter> parameters = readParameters();
  return parameters;
}

}  // namespace lomix::frei0r
