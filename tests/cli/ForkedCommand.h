// Runs the command in forked processes.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace lomix {

/// Runs the command as its program does, but without loading its libraries again, over 200 of them,
/// which takes longer than most runs. A process forked before the first test, when it has no
/// threads and no state, stays for the whole test program, and every run is a process forked from
/// that one.
class ForkedCommand {
 public:
  /// Starts the command with these arguments in folder, its standard output and standard error
  /// written to two files, which are emptied. Returns the process, a child of the calling process.
  static pid_t start(const std::vector<std::string>& arguments, const std::string& folder,
                     const std::string& out, const std::string& err);
};

}  // namespace lomix
