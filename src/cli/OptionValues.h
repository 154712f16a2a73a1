// Values of command-line options: times, rates, sizes.
#pragma once

#include <string>
#include <string_view>

#include "batch/FrameTime.h"

namespace lomix::cli {

/// "N", "N/D" or decimal frames a second; the decimals of broadcasting, such as 29.97, are the
/// fractions that they stand for. Throws UsageError.
batch::FrameRate parseRate(std::string_view text);

/// "N/D" as it stands, or decimal seconds: the digits over a power of ten, at least 1000. Throws
/// UsageError for any other text and for what does not fit.
batch::FrameTime parseTime(std::string_view text);

/// Returns wanted, or the number of processors where it is 0; at least 1.
int threadCount(int wanted);

/// "WxH", both from 1. option: for errors. Throws UsageError.
batch::PairOfWholes parseSize(std::string_view text, const std::string& option = "--size");

/// "X" for both or "X,Y", each from 1 to 1000. Throws UsageError.
batch::PairOfWholes parseDownsample(std::string_view text);

}  // namespace lomix::cli
