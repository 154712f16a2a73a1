// Numbers as people type them. Read whole and the same under every locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lomix::cli {

/// A finite decimal number, with or without exponent and sign; nothing for any other text.
std::optional<double> parseNumber(std::string_view text);

/// A whole number of 64 bits in decimal digits, with or without sign; nothing for any other text.
std::optional<std::int64_t> parseWhole(std::string_view text);

/// value / scale seconds. scale is above 0.
struct FrameTime {
  std::int32_t value = 0;
  std::uint32_t scale = 1;
  bool operator==(const FrameTime&) const = default;
};

constexpr double inSeconds(const FrameTime& time) {
  return static_cast<double>(time.value) / static_cast<double>(time.scale);
}

/// value / scale seconds in lowest terms; where 31 bits do not hold that, the nearest time that
/// they do. scale from 1.
FrameTime fittedTime(std::int64_t value, std::int64_t scale);

/// Frames a second: frames / seconds, both from 1.
struct FrameRate {
  std::int32_t frames = 24;
  std::int32_t seconds = 1;
  bool operator==(const FrameRate&) const = default;
};

/// "N", "N/D" or decimal frames a second; the decimals of broadcasting, such as 29.97, are the
/// fractions that they stand for. Throws UsageError.
FrameRate parseRate(std::string_view text);

/// "N/D" as it stands, or decimal seconds: the digits over a power of ten, at least 1000. Throws
/// UsageError for any other text and for what does not fit.
FrameTime parseTime(std::string_view text);

struct PairOfWholes {
  int first;
  int second;
  bool operator==(const PairOfWholes&) const = default;
};

/// "WxH", both from 1. option: for errors. Throws UsageError.
PairOfWholes parseSize(std::string_view text, const std::string& option = "--size");

/// "X" for both or "X,Y", each from 1 to 1000. Throws UsageError.
PairOfWholes parseDownsample(std::string_view text);

/// The shortest text that reads back as the same single-precision number.
std::string shortest(double value);

}  // namespace lomix::cli
