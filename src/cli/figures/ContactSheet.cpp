#include "cli/figures/ContactSheet.h"

#include <algorithm>
#include <cmath>

namespace lomix::cli {
namespace {

constexpr int kMargin = 14;
constexpr int kGap = 10;
constexpr double kSmallest = 8.0;  ///< Letters, before a name is shortened.
constexpr double kLine = 1.45;     ///< Height of a line, in letters.
constexpr media::Colour kPaper{32, 33, 36};
constexpr media::Colour kLightInk{232, 234, 237};
constexpr media::Colour kFaintInk{154, 160, 166};

int letterSize(int pictureWidth) {
  return std::max(std::clamp(pictureWidth / 20, 10, 18), pictureWidth / 48);
}

std::string joined(const std::string& name, const std::string& value) {
  return name.empty() || value.empty() ? name + value : name + " " + value;
}

/// Returns the lines of a row's head. A single caption has its name and its value in a line each.
std::vector<std::string> linesOf(const std::vector<Caption>& captions) {
  if (captions.size() == 1 && !captions.front().name.empty()) {
    return {captions.front().name, captions.front().value};
  }
  std::vector<std::string> lines;
  for (const Caption& caption : captions) lines.push_back(joined(caption.name, caption.value));
  return lines;
}

}  // namespace

FittedText fitted(media::Drawing& drawing, const Caption& caption, double width,
                  const media::TextStyle& style) {
  const auto shrunk = [&](const std::string& text) {
    FittedText line{text, style};
    // In steps: small letters are rounded to whole pixels and wider than their scale says.
    for (double needed = drawing.widthOf(text, style); needed > width && line.style.size > 1.0;
         needed = drawing.widthOf(text, line.style)) {
      line.style.size *= std::min(0.97, width / needed);
    }
    return line;
  };
  const std::string whole = joined(caption.name, caption.value);
  const FittedText line = shrunk(whole);
  if (line.style.size >= std::min(kSmallest, style.size)) return line;
  FittedText shortened{{}, style};
  shortened.style.size = std::min(kSmallest, style.size);
  const double rest = width - drawing.widthOf(" " + caption.value, shortened.style);
  const std::string name =
      rest > 0.0 ? drawing.fitted(caption.name, rest, shortened.style) : std::string();
  shortened.text = joined(name, caption.value);
  const bool shows = !name.empty() && name != "…";
  return shows || caption.value.empty() ? shortened : shrunk(caption.value);
}

ContactSheet::Layout ContactSheet::layoutOf(const Size& size, bool hasTitle,
                                            const SheetHeads& heads) {
  Layout layout{};
  const int letter = letterSize(size.pictureWidth);
  layout.letter = letter;
  layout.left = kMargin;
  layout.top = kMargin + (hasTitle ? 3 * letter : 0);
  if (!heads.columns.empty()) {
    const bool named = !heads.columns.front().name.empty();
    layout.top += static_cast<int>(std::ceil((named ? 2.0 : 1.0) * kLine * letter));
  }
  const int captions = size.captionLines == 0 ? 0 : (1 + 3 * size.captionLines) * letter / 2;
  layout.stepX = size.pictureWidth + kGap;
  layout.stepY = size.pictureHeight + captions + kGap;
  if (!heads.rows.empty()) {
    media::Drawing drawing(media::Drawing::Kind::Pixels, 1, 1, kPaper);
    double width = 0.0;
    double lineCount = 0.0;
    for (const std::vector<Caption>& row : heads.rows) {
      const std::vector<std::string> lines = linesOf(row);
      for (const std::string& line : lines) {
        width = std::max(width, drawing.widthOf(line, {layout.letter, kLightInk}));
      }
      lineCount = std::max(lineCount, static_cast<double>(lines.size()));
    }
    layout.left += static_cast<int>(std::ceil(width)) + kGap;
    layout.stepY = std::max(layout.stepY, static_cast<int>(lineCount * kLine * letter) + kGap);
  }
  const int columns = std::min(size.count, size.columns);
  const int rows = (size.count + size.columns - 1) / size.columns;
  layout.width = layout.left + columns * layout.stepX - kGap + kMargin;
  layout.height = layout.top + rows * layout.stepY - kGap + kMargin;
  return layout;
}

ContactSheet::ContactSheet(const Size& size, std::string_view title, const SheetHeads& heads)
    : size_(size),
      layout_(layoutOf(size, !title.empty(), heads)),
      label_{layout_.letter, kLightInk, media::Anchor::Middle},
      drawing_(media::Drawing::Kind::Pixels, layout_.width, layout_.height, kPaper) {
  if (!title.empty()) {
    const media::TextStyle heading{label_.size * 1.3, kLightInk, media::Anchor::Start, true};
    drawing_.text({kMargin, kMargin + 1.6 * label_.size},
                  drawing_.fitted(title, layout_.width - 2 * kMargin, heading), heading);
  }
  drawHeads(heads);
}

void ContactSheet::drawHeads(const SheetHeads& heads) {
  media::TextStyle faint = label_;
  faint.colour = kFaintInk;
  const double above = layout_.top - 0.5 * label_.size;
  for (std::size_t i = 0; i < heads.columns.size(); ++i) {
    const double middle =
        layout_.left + static_cast<double>(i) * layout_.stepX + size_.pictureWidth / 2.0;
    const auto [text, style] =
        fitted(drawing_, {"", heads.columns[i].value}, size_.pictureWidth, label_);
    drawing_.text({middle, above}, text, style);
  }
  // All columns show one parameter.
  if (!heads.columns.empty() && !heads.columns.front().name.empty()) {
    const double right = layout_.width - kMargin;
    const auto [text, style] =
        fitted(drawing_, {heads.columns.front().name, ""}, right - layout_.left, faint);
    drawing_.text({(layout_.left + right) / 2, above - kLine * label_.size}, text, style);
  }
  for (std::size_t i = 0; i < heads.rows.size(); ++i) {
    const std::vector<std::string> lines = linesOf(heads.rows[i]);
    const double middle =
        layout_.top + static_cast<double>(i) * layout_.stepY + size_.pictureHeight / 2.0;
    double line = middle - (static_cast<double>(lines.size()) / 2.0 - 0.9) * kLine * label_.size;
    for (std::size_t k = 0; k < lines.size(); ++k, line += kLine * label_.size) {
      const bool isName = k == 0 && lines[k] == heads.rows[i].front().name;
      const media::Colour colour = isName ? kFaintInk : kLightInk;
      drawing_.text({static_cast<double>(layout_.left - kGap), line}, lines[k],
                    {label_.size, colour, media::Anchor::End});
    }
  }
}

void ContactSheet::place(int index, const media::Picture& picture,
                         const std::vector<Caption>& captions) {
  const double left = layout_.left + index % size_.columns * layout_.stepX;
  const double top = layout_.top + index / size_.columns * layout_.stepY;
  const double right = left + size_.pictureWidth;
  double line = top + size_.pictureHeight;
  drawing_.place(picture, {left, top, right, line});
  for (const Caption& caption : captions) {
    line += kLine * label_.size;
    const auto [text, style] = fitted(drawing_, caption, size_.pictureWidth, label_);
    drawing_.text({(left + right) / 2, line}, text, style);
  }
}

}  // namespace lomix::cli
