// Compares ByteMap's lines and corrections with the tables of every overlay that a row can have.

#include <gtest/gtest.h>

#include <algorithm>

#include "effect/kernel/PixelFunctions.h"
#include "engine/ByteMap.h"

namespace lomix::engine {
namespace {

// Computes what ByteMap's header specifies.
int applied(const ByteMap& map, int d) {
  const int half = d / 128;
  const auto inSet = [&](const ByteMap::BitSet& set) {
    return set[static_cast<std::size_t>(half)][static_cast<std::size_t>(d % 16)] >> (d % 128 / 16) &
           1;
  };
  const int line = ((d * 256 * map.factor(half) >> 16) + map.offset(half)) >> 6;
  return std::clamp(line, 0, 255) + inSet(map.ones()) + 2 * inSet(map.twos());
}

ByteTable barsTable(const PF_Pixel& bar) {
  ByteTable table;
  for (std::size_t d = 0; d < table.size(); ++d) {
    const auto byte = static_cast<std::uint8_t>(d);
    PF_Pixel pixel{255, byte, byte, byte};
    PF_Pixel overlay = bar;
    hardLightBlend8Void(&pixel, &overlay);
    table[d] = pixel.red;
  }
  return table;
}

// Returns the table with what an overlay of that alpha leaves of each byte.
ByteTable weighted(const ByteTable& table, int alpha) {
  ByteTable result;
  for (std::size_t d = 0; d < table.size(); ++d) {
    result[d] = static_cast<std::uint8_t>(table[d] * (255 - alpha) >> 8);
  }
  return result;
}

// Every percent of strength, every bar level, and some weights for each; over all levels every
// weight occurs.
TEST(ByteMap, ReproducesBarsAndWeights) {
  constexpr int kWeightStep = 37;
  int maps = 0;
  int inexact = 0;
  int twoSets = 0;
  for (int percent = 0; percent <= 100; ++percent) {
    const std::uint8_t strength = GetPixel8({0, 0, 0, percent / 100.0}).alpha;
    for (int level = 0; level < 256; ++level) {
      const auto byte = static_cast<std::uint8_t>(level);
      const auto slopeOf = [&](int barLevel) {
        const double fraction = strength / 255.0;
        return fraction * 2.0 * barLevel / 255.0 + 1.0 - fraction;
      };
      const ByteTable bars = barsTable({strength, byte, byte, byte});
      for (int alpha = level % kWeightStep; alpha < 256; alpha += kWeightStep) {
        const ByteTable table = weighted(bars, alpha);
        const double weight = (255 - alpha) / 256.0;
        const ByteMap map(table, {slopeOf(level) * weight, slopeOf(255 - level) * weight});
        ++maps;
        twoSets += map.bitSets() == 2 ? 1 : 0;
        if (!map.exact()) {
          ++inexact;
          continue;
        }
        ByteTable drawn;
        for (int d = 0; d < 256; ++d) {
          drawn[static_cast<std::size_t>(d)] = static_cast<std::uint8_t>(applied(map, d));
        }
        ASSERT_EQ(drawn, table) << "strength " << percent << " %, level " << level << ", weight "
                                << alpha;
      }
    }
  }
  // Without lines the formulas draw the row: that has to be rare.
  EXPECT_LT(inexact, maps / 10000);
  // The second set takes a tenth of a pixel's time.
  EXPECT_LT(twoSets, maps / 10);
  RecordProperty("maps", maps);
  RecordProperty("inexact", inexact);
}

TEST(ByteMap, SaysWhereItIsNotExact) {
  ByteTable steps;
  for (std::size_t d = 0; d < steps.size(); ++d) steps[d] = d % 2 == 0 ? 0 : 200;
  EXPECT_FALSE(ByteMap(steps, {1.0, 1.0}).exact());
}

}  // namespace
}  // namespace lomix::engine
