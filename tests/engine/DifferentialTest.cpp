// Compares the row engine with the reference path, and shows that the comparison can fail.

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <string>
#include <vector>

#include "engine/Differential.h"
#include "engine/RowEngine.h"
#include "engine/TestWorld.h"

namespace lomix::differential {
namespace {

using engine::portableTarget;
using engine::ProfileFrame;
using engine::Row32;
using engine::Row8;
using engine::Run;
using engine::SimdTarget;

TEST(Differential, RowsAreTheReferencesBytes) {
  Options options;
  options.seconds = LOMIX_DIFFERENTIAL_SECONDS;
  options.targets = engine::availableTargets();
  const Outcome outcome = compareFrames(options);
  EXPECT_EQ(outcome.difference, "");
  EXPECT_GT(outcome.frames, 50u);
  RecordProperty("pixels", std::to_string(outcome.pixels));
}

// SIMD targets with one small fault each.

float oneUlpMore(float value) {
  return std::bit_cast<float>(std::bit_cast<std::uint32_t>(value) + 1);
}

void oneLevel(const Row8& row, const Run<PF_Pixel>& run) {
  portableTarget().run8(row, run);
  run.output[run.end - 1].green ^= 1;
}
void oneUlp(const Row32& row, const Run<PF_PixelFloat>& run) {
  portableTarget().run32(row, run);
  run.output[run.end - 1].alpha = oneUlpMore(run.output[run.end - 1].alpha);
}
// These two ignore the place of alpha.
void alwaysFirst8(const Row8& row, const Run<PF_Pixel>& run) {
  Row8 first = row;
  first.alphaPlace = engine::AlphaPlace::First;
  portableTarget().run8(first, run);
}
void alwaysFirst32(const Row32& row, const Run<PF_PixelFloat>& run) {
  Row32 first = row;
  first.alphaPlace = engine::AlphaPlace::First;
  portableTarget().run32(first, run);
}
void onePixelMore8(const Row8& row, const Run<PF_Pixel>& run) {
  portableTarget().run8(row, run);
  run.output[run.end].red = 0;
}
void onePixelMore32(const Row32& row, const Run<PF_PixelFloat>& run) {
  portableTarget().run32(row, run);
  run.output[run.end].red = 0.0f;
}
void onePixelLess(const Row8& row, const Run<PF_Pixel>& run) {
  Run<PF_Pixel> shorter = run;
  --shorter.end;
  portableTarget().run8(row, shorter);
}
void barSumOneUlpMore(const ProfileFrame& frame, int first, int count, float* scan, float* bars) {
  portableTarget().rowSums(frame, first, count, scan, bars);
  bars[count - 1] = oneUlpMore(bars[count - 1]);
}

TEST(Differential, SeesTheSmallestFaults) {
  const SimdTarget& good = portableTarget();
  const SimdTarget faulty[] = {
      {"one level", oneLevel, good.run32, good.rowSums, good.finishStreaming},
      {"one ulp", good.run8, oneUlp, good.rowSums, good.finishStreaming},
      {"a byte past the row", onePixelMore8, good.run32, good.rowSums, good.finishStreaming},
      {"a float past the row", good.run8, onePixelMore32, good.rowSums, good.finishStreaming},
      {"a pixel left out", onePixelLess, good.run32, good.rowSums, good.finishStreaming},
      {"first in bytes", alwaysFirst8, good.run32, good.rowSums, good.finishStreaming},
      {"first in floats", good.run8, alwaysFirst32, good.rowSums, good.finishStreaming},
      {"an ulp in a profile", good.run8, good.run32, barSumOneUlpMore, good.finishStreaming},
  };
  for (const SimdTarget& target : faulty) {
    Options options;
    options.endFrame = 200;
    options.targets = {&target};
    const bool alphaLast = target.run8 == alwaysFirst8 || target.run32 == alwaysFirst32;
    const std::string said =
        std::string(target.name) + " target, " + (alphaLast ? "alpha last, " : "");
    const std::string difference = compareFrames(options).difference;
    EXPECT_NE(difference.find(said), std::string::npos)
        << target.name << " went unseen: " << difference;
  }
}

TEST(Differential, ComparesFloatsByBitsButNaNs) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  const struct {
    const char* name;
    float expected, drawn;
    bool differ;
  } cases[] = {
      {"zeros of either sign", 0.0f, -0.0f, true},
      {"an ulp", 1.0f, 0x1.000002p0f, true},
      {"a NaN and a number", kNaN, 0.0f, true},
      {"two NaNs", kNaN, -std::bit_cast<float>(0x7fc00123u), false},
  };
  for (const auto& c : cases) {
    const TestWorld expected(3, 2, 32, {}, 0);
    const TestWorld drawn(3, 2, 32, {}, 0);
    expected.row<float>(1)[2] = c.expected;
    drawn.row<float>(1)[2] = c.drawn;
    const auto difference = firstDifference(expected, drawn, 32);
    EXPECT_EQ(difference.has_value(), c.differ) << c.name;
    if (difference) {
      EXPECT_EQ(*difference, 48u + 8u) << c.name;
    }
  }
}

// Worlds of 4 x 2 pixels: rows of 16 bytes at 8 bits, of 64 as floats.
TEST(RowEngine, KnowsWorldsThatShareMemory) {
  const struct {
    const char* name;
    int depth, strideA, startB, strideB, heightB;
    bool overlap;
  } cases[] = {
      {"one after the other", 8, 16, 32, 16, 2, false},
      {"by the last byte", 8, 16, 31, 16, 2, true},
      {"padding counts between rows", 8, 20, 35, 16, 2, true},
      {"but not after the last", 8, 20, 36, 16, 2, false},
      {"bottom up after it", 8, 16, 48, -16, 2, false},
      {"bottom up into it", 8, 16, 47, -16, 2, true},
      {"both bottom up", 8, -16, 32, -16, 2, true},
      {"both bottom up, apart", 8, -16, 48, -16, 2, false},
      {"the same", 8, 16, 0, 16, 2, true},
      {"no rows", 8, 16, 0, 16, 0, false},
      {"floats by the last byte", 32, 64, 127, 64, 2, true},
      {"floats one after the other", 32, 64, 128, 64, 2, false},
  };
  std::vector<std::uint8_t> memory(512);
  for (const auto& c : cases) {
    PF_LayerDef a{};
    a.width = 4;
    a.height = 2;
    PF_LayerDef b = a;
    // The first world takes the memory from byte 128 on, whichever row is first.
    const int bottomUp = c.strideA < 0 ? -c.strideA : 0;
    a.data = reinterpret_cast<PF_Pixel*>(&memory[static_cast<std::size_t>(128 + bottomUp)]);
    a.rowbytes = c.strideA;
    b.data = reinterpret_cast<PF_Pixel*>(&memory[static_cast<std::size_t>(128 + c.startB)]);
    b.rowbytes = c.strideB;
    b.height = c.heightB;
    EXPECT_EQ(engine::worldsOverlap(a, b, c.depth), c.overlap) << c.name;
    EXPECT_EQ(engine::worldsOverlap(b, a, c.depth), c.overlap) << c.name << ", exchanged";
  }
}

}  // namespace
}  // namespace lomix::differential
