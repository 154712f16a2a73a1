#include "library/DrawImage.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

namespace lomix::library {
namespace {

std::size_t bytesOf(std::int64_t pixels, const Format& format) {
  return static_cast<std::size_t>(pixels) * static_cast<std::size_t>(format.pixelBytes());
}

void clear(const Image& image, std::int64_t left, std::int64_t right, int y) {
  if (left < right) std::memset(image.at(left, y), 0, bytesOf(right - left, image.format));
}

/// Reads a source's rows as straight colours.
class SourceReader final : public engine::RowReader {
 public:
  SourceReader(const Image& image, bool divide) : image_(image), divide_(divide) {}

  void read(int y, int first, int end, void* row) const noexcept override {
    const Format& format = image_.format;
    auto* const pixels = static_cast<unsigned char*>(row);
    const std::int64_t inRow = y - image_.top;
    const bool known = inRow >= 0 && inRow < image_.memory.height;
    const auto left = std::clamp<std::int64_t>(image_.left, first, end);
    const auto right =
        known ? std::clamp(image_.left + image_.memory.width, left, std::int64_t{end}) : left;
    std::memset(pixels + bytesOf(first, format), 0, bytesOf(left - first, format));
    std::memset(pixels + bytesOf(right, format), 0, bytesOf(end - right, format));
    if (left == right) return;
    unsigned char* const part = pixels + bytesOf(left, format);
    std::memcpy(part, image_.at(left - image_.left, inRow), bytesOf(right - left, format));
    if (divide_) makeStraight(part, static_cast<int>(right - left), format);
  }

 private:
  const Image& image_;
  const bool divide_;
};

/// Draws a frame into a target, with the conversions that the two images need.
class Drawing {
 public:
  Drawing(const engine::RowEngine& frame, const Image& source, const Image& target)
      : frame_(frame), target_(target), keepUnderZero_(source.premultiplied) {
    // A full blend is the source itself, also where dividing and multiplying by alpha would round.
    const bool copies =
        frame.record().effectAmount == 0.0f && source.premultiplied == target.premultiplied &&
        frame.width() <= source.pictureWidth && frame.height() <= source.pictureHeight;
    divide_ = source.premultiplied && !copies;
    multiply_ = target.premultiplied && !copies;
    exchange_ = source.format.blueFirst != target.format.blueFirst;
    reads_ = divide_ || frame.frame().source.data == nullptr;
    writes_ = multiply_ || exchange_ || !target.isAligned();
  }

  /// Draws a window of the output, whose data is in the target.
  void draw(engine::Window window, const engine::RowReader& reader) const {
    const int width = window.right - window.left;
    const std::size_t sourceRow = reads_ ? sourceRowBytes() : 0;
    const std::size_t targetRow = writes_ ? bytesOf(width, target_.format) : 0;
    if (sourceRow + targetRow == 0) return frame_.drawWindow(window);
    const std::unique_ptr<float[]> rows(new float[(2 * sourceRow + targetRow) / 4]);
    if (reads_) {
      window.reader = &reader;
      window.sourceRows = rows.get();
    }
    if (!writes_) return frame_.drawWindow(window);
    engine::Window row = window;
    row.streaming = false;
    row.data = rows.get() + 2 * sourceRow / 4;
    auto* out = static_cast<unsigned char*>(window.data);
    for (int y = window.top; y < window.bottom; ++y, out += window.rowBytes) {
      row.top = y;
      row.bottom = y + 1;
      frame_.drawWindow(row);
      if (multiply_) makePremultiplied(row.data, width, target_.format, keepUnderZero_);
      if (exchange_) exchangeRedAndBlue(row.data, width, target_.format);
      std::memcpy(out, row.data, targetRow);
    }
  }

  bool divides() const { return divide_; }

 private:
  std::size_t sourceRowBytes() const {
    return bytesOf(frame_.frame().source.width, target_.format);
  }

  const engine::RowEngine& frame_;
  const Image& target_;
  const bool keepUnderZero_;
  bool divide_, multiply_, exchange_;
  bool reads_;   ///< Source rows have to be read.
  bool writes_;  ///< Output rows have to be written.
};

}  // namespace

void drawImage(const engine::RowEngine& frame, const Image& source, const Image& target,
               std::int64_t left, std::int64_t top, int first, int last) {
  const auto within = [](std::int64_t value, std::int64_t low, std::int64_t high) {
    return std::clamp(value, low, std::max(low, high));
  };
  const std::int64_t width = target.memory.width;
  const std::int64_t x1 = within(-left, 0, width), x2 = within(frame.width() - left, x1, width);
  const std::int64_t y1 = within(-top, first, last), y2 = within(frame.height() - top, y1, last);
  for (int y = first; y < last; ++y) {
    const bool covered = y >= y1 && y < y2;
    clear(target, 0, covered ? x1 : width, y);
    if (covered) clear(target, x2, width, y);
  }
  if (x1 >= x2 || y1 >= y2) return;
  const Drawing drawing(frame, source, target);
  drawing.draw(
      {static_cast<int>(left + x1), static_cast<int>(top + y1), static_cast<int>(left + x2),
       static_cast<int>(top + y2), target.at(x1, y1), target.memory.rowbytes},
      SourceReader(source, drawing.divides()));
}

}  // namespace lomix::library
