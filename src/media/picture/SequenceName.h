#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lomix::media {

/// The name of a numbered sequence: "shot.####.exr" (at least as many digits as signs) or
/// "shot.%04d.png".
class SequenceName {
 public:
  /// Nothing for a name without a pattern. Throws MediaError for one with two patterns.
  static std::optional<SequenceName> parse(const std::filesystem::path& name);

  std::filesystem::path file(std::int64_t number) const;
  /// The numbers of the files that exist, ascending. Throws MediaError when the folder cannot be
  /// read.
  std::vector<std::int64_t> existing() const;
  /// As it was given.
  const std::filesystem::path& pattern() const { return pattern_; }

 private:
  std::optional<std::int64_t> numberOf(const std::string& fileName) const;

  std::filesystem::path pattern_;
  std::string before_;  ///< Of the file's name, without its folder.
  std::string after_;
  std::size_t digits_ = 1;
};

/// "1, 3-5, 9" for ascending numbers; after some ranges only how many more there are.
std::string listed(const std::vector<std::int64_t>& numbers);

}  // namespace lomix::media
