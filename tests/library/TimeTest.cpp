// Times and rates as hosts pass them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "lomix/lomix.h"

namespace lomix::library_test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Time, TimesThatHostsComputedAreExactAgain) {
  struct Base {
    double seconds, frames;
  };
  for (const Base& base : {Base{1, 24},
                           {1, 25},
                           {1001, 24000},
                           {1001, 30000},
                           {1001, 60000},
                           {1, 1000},
                           {1, 90000},
                           {1, 15360},
                           {512, 12288}}) {
    int corrected = 0;
    for (int frame = -5; frame < 2000; ++frame) {
      const double exact = frame * base.seconds / base.frames;
      // As FFmpeg computes it, and as MLT does.
      for (const double time : {frame * (base.seconds / base.frames) * 1000.0 / 1000.0,
                                frame / (base.frames / base.seconds)}) {
        EXPECT_EQ(lomix_time_of_seconds(time), exact) << frame << " at " << base.frames;
        corrected += time != exact ? 1 : 0;
      }
    }
    EXPECT_TRUE(corrected > 0 || base.frames == 1000 || base.frames == 24 || base.frames == 25 ||
                base.seconds == 512 || base.frames >= 15360)
        << base.frames << ": nothing had to be corrected";
  }
}

TEST(Time, OtherTimesStay) {
  for (const double seconds : {std::sqrt(2.0), 3e-9, 1e300, 0.1 + 1e-12, -1.5, 0.0, kInfinity}) {
    EXPECT_EQ(lomix_time_of_seconds(seconds), seconds);
  }
  EXPECT_TRUE(std::isnan(lomix_time_of_seconds(kNan)));
}

TEST(Time, RoundedRatesAreRecognised) {
  struct Case {
    double rate, numerator, denominator;
  };
  for (const Case& c : {Case{23.976, 24000, 1001},
                        {23.976023976, 24000, 1001},
                        {23.98, 1199, 50},
                        {29.97, 30000, 1001},
                        {static_cast<float>(29.97), 30000, 1001},
                        {47.952, 48000, 1001},
                        {59.94, 60000, 1001},
                        {119.88, 120000, 1001},
                        {24, 24, 1},
                        {25.0000001, 25, 1},
                        {1000, 1000, 1},
                        {12.5, 25, 2},
                        {0.1, 1, 10},
                        {1e-7, 1, 10'000'000},
                        {0, 24, 1},
                        {-30, 24, 1},
                        {kNan, 24, 1},
                        {kInfinity, 24, 1}}) {
    for (const double frame : {1.0, 7.0, 100001.0, -10.0, 4.25, 0.0}) {
      EXPECT_DOUBLE_EQ(lomix_time_of_frame(frame, c.rate), frame * c.denominator / c.numerator)
          << frame << " at " << c.rate;
    }
    // Whole frames of whole rates are equal to the last bit.
    if (c.rate > 1) {
      EXPECT_EQ(lomix_time_of_frame(1001, c.rate), 1001 * c.denominator / c.numerator) << c.rate;
    }
  }
}

TEST(Time, WhatIsNoTimeIsZero) {
  for (const double frame : {kNan, kInfinity, -1e300}) {
    EXPECT_EQ(lomix_time_of_frame(frame, 24), 0.0) << frame;
  }
}

}  // namespace
}  // namespace lomix::library_test
