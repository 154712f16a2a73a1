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

// Displacement of whole columns by one shift for a whole span, where that is provable.
//
// The formula truncates the rounded difference column - shift. With shift = whole + part, part in
// [0, 1), the exact difference of column s is (s - whole) - part. Where part is 0 it is a whole
// number and exact. Otherwise truncation toward zero gives s - whole - 1 for s > whole and s -
// whole for s <= whole (rounding towards zero, not down, is what makes the seam at zero), as long
// as rounding the difference to single precision does not carry it onto a whole number. The
// rounding is at most 2^-24 of the difference, so a part that keeps 2^-22 of the largest difference
// away from 0 and 1 is safe four times over.
class SpanShift {
 public:
  SpanShift(float shift, int lowest, int highest) {
    const double wide = shift;
    const double reach = std::max(std::abs(lowest - wide), std::abs(highest - wide)) + 1.0;
    constexpr double kExactColumns = 1 << 23;
    if (!(reach < kExactColumns)) return;
    const double whole = std::floor(wide);
    const double part = wide - whole;
    const double guard = reach * 0x1p-22;
    if (part != 0.0 && (part < guard || part > 1.0 - guard)) return;
    provable_ = true;
    whole_ = static_cast<int>(whole);
    beyond_ = part == 0.0 ? 0 : 1;
  }

  bool provable() const { return provable_; }
  /// The last column that goes to column - whole; further ones go one less.
  int seam() const { return whole_; }
  int below() const { return whole_; }
  int above() const { return whole_ + beyond_; }

 private:
  bool provable_ = false;
  int whole_ = 0;
  int beyond_ = 0;
};

// A span on its way through the steps of the source position.
struct Piece {
  int first;
  int count;
  int source;
};

constexpr int kNoLimit = 1 << 30;

// The part of a piece whose source columns lie in [from, to).
Piece within(const Piece& piece, int from, int to) {
  const int begin = std::max(piece.source, from);
  const int end = std::min(piece.source + piece.count, to);
  if (end <= begin) return {piece.first, 0, piece.source};
  return {piece.first + (begin - piece.source), end - begin, begin};
}

template <typename Next>
void displace(const SpanShift& shift, const Piece& piece, Next next) {
  Piece upTo = within(piece, -kNoLimit, shift.seam() + 1);
  Piece beyond = within(piece, shift.seam() + 1, kNoLimit);
  upTo.source -= shift.below();
  beyond.source -= shift.above();
  next(upTo);
  next(beyond);
}

template <typename Next>
void wrap(int size, const Piece& piece, Next next) {
  Piece left = within(piece, -kNoLimit, 0);
  Piece right = within(piece, size, kNoLimit);
  left.source += size;
  right.source -= size;
  next(left);
  next(within(piece, 0, size));
  next(right);
}

bool clampInto(SpanList& spans, int size, const Piece& piece) {
  const Piece left = within(piece, -kNoLimit, 0);
  const Piece inside = within(piece, 0, size);
  const Piece right = within(piece, size, kNoLimit);
  return spans.add({left.first, left.count, 0, true}) &&
         spans.add({inside.first, inside.count, inside.source, false}) &&
         spans.add({right.first, right.count, size - 1, true});
}

}  // namespace

bool SpanList::add(const Span& span) {
  if (span.count == 0) return true;
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
  // The wrap moves columns by one width at most.
  const SpanShift spanShift(shift, lowest_ - width, highest_ + width);
  if (!spanShift.provable()) return false;

  bool fits = true;
  const auto clamp = [&](const Piece& piece) { fits = fits && clampInto(spans, width, piece); };
  for (const SlidSpan& slid : slid_) {
    const Piece piece{slid.first, slid.count, slid.source};
    if (displaced && record_.distortionMode == kTileMode) {
      displace(spanShift, piece, [&](const Piece& moved) { wrap(width, moved, clamp); });
    } else if (displaced) {
      wrap(width, piece, [&](const Piece& moved) { displace(spanShift, moved, clamp); });
    } else {
      wrap(width, piece, clamp);
    }
  }
  return fits;
}

}  // namespace lomix::engine
