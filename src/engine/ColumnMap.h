// Which source columns a row of the output takes, as a few spans of neighbours.
#pragma once

#include <vector>

#include "effect/signal/LomixStruct.h"
#include "engine/Span.h"
#include "hostapi/Records.h"

namespace lomix::engine {

/// A short list of spans that needs no allocation.
class SpanList {
 public:
  static constexpr int kCapacity = 128;

  const Span* begin() const { return spans_; }
  const Span* end() const { return spans_ + size_; }
  void clear() { size_ = 0; }
  /// Returns false where the list is full.
  bool add(const Span& span);

 private:
  Span spans_[kCapacity];
  int size_ = 0;
};

/// Prepared once per frame, read by any number of threads.
class ColumnMap {
 public:
  /// record: with profiles; it and source must outlive the map.
  ColumnMap(const LomixStruct& record, const PF_LayerDef& source, int outputWidth);

  /// The spans of row y from its first column to its last, or false where only the formula for each
  /// pixel can tell.
  bool spansOfRow(int y, SpanList& spans) const;

 private:
  // Columns that the horizontal sync moves alike: x goes to x - first + source.
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
