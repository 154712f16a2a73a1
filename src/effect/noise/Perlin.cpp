#include "effect/noise/Perlin.h"

#include <cmath>

#include "effect/noise/LineNoise.h"
#include "effect/noise/MTRand_int32.h"

namespace lomix {
namespace {

constexpr int kDefaultSeed = 532;

float fadeDerivative(float t) { return 30.0f * t * t * (t - 1.0f) * (t - 1.0f); }

template <typename Position, typename Sum, typename Term>
Sum sumOctaves(int octaves, Position position, Sum sum, Term term) {
  float amplitude = 0.5f;
  for (int i = 0; i < octaves; ++i) {
    sum = term(amplitude, position, sum);
    position = position + position;
    amplitude *= 0.5f;
  }
  return sum;
}

}  // namespace
}  // namespace lomix

using lomix::fade;
using lomix::fadeDerivative;
using lomix::interpolated;
using lomix::LatticeCell;
using lomix::sumOctaves;

Perlin::Perlin(unsigned char octaveCount) : Perlin(octaveCount, lomix::kDefaultSeed) {}

Perlin::Perlin(unsigned char octaveCount, int tableSeed) : octaves(octaveCount), seed(tableSeed) {
  initPermutationTable();
}

void Perlin::setSeed(int newSeed) {
  seed = newSeed;
  initPermutationTable();
}

void Perlin::initPermutationTable() {
  MTRand_int32 random;
  random.seed(static_cast<unsigned long>(seed));
  for (int i = 0; i < 256; ++i) {
    perm[i] = perm[i + 256] = static_cast<std::uint8_t>(random.rand_int32() & 0xFF);
  }
}

float Perlin::grad(int hash, float x) { return grad(hash, x, 0.0f, 0.0f); }

float Perlin::grad(int hash, float x, float y) { return grad(hash, x, y, 0.0f); }

float Perlin::grad(int hash, float x, float y, float z) {
  const int h = hash & 15;
  const float u = h < 8 ? x : y;
  const float v = h < 4 ? y : (h == 12 || h == 14 ? x : z);
  return ((h & 1) != 0 ? -u : u) + ((h & 2) != 0 ? -v : v);
}

float Perlin::noise(float x) const {
  return lomix::lineNoise(x, [this](int point) { return int{perm[perm[perm[point]]]}; });
}

float Perlin::noise(float x, float y) const {
  const LatticeCell cx(x);
  const LatticeCell cy(y);
  const auto corner = [&](int i, int j) {
    const int hash = perm[perm[perm[cx.index + i] + cy.index + j]];
    return grad(hash, cx.fraction - static_cast<float>(i), cy.fraction - static_cast<float>(j));
  };
  const float u = fade(cx.fraction);
  const float v = fade(cy.fraction);
  return interpolated(v, interpolated(u, corner(0, 0), corner(1, 0)),
                      interpolated(u, corner(0, 1), corner(1, 1)));
}

float Perlin::noise(float x, float y, float z) const {
  const LatticeCell cx(x);
  const LatticeCell cy(y);
  const LatticeCell cz(z);
  const auto corner = [&](int i, int j, int k) {
    const int hash = perm[perm[perm[cx.index + i] + cy.index + j] + cz.index + k];
    return grad(hash, cx.fraction - static_cast<float>(i), cy.fraction - static_cast<float>(j),
                cz.fraction - static_cast<float>(k));
  };
  const float u = fade(cx.fraction);
  const float v = fade(cy.fraction);
  const float w = fade(cz.fraction);
  const auto layer = [&](int k) {
    return interpolated(v, interpolated(u, corner(0, 0, k), corner(1, 0, k)),
                        interpolated(u, corner(0, 1, k), corner(1, 1, k)));
  };
  return interpolated(w, layer(0), layer(1));
}

float Perlin::fBm(float x) const {
  return sumOctaves(octaves, x, 0.0f, [this](float amplitude, float at, float sum) {
    return std::fma(amplitude, noise(at), sum);
  });
}

float Perlin::fBm(const Vec2<float>& v) const {
  return sumOctaves(octaves, v, 0.0f, [this](float amplitude, const Vec2<float>& at, float sum) {
    return std::fma(amplitude, noise(at.x, at.y), sum);
  });
}

float Perlin::fBm(const Vec3<float>& v) const {
  return sumOctaves(octaves, v, 0.0f, [this](float amplitude, const Vec3<float>& at, float sum) {
    return std::fma(amplitude, noise(at.x, at.y, at.z), sum);
  });
}

// The derivative of the noise along an axis, by the product rule, is the sum of
// 1. the interpolation of the corner gradients' components along the axis;
// 2. the fade's derivative times the difference between the far and the near side of the cell.
Vec2<float> Perlin::dnoise(float x, float y) const {
  const LatticeCell cx(x);
  const LatticeCell cy(y);
  float ramp[2][2];
  Vec2<float> slope[2][2];
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 2; ++j) {
      const int hash = perm[perm[perm[cx.index + i] + cy.index + j]];
      ramp[i][j] =
          grad(hash, cx.fraction - static_cast<float>(i), cy.fraction - static_cast<float>(j));
      slope[i][j] = {grad(hash, 1.0f, 0.0f), grad(hash, 0.0f, 1.0f)};
    }
  }
  const float u = fade(cx.fraction);
  const float v = fade(cy.fraction);
  const auto blend = [&](auto&& at) {
    return interpolated(v, interpolated(u, at(0, 0), at(1, 0)),
                        interpolated(u, at(0, 1), at(1, 1)));
  };
  const float acrossX = interpolated(v, ramp[1][0] - ramp[0][0], ramp[1][1] - ramp[0][1]);
  const float acrossY = interpolated(u, ramp[0][1] - ramp[0][0], ramp[1][1] - ramp[1][0]);
  return {
      blend([&](int i, int j) { return slope[i][j].x; }) + fadeDerivative(cx.fraction) * acrossX,
      blend([&](int i, int j) { return slope[i][j].y; }) + fadeDerivative(cy.fraction) * acrossY};
}

Vec3<float> Perlin::dnoise(float x, float y, float z) const {
  const LatticeCell cx(x);
  const LatticeCell cy(y);
  const LatticeCell cz(z);
  float ramp[2][2][2];
  Vec3<float> slope[2][2][2];
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 2; ++j) {
      for (int k = 0; k < 2; ++k) {
        const int hash = perm[perm[perm[cx.index + i] + cy.index + j] + cz.index + k];
        ramp[i][j][k] =
            grad(hash, cx.fraction - static_cast<float>(i), cy.fraction - static_cast<float>(j),
                 cz.fraction - static_cast<float>(k));
        slope[i][j][k] = {grad(hash, 1.0f, 0.0f, 0.0f), grad(hash, 0.0f, 1.0f, 0.0f),
                          grad(hash, 0.0f, 0.0f, 1.0f)};
      }
    }
  }
  const float u = fade(cx.fraction);
  const float v = fade(cy.fraction);
  const float w = fade(cz.fraction);
  const auto bilinear = [](float s, float t, auto&& at) {
    return interpolated(t, interpolated(s, at(0, 0), at(1, 0)),
                        interpolated(s, at(0, 1), at(1, 1)));
  };
  const auto blend = [&](auto&& at) {
    return interpolated(w, bilinear(u, v, [&](int i, int j) { return at(i, j, 0); }),
                        bilinear(u, v, [&](int i, int j) { return at(i, j, 1); }));
  };
  const float acrossX = bilinear(v, w, [&](int j, int k) { return ramp[1][j][k] - ramp[0][j][k]; });
  const float acrossY = bilinear(u, w, [&](int i, int k) { return ramp[i][1][k] - ramp[i][0][k]; });
  const float acrossZ = bilinear(u, v, [&](int i, int j) { return ramp[i][j][1] - ramp[i][j][0]; });
  return {blend([&](int i, int j, int k) { return slope[i][j][k].x; }) +
              fadeDerivative(cx.fraction) * acrossX,
          blend([&](int i, int j, int k) { return slope[i][j][k].y; }) +
              fadeDerivative(cy.fraction) * acrossY,
          blend([&](int i, int j, int k) { return slope[i][j][k].z; }) +
              fadeDerivative(cz.fraction) * acrossZ};
}

Vec2<float> Perlin::dfBm(const Vec2<float>& v) const {
  return sumOctaves(octaves, v, Vec2<float>{0.0f, 0.0f},
                    [this](float amplitude, const Vec2<float>& at, const Vec2<float>& sum) {
                      return sum + dnoise(at.x, at.y) * amplitude;
                    });
}

Vec3<float> Perlin::dfBm(const Vec3<float>& v) const {
  return sumOctaves(octaves, v, Vec3<float>{0.0f, 0.0f, 0.0f},
                    [this](float amplitude, const Vec3<float>& at, const Vec3<float>& sum) {
                      return sum + dnoise(at.x, at.y, at.z) * amplitude;
                    });
}
