#include "engine/ColumnMap.h"

#include <algorithm>
#include <cmath>

#include "effect/kernel/SourcePosition.h"

namespace lomix::engine {
namespace {

// A slide makes two spans but for sizes where single precision runs out.
constexpr std::size_t kMaxSlidSpans = 8;
// Far beyond any picture, and far enough below the integers' limits to add up freely.
constexpr double kMaxColumn = 1 << 24;

// The way from slid columns to source columns in whole numbers, and where it may bend.
//
// Between its bends it is either constant (the clamp) or goes on by one column a step. The wrap and
// the clamp bend at whole columns that are known. The displacement truncates the rounded difference
// column - shift. With shift = whole + part, part in [0, 1), the exact difference of column s is
// (s - whole) - part. Where part is 0 it is a whole number and exact. Otherwise truncation toward
// zero gives s - whole - 1 for s > whole and s - whole for s <= whole (truncation, unlike floor,
// makes that bend), as long as rounding the difference to single precision does not carry it onto a
// whole number. The rounding is at most 2^-24 of the difference, so a part that keeps 2^-22 of the
// largest difference away from 0 and 1 is safe four times over. The other steps are exact in single
// precision for columns below 2^23.
class WholeColumns {
 public:
  // For columns lowest ... highest, and what a wrap makes of them. shift: 0 where the row is not
  // displaced.
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

    // All bends lie at an edge of the source, or at one moved by the shift, give or take a width
    // for the wrap before or after.
    for (int turn = -1; turn <= 2; ++turn) {
      add(turn * width);
      add(turn * width + whole_);
      add(turn * width + whole_ + 1);
    }
  }

  // Whether the rest of this may be asked.
  bool known() const { return known_; }

  // The source column of a slid one.
  int sourceOf(int slid) const {
    const auto displace = [this](int column) {
      return column - whole_ - (column > whole_ ? beyondWhole_ : 0);
    };
    return std::clamp(displacedAndWrapped(tile_, slid, width_, displace), 0, width_ - 1);
  }

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
