#pragma once

#include <iosfwd>

namespace lomix {

/// Where a command writes: results to out, notes and errors to err.
struct Streams {
  std::ostream& out;
  std::ostream& err;
  bool errIsTerminal = false;
};

/// One word of the command line. A command declares its options to the parser when it is made, and
/// runs after the parser has filled them in.
class Command {
 public:
  Command() = default;
  virtual ~Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  /// Throws UsageError, CommandError, FramesFailed, Interrupted, MediaError or
  /// host::HostError.
  virtual void run(const Streams& streams) = 0;
};

}  // namespace lomix
