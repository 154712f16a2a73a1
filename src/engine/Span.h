// A run of output columns that read consecutive source columns, or that all repeat one.
#pragma once

namespace lomix::engine {

/// Output columns first ... first + count - 1 read source columns source ... source + count - 1 or,
/// where repeat is set, all read column source. Columns first and on are [first, end()).
struct Span {
  int first;
  int count;
  int source;
  bool repeat;

  int end() const { return first + count; }
};

}  // namespace lomix::engine
