// Finds the running program, near which its plug-in module is installed.
#pragma once

#include <filesystem>
#include <system_error>

namespace lomix {

/// Returns the file of the running program, with links resolved. Sets error, and returns an empty
/// path, when the system cannot name it.
std::filesystem::path executablePath(std::error_code& error);

}  // namespace lomix
