// Reads lists of frame numbers.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace lomix::cli {

/// Reads a list such as "1-10,15,20-40x5" (x5: every fifth). Returns the numbers ascending, each
/// once. Throws UsageError for any other text, for a range that runs backwards, and for more than
/// ten million frames.
std::vector<std::int64_t> parseFrames(std::string_view text);

}  // namespace lomix::cli
