#include "looks/Look.h"

namespace lomix::cli {

std::vector<Assignment> Look::at(double seconds) const {
  std::vector<Assignment> values;
  for (const auto& [index, curve] : curves_) values.push_back({index, curve.at(seconds)});
  return values;
}

}  // namespace lomix::cli
