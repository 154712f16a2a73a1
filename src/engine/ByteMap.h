// A function of one byte as a look-up table, and as arithmetic for vector code.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace lomix::engine {

using ByteTable = std::array<std::uint8_t, 256>;

/// Maps every byte to itself.
inline constexpr ByteTable kIdentityTable = [] {
  ByteTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<std::uint8_t>(i);
  return table;
}();

/// A table of 256 bytes, and the same function as one straight line for inputs below 128, one for
/// the others, and a correction of 0-3 for each input:
///   table[d] = clamp(((d * 256 * factor >> 16) + offset) >> 6, 0, 255) + correction(d)
/// with the factor and offset of d's half. Bars, the weight that grain leaves, and scanlines are
/// lines except for their truncations, so that small corrections are enough. The corrections are
/// computed from the table itself: wherever exact() is true, the form equals the table.
class ByteMap {
 public:
  /// A set of inputs, laid out for a byte shuffle: bit b of entry [half][low] is set when
  /// the set contains 128 * half + 16 * b + low.
  using BitSet = std::array<std::array<std::uint8_t, 16>, 2>;

  /// The slope of each half before truncation, in output steps per input step.
  using Slopes = std::array<double, 2>;

  /// Keeps the table alone; exact() is false.
  explicit ByteMap(const ByteTable& table) : table_(table) {}
  /// Keeps the table and looks for lines of these slopes that reproduce it.
  ByteMap(const ByteTable& table, const Slopes& slopes);

  const ByteTable& table() const { return table_; }
  /// Returns whether lines and corrections were found.
  bool exact() const { return exact_; }
  std::uint16_t factor(int half) const { return factor_[static_cast<std::size_t>(half)]; }
  std::int16_t offset(int half) const { return offset_[static_cast<std::size_t>(half)]; }
  /// Return the inputs whose correction contains 1, and those whose correction contains 2.
  const BitSet& ones() const { return ones_; }
  const BitSet& twos() const { return twos_; }
  /// Returns how many of the two sets are needed: 0, 1 (ones) or 2.
  int bitSets() const { return bitSets_; }

 private:
  bool fitHalf(const ByteTable& table, int half, int factor);

  ByteTable table_;
  bool exact_ = false;
  int bitSets_ = 0;
  std::array<std::uint16_t, 2> factor_{};
  std::array<std::int16_t, 2> offset_{};
  BitSet ones_{};
  BitSet twos_{};
};

}  // namespace lomix::engine
