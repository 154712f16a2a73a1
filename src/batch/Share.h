// The part of a job that one of several runs does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lomix::batch {

/// Returns the number of the share, from 1 to count, that has what is at a place among total, from
/// 0. blocks: as in Share.
std::int64_t shareAt(std::size_t place, std::size_t total, std::int64_t count, bool blocks);

/// One of count runs that divide the frames of a job, or its inputs, among them. Each frame is in
/// exactly one share.
struct Share {
  std::int64_t number = 1;  ///< From 1 to count.
  std::int64_t count = 1;
  /// Whether a share has frames that follow each other, in blocks as even as possible; false: share
  /// 2 of 3 has the frames at the places 2, 5, 8 and so on.
  bool blocks = false;

  /// Returns whether the share has what is at this place among total, from 0.
  bool has(std::size_t place, std::size_t total) const {
    return shareAt(place, total, count, blocks) == number;
  }
  /// Returns "share 2 of 3".
  std::string text() const;
};

/// Returns what a share has of a whole.
template <typename T>
std::vector<T> partOf(const std::vector<T>& whole, const Share& share) {
  std::vector<T> part;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    if (share.has(i, whole.size())) part.push_back(whole[i]);
  }
  return part;
}

/// Returns ascending numbers as --frames takes them: "1-4,9,20-40x5".
std::string framesText(const std::vector<std::int64_t>& numbers);

}  // namespace lomix::batch
