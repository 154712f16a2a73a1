// Operations on single pixels and on whole worlds, and the addresses of pixels.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "effect/UnitSupport.h"
#include "effect/kernel/Lomix.h"
#include "effect/kernel/PixelFunctions.h"
#include "effect/kernel/PixelSampling.h"

namespace lomix::unit {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// An effect object of a bit depth, for tests of its pixel operations.
struct Effect {
  explicit Effect(A_short bitDepth) : call(bitDepth), lomix(&call.in, &call.out, &call.extra) {}
  HostCall call;
  Lomix lomix;
};

TEST(PixelConversion, TruncatesAndWrapsWithoutClamp) {
  const struct {
    Vec4<double> colour;
    PF_Pixel pixel;
  } cases[] = {
      {{1.0, 0.5, 0.0, 1.0}, {255, 255, 127, 0}},
      {{0.9999, 0.002, 0.004, 0.25}, {63, 254, 0, 1}},
      {{2.0, -1.0, 1.5, 3.0}, {253, 254, 1, 126}},
      {{1e30, -1e30, std::nan(""), -0.001}, {0, 255, 0, 0}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(channels(GetPixel8(c.colour)), channels(c.pixel)) << c.colour.x;
  }
  const PF_PixelFloat wide = GetPixel32({2.0, -0.5, 0.1, 1.0});
  EXPECT_EQ(channels(wide), channels(PF_PixelFloat{1.0f, 2.0f, -0.5f, 0.1f}));
}

struct Blend8Case {
  const char* name;
  PF_Pixel dst, src, result;
};

TEST(Blend8, HardLight) {
  const Blend8Case cases[] = {
      // 2*100*127/255 = 99.6 against 255 - 2*155*127/255 = 255 - 154: dst decides at 128.
      {"split at 128", {255, 127, 128, 0}, {255, 100, 100, 100}, {255, 99, 101, 0}},
      {"extremes", {255, 127, 128, 255}, {255, 255, 255, 0}, {255, 254, 255, 255}},
      {"no alpha keeps the colour", {77, 10, 128, 250}, {0, 200, 200, 200}, {76, 10, 128, 250}},
      // A fifth of 78 and four fifths of 100; alpha 51 + (255*204 >> 8).
      {"partial alpha", {255, 100, 100, 100}, {51, 100, 100, 100}, {254, 95, 95, 95}},
      // With alpha 119/255 these sums are an integer only if both products are rounded first:
      // the exact sums are just below 21 and 32.
      {"both products round by themselves", {0, 21, 39, 36}, {119, 130, 80, 75}, {119, 21, 32, 29}},
  };
  for (const Blend8Case& c : cases) {
    PF_Pixel dst = c.dst;
    PF_Pixel src = c.src;
    hardLightBlend8Void(&dst, &src);
    EXPECT_EQ(channels(dst), channels(c.result)) << c.name;
  }
}

TEST(Blend8, PremultipliedOver) {
  const Blend8Case cases[] = {
      {"half black over white", {255, 255, 255, 255}, {128, 0, 0, 0}, {254, 126, 126, 126}},
      {"opaque replaces", {9, 8, 7, 6}, {255, 1, 2, 3}, {255, 1, 2, 3}},
      {"transparent changes nothing", {9, 8, 7, 6}, {0, 100, 100, 100}, {9, 8, 7, 6}},
      {"254 is not opaque yet", {255, 255, 0, 10}, {254, 5, 6, 7}, {254, 5, 6, 7}},
      {"colour wraps at 256", {255, 255, 255, 0}, {128, 200, 129, 200}, {254, 70, 255, 200}},
  };
  for (const Blend8Case& c : cases) {
    PF_Pixel dst = c.dst;
    PF_Pixel src = c.src;
    alphaBlendPixel8(&dst, &src);
    EXPECT_EQ(channels(dst), channels(c.result)) << c.name;
  }
}

TEST(Blend8, OverWithOpacity) {
  const struct : Blend8Case {
    float opacity;
  } cases[] = {
      // alpha 127.5 -> 127; 50 + (50*128 >> 8), 50.5 + 25 truncated, 0 + 127.
      {{"half", {200, 50, 50, 255}, {255, 100, 101, 0}, {227, 75, 75, 127}}, 0.5f},
      {{"fully opaque replaces", {9, 8, 7, 6}, {255, 1, 2, 3}, {255, 1, 2, 3}}, 1.0f},
      {{"alpha below 1 changes nothing", {9, 8, 7, 6}, {1, 200, 200, 200}, {9, 8, 7, 6}}, 0.5f},
      {{"alpha wraps to nothing", {9, 8, 7, 6}, {128, 200, 200, 200}, {9, 8, 7, 6}}, 2.0f},
      {{"colour wraps at 256", {0, 255, 0, 0}, {128, 200, 200, 0}, {128, 70, 200, 0}}, 1.0f},
  };
  for (const auto& c : cases) {
    PF_Pixel dst = c.dst;
    PF_Pixel src = c.src;
    alphaBlend8Void(&dst, &src, c.opacity);
    EXPECT_EQ(channels(dst), channels(c.result)) << c.name;
  }
}

struct Blend32Case {
  const char* name;
  PF_PixelFloat dst, src, result;
};

TEST(Blend32, HardLight) {
  const Blend32Case cases[] = {
      {"split at 0.5", {1, 0.25f, 0.5f, 0.75f}, {1, 0.5f, 0.25f, 0.25f}, {1, 0.25f, 0.25f, 0.625f}},
      {"half alpha",
       {0.5f, 0.25f, 0.75f, 0},
       {0.5f, 0.25f, 0.25f, 1},
       {0.75f, 0.1875f, 0.6875f, 0}},
      {"negative becomes black", {1, 0.25f, 2, -1}, {1, -1, 2, 1}, {1, 0, 0, 0}},
      {"above one stays", {1, 2, 0, 0}, {1, 0, 0, 0}, {1, 3, 0, 0}},
      // Decimal tenths: the products are exact in double only, and (1 - a)*d rounds to single
      // before the sum. Leaving out any of the three changes the last bit.
      {"roundings below a half",
       {1, 0.1f, 0.2f, 0},
       {0.3f, 0.9f, 0.9f, 0},
       {1, 0x1.fbe76ep-4f, 0x1.fbe76ep-3f, 0}},
      {"roundings from a half on", {1, 0.6f, 0, 0}, {0.3f, 0.2f, 0, 0}, {1, 0x1.0e5606p-1f, 0, 0}},
  };
  for (const Blend32Case& c : cases) {
    PF_PixelFloat dst = c.dst;
    PF_PixelFloat src = c.src;
    hardLightBlend32Void(&dst, &src);
    EXPECT_EQ(channels(dst), channels(c.result)) << c.name;
  }
  PF_PixelFloat dst{1, -0.25f, 0, 0};
  PF_PixelFloat src{1, 0, 0, 0};
  hardLightBlend32Void(&dst, &src);
  EXPECT_TRUE(dst.red == 0.0f && std::signbit(dst.red)) << "negative zero is not below zero";
}

TEST(Blend32, Over) {
  const struct : Blend32Case {
    float opacity;
  } cases[] = {
      {{"three quarters", {1, 4, -2, 0}, {0.75f, 1, 1, 1}, {1, 2, 0.5f, 1}}, 1.0f},
      {{"opaque leaves the source", {0.5f, 9, 9, 9}, {1, 2, -1, 0}, {1, 2, -1, 0}}, 1.0f},
      {{"transparent adds its colour", {0.5f, 1, 1, 1}, {0, 2, 0, 0}, {0.5f, 3, 1, 1}}, 1.0f},
      {{"half opacity", {0, 2, 4, 8}, {0.5f, 2, -2, 0}, {0.25f, 2.5f, 2, 6}}, 0.5f},
      // A fused product and sum would differ in the last bit.
      {{"product rounds before the sum",
        {0, 0.4f, 0.8f, 0.4f},
        {0.1f, 0.1f, 0.2f, 0.3f},
        {0.1f, 0x1.d70a3cp-2f, 0x1.d70a3cp-1f, 0x1.51eb84p-1f}},
       1.0f},
      {{"both products round before the sum",
        {0, 0.6f, 0.7f, 0},
        {0.1f, 0.1f, 0.7f, 0},
        {0x1.eb8520p-6f, 0x1.39581p-1f, 0x1.c72b04p-1f, 0}},
       0.3f},
  };
  for (const auto& c : cases) {
    PF_PixelFloat dst = c.dst;
    PF_PixelFloat src = c.src;
    alphaBlend32Void(&dst, &src, c.opacity);
    EXPECT_EQ(channels(dst), channels(c.result)) << c.name;
    if (c.opacity != 1.0f) continue;
    dst = c.dst;
    alphaBlendPixel32(&dst, &src);
    EXPECT_EQ(channels(dst), channels(c.result)) << c.name << ", without opacity";
  }
}

template <typename Pixel>
void expectChannelCopies(void (*const (&copies)[4])(void*, void*)) {
  for (std::size_t i = 0; i < 4; ++i) {
    Pixel src{10, 20, 30, 40};
    Pixel dst{1, 2, 3, 4};
    auto expected = channels(dst);
    expected[i] = channels(src)[i];
    copies[i](&src, &dst);
    EXPECT_EQ(channels(dst), expected) << "channel " << i;
    EXPECT_EQ(channels(src), channels(Pixel{10, 20, 30, 40}));
  }
}

TEST(ChannelCopies, CopyOneChannelFromTheFirstToTheSecond) {
  expectChannelCopies<PF_Pixel>({CopyAlpha8Void, CopyRed8Void, CopyGreen8Void, CopyBlue8Void});
  expectChannelCopies<PF_PixelFloat>(
      {CopyAlpha32Void, CopyRed32Void, CopyGreen32Void, CopyBlue32Void});
}

TEST(LomixPixels, SetAndInterpolate8) {
  Effect effect(8);
  PF_Pixel p{};
  effect.lomix.SetPixelColor(&p, {0, 0, 1, 1});
  EXPECT_EQ(channels(p), channels(PF_Pixel{255, 0, 0, 0})) << "blue comes from red";
  effect.lomix.SetPixelColor(&p, {1, 0.5f, 0, 0.25f});
  EXPECT_EQ(channels(p), channels(PF_Pixel{63, 255, 127, 255}));

  const struct {
    const char* name;
    std::uint8_t from;
    float to, t;
    std::uint8_t result;
  } cases[] = {
      {"up, truncated", 100, 1.0f, 0.5f, 177},
      {"down", 200, 0.0f, 0.25f, 150},
      {"not at all", 33, 1.0f, 0.0f, 33},
      {"all the way", 33, 0.5f, 1.0f, 127},
      {"target wraps", 9, 2.0f, 1.0f, 254},
      {"result wraps", 200, 1.0f, 2.0f, 54},
      // 3 - 2.00000006 is below 1; rounding the product first would give 1.
      {"one rounding", 3, 0.0f, 2.0f / 3, 0},
  };
  for (const auto& c : cases) {
    p = {c.from, c.from, c.from, c.from};
    effect.lomix.InterpolateColor(&p, {c.to, c.to, c.to}, c.t);
    EXPECT_EQ(channels(p), channels(PF_Pixel{c.from, c.result, c.result, c.result})) << c.name;
    p = {c.from, 1, 2, 3};
    effect.lomix.InterpolateAlpha(&p, c.to, c.t);
    EXPECT_EQ(channels(p), channels(PF_Pixel{c.result, 1, 2, 3})) << c.name;
  }
  p = {1, 2, 3, 4};
  effect.lomix.InterpolateColor(&p, {0, 0.5f, 1}, 1);
  EXPECT_EQ(channels(p), channels(PF_Pixel{1, 0, 127, 255})) << "channels in their places";
}

TEST(LomixPixels, SetAndInterpolate32) {
  Effect effect(32);
  PF_PixelFloat p{};
  effect.lomix.SetPixelColor(&p, {0.1f, 0.2f, 0.3f, 0.4f});
  EXPECT_EQ(channels(p), channels(PF_PixelFloat{0.4f, 0.1f, 0.2f, 0.3f}));
  // From -1 to 9 by a tenth: the product rounds to 1, a fused operation would leave 2^-26.
  p = {7, -1, 0, 2};
  effect.lomix.InterpolateColor(&p, {9, 10, 2}, 0.1f);
  EXPECT_EQ(channels(p), channels(PF_PixelFloat{7, 0, 1, 2}));
  p.alpha = -1;
  effect.lomix.InterpolateAlpha(&p, 9, 0.1f);
  EXPECT_EQ(channels(p), channels(PF_PixelFloat{0, 0, 1, 2}));
}

TEST(LomixPixels, DispatchOnTheDepth) {
  Effect effect8(8);
  PF_Pixel p8{128, 200, 100, 255};
  effect8.lomix.PremultPixel(&p8);
  EXPECT_EQ(channels(p8), channels(PF_Pixel{128, 100, 50, 127}));
  effect8.lomix.UnmultPixel(&p8);
  EXPECT_EQ(channels(p8), channels(PF_Pixel{128, 200, 100, 254}));
  p8 = {255, 255, 255, 255};
  effect8.lomix.blendpixelColor(&p8, {0.1f, 0.2f, 0.3f, 1}, effect8.lomix.overlayBlend);
  EXPECT_EQ(channels(p8), channels(PF_Pixel{255, 25, 51, 76}));

  Effect effect32(32);
  PF_PixelFloat p32{0.5f, 1, 2, 3};
  effect32.lomix.PremultPixel(&p32);
  EXPECT_EQ(channels(p32), channels(PF_PixelFloat{0.5f, 0.5f, 1, 1.5f}));
  effect32.lomix.UnmultPixel(&p32);
  EXPECT_EQ(channels(p32), channels(PF_PixelFloat{0.5f, 1, 2, 3}));
  effect32.lomix.blendpixelColor(&p32, {0.1f, 0.2f, 0.3f, 1}, effect32.lomix.overlayBlend);
  EXPECT_EQ(channels(p32), channels(PF_PixelFloat{1, 0.1f, 0.2f, 0.3f}));
}

TEST(LomixPixels, OtherDepthsLeaveThePixelAlone) {
  Effect effect(16);
  ASSERT_EQ(effect.lomix.pixelDepth, 16);
  PF_PixelFloat p{0.5f, 1, 2, 3};
  const auto blend = [](void* dst, void*) { static_cast<PF_PixelFloat*>(dst)->red = -1; };
  effect.lomix.PremultPixel(&p);
  effect.lomix.UnmultPixel(&p);
  effect.lomix.SetPixelColor(&p, {1, 1, 1, 1});
  effect.lomix.InterpolateColor(&p, {1, 1, 1}, 1);
  effect.lomix.InterpolateAlpha(&p, 1, 1);
  effect.lomix.blendpixelColor(&p, {1, 1, 1, 1}, blend);
  EXPECT_EQ(channels(p), channels(PF_PixelFloat{0.5f, 1, 2, 3}));
}

// Compared with the definition of truncating division, for every alpha and value.
TEST(Premultiply8, EveryAlphaAndValue) {
  Effect effect(8);
  for (int a = 0; a < 256; ++a) {
    for (int v = 0; v < 256; ++v) {
      const auto byte = [](int i) { return static_cast<A_u_char>(i); };
      PF_Pixel p{byte(a), byte(v), byte(v), byte(v)};
      PF_Pixel u = p;
      effect.lomix.PixelPremult8(&p);
      effect.lomix.PixelUnmult8(&u);
      ASSERT_TRUE(256 * p.red <= a * v && a * v < 256 * (p.red + 1)) << a << ' ' << v;
      const bool limited = u.red == 255 && 256 * v >= 255 * a;
      const bool divided = a * u.red <= 256 * v && 256 * v < a * (u.red + 1);
      ASSERT_TRUE(a == 0 ? u.red == 0 : limited || divided) << a << ' ' << v;
      ASSERT_EQ(channels(p), channels(PF_Pixel{byte(a), p.red, p.red, p.red}));
      ASSERT_EQ(channels(u), channels(PF_Pixel{byte(a), u.red, u.red, u.red}));
    }
  }
  PF_Pixel p{10, 200, 5, 9};
  effect.lomix.PixelUnmult8(&p);
  EXPECT_EQ(channels(p), channels(PF_Pixel{10, 255, 128, 230}));
}

TEST(Premultiply32, NeverClampsAndNeverDividesByZero) {
  Effect effect(32);
  const struct {
    PF_PixelFloat from, premultiplied, unmultiplied;
  } cases[] = {
      {{0.5f, 0.75f, -2, 8}, {0.5f, 0.375f, -1, 4}, {0.5f, 1.5f, -4, 16}},
      {{0, 0.5f, kInfinity, -1}, {0, 0, 0, 0}, {0, 0, 0, 0}},
      {{-2, 1, 2, 0.5f}, {-2, -2, -4, -1}, {-2, -0.5f, -1, -0.25f}},
  };
  for (const auto& c : cases) {
    PF_PixelFloat p = c.from;
    effect.lomix.PixelPremult32(&p);
    EXPECT_EQ(channels(p), channels(c.premultiplied));
    p = c.from;
    effect.lomix.PixelUnmult32(&p);
    EXPECT_EQ(channels(p), channels(c.unmultiplied));
  }
}

TEST(PixelLerp, RoundsOnceAndWritesTheSecond) {
  Effect effect(8);
  const struct {
    const char* name;
    PF_Pixel a, b;
    float t;
    PF_Pixel result;
  } cases[] = {
      {"half", {255, 0, 0, 10}, {255, 255, 255, 20}, 0.5f, {255, 127, 127, 15}},
      {"none gives the first", {1, 2, 3, 4}, {255, 255, 255, 255}, 0, {1, 2, 3, 4}},
      {"all leaves the second", {1, 2, 3, 4}, {250, 0, 128, 7}, 1, {250, 0, 128, 7}},
      {"beyond one wraps", {0, 200, 0, 0}, {200, 255, 0, 1}, 2, {144, 54, 0, 2}},
      {"below zero wraps", {0, 0, 0, 0}, {1, 0, 0, 0}, -1, {255, 0, 0, 0}},
      // Exactly 0.9999999 and 1.9999999: a rounded product would raise both to the integer.
      {"two thirds of the way to black", {3, 6, 3, 3}, {0, 0, 0, 0}, 2.0f / 3, {0, 1, 0, 0}},
  };
  for (const auto& c : cases) {
    PF_Pixel a = c.a;
    PF_Pixel b = c.b;
    effect.lomix.PixelLerp8(&a, &b, c.t);
    EXPECT_EQ(channels(b), channels(c.result)) << c.name;
    EXPECT_EQ(channels(a), channels(c.a)) << c.name;
  }
  // A tenth (which is 0.1 + 2^-26/10 in single precision) of the way from -1 to 9.
  PF_PixelFloat a{-1, 0, 4, 1};
  PF_PixelFloat b{9, 10, 0, 3};
  effect.lomix.PixelLerp32(&a, &b, 0.1f);
  EXPECT_EQ(b.alpha, 0x1p-26f) << "fused";
  EXPECT_EQ(b.red, 1.0f);
  effect.lomix.PixelLerp32(&a, &b, 0.5f);
  EXPECT_EQ(b.red, 0.5f);
}

template <typename Pixel>
void expectWorldOperation(PF_Err (AERender::*operation)(PF_LayerDef*), Pixel from, Pixel to) {
  Effect effect(8);
  World<Pixel> world(3, 2, sizeof(Pixel));
  world.fill(from);
  EXPECT_EQ((effect.lomix.*operation)(&world.def), 0);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 3; ++x) EXPECT_EQ(channels(world.at(x, y)), channels(to)) << x << ',' << y;
  }
  EXPECT_TRUE(world.paddingIntact());
  PF_LayerDef empty = world.def;
  empty.data = nullptr;
  EXPECT_EQ((effect.lomix.*operation)(&empty), 0);
}

TEST(WorldOperations, VisitEveryPixelAndNoPadding) {
  expectWorldOperation<PF_Pixel>(&AERender::Premult8, {128, 200, 100, 3}, {128, 100, 50, 1});
  expectWorldOperation<PF_Pixel>(&AERender::Unmult8, {128, 100, 50, 3}, {128, 200, 100, 6});
  expectWorldOperation<PF_PixelFloat>(&AERender::Premult32, {0.5f, 1, 2, 3}, {0.5f, 0.5f, 1, 1.5f});
  expectWorldOperation<PF_PixelFloat>(&AERender::Unmult32, {0.5f, 1, 2, 3}, {0.5f, 2, 4, 6});
}

TEST(WorldOperations, ChooseByThePixelFormat) {
  static PF_PixelFormat format;
  PF_WorldSuite2 suite{};
  suite.PF_GetPixelFormat = [](const PF_EffectWorld*, PF_PixelFormat* result) {
    *result = format;
    return PF_Err_OUT_OF_MEMORY;  // The caller ignores the error.
  };
  // Its bytes change differently as one float pixel and as four 8-bit pixels.
  const PF_PixelFloat start{0.5f, 1, 2, 3};
  const auto bytesAfter = [&](PF_PixelFormat f, PF_Err (AERender::*operation)(PF_LayerDef*)) {
    format = f;
    Effect effect(8);
    EXPECT_EQ(effect.lomix.worldSuite, nullptr);
    effect.lomix.worldSuite = &suite;
    World<PF_PixelFloat> world(1, 1);
    world.at(0, 0) = start;
    EXPECT_EQ((effect.lomix.*operation)(&world.def), 0);
    return channels(world.at(0, 0));
  };
  EXPECT_EQ(bytesAfter(0x32336561, &AERender::Premult),
            channels(PF_PixelFloat{0.5f, 0.5f, 1, 1.5f}));
  EXPECT_EQ(bytesAfter(0x32336561, &AERender::Unmult), channels(PF_PixelFloat{0.5f, 2, 4, 6}));
  for (const auto operation : {&AERender::Premult, &AERender::Unmult}) {
    EXPECT_EQ(bytesAfter(0x36316561, operation), channels(start)) << "16 bits: untouched";
    // The 8-bit form sees the float's lowest byte, which is 0, as alpha and clears the other three.
    EXPECT_EQ(bytesAfter(0x62677261, operation)[0], 0.0f);
  }
}

TEST(WorldOperations, LerpBlendsTheCommonAreaOnly) {
  const struct {
    int aWidth, aHeight, bWidth, bHeight;
    A_long host;
  } cases[] = {{3, 2, 3, 2, kHostIdPremiere},
               {5, 4, 3, 2, kHostIdPremiere},
               {2, 1, 3, 2, kHostIdAfterEffects},
               {3, 1, 2, 4, kHostIdAfterEffects}};
  for (const auto& s : cases) {
    Effect effect8(8);
    effect8.call.in.appl_id = s.host;
    World<PF_Pixel> a8(s.aWidth, s.aHeight, 4);
    World<PF_Pixel> b8(s.bWidth, s.bHeight, 12);
    a8.fill({200, 100, 0, 4});
    b8.fill({100, 200, 50, 8});
    EXPECT_EQ(effect8.lomix.Lerp(&a8.def, &b8.def, 0.5f), 0);
    Effect effect32(32);
    effect32.call.in.appl_id = s.host;
    World<PF_PixelFloat> a32(s.aWidth, s.aHeight, 16);
    World<PF_PixelFloat> b32(s.bWidth, s.bHeight, 48);
    a32.fill({1, 0, -2, 4});
    b32.fill({0, 1, 2, 8});
    EXPECT_EQ(effect32.lomix.Lerp(&a32.def, &b32.def, 0.25f), 0);
    for (int y = 0; y < s.bHeight; ++y) {
      for (int x = 0; x < s.bWidth; ++x) {
        const bool common = x < s.aWidth && y < s.aHeight;
        EXPECT_EQ(channels(b8.at(x, y)),
                  channels(common ? PF_Pixel{150, 150, 25, 6} : PF_Pixel{100, 200, 50, 8}));
        EXPECT_EQ(channels(b32.at(x, y)), channels(common ? PF_PixelFloat{0.75f, 0.25f, -1, 5}
                                                          : PF_PixelFloat{0, 1, 2, 8}));
      }
    }
    EXPECT_TRUE(a8.paddingIntact() && b8.paddingIntact());
    EXPECT_TRUE(a32.paddingIntact() && b32.paddingIntact());
  }
}

TEST(WorldOperations, LerpLeavesOtherDepthsAndMissingPixelsAlone) {
  World<PF_Pixel> a(2, 1);
  World<PF_Pixel> b(2, 1);
  b.fill({1, 2, 3, 4});
  Effect deep(16);
  EXPECT_EQ(deep.lomix.Lerp(&a.def, &b.def, 0.0f), 0);
  Effect effect(8);
  PF_LayerDef nothing = a.def;
  nothing.data = nullptr;
  EXPECT_EQ(effect.lomix.Lerp(&nothing, &b.def, 0.0f), 0);
  EXPECT_EQ(effect.lomix.Lerp(&a.def, &nothing, 0.0f), 0);
  EXPECT_EQ(channels(b.at(1, 0)), channels(PF_Pixel{1, 2, 3, 4}));
}

TEST(Samplers, AddressPixelsByStrideAndSize) {
  alignas(16) static char memory[8192];
  const struct {
    const char* name;
    int stride, x, y, left, top;
    int plain32, plain64, plain128, rect8, rect32;
  } cases[] = {
      {"origin", 400, 0, 0, 0, 0, 0, 0, 0, 0, 0},
      {"one right, one down", 400, 1, 1, 0, 0, 404, 408, 416, 404, 416},
      {"from a rectangle's corner", 400, 1, 0, 2, 3, 4, 8, 16, 1212, 1248},
      {"padding of half a float pixel", 1608, 2, 1, 0, 0, 1616, 1624, 1640, 1616, 1632},
      {"padding of half an 8-bit pixel", 402, 0, 1, 0, 0, 402, 402, 402, 400, 400},
  };
  for (const auto& c : cases) {
    PF_LayerDef world{};
    world.data = reinterpret_cast<PF_Pixel*>(memory);
    world.rowbytes = c.stride;
    RectT<int> rect(c.left, c.top, 0, 0);
    const auto offset = [](const void* p) { return static_cast<const char*>(p) - memory; };
    EXPECT_EQ(offset(sampleIntegral32Void(world, c.x, c.y)), c.plain32) << c.name;
    EXPECT_EQ(offset(sampleIntegral64(world, c.x, c.y)), c.plain64) << c.name;
    EXPECT_EQ(offset(sampleIntegral128Void(world, c.x, c.y)), c.plain128) << c.name;
    EXPECT_EQ(offset(sampleRectPixel8Void(&world, c.x, c.y, rect)), c.rect8) << c.name;
    EXPECT_EQ(offset(sampleRectPixel32Void(&world, c.x, c.y, rect)), c.rect32) << c.name;
    EXPECT_EQ(sampleIntegral32(world, c.x, c.y), sampleIntegral32Void(world, c.x, c.y));
    EXPECT_EQ(sampleRectPixel8(&world, c.x, c.y, rect),
              sampleRectPixel8Void(&world, c.x, c.y, rect));
    if (c.stride % 4 != 0 || c.plain128 % 16 != 0) continue;
    EXPECT_EQ(sampleIntegral128(world, c.x, c.y), sampleIntegral128Void(world, c.x, c.y));
    EXPECT_EQ(sampleRectPixel32(&world, c.x, c.y, rect),
              sampleRectPixel32Void(&world, c.x, c.y, rect));
  }
  PF_LayerDef upsideDown{};
  upsideDown.data = reinterpret_cast<PF_Pixel*>(memory + 4096);
  upsideDown.rowbytes = -400;
  EXPECT_EQ(static_cast<char*>(sampleIntegral32Void(upsideDown, 3, 2)), memory + 4096 - 800 + 12);
}

}  // namespace
}  // namespace lomix::unit
