#include "engine/ByteMap.h"

#include <algorithm>
#include <cmath>

namespace lomix::engine {
namespace {

constexpr int kHalf = 128;
constexpr int kFractionBits = 6;
constexpr int kUnit = 1 << kFractionBits;
constexpr int kMaxCorrection = 3;
constexpr int kMaxOffset = 0x7FFF;

// The vector code's product: the high 16 bits of a 16 x 16-bit multiplication.
int product(int input, int factor) { return ((input << 8) * factor) >> 16; }

}  // namespace

ByteMap::ByteMap(const ByteTable& table, const Slopes& slopes) : table_(table) {
  exact_ = true;
  for (int half = 0; half < 2 && exact_; ++half) {
    // Slope 1 is a factor of kUnit * 256. Products fit 16 bits for slopes below 4.
    const double slope = slopes[static_cast<std::size_t>(half)];
    exact_ = fitHalf(table, half, static_cast<int>(std::lround(slope * kUnit * 256)));
  }
}

bool ByteMap::fitHalf(const ByteTable& table, int half, int factor) {
  if (factor > 0xFFFF) return false;
  const int first = half * kHalf;
  const std::uint8_t* values = table.data() + first;
  int products[kHalf];
  for (int d = 0; d < kHalf; ++d) products[d] = product(first + d, factor);
  // The highest line that is nowhere above the table: corrections only add.
  int offset = kMaxOffset;
  for (int d = 0; d < kHalf; ++d) {
    offset = std::min(offset, values[d] * kUnit + kUnit - 1 - products[d]);
  }
  if (offset < -kMaxOffset) return false;
  std::uint8_t corrections[kHalf];
  int all = 0;
  for (int d = 0; d < kHalf; ++d) {
    const int line = std::clamp((products[d] + offset) >> kFractionBits, 0, 255);
    corrections[d] = static_cast<std::uint8_t>(values[d] - line);
    all |= corrections[d];
  }
  if (all > kMaxCorrection) return false;
  const auto at = static_cast<std::size_t>(half);
  factor_[at] = static_cast<std::uint16_t>(factor);
  offset_[at] = static_cast<std::int16_t>(offset);
  bitSets_ = std::max(bitSets_, (all & 2) != 0 ? 2 : (all & 1));
  for (std::size_t low = 0; low < 16; ++low) {
    unsigned ones = 0;
    unsigned twos = 0;
    for (std::size_t bit = 0; bit < 8; ++bit) {
      const unsigned correction = corrections[bit * 16 + low];
      ones |= (correction & 1u) << bit;
      twos |= (correction >> 1) << bit;
    }
    ones_[at][low] = static_cast<std::uint8_t>(ones);
    twos_[at][low] = static_cast<std::uint8_t>(twos);
  }
  return true;
}

}  // namespace lomix::engine
