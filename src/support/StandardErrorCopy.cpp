#include "support/StandardErrorCopy.h"

#ifdef _WIN32
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace lomix {
namespace {

constexpr int kStandardError = 2;

#ifdef _WIN32
int duplicate() { return _dup(kStandardError); }
void closeFile(int file) { _close(file); }
bool terminal(int file) { return _isatty(file) != 0; }
std::streamsize writeSome(int file, const char* text, std::streamsize length) {
  return _write(file, text, static_cast<unsigned>(length));
}
#else
int duplicate() { return fcntl(kStandardError, F_DUPFD_CLOEXEC, kStandardError + 1); }
void closeFile(int file) { close(file); }
bool terminal(int file) { return isatty(file) != 0; }
std::streamsize writeSome(int file, const char* text, std::streamsize length) {
  return write(file, text, static_cast<std::size_t>(length));
}
#endif

}  // namespace

StandardErrorCopy::StandardErrorCopy() : std::ostream(nullptr), file_(duplicate()), buffer_(file_) {
  rdbuf(&buffer_);
}

StandardErrorCopy::~StandardErrorCopy() {
  if (file_ >= 0) closeFile(file_);
}

bool StandardErrorCopy::isTerminal() const { return file_ >= 0 && terminal(file_); }

StandardErrorCopy::Buffer::int_type StandardErrorCopy::Buffer::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof()))
    return traits_type::not_eof(character);
  const char byte = traits_type::to_char_type(character);
  return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

std::streamsize StandardErrorCopy::Buffer::xsputn(const char* text, std::streamsize length) {
  std::streamsize done = 0;
  while (done < length) {
    const std::streamsize written = writeSome(file_, text + done, length - done);
    if (written <= 0) break;
    done += written;
  }
  return done;
}

}  // namespace lomix
