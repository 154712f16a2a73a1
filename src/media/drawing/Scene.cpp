#include "media/drawing/Scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "effect/noise/Perlin.h"
#include "media/drawing/Canvas.h"
#include "media/drawing/TestPicture.h"

// Only +, -, *, /, floor and sqrt, which IEEE-754 defines to the last bit: exponentials and sines
// differ between C libraries.
namespace lomix::media {
namespace {

/// Linear light: 1 is the white of the picture; the sun is brighter.
struct Light {
  double red, green, blue;

  friend Light operator+(const Light& a, const Light& b) {
    return {a.red + b.red, a.green + b.green, a.blue + b.blue};
  }
  friend Light operator*(const Light& a, double factor) {
    return {a.red * factor, a.green * factor, a.blue * factor};
  }
};

constexpr double square(double x) { return x * x; }

/// Returns the light of an 8-bit colour. The curve of the picture is a square, close to sRGB's.
constexpr Light lightOf(double red, double green, double blue) {
  return {square(red / 255.0), square(green / 255.0), square(blue / 255.0)};
}

Light mix(const Light& a, const Light& b, double part) { return a * (1.0 - part) + b * part; }

/// Rises smoothly from 0 at from to 1 at to.
double rise(double from, double to, double x) {
  const double part = std::clamp((x - from) / (to - from), 0.0, 1.0);
  return part * part * (3.0 - 2.0 * part);
}

/// Falls from 1 in the middle, by half at a distance of 1 width.
double glow(double distance, double width) { return 1.0 / (1.0 + square(distance / width)); }

constexpr Light kGold = lightOf(255, 204, 132);

/// Colours of the sky, from the horizon up.
struct SkyColour {
  double height;  ///< As a part of the sky.
  Light light;
};
constexpr std::array<SkyColour, 6> kSky{{{0.0, lightOf(250, 190, 126)},
                                         {0.12, lightOf(246, 166, 116)},
                                         {0.30, lightOf(206, 138, 132)},
                                         {0.52, lightOf(134, 112, 146)},
                                         {0.78, lightOf(70, 86, 136)},
                                         {1.0, lightOf(36, 56, 104)}}};

/// A range of hills. Lengths are units, see Scene::unit_.
struct Range {
  double base, height;  ///< Of the ridge above the horizon.
  double frequency;     ///< Hills in a unit.
  double offset;        ///< Where in the noise.
  double trees;         ///< Height of the trees on the ridge.
  Light light;
  double haze;  ///< The part that the air in front adds.
};
constexpr std::array<Range, 4> kRanges{{{0.42, 1.55, 0.34, 11.3, 0.0, lightOf(150, 116, 138), 0.62},
                                        {0.34, 0.95, 0.47, 47.7, 0.02, lightOf(102, 86, 116), 0.42},
                                        {0.18, 0.62, 0.61, 83.1, 0.07, lightOf(60, 58, 84), 0.24},
                                        {0.06, 0.16, 0.9, 129.9, 0.26, lightOf(26, 31, 44), 0.10}}};

/// The row of an outline at four places within a column of pixels, for slopes.
using Outline = std::array<double, 4>;

/// Returns the part of a pixel of row y that is below an outline and above a lowest row, 0 to 1.
double coverOf(const Outline& outline, int y, double lowest) {
  double cover = 0.0;
  for (const double top : outline) {
    cover += std::clamp(std::min(y + 1.0, lowest) - std::max<double>(top, y), 0.0, 1.0);
  }
  return cover / static_cast<double>(outline.size());
}

class Scene {
 public:
  Scene(int width, int height)
      : picture_(blankTestPicture(width, height)),
        canvas_(picture_),
        width_(width),
        height_(height),
        unit_(std::min(height / 9.0, width / 10.0)),
        horizon_(0.62 * height),
        clouds_(5, 1927),
        hills_(6, 405),
        waves_(3, 625) {}

  Picture draw() {
    drawSkyAndHills();
    drawWater();
    drawShore();
    drawHouse();
    drawAerial();
    drawBirds();
    drawReeds();
    return std::move(picture_);
  }

 private:
  static constexpr double kSunUp = 1.28;
  static constexpr double kSunRadius = 0.36;

  // Places are in units: to the right from the middle of the picture, up from the horizon.
  double xAt(double pixel) const { return (pixel - width_ / 2.0) / unit_; }
  double upAt(double pixel) const { return (horizon_ - pixel) / unit_; }
  double xOf(double part) const { return (part - 0.5) * width_ / unit_; }
  double columnAt(double x) const { return width_ / 2.0 + x * unit_; }
  double rowAt(double up) const { return horizon_ - up * unit_; }
  double sunX() const { return xOf(0.345); }

  static double fractal(const Perlin& noise, double x, double y) {
    return noise.fBm(Vec2<float>{static_cast<float>(x), static_cast<float>(y)});
  }
  static double fractal(const Perlin& noise, double x) { return noise.fBm(static_cast<float>(x)); }

  static void put(std::uint8_t* pixel, const Light& light) {
    const auto level = [](double value) {
      return static_cast<std::uint8_t>(std::sqrt(std::clamp(value, 0.0, 1.0)) * 255.0 + 0.5);
    };
    pixel[1] = level(light.red);
    pixel[2] = level(light.green);
    pixel[3] = level(light.blue);
  }

  Light clearSky(double x, double up) const {
    const double part = std::clamp(up / (horizon_ / unit_), 0.0, 1.0);
    std::size_t i = 1;
    while (i + 1 < kSky.size() && part > kSky[i].height) ++i;
    Light light = mix(kSky[i - 1].light, kSky[i].light,
                      (part - kSky[i - 1].height) / (kSky[i].height - kSky[i - 1].height));
    // Far from the sun the horizon is cooler.
    const double away = 1.0 - glow(x - sunX(), 5.5);
    return mix(light, lightOf(116, 104, 138), 0.7 * away * (1.0 - rise(0.0, 0.6, part)));
  }

  Light sky(double x, double up) const {
    const double distance = std::sqrt(square(x - sunX()) + square(up - kSunUp));
    Light light = clearSky(x, up);
    light = light + kGold * (0.42 * glow(distance, 1.9)) +
            kGold * (0.55 * square(glow(distance, 0.62)));
    light = light + Light{1.0, 0.9, 0.7} *
                        (1.6 * (1.0 - rise(kSunRadius - 0.02, kSunRadius + 0.02, distance)));
    // Clouds hang on a plane above: near the horizon they are far away, small and flat.
    const double closeness = 1.0 / (up + 1.6);
    const double acrossX = 1.25 * x * closeness + 3.7;
    const double across = 15.5 * closeness;
    const double density = fractal(clouds_, acrossX, across);
    const double cover =
        rise(-0.02, 0.36, density + 0.05 * rise(0.5, 2.5, up)) * rise(0.25, 0.9, up);
    if (cover <= 0.0) return light;
    // Lit from the side of the sun: where there is less cloud towards it, the edge is bright.
    const double towards = 0.16 * std::clamp(0.5 * (sunX() - x), -1.0, 1.0);
    const double behind = fractal(clouds_, acrossX + towards, across + 0.20);
    const double lit = std::clamp(0.45 + 2.4 * (density - behind), 0.0, 1.0);
    const double warm = glow(distance, 3.4);
    const Light shadow = mix(lightOf(78, 76, 112), lightOf(168, 112, 112), warm);
    const Light bright = mix(lightOf(206, 146, 152), lightOf(255, 208, 148), warm);
    return mix(light, mix(shadow, bright, lit), 0.86 * cover);
  }

  /// Returns the height of the conifers of a row of them at x, 0 to 1.
  double treesAt(double x, double offset) const {
    constexpr double kSpacing = 0.07;
    const double place = x / kSpacing + offset;
    double top = 0.0;
    for (double i = std::floor(place) - 2.0; i <= std::floor(place) + 2.0; ++i) {
      // Random numbers of the tree: the bytes of which the noise is made.
      const auto byte = static_cast<std::size_t>(i - 256.0 * std::floor(i / 256.0));
      const double chance = hills_.perm[byte] / 255.0;
      const double another = hills_.perm[byte + 97] / 255.0;
      const double grove = rise(-0.3, 0.3, hills_.noise(static_cast<float>(i * 0.037 + 5.2)));
      const double middle = i + 0.1 + 0.8 * another;
      const double height = (0.2 + 0.8 * chance * chance) * (0.3 + 0.7 * grove);
      const double slope = 1.0 - std::abs(place - middle) / (0.35 + 0.8 * height);
      if (slope > 0.0) top = std::max(top, height * (0.5 * slope + 0.5 * slope * slope));
    }
    return top;
  }

  double ridge(const Range& range, double x) const {
    const double rough = fractal(hills_, x * range.frequency + range.offset);
    // The hills make way for the sun.
    const double gap = 0.38 + 0.62 * rise(0.4, 4.2, std::abs(x - sunX() - 0.5));
    double up = range.base + range.height * gap * std::max(0.0, 0.42 + 0.95 * rough);
    if (range.trees > 0.0) up += range.trees * treesAt(x, range.offset);
    return up;
  }

  void drawSkyAndHills() {
    const auto columns = static_cast<std::size_t>(width_);
    std::array<std::vector<Outline>, kRanges.size()> ridges;
    for (std::size_t i = 0; i < kRanges.size(); ++i) {
      for (int column = 0; column < picture_.width(); ++column) {
        ridges[i].push_back(outlineOf(column, [&](double x) { return ridge(kRanges[i], x); }));
      }
    }
    const int bottom = std::min(picture_.height(), static_cast<int>(std::ceil(horizon_)));
    for (int y = 0; y < bottom; ++y) {
      std::uint8_t* pixel = picture_.row8(y).data();
      for (std::size_t column = 0; column < columns; ++column, pixel += Picture::kChannels) {
        std::array<double, kRanges.size()> cover;
        std::size_t first = 0;  // Hides all behind it.
        for (std::size_t i = 0; i < kRanges.size(); ++i) {
          cover[i] = coverOf(ridges[i][column], y, height_);
          if (cover[i] == 1.0) first = i;
        }
        const double x = xAt(static_cast<double>(column) + 0.5);
        const double up = upAt(y + 0.5);
        Light light{};
        if (cover[first] < 1.0) light = sky(x, up);
        for (std::size_t i = first; i < kRanges.size(); ++i) {
          if (cover[i] == 0.0) continue;
          const double below = upAt(ridges[i][column][0]) - up;
          light = mix(light, hillside(kRanges[i], x, up, below), cover[i]);
        }
        put(pixel, light);
      }
    }
  }

  /// below: how far the place is below the ridge.
  Light hillside(const Range& range, double x, double up, double below) const {
    const double sunny = glow(x - sunX(), 2.6);
    const Light air = mix(lightOf(136, 116, 142), lightOf(255, 190, 132), sunny);
    const double mist = range.haze * (0.25 + 0.75 * rise(0.0, 0.9, below)) * (0.55 + 0.45 * sunny) +
                        0.30 * range.haze * (1.0 - rise(0.0, 0.3, up));
    return mix(range.light, air, std::min(0.9, mist));
  }

  void drawWater() {
    const Light deep = lightOf(18, 34, 58);
    const int top = static_cast<int>(std::ceil(horizon_));
    for (int y = top; y < picture_.height(); ++y) {
      std::uint8_t* pixel = picture_.row8(y).data();
      const double depth = -upAt(y + 0.5);
      const double closeness = 1.0 / (depth + 0.32);
      for (int column = 0; column < picture_.width(); ++column, pixel += Picture::kChannels) {
        const double x = xAt(column + 0.5);
        const double wave = fractal(waves_, 0.62 * x * closeness + 7.1, 13.0 * closeness);
        const double ripple = fractal(waves_, 2.9 * x * closeness + 31.7, 41.0 * closeness + 0.3);
        const double tilt = (wave + 0.45 * ripple) * rise(0.0, 0.35, depth);
        const Light mirrored =
            mirror(x + 0.5 * ripple * depth, depth * 1.12 + tilt * (0.2 + 0.72 * depth), depth);
        const double fresnel = 0.16 + 0.46 * rise(0.2, 3.6, depth) + 0.35 * tilt;
        Light light = mix(Light{0.92 * mirrored.red, 0.87 * mirrored.green, 0.83 * mirrored.blue},
                          deep, std::clamp(fresnel, 0.0, 1.0));
        const double path = square(glow(x - sunX() - 0.25 * tilt, 0.34 + 0.26 * depth));
        const double sparkle = rise(0.04, 0.34, wave * 0.6 + ripple + 0.10);
        light =
            light + kGold * (path * (0.10 + 0.95 * sparkle) * std::max(0.1, 1.0 - 0.12 * depth));
        // Mist along the far shore.
        light =
            mix(light, mix(lightOf(150, 120, 136), lightOf(255, 206, 150), glow(x - sunX(), 2.2)),
                0.34 * (1.0 - rise(0.0, 0.16, depth)));
        put(pixel, light);
      }
    }
  }

  /// Returns what the water mirrors: the picture above the horizon, blurred up and down. up: the
  /// place that is mirrored; depth: that of the water.
  Light mirror(double x, double up, double depth) const {
    constexpr int kTaps = 6;
    const int column = static_cast<int>(std::clamp(columnAt(x), 0.0, width_ - 1.0));
    Light sum{};
    for (int i = 0; i < kTaps; ++i) {
      const double row = rowAt(std::abs(up) + (i - 2.5) * (0.02 + 0.05 * depth));
      const int y = static_cast<int>(std::clamp(row, 0.0, horizon_ - 1.0));
      const std::uint8_t* pixel =
          picture_.row8(y).data() + std::ptrdiff_t{column} * Picture::kChannels;
      sum = sum + lightOf(pixel[1], pixel[2], pixel[3]) * (1.0 / kTaps);
    }
    return sum;
  }

  /// Returns the height of the near shore.
  double shore(double x) const {
    const double part = x * unit_ / width_ + 0.5;
    const double bottom = upAt(height_);
    const double swell = 0.34 * fractal(hills_, 0.55 * x + 201.0);
    // In tall pictures the water is deep, and the shore must not become a cliff.
    return bottom - 0.34 + std::min(-0.93 * bottom, 3.2) * square(rise(0.22, 1.06, part)) +
           swell * rise(0.25, 0.6, part);
  }

  /// Returns the outline of heights, top(x), in a column.
  template <typename Top>
  Outline outlineOf(int column, Top top) const {
    Outline outline;
    for (std::size_t i = 0; i < outline.size(); ++i) {
      const double part = (static_cast<double>(i) + 0.5) / static_cast<double>(outline.size());
      outline[i] = rowAt(top(xAt(column + part)));
    }
    return outline;
  }

  /// Fills everything from bottom up to a line of heights, top(x), between left and right.
  template <typename Top, typename Shade>
  void fillBelow(double left, double right, double bottom, Top top, Shade shade) {
    const int first = std::max(0, static_cast<int>(std::floor(columnAt(left))));
    const int last = std::min(picture_.width(), static_cast<int>(std::ceil(columnAt(right))));
    const double lowest = std::min(height_, rowAt(bottom));
    for (int column = first; column < last; ++column) {
      const Outline outline =
          outlineOf(column, [&](double x) { return x < left || x > right ? bottom : top(x); });
      const double highest = *std::min_element(outline.begin(), outline.end());
      for (int y = std::max(0, static_cast<int>(highest)); y < lowest; ++y) {
        std::uint8_t* pixel = picture_.row8(y).data() + std::ptrdiff_t{column} * Picture::kChannels;
        put(pixel, mix(lightOf(pixel[1], pixel[2], pixel[3]),
                       shade(xAt(column + 0.5), upAt(y + 0.5)), coverOf(outline, y, lowest)));
      }
    }
  }

  static Light ground(double below) {
    return mix(lightOf(38, 35, 40), lightOf(12, 14, 20), rise(-0.1, 0.9, below));
  }

  void drawShore() {
    const auto grass = [this](double x) {
      const double blade = hills_.noise(static_cast<float>(x * 17.0 + 3.3));
      const double tuft = rise(-0.3, 0.4, hills_.noise(static_cast<float>(x * 1.9 + 40.0)));
      return shore(x) + 0.05 + (0.05 + 0.2 * tuft) * blade * blade;
    };
    fillBelow(xOf(0.0), xOf(1.0), upAt(height_) - 1.0, grass,
              [this](double x, double up) { return ground(shore(x) - up); });
  }

  void drawHouse() {
    const double middle = xOf(0.89);
    const double floor = shore(middle) - 0.06;
    const double half = 0.62;
    const double eaves = floor + 0.62;
    const Light wall = lightOf(17, 18, 25);
    const auto plain = [&](double, double) { return wall; };
    fillBelow(
        middle - half, middle + half, floor - 0.4, [&](double) { return eaves; },
        [&](double x, double up) {
          return mix(wall, ground(shore(x) - up), rise(0.1, -0.3, up - floor));
        });
    fillBelow(
        middle - half - 0.12, middle + half + 0.12, eaves - 0.07,
        [&](double x) {
          return eaves + 0.62 * (1.0 - std::abs(x - middle) / (half + 0.12)) - 0.04;
        },
        plain);
    fillBelow(
        middle + 0.24, middle + 0.38, eaves, [&](double) { return eaves + 0.6; }, plain);
    for (const double at : {-0.36, 0.10}) {
      const Box window{columnAt(middle + at), rowAt(floor + 0.47), columnAt(middle + at + 0.24),
                       rowAt(floor + 0.2)};
      canvas_.fill(window, {255, 208, 124});
      const double bar = 0.012 * unit_;
      const double x = (window.left + window.right) / 2.0;
      const double y = (window.top + window.bottom) / 2.0;
      canvas_.fill(Box{x - bar, window.top, x + bar, window.bottom}, {70, 46, 32});
      canvas_.fill(Box{window.left, y - bar, window.right, y + bar}, {70, 46, 32});
    }
  }

  void line(double x0, double up0, double x1, double up1, double thickness) {
    canvas_.fill(Line{columnAt(x0), rowAt(up0), columnAt(x1), rowAt(up1), thickness * unit_},
                 {16, 17, 24});
  }

  /// Draws an aerial: a boom with its rods. length: of the boom; rods: how many.
  void drawYagi(double x, double up, double length, int rods, double longest) {
    line(x - 0.2 * length, up, x + 0.8 * length, up, 0.035);
    for (int i = 0; i < rods; ++i) {
      const double part = static_cast<double>(i) / (rods - 1);
      const double at = x + length * (0.79 * (1.0 - part) - 0.19 * part);
      const double half = longest * (0.30 + 0.20 * part);
      line(at - 0.10 * half, up - half, at + 0.10 * half, up + half, 0.022);
    }
  }

  void drawAerial() {
    const double foot = xOf(0.735);
    const double ground = shore(foot) - 0.02;
    const double top = std::min(0.80 * horizon_ / unit_, ground + 10.0);
    line(foot, ground, foot, top, 0.06);
    for (const double side : {-1.0, 1.0}) {
      line(foot, top - 1.0, foot + side * 0.95, shore(foot + side * 0.95), 0.010);
    }
    drawYagi(foot, top - 0.25, -2.1, 9, 1.15);
    drawYagi(foot, top - 1.45, 1.15, 5, 1.0);
  }

  /// Draws reeds in the corner of the near water.
  void drawReeds() {
    constexpr int kReeds = 46;
    const double bottom = upAt(height_) - 0.1;
    for (int i = 0; i < kReeds; ++i) {
      const auto chance = [&](int n) {
        return clouds_.perm[static_cast<std::size_t>((i * 5 + n) % 256)] / 255.0;
      };
      const double part = square(chance(0));
      double x = xOf(0.0) - 0.1 + 2.6 * part;
      double up = bottom;
      const double tall = (0.5 + 1.1 * chance(1)) * (1.0 - 0.75 * part);
      const double bend = 0.5 * (chance(2) - 0.35) * tall;
      constexpr int kPieces = 6;
      for (int k = 1; k <= kPieces; ++k) {
        const double along = static_cast<double>(k) / kPieces;
        const double nextX = xOf(0.0) - 0.1 + 2.6 * part + bend * along * along;
        const double nextUp = bottom + tall * along;
        line(x, up, nextX, nextUp, 0.034 * (1.15 - along));
        x = nextX;
        up = nextUp;
      }
      if (chance(3) > 0.62) line(x, up - 0.02, x + 0.05 * bend, up + 0.16, 0.06);
    }
  }

  void drawBirds() {
    constexpr std::array<std::pair<double, double>, 5> kBirds{
        {{0.0, 0.0}, {0.34, 0.16}, {0.52, -0.05}, {0.86, 0.20}, {-0.42, 0.22}}};
    for (const auto& [besideFirst, aboveFirst] : kBirds) {
      const double x = xOf(0.50) + besideFirst;
      const double up = 0.60 * horizon_ / unit_ + aboveFirst;
      line(x, up, x - 0.10, up + 0.05, 0.018);
      line(x, up, x + 0.10, up + 0.06, 0.018);
    }
  }

  Picture picture_;
  Canvas canvas_;
  double width_;
  double height_;
  double unit_;     ///< Pixels to a unit, the length that all others are given in.
  double horizon_;  ///< In pixels from the top.
  Perlin clouds_;
  Perlin hills_;
  Perlin waves_;
};

}  // namespace

Picture drawScene(int width, int height) { return Scene(width, height).draw(); }

}  // namespace lomix::media
