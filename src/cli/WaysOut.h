// Ways out of errors, by the options of the command.
#pragma once

#include <string>

#include "support/MediaError.h"

namespace lomix::cli {

/// Returns the error's text, its way out completed with the options of `lomix render`.
std::string withWayOut(const AvoidableError& error);

}  // namespace lomix::cli
