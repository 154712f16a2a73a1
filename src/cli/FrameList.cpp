#include "cli/FrameList.h"

#include <algorithm>
#include <optional>
#include <regex>
#include <string>

#include "cli/Errors.h"
#include "cli/Numbers.h"

namespace lomix::cli {
namespace {

constexpr std::size_t kMaxFrames = 10'000'000;

[[noreturn]] void fail(std::string_view text, const std::string& cause) {
  throw UsageError("--frames: '" + std::string(text) + "' " + cause +
                   " (use numbers and ranges such as 1-10, 1-99x2 or 1,4,8-12)");
}

void addRange(const std::string& range, std::string_view text, std::vector<std::int64_t>& frames) {
  static const std::regex kRange("(-?[0-9]{1,9})(-(-?[0-9]{1,9})(x([0-9]{1,9}))?)?");
  std::smatch match;
  if (!std::regex_match(range, match, kRange)) fail(text, "names no frames");
  const std::int64_t first = *parseWhole(match.str(1));
  const std::int64_t last = match[3].matched ? *parseWhole(match.str(3)) : first;
  const std::int64_t step = match[5].matched ? *parseWhole(match.str(5)) : 1;
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
    addRange(std::string(text.substr(begin, end - begin)), text, frames);
    begin = end + 1;
  }
  std::ranges::sort(frames);
  const auto repeated = std::ranges::unique(frames);
  frames.erase(repeated.begin(), repeated.end());
  return frames;
}

}  // namespace lomix::cli
