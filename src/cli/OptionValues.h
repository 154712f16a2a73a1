// Reads the values of options: times, rates, sizes, thread counts.
#pragma once

#include <CLI/App.hpp>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "batch/FrameTime.h"
#include "batch/Share.h"
#include "media/picture/ColourConversion.h"

namespace lomix::cli {

/// Reads frames per second: "N", "N/D" or a decimal number. The decimals of broadcasting give their
/// exact fractions: 29.97 is 30000/1001. Throws UsageError.
batch::FrameRate parseRate(std::string_view text);

/// Reads a time: "N/D", which is not reduced, or decimal seconds, which become the digits over a
/// power of ten, at least 1000 ("1.5" is 1500/1000). Throws UsageError for any other text and for
/// numbers that do not fit.
batch::FrameTime parseTime(std::string_view text);

/// Returns wanted, or the number of processors where it is 0; at least 1.
int threadCount(int wanted);

/// Reads a size "WxH", both from 1. option: for error messages. Throws UsageError.
batch::PairOfWholes parseSize(std::string_view text, const std::string& option = "--size");

/// Reads a share "K/N", K from 1 to N. Throws UsageError.
batch::Share parseShare(std::string_view text);

/// Returns the options of a command line that was parsed, and their values, as another command line
/// takes them: "--set", "Noise=30". Leaves out those of the names ("--share") and arguments without
/// a name. app: the command's parser.
std::vector<std::string> givenOptions(const CLI::App& app, const std::set<std::string>& without);

/// Reads factors: "X" for both or "X,Y", each from 1 to 1000. Throws UsageError.
batch::PairOfWholes parseDownsample(std::string_view text);

/// Adds the option --colour to a command, whose value it writes to text. subject: begins the help,
/// such as "Convert the input". Returns it.
CLI::Option* addColour(CLI::App& app, const std::string& subject, std::string& text);

/// Reads the value of such an option; null where it is empty. Throws as ColourConversion does.
std::shared_ptr<const media::ColourConversion> parseColour(const std::string& text,
                                                           const std::string& option = "--colour");

/// Adds the option --no-fsync to a command that writes files. Returns it.
CLI::Option* addNoFsync(CLI::App& app);

/// Adds the option --allow-playlists to a command that reads videos. allows: set by it.
CLI::Option* addAllowPlaylists(CLI::App& app, bool& allows);

}  // namespace lomix::cli
