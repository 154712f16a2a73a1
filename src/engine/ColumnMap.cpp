#include "engine/ColumnMap.h"

#include <algorithm>
#include <cmath>

#include "kernel/SourcePosition.h"

namespace lomix::engine {
namespace {

// A slide makes two spans but for sizes where single precision runs out.
constexpr std::size_t kMaxSlidSpans = 8;
// Far beyond any picture, and far enough below the integers' limits to add up freely.
constexpr double kMaxColumn = 1 << 24;

// Where the map from slid columns to source columns may bend.
//
// Between its bends the map is either constant (the clamp) or goes on by one column a step. The
// wrap and the clamp bend at whole columns that are known. The displacement truncates the rounded
// difference column - shift. With shift = whole + part, part in [0, 1), the exact difference of
// column s is (s - whole) - part. Where part is 0 it is a whole number and exact. Otherwise
// truncation toward zero gives s - whole - 1 for s > whole and s - whole for s <= whole
// (truncation, unlike floor, makes that bend), as long as rounding the difference to single
// precision does not carry it onto a whole number. The rounding is at most 2^-24 of the difference,
// so a part that keeps 2^-22 of the largest difference away from 0 and 1 is safe four times over.
class Bends {
 public:
  // For columns lowest ... highest, and what a wrap makes of them.
  Bends(bool displaced, float shift, int width, int lowest, int highest)
      : lowest_(lowest), highest_(highest) {
    const double wide = displaced ? shift : 0.0;
    const double reach = std::max(std::abs(lowest - wide), std::abs(highest - wide)) + 2.0 * width;
    constexpr double kExactColumns = 1 << 23;
    if (!(reach < kExactColumns)) return;
    const double floor = std::floor(wide);
    const double part = wide - floor;
    const double guard = reach * 0x1p-22;
    if (part != 0.0 && (part < guard || part > 1.0 - guard)) return;
    known_ = true;

    // All of them lie at an edge of the source, or at one moved by the shift, give or take a width
    // for the wrap before or after.
    const int whole = static_cast<int>(floor);
    for (int turn = -1; turn <= 2; ++turn) {
      add(turn * width);
      add(turn * width + whole);
      add(turn * width + whole + 1);
    }
  }

  bool known() const { return known_; }

  // The first bend after column, or end where none comes before it.
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

  int lowest_;
  int highest_;
  bool known_ = false;
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
  // By the formula itself for each column, so that nothing needs proof here.
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
  const bool displaced = isDisplaced(record_, y);
  const float shift = displaced ? rowShift(record_, y, width) : 0.0f;
  const Bends bends(displaced, shift, width, lowest_, highest_);
  if (!bends.known()) return false;

  const auto sourceOf = [&](int slid) {
    return sourceColumnOfSlid(record_, slid, width, displaced, shift);
  };
  for (const SlidSpan& slid : slid_) {
    const int end = slid.source + slid.count;
    for (int column = slid.source; column < end;) {
      const int next = bends.next(column, end);
      const int count = next - column;
      const int source = sourceOf(column);
      const int last = sourceOf(next - 1);
      const bool repeat = last == source;
      if (!repeat && last - source != count - 1) return false;
      if (!spans.add({slid.first + (column - slid.source), count, source, repeat})) return false;
      column = next;
    }
  }
  return true;
}

}  // namespace lomix::engine
