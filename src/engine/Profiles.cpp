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
                  const SimdTarget& target, const ForRowBands& forBands) {
  if (height <= 0) return;
  const auto rows = static_cast<std::size_t>(height);
  record.scanProfile.resize(rows);
  record.barsProfile.resize(rows);
  record.signalProfile.resize(rows);
  const ProfileFrame frame{invYDown, static_cast<float>(height * invYDown), p};
  const auto fillBand = [&](int first, int last) {
    float* const scan = record.scanProfile.data();
    float* const bars = record.barsProfile.data();
    target.rowSums(frame, first, last - first, scan + first, bars + first);
    for (int y = first; y < last; ++y) {
      scan[y] = scanWeight(scan[y]);
      bars[y] = barBrightness(bars[y]);
      record.signalProfile[static_cast<std::size_t>(y)] =
          jitterOfRow(static_cast<float>(y * invYDown), p);
    }
  };
  if (!forBands) return fillBand(0, height);
  forBands(height, fillBand);
}

}  // namespace lomix::engine
