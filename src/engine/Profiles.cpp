#include "engine/Profiles.h"

#include <cmath>

#include "effect/noise/Perlin.h"
#include "effect/numeric/Truncate.h"
#include "effect/signal/RowProfile.h"
#include "engine/NoiseTables.h"

namespace lomix::engine {
namespace {

constexpr LatticeHashes kFirstHashes = latticeHashes(kFirstJitterSeed);
constexpr LatticeHashes kSecondHashes = latticeHashes(kSecondJitterSeed);

float noiseAt(const LatticeHashes& hashes, float x) {
  const float floor = std::floor(x);
  const auto cell = static_cast<std::size_t>(truncateToInt32(floor) & 255);
  return Perlin::noiseBetween(hashes[cell], hashes[cell + 1], x - floor);
}

float signalJitter(float row, float p) {
  const float at = row + p;
  return noiseAt(kFirstHashes, static_cast<float>(at + kFirstJitterOffset)) *
         noiseAt(kSecondHashes, static_cast<float>(at + kSecondJitterOffset));
}

}  // namespace

void fillProfiles(LomixStruct& record, int height, double invYDown, float p,
                  const SimdTarget& target) {
  if (height <= 0) return;
  const auto rows = static_cast<std::size_t>(height);
  record.scanProfile.resize(rows);
  record.barsProfile.resize(rows);
  record.signalProfile.resize(rows);
  const ProfileFrame frame{invYDown, static_cast<float>(height * invYDown), p};
  target.rowSums(frame, 0, height, record.scanProfile.data(), record.barsProfile.data());
  for (std::size_t y = 0; y < rows; ++y) {
    record.scanProfile[y] = scanWeight(record.scanProfile[y]);
    record.barsProfile[y] = barBrightness(record.barsProfile[y]);
    record.signalProfile[y] =
        signalJitter(static_cast<float>(static_cast<double>(y) * invYDown), p);
  }
}

}  // namespace lomix::engine
