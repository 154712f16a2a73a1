#include "engine/ByteMap.h"

#include <algorithm>
#include <cmath>

namespace lomix::engine {
namespace {

constexpr int kHalf = 128;
constexpr int kFractionBits = 6;
constexpr int kUnit = 1 << kFractionBits;
constexpr int kMaxCorrection = 3;

// Products as the vector code forms them: the high 16 bits of 16 by 16.
int product(int input, int factor) { return ((input << 8) * factor) >> 16; }

}  // namespace

ByteMap::ByteMap(const ByteTable& table) {
  for (int half = 0; half < 2; ++half) {
    const auto first = static_cast<std::size_t>(half * kHalf);
    const int rise = table[first + kHalf - 1] - table[first];
    // A slope of one is kUnit * 256; products stay within 16 bits for slopes below 4.
    const int factor = std::max(rise, 0) * kUnit * 256 / (kHalf - 1);
    exact_ = exact_ && (fitHalf(table, half, factor) || fitHalf(table, half, factor + kUnit));
  }
}

bool ByteMap::fitHalf(const ByteTable& table, int half, int factor) {
  const int first = half * kHalf;
  // The highest line that nowhere lies above the table: corrections only ever add.
  int offset = 1 << 15;
  for (int d = first; d < first + kHalf; ++d) {
    const int highest = table[static_cast<std::size_t>(d)] * kUnit + kUnit - 1 - product(d, factor);
    offset = std::min(offset, highest);
  }
  if (offset < -(1 << 15) || factor > 0xFFFF) return false;
  std::array<int, kHalf> corrections;
  for (int d = first; d < first + kHalf; ++d) {
    const int line = std::clamp((product(d, factor) + offset) >> kFractionBits, 0, 255);
    const int correction = table[static_cast<std::size_t>(d)] - line;
    if (correction > kMaxCorrection) return false;
    corrections[static_cast<std::size_t>(d - first)] = correction;
  }
  factor_[static_cast<std::size_t>(half)] = static_cast<std::uint16_t>(factor);
  offset_[static_cast<std::size_t>(half)] = static_cast<std::int16_t>(offset);
  for (int d = first; d < first + kHalf; ++d) {
    setCorrection(d, corrections[static_cast<std::size_t>(d - first)]);
  }
  return true;
}

void ByteMap::setCorrection(int input, int correction) {
  const auto half = static_cast<std::size_t>(input / kHalf);
  const auto low = static_cast<std::size_t>(input & 15);
  const auto bit = static_cast<std::uint8_t>(1 << ((input >> 4) & 7));
  if ((correction & 1) != 0) ones_[half][low] |= bit;
  if ((correction & 2) != 0) twos_[half][low] |= bit;
  bitSets_ = std::max(bitSets_, (correction & 2) != 0 ? 2 : (correction & 1));
}

}  // namespace lomix::engine
