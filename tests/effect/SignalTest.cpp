// The sync and random functions, the timer, the frame record and the row profiles.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "effect/UnitSupport.h"
#include "effect/kernel/Lomix.h"
#include "effect/noise/Perlin.h"
#include "effect/signal/SmoothStep.h"
#include "effect/signal/SyncFunctions.h"
#include "effect/signal/Timer.h"

namespace lomix::unit {
namespace {

TEST(SmoothStep, IsACubicBetweenTheEdges) {
  const struct {
    float x, edge0, edge1, result;
  } cases[] = {{-1, 0, 4, 0},        {0, 0, 4, 0},        {1, 0, 4, 0.15625f},
               {2, 0, 4, 0.5f},      {3, 0, 4, 0.84375f}, {4, 0, 4, 1},
               {9, 0, 4, 1},         {1, 4, 0, 0.84375f}, {0.1f, 0.1f, 0.5f, 0},
               {0.5f, 0.1f, 0.5f, 1}};
  for (const auto& c : cases) {
    EXPECT_EQ(smoothStep(c.x, c.edge0, c.edge1), c.result) << c.x << " in " << c.edge0;
  }
  EXPECT_FLOAT_EQ(smoothStep(0.3f, 0.1f, 0.5f), 0.5f);
  EXPECT_TRUE(std::isnan(smoothStep(std::nanf(""), 0.0f, 1.0f)));
}

TEST(LegacySync, IsTheFractionOfTurns) {
  const struct {
    float amount, time, phase;
  } cases[] = {
      {0, 0, 0},
      {0, 1234.5f, 0},
      {-0.0f, 7, 0},
      {1, 0, 0},
      {-0.3f, 0, 0},
      {1, 0.1f, 0.5f},
      {1, 0.2f, 0},
      {-1, 0.05f, 0.75f},
      {1, -0.05f, 0.75f},
      {0.5f, 0.1f, 0.25f},
      {0.25f, 0.4f, 0.5f},
      // 1 - 5e-10 rounds to 1 in single precision.
      {-1, 1e-10f, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(legacySync(c.amount, c.time), c.phase) << c.amount << " at " << c.time;
  }
  EXPECT_TRUE(std::isnan(legacySync(1, std::numeric_limits<float>::infinity())));
}

TEST(LegacyMod, TruncatesAndRoundsOnce) {
  const struct {
    float a, b, remainder;
  } cases[] = {
      {-7, 3, -1},
      {7, -3, 1},
      {5.5f, 2, 1.5f},
      {-0.5f, 2, -0.5f},
      // The quotient rounds up to 10, and ten times the single-precision tenth exceeds 1.
      {1, 0.1f, -0x1p-26f},
      // The quotient saturates at 2^31.
      {8589934592.0f, 1, 6442450944.0f},
      {1, 0, 1},
  };
  for (const auto& c : cases) EXPECT_EQ(legacymod(c.a, c.b), c.remainder) << c.a << " mod " << c.b;
}

TEST(LegacyRandom, IsASineTimesACosine) {
  // At column 0 the value is sin(10 phase) * cos(y^3 / height), here sin(5) * cos(1). At column 4
  // it is sin(4*24 + 5) * cos(1.5).
  EXPECT_FLOAT_EQ(legacyRandom(0, 16, 99, 4096, 0.5f, 2), -0.518108997f);
  EXPECT_FLOAT_EQ(legacyRandom(4, 16, 99, 4096, 0.5f, 2), 0.0319750393f);
  EXPECT_EQ(legacyRandom(4, 16, 1, 4096, 0.5f, 2), legacyRandom(4, 16, 99, 4096, 0.5f, 2))
      << "the width is ignored";
}

// Expected values: computed in exact rational arithmetic and rounded where the function rounds.
// Each case gives another value if the operations change as its name says.
TEST(LegacyRandom, KeepsEveryRoundingInItsPlace) {
  const struct {
    const char* differs;
    float x, y, height, phase, value;
  } cases[] = {
      {"u in two roundings", 0x1.795556p+7f, 0x1.fd4p+10f, 720, 0x1.6eeeeep+2f, 0x1.325c66p-4f},
      {"(u*y)*r for u*(y*r)", 0x1.59p+11f, 0x1.1p+8f, 720, 0x1.488888p+1f, 0x1.558bdap-7f},
      {"u*x without the cancelling pairs", 0x1.9bfp+12f, 0x1.3adp+12f, 2160, 0x1.6eeeeep+1f,
       0x1.62dcc8p-1f},
      {"x multiplied before pi divides", 0x1.e6cp+9f, 0x1.35cp+11f, 720, 0x1.99999ap-1f,
       0x1.74c5ccp-4f},
      {"phase added with a separate rounding", 0x1.6e3p+13f, 0x1.f32p+11f, 2160, 0x1.111112p-5f,
       -0x1.701d88p-1f},
      {"phase times 10 in single precision", 0x1.962aaap+10f, 0x1.1p+10f, 1080, 0x1.555556p+2f,
       0x1.5035eep-1f},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(legacyRandom(c.x, c.y, 1, c.height, c.phase, 5), c.value) << c.differs;
  }
}

TEST(Timer, MeasuresFromStartToFirstStop) {
  const auto wait = [] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); };
  Timer timer;
  timer.stop();
  EXPECT_EQ(timer.getSeconds(), 0.0) << "never started";
  EXPECT_EQ(timer.stopTime, -1.0);
  timer.start();
  wait();
  const double running = timer.getSeconds();
  EXPECT_GE(running, 0.002);
  timer.stop();
  const double stopped = timer.getSeconds();
  EXPECT_GE(stopped, running);
  wait();
  timer.stop();
  EXPECT_EQ(timer.getSeconds(), stopped) << "the second stop changes nothing";

  Timer started(true);
  EXPECT_EQ(started.stopped, 0);
  wait();
  const double first = started.startTime;
  started.start();
  EXPECT_GT(started.startTime, first) << "a running timer restarts";
}

TEST(FrameRecord, CopiesOwnTheirProfiles) {
  LomixStruct record{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, {}, {}, {}};
  EXPECT_TRUE(LomixStruct().scanProfile.empty() && LomixStruct().barsProfile.empty() &&
              LomixStruct().signalProfile.empty());
  record.scanProfile = {0.1f, 0.2f};
  record.barsProfile = {0.3f, 0.4f};
  record.signalProfile = {0.5f, 0.6f};
  LomixStruct copy(record);
  EXPECT_EQ(copy.timeControl + copy.distortionMode, 3);
  EXPECT_EQ(copy.time, 3);
  EXPECT_EQ(copy.effectAmount, 13);
  EXPECT_EQ(copy.signalProfile, record.signalProfile);
  copy.scanProfile[0] = copy.barsProfile[0] = copy.signalProfile[0] = 9;
  EXPECT_EQ(record.scanProfile[0], 0.1f);
  EXPECT_EQ(record.barsProfile[0], 0.3f);
  EXPECT_EQ(record.signalProfile[0], 0.5f);
}

// Returns the profiles of a world of that height at phase p, downsampled vertically by
// verticalFactor.
LomixStruct profiles(int height, float p, A_u_long verticalFactor = 1) {
  HostCall call;
  call.in.downsample_y = {1, verticalFactor};
  Lomix effect(&call.in, &call.out, nullptr);
  PF_LayerDef world{};
  world.height = height;
  LomixStruct record;
  EXPECT_EQ(effect.CreateDisplacementImage(&world, p, &record), 0);
  return record;
}

TEST(DisplacementProfile, HasOneEntryPerRowWithinItsRange) {
  for (const int height : {0, 1, 7, 240}) {
    const LomixStruct record = profiles(height, -12.34f);
    const auto count = static_cast<std::size_t>(height);
    ASSERT_EQ(record.scanProfile.size(), count);
    ASSERT_EQ(record.barsProfile.size(), count);
    ASSERT_EQ(record.signalProfile.size(), count);
    for (const float w : record.scanProfile) EXPECT_TRUE(w >= 0 && w <= 0.3f) << w;
    for (const float b : record.barsProfile) EXPECT_TRUE(b >= 0 && b <= 1) << b;
  }
}

// The harmonics sum to a closed form: sines in arithmetic progression of step d are
// sin(10 d) / sin(d/2) * sin(first + 9.5 d), and two sines are twice a product.
TEST(DisplacementProfile, FollowsTheClosedFormOfItsSines) {
  constexpr int kHeight = 270;
  int held = 0;
  int between = 0;
  for (const float p : {0.0f, -0.4f, -1.7f, -33.25f, 5.0f}) {
    const LomixStruct record = profiles(kHeight, p);
    for (int y = 0; y < kHeight; ++y) {
      const double turn = static_cast<double>(y) / kHeight;
      const double d = 2 + turn;
      const double sum =
          std::sin(4 * turn - p) + std::sin(10 * d) / std::sin(d / 2) * std::sin(10 - p + 10.5 * d);
      const double t = std::clamp((sum / 5 - 0.1) / 0.4, 0.0, 1.0);
      const double weight = std::min(t * t * (3 - 2 * t), 0.3);
      const double bar = 2 * std::sin(5 * turn - p) * std::cos(2 * turn);
      const auto row = static_cast<std::size_t>(y);
      ASSERT_NEAR(record.scanProfile[row], weight, 2e-5) << "row " << y << ", p " << p;
      ASSERT_NEAR(record.barsProfile[row], std::clamp(bar, 0.0, 1.0), 1e-6) << y << ' ' << p;
      held += weight == 0.3;
      between += weight > 0.0 && weight < 0.3;
    }
  }
  EXPECT_GT(held, 10) << "rows that reach the limit";
  EXPECT_GT(between, 10) << "rows on the slope";
}

TEST(DisplacementProfile, JitterIsTheProductOfTwoNoises) {
  constexpr float kPhase = -0.375f;
  const LomixStruct record = profiles(64, kPhase);
  const Perlin first(1, 234);
  const Perlin second(1, 1051);
  int moving = 0;
  for (int y = 0; y < 64; ++y) {
    const double at = y + static_cast<double>(kPhase);
    const float jitter = record.signalProfile[static_cast<std::size_t>(y)];
    EXPECT_EQ(jitter, first.noise(static_cast<float>(at + 0.83)) *
                          second.noise(static_cast<float>(at + 0.57)));
    moving += jitter != 0.0f;
  }
  EXPECT_GT(moving, 16);
}

TEST(DisplacementProfile, IsMeasuredInFullResolutionRows) {
  const LomixStruct full = profiles(60, -2.5f);
  for (const int factor : {2, 3}) {
    const LomixStruct part = profiles(60 / factor, -2.5f, static_cast<A_u_long>(factor));
    for (std::size_t y = 0; y < part.scanProfile.size(); ++y) {
      const std::size_t fullRow = y * static_cast<std::size_t>(factor);
      EXPECT_EQ(part.scanProfile[y], full.scanProfile[fullRow]) << y;
      EXPECT_EQ(part.barsProfile[y], full.barsProfile[fullRow]) << y;
      EXPECT_EQ(part.signalProfile[y], full.signalProfile[fullRow]) << y;
    }
  }
}

TEST(DisplacementProfile, AppendsTheSameEveryTime) {
  HostCall call;
  Lomix effect(&call.in, &call.out, nullptr);
  PF_LayerDef world{};
  world.height = 40;
  LomixStruct twice;
  effect.CreateDisplacementImage(&world, -1.25f, &twice);
  const LomixStruct once = twice;
  effect.CreateDisplacementImage(&world, -1.25f, &twice);
  for (const auto profile :
       {&LomixStruct::scanProfile, &LomixStruct::barsProfile, &LomixStruct::signalProfile}) {
    std::vector<float> doubled = once.*profile;
    doubled.insert(doubled.end(), (once.*profile).begin(), (once.*profile).end());
    EXPECT_EQ(twice.*profile, doubled);
    EXPECT_EQ(effect.DisplaceImage(&world, &(twice.*profile), nullptr, nullptr), 0);
    EXPECT_EQ(twice.*profile, doubled);
  }
}

}  // namespace
}  // namespace lomix::unit
