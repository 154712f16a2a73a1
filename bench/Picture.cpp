#include "bench/Picture.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace lomix::bench {
namespace {

std::size_t pixelBytes(int depth) { return depth == 8 ? sizeof(PF_Pixel) : sizeof(PF_PixelFloat); }

// SplitMix64, one step for each pixel.
std::uint64_t nextRandom(std::uint64_t& state) {
  state += 0x9E3779B97F4A7C15u;
  std::uint64_t z = state;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  return z ^ (z >> 31);
}

// A quarter transparent, a quarter opaque, the rest anything: of eight bits and two more.
int alphaOf(Alpha alpha, std::uint64_t bits, std::uint64_t kind) {
  if (alpha == Alpha::kOpaque || (kind & 3) == 0) return 255;
  return (kind & 3) == 1 ? 0 : static_cast<int>(bits & 0xFF);
}

int firstAlpha(Alpha alpha, std::uint64_t random) {
  return alphaOf(alpha, random >> 56, random >> 54);
}

int lastAlpha(Alpha alpha, std::uint64_t random) {
  return alphaOf(alpha, random >> 44, random >> 52);
}

PF_Pixel noisePixel8(Alpha alpha, std::uint64_t random) {
  const auto byte = [random](int shift) { return static_cast<A_u_char>(random >> shift); };
  return {static_cast<A_u_char>(firstAlpha(alpha, random)), byte(0), byte(8),
          static_cast<A_u_char>(lastAlpha(alpha, random))};
}

PF_PixelFloat noisePixel32(Alpha alpha, std::uint64_t random) {
  constexpr std::array kUnusual{1.5f, -0.25f, std::numeric_limits<float>::quiet_NaN(),
                                std::numeric_limits<float>::infinity()};
  const auto level = [random](int shift) {
    return static_cast<float>(random >> shift & 0xFFFF) / 65535.0f;
  };
  PF_PixelFloat pixel{static_cast<float>(firstAlpha(alpha, random)) / 255.0f, level(0), level(16),
                      static_cast<float>(lastAlpha(alpha, random)) / 255.0f};
  if ((random & 0xFFF) == 0) pixel.green = kUnusual[random >> 12 & 3];
  return pixel;
}

bool sameChannel(float a, float b) {
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) ||
         (std::isnan(a) && std::isnan(b));
}

bool samePixel(const PF_Pixel& a, const PF_Pixel& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

bool samePixel(const PF_PixelFloat& a, const PF_PixelFloat& b) {
  return sameChannel(a.alpha, b.alpha) && sameChannel(a.red, b.red) &&
         sameChannel(a.green, b.green) && sameChannel(a.blue, b.blue);
}

template <typename Pixel>
int firstDifferentPixel(const void* a, const void* b, int width) {
  const auto* const pixelsA = static_cast<const Pixel*>(a);
  const auto* const pixelsB = static_cast<const Pixel*>(b);
  for (int x = 0; x < width; ++x) {
    if (!samePixel(pixelsA[x], pixelsB[x])) return x;
  }
  return -1;
}

}  // namespace

Picture::Picture(int depth, int width, int height) : depth_(depth) {
  const std::size_t rowBytes = static_cast<std::size_t>(width) * pixelBytes(depth);
  lines_.resize((rowBytes * static_cast<std::size_t>(height) + 63) / 64);
  world.data = reinterpret_cast<PF_Pixel*>(lines_.data());
  world.rowbytes = static_cast<A_long>(rowBytes);
  world.width = width;
  world.height = height;
}

std::size_t Picture::byteCount() const {
  return static_cast<std::size_t>(world.rowbytes) * static_cast<std::size_t>(world.height);
}

void Picture::fillWithNoise(Alpha alpha) {
  std::uint64_t state = 1;
  const std::size_t count = byteCount() / pixelBytes(depth_);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t random = nextRandom(state);
    if (depth_ == 8) {
      world.data[i] = noisePixel8(alpha, random);
    } else {
      reinterpret_cast<PF_PixelFloat*>(world.data)[i] = noisePixel32(alpha, random);
    }
  }
}

void Picture::rotateChannels(bool backward) {
  const auto rotate = [&](auto* channels) {
    const std::ptrdiff_t middle = backward ? 1 : 3;
    for (std::size_t pixels = byteCount() / pixelBytes(depth_); pixels > 0; --pixels) {
      std::rotate(channels, channels + middle, channels + 4);
      channels += 4;
    }
  };
  if (depth_ == 8) {
    rotate(reinterpret_cast<std::uint8_t*>(world.data));
  } else {
    rotate(reinterpret_cast<std::uint32_t*>(world.data));
  }
}

void Picture::fillWithGuard() { std::memset(world.data, 0xA5, byteCount()); }

PF_LayerDef rowOf(const PF_LayerDef& world, int y) {
  PF_LayerDef row = world;
  row.data = reinterpret_cast<PF_Pixel*>(reinterpret_cast<char*>(world.data) +
                                         static_cast<std::ptrdiff_t>(y) * world.rowbytes);
  row.height = 1;
  return row;
}

int firstDifference(const Picture& a, const Picture& b, int y) {
  const void* const rowA = rowOf(a.world, y).data;
  const void* const rowB = rowOf(b.world, y).data;
  if (std::memcmp(rowA, rowB, static_cast<std::size_t>(a.world.rowbytes)) == 0) return -1;
  return a.depth() == 8 ? firstDifferentPixel<PF_Pixel>(rowA, rowB, a.world.width)
                        : firstDifferentPixel<PF_PixelFloat>(rowA, rowB, a.world.width);
}

}  // namespace lomix::bench
