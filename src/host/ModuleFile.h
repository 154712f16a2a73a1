// Checks a module's file before the system loads it.
#pragma once

#include <filesystem>

namespace lomix::host {

/// Throws HostError when the file is shorter than its own headers say: a loader would map memory
/// that has no file behind it, and the process would die of the first access. Knows ELF, PE and
/// Mach-O, also for several processors. A file of another format is left to the loader. Throws also
/// for what is not a regular file, and for a file that cannot be read.
void requireWholeModule(const std::filesystem::path& file);

}  // namespace lomix::host
