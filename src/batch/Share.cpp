#include "batch/Share.h"

namespace lomix::batch {

std::int64_t shareAt(std::size_t place, std::size_t total, std::int64_t count, bool blocks) {
  const auto at = static_cast<std::int64_t>(place);
  const auto all = static_cast<std::int64_t>(total);
  if (!blocks) return at % count + 1;
  // The largest number whose media::blockBegin(all, number - 1, count) is not above the place.
  return ((at + 1) * count + all - 1) / all;
}

std::string Share::text() const {
  return "share " + std::to_string(number) + " of " + std::to_string(count);
}

std::string framesText(const std::vector<std::int64_t>& numbers) {
  std::string text;
  for (std::size_t first = 0; first < numbers.size();) {
    std::size_t last = first;
    std::int64_t step = 1;
    if (first + 1 < numbers.size()) {
      step = numbers[first + 1] - numbers[first];
      while (last + 1 < numbers.size() && numbers[last + 1] - numbers[last] == step) ++last;
    }
    // Two numbers make a range only where they follow each other.
    if (last == first + 1 && step > 1) last = first;
    if (!text.empty()) text += ",";
    text += std::to_string(numbers[first]);
    if (last > first) text += "-" + std::to_string(numbers[last]);
    if (last > first && step > 1) text += "x" + std::to_string(step);
    first = last + 1;
  }
  return text;
}

}  // namespace lomix::batch
