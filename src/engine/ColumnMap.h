// Maps the columns of an output row to source columns, as a few spans.
#pragma once

#include <vector>

#include "effect/signal/LomixStruct.h"
#include "engine/Span.h"
#include "hostapi/Records.h"

namespace lomix::engine {

/// A list of spans of fixed capacity: drawing a row allocates nothing.
class SpanList {
 public:
  static constexpr int kCapacity = 128;

  const Span* begin() const { return spans_; }
  const Span* end() const { return spans_ + size_; }
  void clear() { size_ = 0; }
  /// Appends a span; returns false where the list is full.
  bool add(const Span& span);

 private:
  Span spans_[kCapacity];
  int size_ = 0;
};

/// The mapping of a frame's columns. Made once per frame; any number of threads may read it.
class ColumnMap {
 public:
  /// record: with profiles. Record and source must outlive the map. outputWidth: in pixels.
  ColumnMap(const LomixStruct& record, const PF_LayerDef& source, int outputWidth);

  /// Writes the spans of output row y, in order and without gaps. Returns false where they are not
  /// proved to be right; the caller then has to call sourceColumn() for each pixel.
  bool spansOfRow(int y, SpanList& spans) const;

 private:
  // Columns that the horizontal sync shifts by the same amount: column x reads x - first + source.
  struct SlidSpan {
    int first;
    int count;
    int source;
  };

  const LomixStruct& record_;
  const PF_LayerDef& source_;
  std::vector<SlidSpan> slid_;
  int lowest_ = 0;
  int highest_ = 0;
  bool regular_ = true;
};

}  // namespace lomix::engine
