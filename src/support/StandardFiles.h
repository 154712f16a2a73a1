// Standard input and output as files of bytes.
#pragma once

#include <cstddef>
#include <filesystem>

namespace lomix {

/// Reads at most size bytes of standard input; waits for the first. Returns how many; 0 at the end,
/// a negative number with errno set where it cannot be read. Not buffered: mixes with other readers
/// of the file descriptor, not with std::cin.
std::ptrdiff_t readStandardInput(char* target, std::size_t size);

/// Writes a whole file to standard output. Throws MediaError when it cannot be read or written.
void copyToStandardOutput(const std::filesystem::path& file);

}  // namespace lomix
