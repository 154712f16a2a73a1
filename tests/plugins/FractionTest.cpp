// Times and rates as hosts pass them.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "plugins/Fraction.h"

namespace lomix::plugins {
namespace {

TEST(Fraction, TimesThatHostsComputedAreExactAgain) {
  struct Base {
    std::int64_t seconds, frames;
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
    for (const std::int64_t frame : {0, 1, 2, 7, 33, 1000, 86399, 215999, -5}) {
      const double perUnit = static_cast<double>(base.seconds) / static_cast<double>(base.frames);
      const double perSecond = static_cast<double>(base.frames) / static_cast<double>(base.seconds);
      const auto number = static_cast<double>(frame);
      // As FFmpeg computes it, and as MLT does.
      for (const double time : {number * perUnit * 1000.0 / 1000.0, number / perSecond}) {
        const Fraction found = nearestFraction(time);
        EXPECT_EQ(found.numerator * base.frames, frame * base.seconds * found.denominator) << time;
        EXPECT_GT(found.denominator, 0);
      }
    }
  }
}

TEST(Fraction, OtherNumbersHaveNone) {
  for (const double value : {std::sqrt(2.0), 3e-9, 1e300, 0.1 + 1e-12}) {
    EXPECT_EQ(nearestFraction(value).denominator, 0) << value;
  }
  EXPECT_EQ(nearestFraction(-1.5), (Fraction{-3, 2}));
}

TEST(FrameRate, RecognisesRoundedRates) {
  struct Case {
    double rate;
    Fraction expected;
  };
  for (const Case& c : {Case{23.976, {24000, 1001}},
                        {23.976023976, {24000, 1001}},
                        {23.98, {1199, 50}},
                        {29.97, {30000, 1001}},
                        {static_cast<float>(29.97), {30000, 1001}},
                        {47.952, {48000, 1001}},
                        {59.94, {60000, 1001}},
                        {119.88, {120000, 1001}},
                        {24, {24, 1}},
                        {25.0000001, {25, 1}},
                        {1000, {1000, 1}},
                        {12.5, {25, 2}},
                        {0.1, {1, 10}},
                        {0, {24, 1}},
                        {-30, {24, 1}},
                        {std::numeric_limits<double>::quiet_NaN(), {24, 1}},
                        {std::numeric_limits<double>::infinity(), {24, 1}}}) {
    EXPECT_EQ(frameRate(c.rate), c.expected)
        << c.rate << ": " << frameRate(c.rate).numerator << " / " << frameRate(c.rate).denominator;
  }
}

}  // namespace
}  // namespace lomix::plugins
