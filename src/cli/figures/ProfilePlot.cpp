#include "cli/figures/ProfilePlot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "batch/EffectLibrary.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

using media::Anchor;
using media::Box;
using media::Colour;
using media::Drawing;
using media::Point;
using media::TextStyle;

constexpr Colour kInk{32, 33, 36};
constexpr Colour kFaint{218, 220, 224};
constexpr Colour kMarker{217, 48, 37};
constexpr TextStyle kTitle{20, kInk, Anchor::Start, true};
constexpr TextStyle kHeading{15, kInk, Anchor::Start, true};
constexpr TextStyle kNumber{12, kInk, Anchor::Middle};
constexpr TextStyle kNumberEnd{12, kInk, Anchor::End};
constexpr TextStyle kLabel{13, kInk, Anchor::Middle};
constexpr TextStyle kLabelStart{13, kInk, Anchor::Start};

/// How a profile is shown.
struct Shown {
  const char* heading;
  const char* unit;
  int profile;       ///< LOMIX_SCAN_PROFILE, ...
  double scale;      ///< Factor from the profile's values to the shown unit.
  double low, high;  ///< Range of the axis, in that unit.
  Colour curve;
  Colour lowColour, middleColour, highColour;
};

// In the units of Lomix::Kernel: the scan profile shifts rows one way by up to 0.3 of the width,
// the signal profile both ways by up to 0.5 of it.
constexpr std::array<Shown, 3> kShown{{
    {"Scan profile: how far Scan Distortion at 100 % shifts a row",
     "% of the width",
     LOMIX_SCAN_PROFILE,
     100.0,
     0.0,
     30.0,
     {68, 119, 170},
     {247, 251, 255},
     {107, 164, 212},
     {8, 48, 107}},
    {"Bars profile: the brightness of Bars Overlay",
     "0 black, 1 white",
     LOMIX_BARS_PROFILE,
     1.0,
     0.0,
     1.0,
     {34, 136, 51},
     {0, 0, 0},
     {128, 128, 128},
     {255, 255, 255}},
    {"Signal profile: how far Signal Distortion at 100 % shifts a row",
     "% of the width",
     LOMIX_SIGNAL_PROFILE,
     -50.0,
     -12.5,
     12.5,
     {170, 51, 119},
     {33, 102, 172},
     {247, 247, 247},
     {178, 24, 43}},
}};

Colour mix(const Colour& a, const Colour& b, double part) {
  return {a.red + (b.red - a.red) * part, a.green + (b.green - a.green) * part,
          a.blue + (b.blue - a.blue) * part};
}

Colour colourOf(const Shown& shown, double value) {
  const double part = std::clamp((value - shown.low) / (shown.high - shown.low), 0.0, 1.0);
  return part < 0.5 ? mix(shown.lowColour, shown.middleColour, 2 * part)
                    : mix(shown.middleColour, shown.highColour, 2 * part - 1);
}

/// Returns a profile of a frame of that height: one value per row.
std::vector<float> profileAt(int profile, int rows, double seconds) {
  media::Picture source(1, 1, 8);
  media::Picture output(1, rows, 8);
  const lomix_image sourceImage = batch::imageOf(source);
  const lomix_image outputImage = batch::imageOf(output);
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.time_seconds = seconds;
  const batch::FramePtr frame = batch::createFrame(settings, sourceImage, outputImage);
  std::vector<float> values(static_cast<std::size_t>(rows));
  batch::check([&](lomix_error* error) {
    return lomix_frame_get_profile(frame.get(), profile, 0, rows, values.data(), error);
  });
  return values;
}

/// Returns a step of 1, 2 or 5 times a power of ten that divides the range into about count parts.
double niceStep(double range, int count) {
  const double rough = range / count;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= rough) return factor * power;
  }
  return 10.0 * power;
}

/// An axis: maps values to pixels.
struct Scale {
  double low, high;
  double first, last;  ///< Pixels of low and high.
  double at(double value) const { return first + (value - low) / (high - low) * (last - first); }
  std::vector<double> ticks(int count) const {
    const double step = niceStep(high - low, count);
    std::vector<double> values;
    const double end = high + step * 1e-6;
    for (double i = std::ceil(low / step - 1e-6); i * step <= end; ++i) values.push_back(i * step);
    return values;
  }
};

std::string numberText(double value) {
  const std::string text = shortest(std::abs(value) < 1e-9 ? 0.0 : value);
  return text.starts_with('-') ? "−" + text.substr(1) : text;
}

/// Returns whether the time of the curves is on the time axis.
bool isInImage(const ProfileRange& range) {
  return range.seconds >= range.fromSeconds && range.seconds <= range.toSeconds;
}

class Panel {
 public:
  Panel(Drawing& drawing, const Shown& shown, const ProfileRange& range, double top)
      : drawing_(drawing),
        shown_(shown),
        range_(range),
        curve_{90, top, 390, top + kHeight},
        image_{470, top, 1080, top + kHeight},
        rows_{0, static_cast<double>(range.rows), top, top + kHeight} {}

  static constexpr double kHeight = 262;
  static constexpr double kSteps = 3;  ///< Pixels of a row from which on it is a step.

  void draw() {
    drawing_.text({curve_.left, curve_.top - 14}, shown_.heading, kHeading);
    drawCurve();
    drawImage();
    drawKey();
  }

 private:
  void drawRowNumbers(const Box& box) {
    for (const double row : rows_.ticks(5)) {
      drawing_.text({box.left - 8, rows_.at(row) + 4}, numberText(row), kNumberEnd);
    }
    drawing_.textUpwards({box.left - 48, (box.top + box.bottom) / 2}, "row", kLabel);
  }

  void drawCurve() {
    const Scale values{shown_.low, shown_.high, curve_.left, curve_.right};
    for (const double value : values.ticks(5)) {
      const double x = values.at(value);
      drawing_.line(std::array{Point{x, curve_.top}, Point{x, curve_.bottom}}, kFaint);
      drawing_.text({x, curve_.bottom + 18}, numberText(value), kNumber);
    }
    for (const double row : rows_.ticks(5)) {
      const double y = rows_.at(row);
      drawing_.line(std::array{Point{curve_.left, y}, Point{curve_.right, y}}, kFaint);
    }
    const std::vector<float> profile = profileAt(shown_.profile, range_.rows, range_.seconds);
    // A row has one value. Where rows are high enough to be seen, the curve has steps.
    const bool steps = kHeight / range_.rows >= kSteps;
    std::vector<Point> points;
    for (int row = 0; row < range_.rows; ++row) {
      const double x = values.at(shown_.scale * profile[static_cast<std::size_t>(row)]);
      if (steps) {
        points.push_back({x, rows_.at(row)});
        points.push_back({x, rows_.at(row + 1)});
      } else {
        points.push_back({x, rows_.at(row + 0.5)});
      }
    }
    drawing_.line(points, shown_.curve, range_.rows > kHeight ? 1.0 : 1.6);
    drawing_.frame(curve_, kInk);
    drawRowNumbers(curve_);
    drawing_.text({(curve_.left + curve_.right) / 2, curve_.bottom + 38}, shown_.unit, kLabel);
  }

  void drawImage() {
    const auto width = static_cast<int>(image_.right - image_.left);
    const int height = static_cast<int>(kHeight);
    const Scale times{range_.fromSeconds, range_.toSeconds, image_.left, image_.right};
    media::Picture picture(width, height, 8);
    for (int x = 0; x < width; ++x) {
      const double seconds =
          times.low + (times.high - times.low) * (x + 0.5) / static_cast<double>(width);
      const std::vector<float> profile = profileAt(shown_.profile, range_.rows, seconds);
      for (int y = 0; y < height; ++y) {
        const Colour colour = colourOf(shown_, valueAt(profile, y, height));
        auto* pixel = picture.row8(y).data() + std::ptrdiff_t{x} * media::Picture::kChannels;
        pixel[0] = 255;
        pixel[1] = static_cast<std::uint8_t>(colour.red + 0.5);
        pixel[2] = static_cast<std::uint8_t>(colour.green + 0.5);
        pixel[3] = static_cast<std::uint8_t>(colour.blue + 0.5);
      }
    }
    drawing_.place(picture, image_);
    for (const double seconds : times.ticks(8)) {
      const double x = times.at(seconds);
      drawing_.line(std::array{Point{x, image_.bottom}, Point{x, image_.bottom + 5}}, kInk);
      drawing_.text({x, image_.bottom + 18}, numberText(seconds), kNumber);
    }
    if (isInImage(range_)) {
      const double x = times.at(range_.seconds);
      drawing_.line(std::array{Point{x, image_.top}, Point{x, image_.bottom}}, kMarker, 1.5);
    }
    drawing_.frame(image_, kInk);
    drawRowNumbers(image_);
    drawing_.text({(image_.left + image_.right) / 2, image_.bottom + 38}, "time (s)", kLabel);
  }

  /// Returns the value of a pixel that covers several rows: the one farthest from 0. An average
  /// would hide the jitter.
  double valueAt(const std::vector<float>& profile, int y, int height) const {
    const auto rowAt = [&](int pixel) {
      return static_cast<int>(static_cast<std::int64_t>(pixel) * range_.rows / height);
    };
    const int first = rowAt(y);
    const int last = std::max(first + 1, rowAt(y + 1));
    const float value =
        *std::max_element(profile.begin() + first, profile.begin() + last,
                          [](float a, float b) { return std::abs(a) < std::abs(b); });
    return shown_.scale * value;
  }

  /// Draws the scale of the image's colours.
  void drawKey() {
    const Box bar{image_.right + 20, image_.top, image_.right + 38, image_.bottom};
    drawing_.textUpwards({bar.right + 52, (bar.top + bar.bottom) / 2}, shown_.unit, kLabel);
    const Scale values{shown_.low, shown_.high, bar.bottom, bar.top};
    for (double y = bar.top; y < bar.bottom; ++y) {
      const double part = (bar.bottom - y - 0.5) / kHeight;
      drawing_.fill({bar.left, y, bar.right, y + 1},
                    colourOf(shown_, shown_.low + (shown_.high - shown_.low) * part));
    }
    drawing_.frame(bar, kInk);
    for (const double value : values.ticks(5)) {
      const double y = values.at(value);
      drawing_.line(std::array{Point{bar.right, y}, Point{bar.right + 4, y}}, kInk);
      drawing_.text({bar.right + 8, y + 4}, numberText(value), {kNumber.size, kInk, Anchor::Start});
    }
  }

  Drawing& drawing_;
  const Shown& shown_;
  const ProfileRange& range_;
  Box curve_;
  Box image_;
  Scale rows_;
};

}  // namespace

void drawProfiles(Drawing& drawing, const ProfileRange& range) {
  drawing.text({90, 40}, "Row profiles of a frame of " + std::to_string(range.rows) + " rows",
               kTitle);
  double left = 90;
  for (const Shown& shown : kShown) {
    drawing.line(std::array{Point{left, 63}, Point{left + 22, 63}}, shown.curve, 2);
    left += 26;
  }
  drawing.text({left + 4, 68}, "the profile at " + numberText(range.seconds) + " s", kLabelStart);
  if (isInImage(range)) {
    drawing.line(std::array{Point{470, 63}, Point{492, 63}}, kMarker, 2);
    drawing.text({500, 68}, "the same time in the image", kLabelStart);
  }
  for (std::size_t i = 0; i < kShown.size(); ++i) {
    Panel(drawing, kShown[i], range, 122 + 345 * static_cast<double>(i)).draw();
  }
}

}  // namespace lomix::cli
