#include "engine/RandomFrame.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

#include "effect/signal/SyncFunctions.h"

namespace lomix::differential {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kLargest = std::numeric_limits<float>::max();
constexpr float kDenormal = std::numeric_limits<float>::denorm_min();

struct Size {
  int width, height;
};

// Parameters
// ---------------------------------------------------------------------------------------

double percent(Random& random, bool wild) {
  constexpr std::array kWild{150.0,        -20.0,
                             1000.0,       -0.0,
                             1e-30,        255.0,
                             100.4,        1e30,
                             -1e30,        3e9,
                             100.00001,    201.0,
                             256.0,        -0.001,
                             1e300,        -double{kInfinity},
                             double{kNaN}, double{kInfinity}};
  if (wild && random.oneIn(3)) return random.pick(kWild);
  switch (random.below(14)) {
    case 0:
    case 1:
    case 2:
      return 0.0;
    case 3:
      return 100.0;
    case 4:
    case 5:
      return random.below(1001) / 10.0;
    case 6:
      return random.unit() * 100.0;
    case 7:  // about the steps of a byte
      return std::clamp(random.below(256) / 2.55 + random.between(-1, 1) * 1e-5, 0.0, 100.0);
    case 8:  // bytes 0 and 1
      return random.unit() * 0.6;
    case 9:  // bytes 254 and 255
      return 100.0 - random.unit() * 0.6;
    default:
      return random.below(101);
  }
}

float fraction(Random& random, bool wild) {
  return static_cast<float>(percent(random, wild) / 100.0);
}

float timeOf(Random& random, bool wild) {
  constexpr std::array kWild{1e9f,      -1e9f,     1e20f, kLargest, -kLargest, 0x1p24f,
                             kDenormal, kInfinity, kNaN,  -0.0f,    1.6e6f,    8.3e5f};
  if (wild && random.oneIn(2)) return random.pick(kWild);
  switch (random.below(8)) {
    case 0:
      return 0.0f;
    case 1:
    case 2:
    case 3:
      return static_cast<float>(random.below(100000) / 30.0);
    case 4:
      return static_cast<float>(-random.unit() * 1000.0);
    case 5:
      return static_cast<float>(random.unit() * 86400.0);
    case 6:
      return static_cast<float>(random.below(1000));
    default:
      return static_cast<float>(random.unit() * 10.0);
  }
}

float syncOffset(Random& random, bool wild, float time, int size) {
  constexpr std::array kWild{1e9f, -1e9f, kInfinity, kNaN, -1.0f, 2.5f, -2.5f, kLargest};
  if (wild && random.oneIn(3)) return random.pick(kWild);
  switch (random.below(8)) {
    case 0:
    case 1:
      return 0.0f;
    case 2:  // an integer number of pixels, or nearly one
      return static_cast<float>((random.below(size + 1) + random.between(-1, 1) * 1e-5) / size);
    case 3:
      return static_cast<float>(random.unit() * 4.0 - 2.0);
    default:
      return legacySync(
          static_cast<float>(percent(random, wild) / 100.0) * (random.oneIn(2) ? 1.0f : -1.0f),
          time);
  }
}

PF_RationalScale downsampling(Random& random) {
  constexpr std::array<PF_RationalScale, 6> kScales{
      {{1, 2}, {1, 3}, {1, 4}, {7, 9}, {2, 3}, {1, 7}}};
  return random.oneIn(2) ? PF_RationalScale{1, 1} : random.pick(kScales);
}

LomixStruct recordOf(Random& random, bool wild, const PF_LayerDef& source) {
  LomixStruct r{};
  r.timeControl = 1;
  r.distortionMode =
      wild && random.oneIn(6) ? random.pick(std::array{0, 3, -1}) : random.between(1, 2);
  r.time = timeOf(random, wild);
  r.signalDistortion = fraction(random, wild);
  r.scanDistortion = fraction(random, wild);
  r.horizontalSyncOffset = syncOffset(random, wild, r.time, source.width);
  r.verticalSyncOffset = syncOffset(random, wild, r.time, source.height);
  r.barsOverlay = fraction(random, wild);
  r.noise = fraction(random, wild);
  r.scanlineOverlay = fraction(random, wild);
  r.scanlineSpeed = static_cast<float>(random.between(-50, 50));
  r.scanlineThickness = random.pick(std::array{0.0f, 0.5f, 1.0f, 2.0f, 3.0f, 7.5f, 100.0f});
  r.effectAmount =
      random.oneIn(2) ? 1.0f : static_cast<float>(percent(random, wild) / -100.0 + 1.0);
  return r;
}

// Fills profiles that no time gives: shifts by integers and nearly integers, bars of every level.
void craftProfiles(Random& random, bool wild, LomixStruct& r, int width, int rows) {
  constexpr std::array kWild{kNaN, kInfinity, -3.0f, 1e9f, -1e9f, 2.0f, -0.0f};
  const int firstLevel = random.below(256);
  for (int y = 0; y < rows; ++y) {
    const double near = random.pick(std::array{0.0, 0.0, 1e-6, -1e-6, 1e-4, -1e-4, 0.5});
    const double shift = random.between(-width, width) + near;
    const double whole = shift / (width * static_cast<double>(r.scanDistortion));
    const bool aim = r.scanDistortion > 0.0f && std::isfinite(r.scanDistortion) && random.oneIn(2);
    r.scanProfile.push_back(aim ? static_cast<float>(whole) : random.unitFloat() * 0.3f);
    r.signalProfile.push_back(aim ? 0.0f : random.unitFloat() * 2.0f - 1.0f);
    r.barsProfile.push_back(static_cast<float>((firstLevel + y) % 256) / 255.0f);
    if (wild && random.oneIn(5)) r.scanProfile.back() = random.pick(kWild);
    if (wild && random.oneIn(5)) r.signalProfile.back() = random.pick(kWild);
    if (wild && random.oneIn(5)) r.barsProfile.back() = random.pick(kWild);
  }
}

// Pixels
// -------------------------------------------------------------------------------------------

constexpr std::array kAlphaNames{"opaque", "transparent", "mixed", "in runs", "nearly opaque"};
constexpr std::array kColourNames{"picture", "out of range", "special", "any bits"};

float specialFloat(Random& random) {
  constexpr std::array kSpecial{0.0f,      -0.0f,        1.0f,       0.5f,  0x1.fffffep-2f,
                                kInfinity, kNaN,         -kInfinity, -1.0f, 0x1.fffffep-1f,
                                kLargest,  -kLargest,    kDenormal,  2.0f,  -kDenormal,
                                0x1p-126f, 0x1.000002p0f};
  return random.pick(kSpecial);
}

float colourOf(Random& random, int kind) {
  switch (kind) {
    case 0:
      return random.unitFloat();
    case 1:
      return random.unitFloat() * 6.0f - 2.0f;
    case 2:
      return random.oneIn(2) ? specialFloat(random) : random.unitFloat();
    default:
      return std::bit_cast<float>(static_cast<std::uint32_t>(random.next()));
  }
}

float anyAlpha(Random& random, int colourKind) {
  return colourKind < 2 ? random.unitFloat() : colourOf(random, colourKind);
}

PF_PixelFloat anyPixel(Random& random, int colours, PF_PixelFloat) {
  return {1.0f, colourOf(random, colours), colourOf(random, colours), colourOf(random, colours)};
}

PF_Pixel anyPixel(Random& random, int, PF_Pixel) {
  PF_Pixel pixel = std::bit_cast<PF_Pixel>(static_cast<std::uint32_t>(random.next()));
  pixel.alpha = 255;
  return pixel;
}

void setAlpha(Random& random, int colours, PF_PixelFloat& pixel, int kind) {
  pixel.alpha = kind == 0 ? 1.0f : kind == 1 ? 0.0f : anyAlpha(random, colours);
}

void setAlpha(Random& random, int, PF_Pixel& pixel, int kind) {
  pixel.alpha = static_cast<A_u_char>(kind == 0 ? 255 : kind == 1 ? 0 : random.below(256));
}

template <typename Pixel>
void fillPixels(Random& random, TestWorld& world, int alphas, int colours) {
  constexpr int kMixed = 2;
  const int rows = world.def.rowbytes == 0 ? 1 : world.def.height;
  int left = 0;  // of a run
  int kindOfRun = 0;
  for (int y = 0; y < rows; ++y) {
    for (Pixel& pixel : world.row<Pixel>(y)) {
      pixel = anyPixel(random, colours, Pixel{});
      if (alphas <= kMixed) setAlpha(random, colours, pixel, alphas);
      if (alphas == 3) {
        if (left-- == 0) {
          left = random.below(40);
          kindOfRun = random.below(3);
        }
        setAlpha(random, colours, pixel, kindOfRun);
      }
      if (alphas == 4 && random.oneIn(50)) setAlpha(random, colours, pixel, kMixed);
    }
  }
}

// Worlds
// -------------------------------------------------------------------------------------------

Layout layoutOf(Random& random, int depth) {
  const int step = depth == 8 ? 1 : 4;
  Layout layout;
  if (!random.oneIn(3)) layout.offset = random.below(64 / step) * step;
  if (!random.oneIn(3)) layout.padding = random.below(72 / step) * step;
  layout.bottomUp = random.oneIn(4);
  return layout;
}

struct Worlds {
  Size output;
  bool rowByRow = false;
  bool streaming = false;
};

// Columns and rows, at full resolution, where the arguments of the grain's sine and cosine outgrow
// the vector code.
constexpr int kLastReducibleColumn = 10362;
constexpr int kLastReducibleRow = 23000;

Worlds worldsOf(Random& random, int depth, const PF_RationalScale& x, const PF_RationalScale& y) {
  const auto atRender = [](int pixels, const PF_RationalScale& scale) {
    return static_cast<int>(pixels * static_cast<double>(scale.num) / scale.den);
  };
  const int kind = random.below(200);
  if (kind < 70) return {{random.between(0, 33), random.between(1, 12)}};
  if (kind < 120) return {{random.between(34, 4200), random.between(1, 6)}};
  if (kind < 170) return {{random.between(1, 300), random.between(1, 100)}};
  if (kind < 177) {
    const int width = atRender(kLastReducibleColumn, x) + random.between(-40, 20);
    return {{width, random.between(1, 3)}};
  }
  if (kind < 194) {
    const int height = random.oneIn(2) ? atRender(kLastReducibleRow, y) : 5000;
    return {{random.between(1, 2000), height + random.between(-height / 8, 0)}, true};
  }
  // More than 4 MiB, if mostly padding.
  if (depth == 8) return {{random.between(100, 400), random.between(60, 90)}, false, true};
  return {{random.between(520, 700), random.between(520, 560)}, false, true};
}

// Returns the output's size or, in about half of the frames, a smaller or larger one.
Size sourceSize(Random& random, const Size& output) {
  Size size{std::max(output.width, 1), output.height};
  if (random.oneIn(6)) size.width = random.between(1, size.width);
  if (random.oneIn(6)) size.height = random.between(1, size.height);
  if (random.oneIn(10)) size.width += random.below(100);
  if (random.oneIn(10)) size.height += random.below(20);
  return size;
}

}  // namespace

RandomFrame makeFrame(std::uint64_t seed, std::uint64_t number) {
  Random random(seed, number);
  const bool wild = random.oneIn(8);
  const int depth = random.oneIn(2) ? 8 : 32;
  const PF_RationalScale x = downsampling(random);
  const PF_RationalScale y = random.oneIn(3) ? downsampling(random) : x;
  const Worlds worlds = worldsOf(random, depth, x, y);
  Layout outputLayout = layoutOf(random, depth);
  Layout sourceLayout = layoutOf(random, depth);
  outputLayout.oneRow = sourceLayout.oneRow = worlds.rowByRow;
  if (worlds.streaming && depth == 8) {
    // The engine counts padding when it chooses streaming stores, and uses them only where pixels
    // can start at a vector's boundary.
    outputLayout.padding += 72000;
    if (!random.oneIn(4)) outputLayout.offset &= ~3;
    outputLayout.padding &= ~3;
  }
  const Size source = sourceSize(random, worlds.output);

  TestWorld sourceWorld(source.width, source.height, depth, sourceLayout, 0);
  const int alphas = random.below(static_cast<int>(kAlphaNames.size()));
  const int colours = random.oneIn(2) ? 0 : random.below(static_cast<int>(kColourNames.size()));
  if (depth == 8) {
    fillPixels<PF_Pixel>(random, sourceWorld, alphas, colours);
  } else {
    fillPixels<PF_PixelFloat>(random, sourceWorld, alphas, colours);
  }
  LomixStruct record = recordOf(random, wild, sourceWorld.def);
  const bool emptyProfiles = !worlds.rowByRow && random.oneIn(2);
  if (!emptyProfiles) craftProfiles(random, wild, record, source.width, worlds.output.height);
  const std::string pixels =
      std::string(kAlphaNames[static_cast<std::size_t>(alphas)]) + ", " +
      (depth == 8 ? "any bytes" : kColourNames[static_cast<std::size_t>(colours)]);
  return {depth,
          emptyProfiles,
          worlds.rowByRow,
          x,
          y,
          std::move(record),
          std::move(sourceWorld),
          worlds.output.width,
          worlds.output.height,
          outputLayout,
          pixels};
}

std::string RandomFrame::describe() const {
  char text[1024];
  const LomixStruct& r = record;
  std::snprintf(text, sizeof text,
                "  %d-bit, source %dx%d stride %d (%s), output %dx%d offset %d padding %d%s%s\n"
                "  downsample %d/%u, %d/%u, profiles %s\n"
                "  mode %d time %a signal %a scan %a horizontal %a vertical %a\n"
                "  bars %a noise %a scanlines %a speed %a thickness %a effect %a\n",
                depth, source.def.width, source.def.height, source.def.rowbytes, pixels.c_str(),
                outputWidth, outputHeight, outputLayout.offset, outputLayout.padding,
                outputLayout.bottomUp ? " bottom up" : "", rowByRow ? " row by row" : "",
                downsampleX.num, downsampleX.den, downsampleY.num, downsampleY.den,
                emptyProfiles ? "from the time" : "crafted", r.distortionMode,
                static_cast<double>(r.time), static_cast<double>(r.signalDistortion),
                static_cast<double>(r.scanDistortion), static_cast<double>(r.horizontalSyncOffset),
                static_cast<double>(r.verticalSyncOffset), static_cast<double>(r.barsOverlay),
                static_cast<double>(r.noise), static_cast<double>(r.scanlineOverlay),
                static_cast<double>(r.scanlineSpeed), static_cast<double>(r.scanlineThickness),
                static_cast<double>(r.effectAmount));
  return text;
}

}  // namespace lomix::differential
