// Short texts as people type them. The same under every locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lomix {

/// Returns an ASCII letter in lower case and every other byte as it is.
constexpr char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Returns the text with its ASCII letters in lower case.
std::string lowerCase(std::string_view text);

/// Returns the text without spaces and tabs at its ends.
std::string_view trimmed(std::string_view text);

/// Returns how many letters must be inserted, deleted or replaced to turn one text into the other.
std::size_t editDistance(std::string_view a, std::string_view b);

/// Reads a finite decimal number, with or without exponent and sign; nothing for any other text.
std::optional<double> parseNumber(std::string_view text);

/// Reads a whole number of 64 bits in decimal digits, with or without sign; nothing for any other
/// text.
std::optional<std::int64_t> parseWhole(std::string_view text);

/// Returns the shortest text that reads back as the same single-precision number.
std::string shortest(double value);

}  // namespace lomix
