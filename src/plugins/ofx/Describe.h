// What the effect tells hosts about itself, before there is an instance.
#pragma once

#include "plugins/ofx/Host.h"

namespace lomix::ofx {

inline constexpr char kPresetParameter[] = "preset";
inline constexpr char kTimeControl[] = "time_control";
inline constexpr char kTime[] = "time";

/// OfxActionDescribe: what does not depend on the context.
void describe(const Suites& suites, EffectHandle descriptor);
/// OfxImageEffectActionDescribeInContext: clips and parameters, the same in every context. Projects
/// store the parameters' names and the numbers of choices: append only.
void describeInContext(const Suites& suites, EffectHandle descriptor);

}  // namespace lomix::ofx
