#include "cli/figures/ContactSheet.h"

#include <algorithm>

namespace lomix::cli {
namespace {

constexpr int kMargin = 14;
constexpr int kGap = 10;
constexpr media::Colour kPaper{32, 33, 36};
constexpr media::Colour kInk{232, 234, 237};

int letterSize(int pictureWidth) { return std::clamp(pictureWidth / 20, 10, 18); }

int widthOf(const ContactSheet::Size& size) {
  const int shown = std::min(size.count, size.columns);
  return 2 * kMargin + shown * size.pictureWidth + (shown - 1) * kGap;
}

int heightOf(const ContactSheet::Size& size, int titleHeight, int labelHeight) {
  const int rows = (size.count + size.columns - 1) / size.columns;
  return 2 * kMargin + titleHeight + rows * (size.pictureHeight + labelHeight) + (rows - 1) * kGap;
}

}  // namespace

ContactSheet::ContactSheet(const Size& size, std::string_view title)
    : size_(size),
      label_{static_cast<double>(letterSize(size.pictureWidth)), kInk, media::Anchor::Middle},
      titleHeight_(title.empty() ? 0 : 3 * letterSize(size.pictureWidth)),
      labelHeight_((1 + 3 * size.labelLines) * letterSize(size.pictureWidth) / 2),
      drawing_(media::Drawing::Kind::Pixels, widthOf(size),
               heightOf(size, titleHeight_, labelHeight_), kPaper) {
  if (title.empty()) return;
  const media::TextStyle heading{label_.size * 1.3, kInk, media::Anchor::Start, true};
  drawing_.text({kMargin, kMargin + 1.6 * label_.size},
                drawing_.fitted(title, widthOf(size) - 2 * kMargin, heading), heading);
}

void ContactSheet::place(int index, const media::Picture& picture,
                         const std::vector<std::string>& label) {
  const int column = index % size_.columns;
  const int row = index / size_.columns;
  const double left = kMargin + column * (size_.pictureWidth + kGap);
  const double top = kMargin + titleHeight_ + row * (size_.pictureHeight + labelHeight_ + kGap);
  const double right = left + size_.pictureWidth;
  double line = top + size_.pictureHeight;
  drawing_.place(picture, {left, top, right, line});
  for (const std::string& text : label) {
    line += 1.45 * label_.size;
    drawing_.text({(left + right) / 2, line}, drawing_.fitted(text, size_.pictureWidth, label_),
                  label_);
  }
}

}  // namespace lomix::cli
