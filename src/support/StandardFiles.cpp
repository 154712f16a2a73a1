#include "support/StandardFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <string>
#include <system_error>

#include "support/MediaError.h"
#include "support/NewFile.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace lomix {

std::ptrdiff_t readStandardInput(char* target, std::size_t size) {
#ifdef _WIN32
  _setmode(0, _O_BINARY);
  constexpr std::size_t kMost = 1 << 20;
  return _read(0, target, static_cast<unsigned>(std::min(size, kMost)));
#else
  for (;;) {
    const ssize_t count = read(STDIN_FILENO, target, size);
    if (count >= 0 || errno != EINTR) return count;
  }
#endif
}

void copyToStandardOutput(const std::filesystem::path& file) {
#ifdef _WIN32
  _setmode(1, _O_BINARY);
#endif
  std::ifstream stream(file, std::ios::binary);
  std::array<char, 65536> bytes;
  std::fflush(stdout);
  while (stream) {
    stream.read(bytes.data(), bytes.size());
    const auto count = static_cast<std::size_t>(stream.gcount());
    if (std::fwrite(bytes.data(), 1, count, stdout) != count) break;
  }
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && stream.eof()) return;
  throw MediaError(cannotWrite("-") + std::generic_category().message(errno) +
                   " (check the command behind the pipe, or the free space)");
}

}  // namespace lomix
