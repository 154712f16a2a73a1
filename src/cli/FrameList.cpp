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
  throw UsageError("--frames: '" + std::string(text) + "' " + cause +
                   " (use numbers and ranges such as 1-10, 1-99x2 or 1,4,8-12)");
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

std::vector<std::int64_t> parseFrames(std::string_view text) {
  std::vector<std::int64_t> frames;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    addRange(text.substr(begin, end - begin), text, frames);
    begin = end + 1;
  }
  std::ranges::sort(frames);
  const auto repeated = std::ranges::unique(frames);
  frames.erase(repeated.begin(), repeated.end());
  return frames;
}

}  // namespace lomix::cli
