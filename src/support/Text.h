// Helpers for short texts that people type. They do not depend on the locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lomix {

/// Returns an ASCII letter in lower case and every other byte as it is.
constexpr char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Returns the text with its ASCII letters in lower case.
std::string lowerCase(std::string_view text);

/// Returns the text without spaces and tabs at its ends.
std::string_view trimmed(std::string_view text);

/// Returns the text in single quotes, as error messages show what a user wrote.
std::string quoted(std::string_view text);

/// Returns the text, at most 60 bytes of it with "..." behind, as error messages show long ones.
std::string shortened(std::string_view text);

/// Returns the text with a space for each line break, "\n" or "\r".
std::string oneLine(std::string text);

/// Splits a text at every separator. Returns one part more than there are separators, as views into
/// the text; parts may be empty.
std::vector<std::string_view> split(std::string_view text, char separator);

/// Returns words (of std::string or std::string_view) in a row with the separator between them.
template <typename Words>
std::string joined(const Words& words, std::string_view separator) {
  std::string all;
  bool first = true;
  for (const auto& word : words) {
    if (!first) all += separator;
    first = false;
    all += word;
  }
  return all;
}

/// Returns "1 frame", and "0 frames" or "2 frames" for other counts.
std::string countedFrames(std::int64_t count);

/// Returns how many letters must be inserted, deleted or replaced to turn one text into the other.
std::size_t editDistance(std::string_view a, std::string_view b);

/// Returns the name that resembles a text most, or that contains it; empty where none is so similar
/// that it may be meant.
std::string nearestName(std::string_view text, const std::vector<std::string>& names);

/// Reads a finite decimal number, with or without exponent and sign. Returns nothing for any other
/// text.
std::optional<double> parseNumber(std::string_view text);

/// Reads a whole number of 64 bits in decimal digits, with or without sign. Returns nothing for any
/// other text.
std::optional<std::int64_t> parseWhole(std::string_view text);

/// Returns a version as text: "2.4.7".
std::string dotted(std::int64_t major, std::int64_t minor, std::int64_t patch);

/// Returns the shortest text that reads back as the same single-precision number.
std::string shortest(double value);

}  // namespace lomix
