// The parameter "Look": a look as people type it.
#pragma once

#include <string>

#include "plugins/Handles.h"

namespace lomix::frei0r {

/// Makes a look of a preset's name ("weak-aerial"), the name of a preset file, or values separated
/// by commas ("Noise=30, Scan Distortion=20"). Returns null on failure and sets message to one
/// line: "subject: cause (way out)". Throws std::bad_alloc.
plugins::LookPtr readLook(const std::string& text, std::string& message);

}  // namespace lomix::frei0r
