// What the effect's parameters are over the time of a render.
#pragma once

#include <map>
#include <vector>

#include "looks/Curve.h"
#include "looks/ParameterTable.h"

namespace lomix::cli {

/// Values of some of the parameters as functions of time; the others keep their defaults.
class Look {
 public:
  /// Gives a parameter a value or a curve, in place of an earlier one. index: of the parameter.
  void set(int index, Curve curve) { curves_.insert_or_assign(index, std::move(curve)); }
  void set(const Assignment& assignment) { set(assignment.index, Curve(assignment.value)); }

  /// By index of the parameter.
  const std::map<int, Curve>& curves() const { return curves_; }

  /// The values at a time, in the order of the panel.
  std::vector<Assignment> at(double seconds) const;

 private:
  std::map<int, Curve> curves_;
};

}  // namespace lomix::cli
