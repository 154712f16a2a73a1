// The effect's version as hosts pack it into one 32-bit word.
#pragma once

#include <cstdint>
#include <string_view>

namespace lomix {

/// The fields of a packed version word.
struct VersionWord {
  std::uint32_t version;
  std::uint32_t subversion;
  std::uint32_t bugfix;
  std::uint32_t stage;  ///< 0 development, 1 alpha, 2 beta, 3 release.
  std::uint32_t build;
  bool operator==(const VersionWord&) const = default;

  /// Returns "development", "alpha", "beta" or "release".
  constexpr std::string_view stageName() const {
    constexpr std::string_view kNames[] = {"development", "alpha", "beta", "release"};
    return kNames[stage & 3U];
  }
};

/// Unpacks a word that PF_VERSION packed.
constexpr VersionWord decodeVersion(std::uint32_t word) {
  return {(word >> 19) & 7U, (word >> 15) & 15U, (word >> 11) & 15U, (word >> 9) & 3U, word & 511U};
}

}  // namespace lomix
