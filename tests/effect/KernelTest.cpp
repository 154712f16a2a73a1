// Lomix::Kernel on worlds that are small enough to compute the result by hand.

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include "effect/UnitSupport.h"
#include "effect/kernel/Lomix.h"
#include "effect/signal/SyncFunctions.h"

namespace lomix::unit {
namespace {

constexpr int kTile = 1;
constexpr int kStretch = 2;

// Returns a record that changes no pixel, with profiles of that many rows.
LomixStruct neutral(int rows) {
  LomixStruct record{};
  record.distortionMode = kTile;
  record.scanlineThickness = 2;
  const std::vector<float> zeros(static_cast<std::size_t>(rows));
  record.scanProfile = record.barsProfile = record.signalProfile = zeros;
  return record;
}

template <typename Pixel>
void render(World<Pixel>& src, World<Pixel>& dst, LomixStruct& record, A_u_long downsample = 1) {
  HostCall call(sizeof(Pixel) == sizeof(PF_Pixel) ? 8 : 32);
  call.in.downsample_x = call.in.downsample_y = {1, downsample};
  Lomix effect(&call.in, &call.out, &call.extra);
  EXPECT_EQ(effect.ExecuteKernel(&src.def, &dst.def, &record), 0);
  EXPECT_TRUE(src.paddingIntact() && dst.paddingIntact());
}

// Displacements are the same in every row. columns: the source column of each pixel of output row
// 0; rows: the source row of each pixel of output column 0. Their lengths are the output's size.
struct PositionCase {
  const char* name;
  int mode;
  float horizontal, vertical, scan, scanAmount, signal, signalAmount;
  int width, height;
  std::string columns, rows;
};

const PositionCase kPositionCases[] = {
    {"in place", kTile, 0, 0, 0, 0, 0, 0, 4, 3, "0123", "012"},
    {"quarter slide wraps", kTile, .25f, 0, 0, 0, 0, 0, 8, 1, "67012345", "0"},
    {"half roll wraps", kTile, 0, .5f, 0, 0, 0, 0, 2, 4, "01", "2301"},
    {"truncated before the wrap", kTile, .3125f, 0, 0, 0, 0, 0, 8, 1, "67001234", "0"},
    // 5/6 and 3/5 are a little more in single precision. With rounded products, column 3 - 5 would
    // be -2 and row 4 - 3 would be 1.
    {"sync rounds once", kTile, 5.0f / 6, 3.0f / 5, 0, 0, 0, 0, 6, 5, "123500", "23400"},
    {"beyond one wrap, left", kTile, 2.5f, 0, 0, 0, 0, 0, 4, 1, "0000", "0"},
    {"beyond one wrap, right", kTile, -2.5f, -3, 0, 0, 0, 0, 4, 2, "3333", "11"},
    {"scan in tiles", kTile, 0, 0, .25f, 1, 0, 0, 8, 1, "67012345", "0"},
    {"scan stretched", kStretch, 0, 0, .25f, 1, 0, 0, 8, 1, "00012345", "0"},
    {"signal is halved and turned", kTile, 0, 0, 0, 0, 1, .5f, 8, 1, "23456701", "0"},
    {"signal stretched", kStretch, 0, 0, 0, 0, 1, .5f, 8, 1, "23456777", "0"},
    {"scan and signal cancel", kTile, 0, 0, .25f, 1, 1, .5f, 4, 1, "0123", "0"},
    {"stretch comes after the wrap", kStretch, .25f, 0, .25f, 1, 0, 0, 8, 1, "45000123", "0"},
    {"negative amounts do nothing", kTile, 0, 0, .25f, -1, 1, -1, 4, 1, "0123", "0"},
    {"but count beside a positive", kTile, 0, 0, .25f, -1, 0, 1, 4, 1, "1230", "0"},
    {"no such mode", 3, 0, 0, .25f, 1, 1, 1, 4, 1, "0123", "0"},
    // 0.64 and 0.36 columns: both rounded, their sum is exactly 1. Fused, or subtracted one after
    // the other, they are a little more.
    {"every product rounds", kTile, 0, 0, .1f, .8f, -.3f, .3f, 8, 1, "70123456", "0"},
    {"the sum rounds", kTile, 0, 0, .1f, .2f, -.7f, .3f, 8, 1, "70123456", "0"},
    {"smaller source repeats, then stops", kTile, 0, 0, 0, 0, 0, 0, 3, 2, "01201222", "01011"},
    {"larger source is cut off", kTile, .25f, 0, 0, 0, 0, 0, 8, 4, "670", "01"},
};

TEST(KernelPosition, SyncsDisplacesWrapsAndClamps) {
  for (const PositionCase& c : kPositionCases) {
    const int outWidth = static_cast<int>(c.columns.size());
    const int outHeight = static_cast<int>(c.rows.size());
    World<PF_PixelFloat> src(c.width, c.height, 16);
    World<PF_PixelFloat> dst(outWidth, outHeight, 32);
    for (int y = 0; y < c.height; ++y) {
      for (int x = 0; x < c.width; ++x) {
        src.at(x, y) = {1, static_cast<float>(x), static_cast<float>(y), -1};
      }
    }
    LomixStruct record = neutral(outHeight);
    record.distortionMode = c.mode;
    record.horizontalSyncOffset = c.horizontal;
    record.verticalSyncOffset = c.vertical;
    record.scanDistortion = c.scanAmount;
    record.signalDistortion = c.signalAmount;
    record.scanProfile.assign(c.rows.size(), c.scan);
    record.signalProfile.assign(c.rows.size(), c.signal);
    render(src, dst, record);
    for (int y = 0; y < outHeight; ++y) {
      for (int x = 0; x < outWidth; ++x) {
        const auto digit = [](const std::string& s, int i) {
          return static_cast<float>(s[static_cast<std::size_t>(i)] - '0');
        };
        EXPECT_EQ(channels(dst.at(x, y)),
                  channels(PF_PixelFloat{1, digit(c.columns, x), digit(c.rows, y), -1}))
            << c.name << " at " << x << ',' << y;
      }
    }
  }
}

TEST(KernelPosition, EachRowHasItsOwnDisplacement) {
  World<PF_PixelFloat> src(4, 3);
  World<PF_PixelFloat> dst(4, 3);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 4; ++x) src.at(x, y) = {1, static_cast<float>(x), 0, 0};
  }
  LomixStruct record = neutral(3);
  record.scanDistortion = 1;
  // The third row has no entry and stays in place.
  record.scanProfile = {0.25f, 0.5f};
  record.signalProfile = {0, 0};
  render(src, dst, record);
  EXPECT_EQ(dst.at(0, 0).red, 3.0f);
  EXPECT_EQ(dst.at(0, 1).red, 2.0f);
  EXPECT_EQ(dst.at(0, 2).red, 0.0f);
}

TEST(Kernel, NeedsABarValueForEveryRow) {
  World<PF_PixelFloat> src(1, 3);
  World<PF_PixelFloat> dst(1, 3);
  src.fill({1, 0.5f, 0.5f, 0.5f});
  LomixStruct record = neutral(2);
  HostCall call(32);
  Lomix effect(&call.in, &call.out, &call.extra);
  EXPECT_THROW(effect.ExecuteKernel(&src.def, &dst.def, &record), std::out_of_range);
  EXPECT_EQ(dst.at(0, 1).red, 0.5f) << "the rows before it are drawn";
  EXPECT_EQ(dst.at(0, 2).red, 0.0f);
}

TEST(Kernel, DrawsNothingAtOtherDepths) {
  World<PF_PixelFloat> src(2, 2);
  World<PF_PixelFloat> dst(2, 2);
  src.fill({1, 1, 1, 1});
  dst.fill({0, 2, 3, 4});
  LomixStruct record = neutral(2);
  record.barsOverlay = record.noise = record.scanlineOverlay = 1;
  for (const A_short depth : std::initializer_list<A_short>{16, 0, 64}) {
    HostCall call(depth);
    Lomix effect(&call.in, &call.out, &call.extra);
    EXPECT_EQ(effect.pixelDepth, depth);
    EXPECT_EQ(effect.barsBlend, nullptr);
    EXPECT_EQ(effect.ExecuteKernel(&src.def, &dst.def, &record), 0);
    EXPECT_EQ(channels(dst.at(1, 1)), channels(PF_PixelFloat{0, 2, 3, 4}));
    call.smartInput.bitdepth = 32;
    effect.Initialize(&call.extra);
    EXPECT_EQ(effect.Initialize(), 32);
    EXPECT_EQ(effect.overlayBlend, alphaBlendPixel32);
  }
}

// The bars' blend changes the frame's record while a pixel is drawn. The pixel must be finished
// from the copy that was made at its start.
TEST(Kernel, DrawsFromAPrivateCopyOfTheRecord) {
  static LomixStruct record;
  record = neutral(1);
  record.barsOverlay = 1;
  record.scanlineThickness = -1;  // Dark in row 0.
  const auto blend = [](void*, void*) { record.scanlineOverlay = 1; };
  World<PF_PixelFloat> src(2, 1);
  World<PF_PixelFloat> dst(2, 1);
  src.fill({1, 0.5f, 0.5f, 0.5f});
  HostCall call(32);
  Lomix effect(&call.in, &call.out, &call.extra);
  effect.barsBlend = blend;
  for (int x = 0; x < 2; ++x) EXPECT_EQ(effect.Kernel(&src.def, &dst.def, x, 0, &record), 0);
  EXPECT_EQ(dst.at(0, 0).red, 0.5f) << "drawn before the change";
  EXPECT_EQ(dst.at(1, 0).red, 0.0f) << "drawn after it";
}

TEST(Kernel, EightBitsGoThroughPremultiplicationAndBack) {
  const struct {
    PF_Pixel from, to;
  } cases[] = {
      {{255, 255, 10, 1}, {255, 254, 9, 0}},     // 255*10/256 = 9, 9*256/255 = 9
      {{128, 200, 101, 3}, {128, 200, 100, 2}},  // halves truncate
      {{0, 90, 80, 70}, {0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    World<PF_Pixel> src(2, 2, 4);
    World<PF_Pixel> dst(2, 2, 8);
    src.fill(c.from);
    LomixStruct record = neutral(2);
    render(src, dst, record);
    EXPECT_EQ(channels(dst.at(1, 1)), channels(c.to));
    EXPECT_EQ(channels(src.at(1, 1)), channels(c.from));
  }
}

TEST(KernelOverlays, BarsAreHardLightOfTheRowsGrey) {
  World<PF_PixelFloat> src(1, 2);
  World<PF_PixelFloat> dst(1, 2);
  src.fill({1, 0.25f, 0.75f, 0});
  LomixStruct record = neutral(2);
  record.barsProfile = {0.5f, 0};
  record.barsOverlay = 0.5f;
  render(src, dst, record);
  // Grey of 0.5 * 0.5, alpha 0.5: multiplied 0.125, screened 0.625, half of each.
  EXPECT_EQ(channels(dst.at(0, 0)), channels(PF_PixelFloat{1, 0.1875f, 0.6875f, 0}));
  // A black bar: multiplied 0, screened 0.5.
  EXPECT_EQ(channels(dst.at(0, 1)), channels(PF_PixelFloat{1, 0.125f, 0.625f, 0}));

  World<PF_Pixel> src8(1, 2);
  World<PF_Pixel> dst8(1, 2);
  src8.fill({255, 255, 100, 0});
  record.barsOverlay = 1;
  render(src8, dst8, record);
  // Premultiplied 254 and 99; grey 127: 255 - 2*128*1/255 and 2*127*99/255.
  EXPECT_EQ(channels(dst8.at(0, 0)), channels(PF_Pixel{255, 254, 98, 0}));
}

// Returns a character for each row of a white picture: clear ('.'), dark ('#') or neither ('?').
std::string scanlines(LomixStruct record, int rows) {
  World<PF_PixelFloat> src(1, rows);
  World<PF_PixelFloat> dst(1, rows);
  src.fill({1, 1, 1, 1});
  record.scanlineOverlay = 0.5f;
  render(src, dst, record);
  std::string pattern;
  for (int y = 0; y < rows; ++y) {
    const auto pixel = channels(dst.at(0, y));
    const bool dark = pixel == channels(PF_PixelFloat{1, 0.5f, 0.5f, 0.5f});
    const bool clear = pixel == channels(PF_PixelFloat{1, 1, 1, 1});
    pattern += dark ? '#' : clear ? '.' : '?';
  }
  return pattern;
}

TEST(KernelOverlays, ScanlinesCoverEverySecondBand) {
  const struct {
    const char* name;
    float thickness, speed, time;
    const char* pattern;
  } cases[] = {
      {"still", 2, 0, 0, "..##..##"},
      {"one row down is continuous through phase 0", 2, 1, 0, "#..##..#"},
      {"a whole period down", 2, 4, 0, "..##..##"},
      {"time moves them too", 2, 1, 1, "##..##.."},
      {"backwards", 2, -1, 0, ".##..##."},
      {"far below zero", 3, 100, 9, ".###...#"},  // 0 - 1000 = -4 - 166 * 6
      {"half rows", 0.5f, 0, 0, "........"},
      {"thin bands alias", 1.5f, 0, 0, "..#..#..#"},
      {"no thickness darkens from phase 0 on", 0, 3, 0, "...#####"},
      // 6 - 0.6 = 5.4 is nine periods of 0.6. The product rounds, so the remainder is below 0.3.
      {"the product rounds before the difference", 0.3f, 0.3f, 1, "??????."},
  };
  for (const auto& c : cases) {
    LomixStruct record = neutral(9);
    record.scanlineThickness = c.thickness;
    record.scanlineSpeed = c.speed;
    record.time = c.time;
    std::string pattern = scanlines(record, static_cast<int>(std::string(c.pattern).size()));
    for (std::size_t i = 0; i < pattern.size(); ++i) {
      if (c.pattern[i] == '?') pattern[i] = '?';
    }
    EXPECT_EQ(pattern, c.pattern) << c.name;
  }
  World<PF_Pixel> src(1, 3);
  World<PF_Pixel> dst(1, 3);
  src.fill({255, 255, 255, 255});
  LomixStruct record = neutral(3);
  record.scanlineOverlay = 0.5f;
  render(src, dst, record);
  EXPECT_EQ(channels(dst.at(0, 1)), channels(PF_Pixel{255, 254, 254, 254}));
  // Alpha 127 + (255*128 >> 8), colour 254*128 >> 8 = 127, and 127*256/254.
  EXPECT_EQ(channels(dst.at(0, 2)), channels(PF_Pixel{254, 128, 128, 128}));
}

TEST(KernelOverlays, GrainIsLaidOverAndNeverNegative) {
  constexpr int kSize = 12;
  World<PF_PixelFloat> src(kSize, kSize);
  World<PF_PixelFloat> dst(kSize, kSize);
  src.fill({1, 0.5f, 0, 1});
  LomixStruct record = neutral(kSize);
  record.noise = 0.25f;
  record.time = 0.75f;
  render(src, dst, record);
  int black = 0;
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      // Positions start at 10, the time is doubled, the rate is 5.
      const float value = legacyRandom(static_cast<float>(x + 10), static_cast<float>(y + 10),
                                       kSize, kSize, 1.5f, 5);
      const float level = value < 0 ? 0 : value * 0.25f;
      black += value < 0;
      EXPECT_EQ(channels(dst.at(x, y)),
                channels(PF_PixelFloat{1, 0.375f + level, level, 0.75f + level}))
          << x << ',' << y;
    }
  }
  EXPECT_GT(black, 10);
  EXPECT_LT(black, kSize * kSize - 10);
}

// At half resolution the positions (x + 10) * 2 are those of the full-resolution pixels 2x + 10.
TEST(KernelOverlays, GrainKeepsItsPlaceAtHalfResolution) {
  constexpr int kHalf = 16;
  World<PF_PixelFloat> halfSrc(kHalf, kHalf);
  World<PF_PixelFloat> half(kHalf, kHalf);
  World<PF_PixelFloat> fullSrc(2 * kHalf, 2 * kHalf);
  World<PF_PixelFloat> full(2 * kHalf, 2 * kHalf);
  LomixStruct record = neutral(2 * kHalf);
  record.noise = 1;
  record.time = 3.7f;
  render(halfSrc, half, record, 2);
  render(fullSrc, full, record);
  int bright = 0;
  for (int y = 0; 2 * y + 10 < 2 * kHalf; ++y) {
    for (int x = 0; 2 * x + 10 < 2 * kHalf; ++x) {
      EXPECT_EQ(half.at(x, y).red, full.at(2 * x + 10, 2 * y + 10).red) << x << ',' << y;
      bright += half.at(x, y).red > 0;
    }
  }
  EXPECT_GT(bright, 20);
}

TEST(KernelOverlays, AreLaidOnInOrder) {
  // An opaque overlay hides everything below it: the scanline is on top, the grain below it.
  World<PF_PixelFloat> src(1, 4);
  World<PF_PixelFloat> dst(1, 4);
  src.fill({1, 0.3f, 0.3f, 0.3f});
  LomixStruct record = neutral(4);
  record.barsOverlay = record.noise = record.scanlineOverlay = 1;
  record.barsProfile.assign(4, 1);
  render(src, dst, record);
  const float grain = std::max(0.0f, legacyRandom(10, 11, 1, 4, 0, 5));
  EXPECT_EQ(channels(dst.at(0, 1)), channels(PF_PixelFloat{1, grain, grain, grain}));
  EXPECT_EQ(channels(dst.at(0, 2)), channels(PF_PixelFloat{1, 0, 0, 0}));
}

}  // namespace
}  // namespace lomix::unit
