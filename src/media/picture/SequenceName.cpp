#include "media/picture/SequenceName.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>

#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

// The most digits of a frame's number.
constexpr std::size_t kMaxDigits = 18;

std::string padded(std::int64_t number, std::size_t digits) {
  const std::string plain = std::to_string(number < 0 ? -number : number);
  const std::string sign = number < 0 ? "-" : "";
  const std::size_t length = sign.size() + plain.size();
  return sign + std::string(length < digits ? digits - length : 0, '0') + plain;
}

/// The place of the number in a pattern.
struct Place {
  std::size_t begin;
  std::size_t length;
  std::size_t digits;
};

/// Returns the "%d" or "%04d" that begins at that % sign of the text; nothing for other text.
std::optional<Place> printfPlace(const std::string& text, std::size_t at) {
  std::size_t end = at + 1;
  std::size_t digits = 1;
  if (end < text.size() && text[end] == '0') {
    const auto [rest, error] =
        std::from_chars(text.data() + end, text.data() + text.size(), digits);
    end = static_cast<std::size_t>(rest - text.data());
    if (error != std::errc() || digits > kMaxDigits) return std::nullopt;
  }
  if (end == text.size() || text[end] != 'd') return std::nullopt;
  return Place{at, end + 1 - at, std::max<std::size_t>(digits, 1)};
}

bool isEscape(const std::string& text, std::size_t at) { return text.compare(at, 2, "%%") == 0; }

/// Returns every "%d" and "%04d" of a pattern.
std::vector<Place> printfPlaces(const std::string& text) {
  std::vector<Place> places;
  for (std::size_t at = 0; (at = text.find('%', at)) != std::string::npos;) {
    if (isEscape(text, at)) {
      at += 2;
    } else if (const auto place = printfPlace(text, at)) {
      places.push_back(*place);
      at += place->length;
    } else {
      ++at;
    }
  }
  return places;
}

/// Returns every run of # signs.
std::vector<Place> signRuns(const std::string& text) {
  std::vector<Place> places;
  for (std::size_t at = 0; (at = text.find('#', at)) != std::string::npos;) {
    const std::size_t end = std::min(text.find_first_not_of('#', at), text.size());
    places.push_back({at, end - at, end - at});
    at = end;
  }
  return places;
}

/// Returns a part of a pattern as it is in the name: "100%%" gives "100%".
std::string unescaped(const std::string& part) {
  std::string name;
  for (std::size_t at = 0; at < part.size(); ++at) {
    name += part[at];
    if (isEscape(part, at)) ++at;
  }
  return name;
}

}  // namespace

std::optional<SequenceName> SequenceName::parse(const fs::path& name) {
  const std::string text = name.filename().string();
  const bool printf = !printfPlaces(text).empty();
  const std::vector<Place> places = printf ? printfPlaces(text) : signRuns(text);
  if (places.empty()) return std::nullopt;
  if (places.size() > 1) {
    throw MediaError("'" + name.string() +
                     "': it has more than one place for the frame number (write the number as " +
                     "%04d, once; # signs beside it are part of the name)");
  }
  const Place& place = places.front();
  SequenceName sequence;
  sequence.pattern_ = name;
  sequence.before_ = unescaped(text.substr(0, place.begin));
  sequence.after_ = unescaped(text.substr(place.begin + place.length));
  sequence.digits_ = place.digits;
  return sequence;
}

fs::path SequenceName::file(std::int64_t number) const {
  return pattern_.parent_path() / (before_ + padded(number, digits_) + after_);
}

std::optional<std::int64_t> SequenceName::numberOf(const std::string& fileName) const {
  if (fileName.size() <= before_.size() + after_.size() || !fileName.starts_with(before_) ||
      !fileName.ends_with(after_)) {
    return std::nullopt;
  }
  const std::string text =
      fileName.substr(before_.size(), fileName.size() - before_.size() - after_.size());
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  // Skips files whose number has other padding: they belong to another sequence.
  if (error != std::errc() || text.size() > kMaxDigits || padded(number, digits_) != text) {
    return std::nullopt;
  }
  return number;
}

std::vector<std::int64_t> SequenceName::existing() const {
  const fs::path folder = pattern_.has_parent_path() ? pattern_.parent_path() : fs::path(".");
  std::error_code error;
  std::vector<std::int64_t> numbers;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (const auto number = numberOf(entry->path().filename().string())) numbers.push_back(*number);
  }
  if (error) {
    throw MediaError(cannotRead(pattern_) + "its folder: " + error.message() +
                     " (check the name and its folder)");
  }
  std::ranges::sort(numbers);
  return numbers;
}

std::string listed(const std::vector<std::int64_t>& numbers) {
  constexpr std::size_t kMaxRanges = 8;
  std::string text;
  std::size_t ranges = 0;
  for (std::size_t i = 0; i < numbers.size(); ++ranges) {
    if (ranges == kMaxRanges) return text + " and " + std::to_string(numbers.size() - i) + " more";
    std::size_t last = i;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
    text += (i == 0 ? "" : ", ") + std::to_string(numbers[i]);
    if (last > i) text.append("-").append(std::to_string(numbers[last]));
    i = last + 1;
  }
  return text;
}

}  // namespace lomix::media
