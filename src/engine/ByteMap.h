// A function of one byte in a form that vector code applies to many bytes at once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace lomix::engine {

using ByteTable = std::array<std::uint8_t, 256>;

/// Every byte as it is.
inline constexpr ByteTable kIdentityTable = [] {
  ByteTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<std::uint8_t>(i);
  return table;
}();

/// A table of 256 bytes, and the same function as a straight line for each half of the inputs plus
/// a correction of 0-3 per input. Bars, grain's weight and scanlines are lines but for where their
/// truncations fall, so that the line and two bit sets reproduce the table exactly:
///   table[d] = clamp(((d * 256 * factor >> 16) + offset) >> 6, 0, 255) + correction(d)
/// with factor and offset of d's half. The corrections are taken from the table itself, so the form
/// is exact by construction wherever exact() says that one was found.
class ByteMap {
 public:
  /// Laid out for a byte shuffle: entry [half][low] holds
  /// in bit 0-7 the inputs 128 * half + 16 * bit + low.
  using BitSet = std::array<std::array<std::uint8_t, 16>, 2>;

  /// How much the table rises from one input to the next in each half, but for its truncations.
  using Slopes = std::array<double, 2>;

  /// The table alone, without lines and corrections.
  explicit ByteMap(const ByteTable& table) : table_(table) {}
  ByteMap(const ByteTable& table, const Slopes& slopes);

  const ByteTable& table() const { return table_; }
  /// Whether lines and corrections were found.
  bool exact() const { return exact_; }
  std::uint16_t factor(int half) const { return factor_[static_cast<std::size_t>(half)]; }
  std::int16_t offset(int half) const { return offset_[static_cast<std::size_t>(half)]; }
  /// Inputs whose correction has the bit of value 1 or 2 set.
  const BitSet& ones() const { return ones_; }
  const BitSet& twos() const { return twos_; }
  /// How many of the two bit sets are not empty: 0, 1 (ones) or 2.
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
