// Frame numbers, times, rates, sizes and version words, as the command reads them.
#include <gmock/gmock.h>

#include "cli/FrameList.h"
#include "cli/OptionValues.h"
#include "hostapi/Commands.h"
#include "support/Errors.h"
#include "support/Text.h"
#include "support/VersionWord.h"

namespace lomix::batch {

void PrintTo(const FrameTime& time, std::ostream* out) { *out << time.value << "/" << time.scale; }

}  // namespace lomix::batch

namespace lomix::cli {

using batch::fittedTime;
using batch::FrameRate;
using batch::FrameTime;
using batch::PairOfWholes;

namespace {

TEST(Numbers, ReadWholeOrNotAtAll) {
  struct Case {
    const char* text;
    std::optional<double> value;
  };
  for (const Case& c : {Case{"30", 30.0},
                        {"-12.5", -12.5},
                        {"+4", 4.0},
                        {".5", 0.5},
                        {"1e2", 100.0},
                        {"", {}},
                        {" 1", {}},
                        {"1 ", {}},
                        {"1,5", {}},
                        {"0x10", {}},
                        {"12abc", {}},
                        {"nan", {}},
                        {"inf", {}},
                        {"-infinity", {}},
                        {"1e999", {}},
                        {"+-4", {}},
                        {"++4", {}},
                        {"1.2.3", {}}}) {
    EXPECT_EQ(parseNumber(c.text), c.value) << "'" << c.text << "'";
  }
}

TEST(Numbers, RatesAreFractionsAndFrameTimesExact) {
  struct Case {
    const char* text;
    FrameRate rate;
  };
  for (const Case& c : {Case{"24", {24, 1}},
                        {"30000/1001", {30000, 1001}},
                        {"50/2", {25, 1}},
                        {"12.5", {25, 2}},
                        {"23.976", {24000, 1001}},
                        {"29.97", {30000, 1001}},
                        {"59.94", {60000, 1001}}}) {
    EXPECT_EQ(parseRate(c.text), c.rate) << c.text;
  }
  for (const char* text : {"", "0", "-24", "fast", "1/0", "9999999"}) {
    EXPECT_THROW(parseRate(text), UsageError) << text;
  }
  EXPECT_EQ(fittedTime(1001 * 1001, 30000), (FrameTime{1002001, 30000}));
  EXPECT_EQ(fittedTime(std::int64_t{90000} * 40000, 90000), (FrameTime{40000, 1}));
  const FrameTime late = fittedTime(std::int64_t{90000} * 40000 + 1, 90000);
  EXPECT_NEAR(static_cast<double>(late.value) / late.scale, 40000.0 + 1.0 / 90000, 1e-4);
}

TEST(Numbers, TimesKeepTheirDigits) {
  struct Case {
    const char* text;
    FrameTime time;
  };
  for (const Case& c : {Case{"1.5", {1500, 1000}},
                        {"0", {0, 1000}},
                        {"2", {2000, 1000}},
                        {"-1.5", {-1500, 1000}},
                        {"+.25", {250, 1000}},
                        {"3.", {3000, 1000}},
                        {"0.1234", {1234, 10000}},
                        {"1.500000", {1500000, 1000000}},
                        {"0.000000001", {1, 1000000000}},
                        {"45/30", {45, 30}},
                        {"-1001/30000", {-1001, 30000}},
                        {"2147483647/4294967295", {2147483647, 4294967295U}},
                        {"-2147483648/1", {-2147483647 - 1, 1}},
                        {"2147483.647", {2147483647, 1000}}}) {
    EXPECT_EQ(parseTime(c.text), c.time) << c.text;
  }
}

TEST(Numbers, OtherTimesAreRefused) {
  for (const char* text : {"",
                           "abc",
                           "1/",
                           "/2",
                           "1/0",
                           "1/-5",
                           "1.5/2",
                           "1e3",
                           "nan",
                           "1.5s",
                           "-",
                           ".",
                           "1.-5",
                           "--1",
                           "2147483648/1",
                           "1/4294967296",
                           "2147483.648",
                           "0.0000000001",
                           "99999999999999999999",
                           "1//2"}) {
    EXPECT_THROW(parseTime(text), UsageError) << "'" << text << "'";
  }
}

TEST(Numbers, SizesAndFactors) {
  EXPECT_EQ(parseSize("1280x720"), (PairOfWholes{1280, 720}));
  EXPECT_EQ(parseSize("1X2"), (PairOfWholes{1, 2}));
  EXPECT_EQ(parseDownsample("2"), (PairOfWholes{2, 2}));
  EXPECT_EQ(parseDownsample("2,4"), (PairOfWholes{2, 4}));
  EXPECT_EQ(parseDownsample("1000,1"), (PairOfWholes{1000, 1}));
  for (const char* text :
       {"", "1280", "x", "0x5", "5x-1", "1280x720x3", "99999999999x1", "1.5x2"}) {
    EXPECT_THROW(parseSize(text), UsageError) << text;
  }
  for (const char* text : {"", "0", "-1", "1001", "2,", ",2", "2,3,4", "1.5", "2x2", "half"}) {
    EXPECT_THROW(parseDownsample(text), UsageError) << text;
  }
}

TEST(Shares, AreTextsAndListsThatReadBack) {
  EXPECT_EQ(parseShare("3/8").number, 3);
  EXPECT_EQ(parseShare("1000000/1000000").count, 1'000'000);
  for (const char* text :
       {"", "3", "/", "3/", "0/8", "-1/8", "9/8", "1.5/8", "1/1000001", "1/2/3"}) {
    EXPECT_THROW(parseShare(text), UsageError) << text;
  }
  struct Case {
    std::vector<std::int64_t> frames;
    const char* text;
  };
  for (const Case& c : {Case{{7}, "7"},
                        {{1, 2}, "1-2"},
                        {{1, 3}, "1,3"},
                        {{1, 3, 5, 6, 7, 20}, "1-5x2,6-7,20"},
                        {{-5, -4, 0, 90}, "-5--4,0,90"}}) {
    EXPECT_EQ(batch::framesText(c.frames), c.text);
    EXPECT_EQ(parseFrames(c.text).numbers, c.frames) << c.text;
  }
  // Blocks are as even as possible, and those of the segments of films.
  for (const std::size_t total : {1U, 2U, 7U, 100U, 101U}) {
    for (const std::int64_t count : {1, 2, 3, 7, 50, 150}) {
      for (std::size_t place = 0; place < total; ++place) {
        const auto at = static_cast<std::int64_t>(place);
        const auto all = static_cast<std::int64_t>(total);
        const std::int64_t number = batch::shareAt(place, total, count, true);
        EXPECT_LE(media::blockBegin(all, number - 1, count), at) << total << "/" << count;
        EXPECT_GT(media::blockBegin(all, number, count), at) << total << "/" << count;
      }
    }
  }
}

TEST(VersionWord, ComesApartAsItWasPacked) {
  EXPECT_EQ(decodeVersion(0x100601), (VersionWord{2, 0, 0, 3, 1}));
  EXPECT_EQ(decodeVersion(PF_VERSION(7, 14, 13, 2, 511)), (VersionWord{7, 14, 13, 2, 511}));
  EXPECT_EQ(decodeVersion(0x100601).stageName(), "release");
}

}  // namespace
}  // namespace lomix::cli
