// Standard output and standard error as a command uses them.
#pragma once

#include <iosfwd>

namespace lomix {

/// Where a command writes: results to out, notes and errors to err.
struct Streams {
  std::ostream& out;
  std::ostream& err;
  bool errIsTerminal = false;
};

}  // namespace lomix
