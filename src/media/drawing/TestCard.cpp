#include "media/drawing/TestCard.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "media/drawing/Canvas.h"
#include "media/drawing/TestPicture.h"

namespace lomix::media {
namespace {

constexpr double kSquares = 14.0;  ///< Grid squares along the shorter side.
constexpr double kBorder = 0.5;    ///< All lengths from here on in grid squares.
constexpr double kRadius = 6.0;    ///< Of the large circle.
constexpr double kCornerRadius = 1.5;
constexpr double kGap = 0.25;
constexpr double kCutRadius = 1.25;  ///< Of the transparent corner.

constexpr Colour kBlack = grey(0);
constexpr Colour kWhite = grey(255);
constexpr Colour kGround = grey(96);
constexpr Colour kGrid = grey(176);

/// The 75 % colour bars, from bright to dark.
constexpr double kBar = 191;
constexpr std::array<Colour, 8> kBars{{{kBar, kBar, kBar},
                                       {kBar, kBar, 0},
                                       {0, kBar, kBar},
                                       {0, kBar, 0},
                                       {kBar, 0, kBar},
                                       {kBar, 0, 0},
                                       {0, 0, kBar},
                                       {0, 0, 0}}};

/// Lines per square in the gratings, coarse to fine.
constexpr std::array kGratings{2.0, 4.0, 8.0, 12.0, 20.0};

/// Returns a fully saturated colour. turn: 0 is red, 1/3 green, 2/3 blue, 1 red again.
Colour hue(double turn) {
  const auto channel = [turn](double peak) {
    const double distance = std::abs(std::remainder(turn - peak, 1.0));
    return 255.0 * std::clamp(2.0 - 6.0 * distance, 0.0, 1.0);
  };
  return {channel(0.0), channel(1.0 / 3.0), channel(2.0 / 3.0)};
}

class Card {
 public:
  Card(int width, int height)
      : picture_(blankTestPicture(width, height)),
        canvas_(picture_),
        width_(width),
        height_(height),
        unit_(std::min(width, height) / kSquares),
        line_(std::max(1.0, std::round(std::min(width, height) / 480.0))) {}

  Picture draw(CardCorner corner) {
    canvas_.fill(box(-reachX(), -reachY(), reachX(), reachY()), kGround);
    drawGrid();
    drawBorder();
    drawCornerCircles();
    drawSidePanels();
    drawCircle();
    if (corner == CardCorner::Transparent) {
      canvas_.cutOut({width_, height_, kCutRadius * unit_});
      picture_.info.hasAlpha = true;
    }
    return std::move(picture_);
  }

 private:
  // Coordinates are grid squares from the middle of the picture. Edges snap to whole pixels, the
  // same way on both sides, so that the card is symmetrical.
  double reachX() const { return width_ / 2.0 / unit_; }
  double reachY() const { return height_ / 2.0 / unit_; }

  double snap(double squares, double size) const {
    if (squares < 0.0) return size - snap(-squares, size);
    return std::floor(size / 2.0 + squares * unit_ + 0.5);
  }
  double x(double squares) const { return snap(squares, width_); }
  double y(double squares) const { return snap(squares, height_); }
  Box box(double left, double top, double right, double bottom) const {
    return {x(left), y(top), x(right), y(bottom)};
  }

  /// Returns begin and end of a grid line, in pixels.
  std::pair<double, double> lineAt(double squares, double size) const {
    // The middle line is odd or even in thickness as the picture's side is, so that it can be
    // centred.
    const double thickness =
        squares == 0.0 && std::fmod(size - line_, 2.0) != 0.0 ? line_ + 1.0 : line_;
    if (squares < 0.0) {
      const auto [begin, end] = lineAt(-squares, size);
      return {size - end, size - begin};
    }
    const double begin = std::floor(size / 2.0 + squares * unit_ - thickness / 2.0 + 0.5);
    return {begin, begin + thickness};
  }
  void verticalLine(double squares, double top, double bottom, const Colour& colour) {
    const auto [begin, end] = lineAt(squares, width_);
    canvas_.fill(Box{begin, y(top), end, y(bottom)}, colour);
  }
  void horizontalLine(double squares, double left, double right, const Colour& colour) {
    const auto [begin, end] = lineAt(squares, height_);
    canvas_.fill(Box{x(left), begin, x(right), end}, colour);
  }

  void drawGrid() {
    const int columns = static_cast<int>(reachX());
    const int rows = static_cast<int>(reachY());
    for (int i = -columns; i <= columns; ++i) verticalLine(i, -reachY(), reachY(), kGrid);
    for (int i = -rows; i <= rows; ++i) horizontalLine(i, -reachX(), reachX(), kGrid);
  }

  /// Draws the border of alternating white and black, one per square, from the middles of the
  /// sides.
  void drawBorder() {
    const double inX = reachX() - kBorder;
    const double inY = reachY() - kBorder;
    const auto colourOf = [](int i) { return (i < 0 ? -1 - i : i) % 2 == 0 ? kWhite : kBlack; };
    const int columns = static_cast<int>(std::ceil(reachX()));
    for (int i = -columns; i < columns; ++i) {
      const double left = std::max<double>(i, -reachX());
      const double right = std::min(i + 1.0, reachX());
      canvas_.fill(box(left, -reachY(), right, -inY), colourOf(i));
      canvas_.fill(box(left, inY, right, reachY()), colourOf(i));
    }
    const int rows = static_cast<int>(std::ceil(reachY()));
    for (int i = -rows; i < rows; ++i) {
      const double top = std::max<double>(i, -inY);
      const double bottom = std::min(i + 1.0, inY);
      canvas_.fill(box(-reachX(), top, -inX, bottom), colourOf(i));
      canvas_.fill(box(inX, top, reachX(), bottom), colourOf(i));
    }
  }

  void drawCornerCircles() {
    const double inset = kBorder + kGap;
    double radius = kCornerRadius;
    const auto distance = [&] {
      return std::hypot(reachX() - inset - radius, reachY() - inset - radius);
    };
    while (radius > 0.5 && distance() < kRadius + radius + kGap) radius -= 1.0 / 64.0;
    for (const double sideX : {-1.0, 1.0}) {
      for (const double sideY : {-1.0, 1.0}) {
        const Disc disc{width_ / 2.0 + sideX * (reachX() - inset - radius) * unit_,
                        height_ / 2.0 + sideY * (reachY() - inset - radius) * unit_,
                        radius * unit_};
        canvas_.ring(disc, 2.0 * line_, kWhite);
      }
    }
  }

  /// Draws a rainbow and a grey ramp beside the circle, or above and below it in tall pictures.
  void drawSidePanels() {
    const double from = kRadius + 1.0;
    const double to = from + 1.0;
    const double reach = 3.0;
    const auto rainbow = [](double along) { return hue(along); };
    const auto fall = [](double along) { return grey(255.0 * (1.0 - along)); };
    const auto place = [reach, this](double pixel, double size) {
      return std::clamp((pixel - size / 2.0) / unit_ / (2.0 * reach) + 0.5, 0.0, 1.0);
    };
    if (reachX() - kBorder > to) {
      canvas_.shade(box(-to, -reach, -from, reach),
                    [&](double, double py) { return rainbow(place(py, height_)); });
      canvas_.shade(box(from, -reach, to, reach),
                    [&](double, double py) { return fall(place(py, height_)); });
    }
    if (reachY() - kBorder > to) {
      canvas_.shade(box(-reach, -to, reach, -from),
                    [&](double px, double) { return rainbow(place(px, width_)); });
      canvas_.shade(box(-reach, from, reach, to),
                    [&](double px, double) { return fall(place(px, width_)); });
    }
  }

  void drawCircle() {
    const Disc disc{width_ / 2.0, height_ / 2.0, kRadius * unit_};
    canvas_.clipTo(disc);
    canvas_.fill(box(-6, -6, 6, -3.5), kWhite);
    caption(-4.9, -3.8, "LOMIX");
    drawRamp(-3.5, -2.5);
    drawBars(-2.5, -0.75);
    drawGratings(0.75, 2.5);
    drawSteps(2.5, 3.5);
    canvas_.fill(box(-6, 3.5, 6, 6), {255, 255, 0});
    canvas_.fill(box(-0.5, 5.0, 0.5, 6), {255, 0, 0});
    caption(3.8, 4.9, std::to_string(picture_.width()) + "x" + std::to_string(picture_.height()));
    drawCross();
    canvas_.clipTo({0, 0, 0});
    canvas_.ring(disc, 2.0 * line_, kWhite);
  }

  void caption(double top, double bottom, const std::string& text) {
    canvas_.fill(box(-2.75, top, 2.75, bottom), kBlack);
    canvas_.write(box(-2.75, top, 2.75, bottom), text, kWhite);
  }

  void drawRamp(double top, double bottom) {
    // Where the band is narrowest, the circle reaches 4.8 squares to each side.
    canvas_.shade(box(-6, top, 6, bottom), [this](double px, double) {
      const double along = (px - width_ / 2.0) / unit_ / 9.6 + 0.5;
      return grey(255.0 * std::clamp(along, 0.0, 1.0));
    });
  }

  void drawBars(double top, double bottom) {
    for (std::size_t i = 0; i < kBars.size(); ++i) {
      const double left = -6.0 + 1.5 * static_cast<double>(i);
      canvas_.fill(box(left, top, left + 1.5, bottom), kBars[i]);
    }
  }

  void drawGratings(double top, double bottom) {
    canvas_.fill(box(-6, top, 6, bottom), grey(127.5));
    for (std::size_t i = 0; i < kGratings.size(); ++i) {
      const double middle = -4.4 + 2.2 * static_cast<double>(i);
      // A period of two pixels is the finest that a picture can show.
      const double period = std::max(2.0, 2.0 * unit_ / kGratings[i]);
      const double phase = x(middle);
      canvas_.shade(box(middle - 1.0, top, middle + 1.0, bottom), [&](double px, double) {
        return grey(127.5 + 127.5 * std::cos(2.0 * std::numbers::pi * (px - phase) / period));
      });
    }
  }

  void drawSteps(double top, double bottom) {
    constexpr int kSteps = 8;
    for (int i = 0; i < kSteps; ++i) {
      const double left = i == 0 ? -6.0 : -4.8 + 1.2 * i;
      const double right = i == kSteps - 1 ? 6.0 : -4.8 + 1.2 * (i + 1);
      canvas_.fill(box(left, top, right, bottom), grey(std::round(255.0 * i / (kSteps - 1))));
    }
  }

  void drawCross() {
    canvas_.fill(box(-6, -0.75, 6, 0.75), kBlack);
    for (int i = -5; i <= 5; ++i) verticalLine(i, -0.75, 0.75, i == 0 ? kWhite : kGrid);
    horizontalLine(0, -6, 6, kWhite);
    verticalLine(0, -2.5, 2.5, kWhite);
  }

  Picture picture_;
  Canvas canvas_;
  double width_;
  double height_;
  double unit_;  ///< Pixels to a grid square.
  double line_;  ///< Thickness of a thin line, pixels.
};

}  // namespace

Picture drawTestCard(int width, int height, CardCorner corner) {
  return Card(width, height).draw(corner);
}

}  // namespace lomix::media
