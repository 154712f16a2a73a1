// Neighbouring pixels of a row that come from neighbours.
#pragma once

namespace lomix::engine {

/// Output columns first ... first + count - 1 take the source columns from source on or, where
/// repeat is set, all take that one.
struct Span {
  int first;
  int count;
  int source;
  bool repeat;

  int end() const { return first + count; }
};

}  // namespace lomix::engine
