// The effect's parameters over the time of a render.
#pragma once

#include <map>
#include <vector>

#include "looks/Curve.h"
#include "looks/ParameterTable.h"

namespace lomix::looks {

/// Values of some of the parameters as functions of time; the others keep their defaults.
class Look {
 public:
  /// Sets a parameter to a curve or a constant, replacing an earlier one. index: the parameter's.
  void set(int index, Curve curve) { curves_.insert_or_assign(index, std::move(curve)); }
  void set(int index, double value) { set(index, Curve(value)); }
  /// Resets a parameter to its default.
  void reset(int index) { curves_.erase(index); }

  /// Returns the curves of the parameters that are set, by index.
  const std::map<int, Curve>& curves() const { return curves_; }

  /// Returns the value of a parameter at a time.
  double valueAt(const Parameter& parameter, double seconds) const;
  /// Returns the values of all parameters of a table at a time, by their index.
  std::vector<double> valuesAt(const ParameterTable& table, double seconds) const;

 private:
  std::map<int, Curve> curves_;
};

}  // namespace lomix::looks
