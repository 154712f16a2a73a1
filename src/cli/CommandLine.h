// The command line of `lomix`.
#pragma once

#include <string>
#include <vector>

#include "support/Streams.h"

namespace lomix::cli {

/// Exit codes of the command.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitFramesFailed = 3;
inline constexpr int kExitSignal = 128;  ///< Plus the signal's number: 130 for Ctrl-C.

/// Runs one command line. arguments: without the program's name. Returns the exit code. Prints an
/// error as one line, "error: subject: cause (way out)", and throws nothing.
int runCommandLine(const std::vector<std::string>& arguments, const Streams& streams);

/// Does what the program does: runs one command line on standard output and standard error, removes
/// temporary files when a signal ends it, and returns the exit code.
int runProgram(const std::vector<std::string>& arguments);

}  // namespace lomix::cli
