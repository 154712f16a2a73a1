// Standard output and standard error as a command uses them.
#pragma once

#include <iosfwd>

namespace lomix {

/// Output of a command: results go to out, notes, progress and errors to err.
struct Streams {
  std::ostream& out;
  std::ostream& err;
  bool errIsTerminal = false;  ///< Progress is then a bar that redraws itself.
};

}  // namespace lomix
