#include "cli/OptionValues.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <thread>

#include "support/Errors.h"
#include "support/TemporaryFile.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

constexpr int kMaxDownsample = 1000;

std::optional<batch::PairOfWholes> parsePair(std::string_view text, std::string_view separators,
                                             int maximum) {
  const std::size_t at = text.find_first_of(separators);
  if (at == std::string_view::npos) return std::nullopt;
  const auto first = parseWhole(text.substr(0, at));
  const auto second = parseWhole(text.substr(at + 1));
  const auto fits = [maximum](auto value) { return value && *value >= 1 && *value <= maximum; };
  if (!fits(first) || !fits(second)) return std::nullopt;
  return batch::PairOfWholes{static_cast<int>(*first), static_cast<int>(*second)};
}

/// The option that a fraction belongs to, for error messages.
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

batch::FrameTime parseFraction(std::string_view text, const Purpose& purpose) {
  std::optional<std::int64_t> value;
  std::optional<std::int64_t> scale;
  if (const std::size_t slash = text.find('/'); slash != std::string_view::npos) {
    value = parseWhole(text.substr(0, slash));
    scale = parseWhole(text.substr(slash + 1));
    if (!value || !scale) fail(purpose, text, std::string("is not a ") + purpose.noun);
    if (*scale <= 0) fail(purpose, text, "has a denominator that is not above 0");
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

batch::FrameTime parseTime(std::string_view text) { return parseFraction(text, kForTime); }

batch::FrameRate parseRate(std::string_view text) {
  for (const int nominal : {24, 30, 48, 60, 120}) {
    // 23.976, 29.97, 59.94, ...: nominal * 1000 frames in 1001 seconds.
    const double exact = nominal / 1.001;
    const auto number = parseNumber(text);
    if (number && text.find('.') != std::string_view::npos && std::abs(*number - exact) < 0.005) {
      return {nominal * 1000, 1001};
    }
  }
  const batch::FrameTime rate = parseFraction(text, kForRate);
  const auto divisor = std::gcd(std::int64_t{rate.value}, std::int64_t{rate.scale});
  constexpr std::int64_t kMaxPart = 1'000'000;
  if (rate.value <= 0 || rate.value / divisor > kMaxPart || rate.scale / divisor > kMaxPart) {
    fail(kForRate, text, "is out of range");
  }
  return {static_cast<std::int32_t>(rate.value / divisor),
          static_cast<std::int32_t>(rate.scale / divisor)};
}

int threadCount(int wanted) {
  if (wanted > 0) return wanted;
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

batch::PairOfWholes parseSize(std::string_view text, const std::string& option) {
  const auto size = parsePair(text, "xX", std::numeric_limits<int>::max());
  if (!size) {
    throw UsageError(option + ": '" + std::string(text) +
                     "' is not a size (use width and height, such as 1280x720)");
  }
  return *size;
}

batch::PairOfWholes parseDownsample(std::string_view text) {
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

CLI::Option* addColour(CLI::App& app, const std::string& subject, std::string& text) {
  return app
      .add_option("--colour,--color", text,
                  subject + " from one colour space\n" +
                      "to another: linear, srgb or rec709, or names of the\n"
                      "OpenColorIO configuration that $OCIO names. By default\n"
                      "values pass as they are")
      ->type_name("FROM:TO");
}

std::shared_ptr<const media::ColourConversion> parseColour(const std::string& text,
                                                           const std::string& option) {
  if (text.empty()) return nullptr;
  return std::make_shared<const media::ColourConversion>(text, option);
}

batch::Share parseShare(std::string_view text) {
  constexpr std::int64_t kMostShares = 1'000'000;
  const std::size_t slash = text.find('/');
  const bool both = slash != std::string_view::npos;
  const auto number = parseWhole(text.substr(0, slash));
  const auto count = parseWhole(both ? text.substr(slash + 1) : "");
  const std::string shown = "--share: '" + std::string(text) + "' ";
  if (!number || !count || *count < 1 || *count > kMostShares) {
    throw UsageError(shown + "is no share (use one such as 3/8, the third of eight)");
  }
  if (*number == 0) {
    throw UsageError(shown + "is no share: the first is 1/" + std::to_string(*count) +
                     " (where a queue counts from 0, add 1 to its number, or let it count from 1)");
  }
  if (*number < 0 || *number > *count) {
    throw UsageError(shown + "is no share: they are 1/" + std::to_string(*count) + " to " +
                     std::to_string(*count) + "/" + std::to_string(*count) + " (use one of these)");
  }
  return {*number, *count, false};
}

std::vector<std::string> givenOptions(const CLI::App& app, const std::set<std::string>& without) {
  std::vector<std::string> given;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_positional() || option->get_lnames().empty() || option->count() == 0) continue;
    const std::string name = "--" + option->get_lnames().front();
    if (without.contains(name)) continue;
    if (option->get_items_expected_max() == 0) {
      given.push_back(name);
      continue;
    }
    for (const std::string& value : option->results()) {
      // Behind a space, such a value would be taken for an option.
      if (value.starts_with('-')) {
        given.push_back(name + "=" + value);
      } else {
        given.insert(given.end(), {name, value});
      }
    }
  }
  return given;
}

CLI::Option* addNoFsync(CLI::App& app) {
  return app.add_flag_callback(
      "--no-fsync", [] { TemporaryFile::setFlushing(false); },
      "Do not wait until the disk has what is written: faster,\n"
      "but after a power loss new files may be damaged");
}

CLI::Option* addAllowPlaylists(CLI::App& app, bool& allows) {
  return app.add_flag("--allow-playlists", allows,
                      "Let an input that is a play list (HLS, DASH, ffconcat)\n"
                      "open the files that it names");
}

}  // namespace lomix::cli
