#include "looks/Numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>

#include "support/Errors.h"

namespace lomix::cli {
namespace {

constexpr int kMaxDownsample = 1000;

template <typename T>
std::optional<T> parseAll(std::string_view text) {
  // The reader knows no plus sign, but a minus must not hide behind one.
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<PairOfWholes> parsePair(std::string_view text, std::string_view separators,
                                      int maximum) {
  const std::size_t at = text.find_first_of(separators);
  if (at == std::string_view::npos) return std::nullopt;
  const auto first = parseWhole(text.substr(0, at));
  const auto second = parseWhole(text.substr(at + 1));
  const auto fits = [maximum](auto value) { return value && *value >= 1 && *value <= maximum; };
  if (!fits(first) || !fits(second)) return std::nullopt;
  return PairOfWholes{static_cast<int>(*first), static_cast<int>(*second)};
}

/// What a fraction is for, in errors about it.
struct Purpose {
  const char* option;
  const char* noun;
  const char* hint;
};
constexpr Purpose kForTime{"--time", "time",
                           "use seconds such as 1.5, or a fraction such as 45/30"};
constexpr Purpose kForRate{"--fps", "frame rate",
                           "use a number such as 25, or a fraction such as 30000/1001"};

[[noreturn]] void fail(const Purpose& purpose, std::string_view text, const std::string& cause) {
  throw UsageError(std::string(purpose.option) + ": '" + std::string(text) + "' " + cause + " (" +
                   purpose.hint + ")");
}

FrameTime parseFraction(std::string_view text, const Purpose& purpose) {
  std::optional<std::int64_t> value;
  std::optional<std::int64_t> scale;
  if (const std::size_t slash = text.find('/'); slash != std::string_view::npos) {
    value = parseWhole(text.substr(0, slash));
    scale = parseWhole(text.substr(slash + 1));
    if (!value || !scale) fail(purpose, text, std::string("is not a ") + purpose.noun);
    if (*scale <= 0) fail(purpose, text, "divides by something that is not above 0");
  } else {
    const std::size_t point = text.find('.');
    std::string digits(text.substr(0, point));
    std::size_t decimals = 0;
    if (point != std::string_view::npos) {
      const std::string_view fraction = text.substr(point + 1);
      if (fraction.find_first_not_of("0123456789") != std::string_view::npos) {
        fail(purpose, text, std::string("is not a ") + purpose.noun);
      }
      decimals = fraction.size();
      digits += fraction;
    }
    if (digits.find_first_not_of("+-0123456789") != std::string::npos ||
        digits.find_first_of("0123456789") == std::string::npos) {
      fail(purpose, text, std::string("is not a ") + purpose.noun);
    }
    for (; decimals < 3; ++decimals) digits += '0';
    value = parseWhole(digits);
    scale = parseWhole("1" + std::string(decimals, '0'));
    if (!value || !scale) fail(purpose, text, "has more digits than fit");
  }
  if (*value < std::numeric_limits<std::int32_t>::min() ||
      *value > std::numeric_limits<std::int32_t>::max() ||
      *scale > std::numeric_limits<std::uint32_t>::max()) {
    fail(purpose, text, "has more digits than fit");
  }
  return {static_cast<std::int32_t>(*value), static_cast<std::uint32_t>(*scale)};
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
  const auto value = parseAll<double>(text);
  if (!value || !std::isfinite(*value)) return std::nullopt;
  return value;
}

std::optional<std::int64_t> parseWhole(std::string_view text) {
  return parseAll<std::int64_t>(text);
}

FrameTime parseTime(std::string_view text) { return parseFraction(text, kForTime); }

FrameTime fittedTime(std::int64_t value, std::int64_t scale) {
  const std::int64_t divisor = std::gcd(value, scale);
  value /= divisor;
  scale /= divisor;
  constexpr auto kLimit = static_cast<double>(std::numeric_limits<std::int32_t>::max());
  const double excess =
      std::max(std::abs(static_cast<double>(value)), static_cast<double>(scale)) / kLimit;
  if (excess > 1.0) {
    const double seconds = static_cast<double>(value) / static_cast<double>(scale);
    scale =
        std::max<std::int64_t>(1, static_cast<std::int64_t>(static_cast<double>(scale) / excess));
    value = std::llround(std::clamp(seconds * static_cast<double>(scale), -kLimit, kLimit));
  }
  return {static_cast<std::int32_t>(value), static_cast<std::uint32_t>(scale)};
}

FrameRate parseRate(std::string_view text) {
  for (const int nominal : {24, 30, 48, 60, 120}) {
    // 23.976, 29.97, 59.94: so many thousands of frames in 1001 seconds.
    const double exact = nominal / 1.001;
    const auto number = parseNumber(text);
    if (number && text.find('.') != std::string_view::npos && std::abs(*number - exact) < 0.005) {
      return {nominal * 1000, 1001};
    }
  }
  const FrameTime rate = parseFraction(text, kForRate);
  const auto divisor = std::gcd(std::int64_t{rate.value}, std::int64_t{rate.scale});
  constexpr std::int64_t kMaxPart = 1'000'000;
  if (rate.value <= 0 || rate.value / divisor > kMaxPart || rate.scale / divisor > kMaxPart) {
    fail(kForRate, text, "is out of range");
  }
  return {static_cast<std::int32_t>(rate.value / divisor),
          static_cast<std::int32_t>(rate.scale / divisor)};
}

PairOfWholes parseSize(std::string_view text, const std::string& option) {
  const auto size = parsePair(text, "xX", std::numeric_limits<int>::max());
  if (!size) {
    throw UsageError(option + ": '" + std::string(text) +
                     "' is not a size (use width and height, such as 1280x720)");
  }
  return *size;
}

PairOfWholes parseDownsample(std::string_view text) {
  std::string both(text);
  if (text.find(',') == std::string_view::npos) both += "," + both;
  const auto factors = parsePair(both, ",", kMaxDownsample);
  if (!factors) {
    throw UsageError("--downsample: '" + std::string(text) +
                     "' is not a factor (use one such as 2, or two such as 2,4, from 1 to " +
                     std::to_string(kMaxDownsample) + ")");
  }
  return *factors;
}

std::string shortest(double value) {
  std::array<char, 64> text;
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), static_cast<float>(value)).ptr;
  return {text.data(), end};
}

}  // namespace lomix::cli
