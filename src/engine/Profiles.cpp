#include "engine/Profiles.h"

#include <cstddef>

#include "effect/noise/LineNoise.h"
#include "effect/signal/RowProfile.h"
#include "engine/NoiseTables.h"

namespace lomix::engine {
namespace {

constexpr LatticeHashes kFirstHashes = latticeHashes(kFirstJitterSeed);
constexpr LatticeHashes kSecondHashes = latticeHashes(kSecondJitterSeed);

float jitterOfRow(float row, float p) {
  const auto noise = [](const LatticeHashes& hashes) {
    return [&hashes](float x) {
      return lineNoise(x, [&](int point) { return hashes[static_cast<std::size_t>(point)]; });
    };
  };
  return signalJitter(row, p, noise(kFirstHashes), noise(kSecondHashes));
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
    record.signalProfile[y] = jitterOfRow(static_cast<float>(static_cast<double>(y) * invYDown), p);
  }
}

}  // namespace lomix::engine
