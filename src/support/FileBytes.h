// Reads single numbers and texts of a binary file, to look into its headers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace lomix {

/// Thrown by FileBytes for bytes behind the end of the file.
struct EndOfFile {};

/// The bytes of a file, by their offsets.
class FileBytes {
 public:
  /// Opens a file. What is not a regular file, or cannot be read, has no bytes.
  explicit FileBytes(const std::filesystem::path& file);

  bool isOpen() const { return stream_.is_open(); }
  std::uint64_t size() const { return size_; }
  /// Chooses the byte order of number(): big-endian or, at first, little-endian.
  void setBigEndian(bool big) { bigEndian_ = big; }

  /// Returns whether the file has length bytes from the offset at.
  bool has(std::uint64_t at, std::uint64_t length) const {
    return at <= size_ && length <= size_ - at;
  }
  /// Throws EndOfFile unless the file has these bytes.
  void require(std::uint64_t at, std::uint64_t length) const {
    if (!has(at, length)) throw EndOfFile();
  }
  /// Returns the unsigned number in length bytes, 8 at most. Throws EndOfFile.
  std::uint64_t number(std::uint64_t at, std::size_t length);
  /// Returns length bytes as they are. Throws EndOfFile.
  std::string text(std::uint64_t at, std::size_t length);

 private:
  void read(std::uint64_t at, char* bytes, std::size_t length);

  std::ifstream stream_;
  std::uint64_t size_ = 0;
  std::uint64_t next_ = 0;  ///< Offset of the byte that the stream reads next.
  bool bigEndian_ = false;
};

}  // namespace lomix
