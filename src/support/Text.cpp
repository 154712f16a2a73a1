#include "support/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <locale>
#include <numeric>
#include <sstream>

namespace lomix {
namespace {

template <typename T>
std::optional<T> parseAll(std::string_view text) {
  // std::from_chars accepts no plus sign. "+-5" is not a number.
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

#if !defined(__cpp_lib_to_chars)
// Standard libraries before LLVM 20 have no std::from_chars for floating point. A stream with the
// classic locale reads the same numbers, whatever locale the program around the library has.
std::optional<double> parseByStream(std::string_view text) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('+') || text.starts_with('-')) return std::nullopt;
  }
  if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos) return std::nullopt;
  std::istringstream stream{std::string(text)};
  stream.imbue(std::locale::classic());
  double value = 0.0;
  stream >> value;
  if (stream.fail() || stream.peek() != std::char_traits<char>::eof()) return std::nullopt;
  return value;
}
#endif

}  // namespace

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = lowerCase(c);
  return lower;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

std::string shortened(std::string_view text) {
  constexpr std::size_t kMost = 60;
  if (text.size() <= kMost) return std::string(text);
  std::size_t length = kMost;
  // Not within a letter of several bytes.
  while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) --length;
  return std::string(text.substr(0, length)) + "...";
}

std::string oneLine(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return c == '\n' || c == '\r'; }, ' ');
  return text;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t at = text.find(separator);
    parts.push_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + 1);
  }
}

std::string countedFrames(std::int64_t count) {
  return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

std::string nearestName(std::string_view text, const std::vector<std::string>& names) {
  const auto distance = [&](const std::string& name) { return editDistance(text, name); };
  const auto nearest = std::ranges::min_element(names, {}, distance);
  // Up to a third of the letters, and two in short names: typing errors.
  if (nearest == names.end() ||
      distance(*nearest) > std::max<std::size_t>(2, nearest->size() / 3) ||
      distance(*nearest) >= std::max<std::size_t>(1, std::min(text.size(), nearest->size()))) {
    // Or a part of the name.
    constexpr std::size_t kShortest = 3;
    const auto whole = std::ranges::find_if(names, [&](const std::string& name) {
      return text.size() >= kShortest && name.find(text) != std::string::npos;
    });
    return whole == names.end() ? std::string() : *whole;
  }
  return *nearest;
}

std::optional<double> parseNumber(std::string_view text) {
#if defined(__cpp_lib_to_chars)
  const auto value = parseAll<double>(text);
#else
  const auto value = parseByStream(text);
#endif
  if (!value || !std::isfinite(*value)) return std::nullopt;
  return value;
}

std::optional<std::int64_t> parseWhole(std::string_view text) {
  return parseAll<std::int64_t>(text);
}

std::string dotted(std::int64_t major, std::int64_t minor, std::int64_t patch) {
  return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

std::string shortest(double value) {
  std::array<char, 64> text;
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), static_cast<float>(value)).ptr;
  return {text.data(), end};
}

}  // namespace lomix
