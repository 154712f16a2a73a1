// Names of numbered picture sequences.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lomix::media {

/// The pattern of a numbered sequence: "shot.####.exr" or "shot.%04d.png". Numbers are padded with
/// zeros to at least as many digits as there are # signs, or as the pattern says. Beside a %d or
/// %04d, # signs are part of the name: "take #2.%04d.png". In a pattern, %% is a % of the name.
class SequenceName {
 public:
  /// Reads a pattern. Returns nothing for a name without a place for the number. Throws MediaError
  /// for one with several.
  static std::optional<SequenceName> parse(const std::filesystem::path& name);

  /// Returns the file of a frame.
  std::filesystem::path file(std::int64_t number) const;
  /// Returns the number in a file's name, without its folder; nothing for a name that is not of
  /// this sequence.
  std::optional<std::int64_t> numberOf(const std::string& fileName) const;
  /// Returns the numbers of the files that exist, ascending. Throws MediaError when the folder
  /// cannot be read.
  std::vector<std::int64_t> existing() const;
  /// Returns the name that was parsed.
  const std::filesystem::path& pattern() const { return pattern_; }

 private:
  std::filesystem::path pattern_;
  std::string before_;  ///< Of the file's name, without its folder.
  std::string after_;
  std::size_t digits_ = 1;
};

/// Returns ascending numbers as text, such as "1, 3-5, 9". After eight ranges it only counts the
/// rest: "... and 12 more".
std::string listed(const std::vector<std::int64_t>& numbers);

}  // namespace lomix::media
