#include "looks/Look.h"

namespace lomix::looks {

double Look::valueAt(const Parameter& parameter, double seconds) const {
  const auto found = curves_.find(parameter.index);
  return found == curves_.end() ? parameter.defaultValue : found->second.at(seconds);
}

std::vector<double> Look::valuesAt(const ParameterTable& table, double seconds) const {
  std::vector<double> values;
  for (const Parameter& parameter : table.all()) values.push_back(valueAt(parameter, seconds));
  return values;
}

}  // namespace lomix::looks
