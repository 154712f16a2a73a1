// The plug-in's parameters: two of its own, then those of the effect with their sliders mapped to
// 0 to 1. Saved projects and command lines count them, so new ones come last.
#pragma once

#include <cstddef>
#include <string>

#include "lomix/lomix.h"

namespace lomix::frei0r {

inline constexpr int kLook = 0;
inline constexpr int kMilliseconds = 1;
inline constexpr int kFirstOfEffect = 2;

/// Returns a value in the panel's units. position: what the host set, clamped to 0 to 1; a choice
/// takes an equal part of it.
double valueAt(const lomix_parameter_info& info, double position);
/// Returns the position of the default.
double defaultPosition(const lomix_parameter_info& info);
/// Returns what hosts show of the effect's parameter with that index. [any thread]
const std::string& explanation(std::size_t index);

}  // namespace lomix::frei0r
