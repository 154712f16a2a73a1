// Compares BlendMap's tables with PixelLerp8 for all pairs of bytes.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "effect/framework/AERender.h"
#include "engine/BlendMap.h"

namespace lomix::engine {
namespace {

int applied(const BlendMap& map, int original, int effect) {
  const bool rises = effect >= original;
  const auto distance = static_cast<std::size_t>(std::abs(effect - original));
  const int result = original + (rises ? map.rise()[distance] : -map.fall()[distance]);
  const bool limited = rises ? map.limitsRise() : map.limitsFall();
  return result - (limited && result < map.limit()[distance] ? 1 : 0);
}

int expected(float amount, int original, int effect) {
  PF_Pixel a{0, static_cast<std::uint8_t>(original), 0, 0};
  PF_Pixel b{0, static_cast<std::uint8_t>(effect), 0, 0};
  AERender::PixelLerp8(&a, &b, amount);
  return b.red;
}

// All percents and their neighbours, fractions whose products are often integers, amounts near 0
// and 1, and random ones.
std::vector<float> amounts() {
  std::vector<float> amounts{0.0f, 1e-45f, 1e-30f, 0x1p-25f, 0x1p-17f, 0.5f, 1.0f - 0x1p-24f};
  for (int i = 1; i < 100; ++i) {
    const float percent = static_cast<float>(i) / 100.0f;
    amounts.insert(amounts.end(),
                   {percent, std::nextafter(percent, 0.0f), std::nextafter(percent, 1.0f)});
  }
  for (int i = 2; i < 256; i += 11) amounts.push_back(1.0f / static_cast<float>(i));
  std::mt19937 random(1);
  for (int i = 0; i < 50; ++i) amounts.push_back(static_cast<float>(random() >> 8) * 0x1p-24f);
  return amounts;
}

TEST(BlendMap, IsTheBlend) {
  int inexact = 0;
  int limited = 0;
  const std::vector<float> all = amounts();
  for (const float amount : all) {
    const BlendMap map(amount);
    inexact += map.exact() ? 0 : 1;
    limited += map.limitsRise() || map.limitsFall() ? 1 : 0;
    if (!map.exact()) continue;
    for (int original = 0; original < 256; ++original) {
      for (int effect = 0; effect < 256; ++effect) {
        ASSERT_EQ(applied(map, original, effect), expected(amount, original, effect))
            << amount << " between " << original << " and " << effect;
      }
    }
  }
  // Most amounts that people type need limits, and tables are exact for nearly all.
  EXPECT_GT(limited, 99);
  EXPECT_LT(inexact, 10);
}

}  // namespace
}  // namespace lomix::engine
