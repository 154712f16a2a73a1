// The plug-in's parameters: two of its own, then those of the effect with their sliders mapped to
// 0 to 1. Saved projects and command lines count them, so new ones come last.
#pragma once

#include <string>
#include <vector>

#include "lomix/lomix.h"

namespace lomix::frei0r {

inline constexpr int kLook = 0;
inline constexpr int kMilliseconds = 1;
inline constexpr int kFirstOfEffect = 2;

/// A parameter of the effect as frei0r has it.
struct Parameter {
  lomix_parameter_info info;
  std::string explanation;

  /// Returns the value in the panel's units. position: what the host set, clamped to 0 to 1;
  /// a choice takes an equal part of it.
  double valueAt(double position) const;
  double defaultPosition() const;
};

/// Returns the effect's parameters, in order of their indices. [any thread]
const std::vector<Parameter>& effectParameters();

}  // namespace lomix::frei0r
