#include "engine/ColumnMap.h"

#include <algorithm>
#include <cmath>

#include "effect/kernel/SourcePosition.h"

namespace lomix::engine {
namespace {

// The horizontal sync makes two spans, except for widths beyond single precision.
constexpr std::size_t kMaxSlidSpans = 8;
// Far above any width, and small enough that sums of a few such columns do not overflow.
constexpr double kMaxColumn = 1 << 24;

// Maps columns after the horizontal sync ("slid") to source columns in integers, and knows the span
// boundaries of that mapping.
//
// Between two boundaries the mapping is constant (clamped) or a shift. Wrap and clamp have their
// boundaries at known integers. The displacement truncates the rounded difference column - shift:
// 1. Let shift = whole + part, part in [0, 1). The exact difference of column s is
//    (s - whole) - part.
// 2. part = 0: the difference is an integer and exact in single precision.
// 3. part > 0: truncation toward zero gives s - whole - 1 for s > whole, and s - whole for
//    s <= whole. So there is a boundary at `whole`, which floor would not have. Example:
//    shift 2.25, columns 1, 2, 3 and 4 read columns -1, 0, 0 and 1.
// 4. Step 3 holds unless rounding carries the difference onto an integer. The rounding error is at
//    most 2^-24 of the difference. Only a part that is 2^-22 of the largest difference away from 0
//    and 1 is accepted, four times the bound.
// 5. All other steps are exact in single precision for columns below 2^23.
class WholeColumns {
 public:
  // Maps columns lowest ... highest of a source of that width. shift: in columns; 0 where the row
  // is not displaced.
  WholeColumns(bool tile, float shift, int width, int lowest, int highest)
      : width_(width), tile_(tile), lowest_(lowest), highest_(highest) {
    const double wide = shift;
    const double reach = std::max(std::abs(lowest - wide), std::abs(highest - wide)) + 2.0 * width;
    constexpr double kExactColumns = 1 << 23;
    if (!(reach < kExactColumns)) return;
    const double floor = std::floor(wide);
    const double part = wide - floor;
    const double guard = reach * 0x1p-22;
    if (part != 0.0 && (part < guard || part > 1.0 - guard)) return;
    known_ = true;
    whole_ = static_cast<int>(floor);
    beyondWhole_ = part != 0.0 ? 1 : 0;

    // Every boundary is an edge of the source or an edge moved by the shift, plus a multiple of the
    // width for the wrap before or after.
    for (int turn = -1; turn <= 2; ++turn) {
      add(turn * width);
      add(turn * width + whole_);
      add(turn * width + whole_ + 1);
    }
  }

  // Returns whether the steps above are proved for this row; sourceOf() and next() need that.
  bool known() const { return known_; }

  // Returns the source column of a slid column.
  int sourceOf(int slid) const {
    const auto displace = [this](int column) {
      return column - whole_ - (column > whole_ ? beyondWhole_ : 0);
    };
    return std::clamp(displacedAndWrapped(tile_, slid, width_, displace), 0, width_ - 1);
  }

  // Returns the first boundary in (column, end), or end.
  int next(int column, int end) const {
    for (int i = 0; i < size_; ++i) {
      if (at_[i] > column && at_[i] < end) end = at_[i];
    }
    return end;
  }

 private:
  void add(int column) {
    if (column > lowest_ && column <= highest_) at_[size_++] = column;
  }

  int width_;
  bool tile_;
  int lowest_;
  int highest_;
  bool known_ = false;
  int whole_ = 0;
  int beyondWhole_ = 0;
  int size_ = 0;
  int at_[12];
};

}  // namespace

bool SpanList::add(const Span& span) {
  if (size_ == kCapacity) return false;
  spans_[size_++] = span;
  return true;
}

ColumnMap::ColumnMap(const LomixStruct& record, const PF_LayerDef& source, int outputWidth)
    : record_(record), source_(source) {
  // Asks slidPosition() for each column: nothing to prove here.
  for (int x = 0; x < outputWidth; ++x) {
    const int column = slidPosition(x, source.width, record.horizontalSyncOffset);
    lowest_ = std::min(lowest_, column);
    highest_ = std::max(highest_, column);
    if (!slid_.empty() && column == slid_.back().source + slid_.back().count) {
      ++slid_.back().count;
    } else {
      slid_.push_back({x, 1, column});
    }
    if (slid_.size() > kMaxSlidSpans || std::abs(static_cast<double>(column)) > kMaxColumn) {
      regular_ = false;
      return;
    }
  }
}

bool ColumnMap::spansOfRow(int y, SpanList& spans) const {
  spans.clear();
  if (!regular_) return false;
  const int width = source_.width;
  const float shift = isDisplaced(record_, y) ? rowShift(record_, y, width) : 0.0f;
  const bool tile = record_.distortionMode == kTileMode;
  const WholeColumns columns(tile, shift, width, lowest_, highest_);
  if (!columns.known()) return false;

  for (const SlidSpan& slid : slid_) {
    const int end = slid.source + slid.count;
    for (int column = slid.source; column < end;) {
      const int next = columns.next(column, end);
      const int count = next - column;
      const int source = columns.sourceOf(column);
      const int last = columns.sourceOf(next - 1);
      const bool repeat = last == source;
      if (!repeat && last - source != count - 1) return false;
      if (!spans.add({slid.first + (column - slid.source), count, source, repeat})) return false;
      column = next;
    }
  }
  return true;
}

}  // namespace lomix::engine
