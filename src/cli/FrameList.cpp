#include "cli/FrameList.h"

#include <algorithm>
#include <optional>
#include <string>

#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

constexpr std::size_t kMaxFrames = 10'000'000;

[[noreturn]] void fail(std::string_view text, const std::string& cause) {
  throw UsageError(
      "--frames: '" + std::string(text) + "' " + cause +
      " (use numbers and ranges such as 1-10, 1-99x2 or 1,4,8-12, or times such as 2s-5.5s)");
}

/// Removes a whole number of at most nine digits from the front of the text and returns it; nothing
/// where there is none. negative: whether it may have a minus sign.
std::optional<std::int64_t> takeNumber(std::string_view& text, bool negative) {
  constexpr std::size_t kMaxDigits = 9;
  const std::size_t sign = negative && text.starts_with('-') ? 1 : 0;
  const std::size_t end = std::min(text.find_first_not_of("0123456789", sign), text.size());
  if (end == sign || end > kMaxDigits + sign) return std::nullopt;
  const auto number = parseWhole(text.substr(0, end));
  text.remove_prefix(end);
  return number;
}

bool takeSign(std::string_view& text, char sign) {
  if (!text.starts_with(sign)) return false;
  text.remove_prefix(1);
  return true;
}

/// Reads "5.5s", or "5.5" before another such number.
double parseSeconds(std::string_view text, std::string_view whole) {
  if (text.ends_with('s')) text.remove_suffix(1);
  const auto seconds = parseNumber(text);
  constexpr double kMost = 1e6;
  if (!seconds || *seconds < 0 || *seconds > kMost) fail(whole, "has a time that cannot be read");
  return *seconds;
}

void addRange(std::string_view range, std::string_view text, std::vector<std::int64_t>& frames) {
  const auto number = [&](bool negative) {
    const auto taken = takeNumber(range, negative);
    if (!taken) fail(text, "names no frames");
    return *taken;
  };
  const std::int64_t first = number(true);
  std::int64_t last = first;
  std::int64_t step = 1;
  if (takeSign(range, '-')) {
    last = number(true);
    if (takeSign(range, 'x')) step = number(false);
  }
  if (!range.empty()) fail(text, "names no frames");
  if (last < first) fail(text, "has a range that runs backwards");
  if (step == 0) fail(text, "has steps of 0");
  const auto count = static_cast<std::size_t>((last - first) / step + 1);
  if (frames.size() + count > kMaxFrames) fail(text, "names too many frames");
  for (std::int64_t frame = first; frame <= last; frame += step) frames.push_back(frame);
}

}  // namespace

media::FrameChoice parseFrames(std::string_view text) {
  media::FrameChoice choice;
  std::vector<std::int64_t>& frames = choice.numbers;
  for (const std::string_view part : split(text, ',')) {
    const std::size_t dash = part.find('-');
    const std::string_view first = part.substr(0, dash);
    const std::string_view last = dash == std::string_view::npos ? first : part.substr(dash + 1);
    if (part.find(':') != std::string_view::npos) {
      choice.timecodes.push_back({std::string(first), std::string(last)});
    } else if (part.ends_with('s')) {
      choice.spans.push_back({parseSeconds(first, text), parseSeconds(last, text)});
      if (choice.spans.back().last < choice.spans.back().first) {
        fail(text, "has a range that runs backwards");
      }
    } else {
      addRange(part, text, frames);
    }
  }
  choice.sortNumbers();
  return choice;
}

}  // namespace lomix::cli
