// The effect's parameters, as plug-ins read them.
#pragma once

#include <vector>

#include "lomix/lomix.h"

namespace lomix::plugins {

/// Returns the effect's parameters, in order of their indices. [any thread]
const std::vector<lomix_parameter_info>& effectParameters();

}  // namespace lomix::plugins
