#pragma once

#include <filesystem>

namespace lomix {

/// The file of the running program, with links resolved. Throws CommandError when the system does
/// not tell.
std::filesystem::path executablePath();

}  // namespace lomix
