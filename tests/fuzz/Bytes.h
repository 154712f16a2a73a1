// The bytes of a fuzzer's input, taken from the front as values of any kind.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace lomix::fuzz {

/// Takes values from the front of an input. Behind its end every byte is 0, so that each input is
/// complete.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool empty() const { return rest_.empty(); }

  /// Takes a number of any value, NaN and infinity among them.
  template <typename Number>
  Number number() {
    Number value{};
    const std::span<const std::uint8_t> taken = take(sizeof value);
    if (!taken.empty()) std::memcpy(&value, taken.data(), taken.size());
    return value;
  }
  std::uint8_t byte() { return number<std::uint8_t>(); }
  bool flag() { return byte() % 2 != 0; }
  /// Takes a number from first to last, which are less than 65536 apart.
  int between(int first, int last) { return first + number<std::uint16_t>() % (last - first + 1); }

  /// Takes a text of at most 255 bytes.
  std::string text() { return textOf(take(byte())); }
  /// Takes all that is left.
  std::string remainder() { return textOf(take(rest_.size())); }

 private:
  std::span<const std::uint8_t> take(std::size_t size) {
    const std::span<const std::uint8_t> taken = rest_.first(std::min(size, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }
  static std::string textOf(std::span<const std::uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
  }

  std::span<const std::uint8_t> rest_;
};

/// Returns a text without its slashes, so that it names no file outside of the current folder.
inline std::string withoutSlashes(std::string_view text) {
  std::string result(text);
  std::erase_if(result, [](char c) { return c == '/' || c == '\\' || c == '\0'; });
  return result == ".." ? "." : result;
}

}  // namespace lomix::fuzz
