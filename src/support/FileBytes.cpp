#include "support/FileBytes.h"

#include <array>
#include <system_error>

namespace lomix {

FileBytes::FileBytes(const std::filesystem::path& file) {
  std::error_code error;
  // Opening a pipe would wait for its writer, and reading would take bytes away from others.
  if (!std::filesystem::is_regular_file(file, error)) return;
  stream_.open(file, std::ios::binary);
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  if (stream_.is_open() && !error) size_ = size;
}

void FileBytes::read(std::uint64_t at, char* bytes, std::size_t length) {
  require(at, length);
  // A seek drops what the stream has buffered.
  if (at != next_) stream_.seekg(static_cast<std::streamoff>(at));
  stream_.read(bytes, static_cast<std::streamsize>(length));
  if (!stream_) throw EndOfFile();
  next_ = at + length;
}

std::uint64_t FileBytes::number(std::uint64_t at, std::size_t length) {
  std::array<char, 8> bytes{};
  read(at, bytes.data(), length);
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < length; ++i) {
    const char next = bytes.at(bigEndian_ ? i : length - 1 - i);
    value = value << 8 | static_cast<unsigned char>(next);
  }
  return value;
}

std::string FileBytes::text(std::uint64_t at, std::size_t length) {
  require(at, length);
  std::string bytes(length, '\0');
  read(at, bytes.data(), length);
  return bytes;
}

}  // namespace lomix
