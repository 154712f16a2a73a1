// How the rooms below the front end warn of what a run loses.
#pragma once

#include <functional>
#include <string>

namespace lomix {

/// Takes a warning: one line, "subject: what is lost or changed (way out)". Any thread.
using Warn = std::function<void(const std::string&)>;

}  // namespace lomix
