#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace lomix::cli {

/// The frames that a list such as "1-10,15,20-40x5" names, ascending, each once. Throws UsageError
/// for any other text, a range that runs backwards, and more frames than anybody renders.
std::vector<std::int64_t> parseFrames(std::string_view text);

}  // namespace lomix::cli
