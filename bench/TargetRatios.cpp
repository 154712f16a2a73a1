// lomix_target_ratios: the time of every SIMD target in relation to the formulas, the effect's own
// functions called for each pixel; measured in turns in one run. For systems on which the whole
// benchmark does not run, as WebAssembly.

#include <cstdio>
#include <memory>
#include <vector>

#include "bench/Pairing.h"
#include "bench/Picture.h"
#include "bench/Scene.h"
#include "engine/SimdTarget.h"

namespace {

using namespace lomix::bench;

constexpr int kWidth = 960;
constexpr int kHeight = 540;
constexpr Effort kEffort{.sampleSeconds = 0.0, .totalSeconds = 1.0, .leastTurns = 5};

// Returns the row in which a target's picture differs from the reference path's, or -1.
int differentRow(const Look& look, const Picture& source, const lomix::engine::SimdTarget& target) {
  Picture expected(source.depth(), kWidth, kHeight);
  Picture drawn(source.depth(), kWidth, kHeight);
  Scene(look, source, expected, target, wallClock).uncopied(1);
  Scene(look, source, drawn, target, wallClock).engine(1);
  for (int y = 0; y < kHeight; ++y) {
    if (firstDifference(expected, drawn, y) >= 0) return y;
  }
  return -1;
}

}  // namespace

int main() {
  auto targets = lomix::engine::availableTargets();
  targets.push_back(&lomix::engine::formulaTarget());
  std::printf("Time of the formulas / time of each target, %d x %d, opaque\n%-18s", kWidth, kHeight,
              "");
  for (const auto* target : targets) std::printf(" %9s", target->name);
  std::printf(" %15s\n", "formula ns/px");
  for (const int depth : {8, 32}) {
    Picture source(depth, kWidth, kHeight);
    source.fillWithNoise(Alpha::kOpaque);
    Picture output(depth, kWidth, kHeight);
    for (const Look& look : kLooks) {
      std::vector<Path> paths;
      for (const auto* target : targets) {
        if (const int row = differentRow(look, source, *target); row >= 0) {
          std::fprintf(stderr, "error: %s, %d bits: %s differs from the reference path in row %d\n",
                       look.name, depth, target->name, row);
          return 1;
        }
        auto scene = std::make_shared<Scene>(look, source, output, *target, wallClock);
        paths.push_back({target->name, [scene] { return scene->engine(1); }});
      }
      const Samples samples = measureInTurns(paths, kEffort);
      std::printf("%-10s %-7s", look.name, depth == 8 ? "8-bit" : "float");
      for (const auto& seconds : samples) {
        std::printf(" %9.2f", pairedRatio(samples.back(), seconds).median);
      }
      std::printf(" %15.1f\n", quartiles(samples.back()).median * 1e9 / (kWidth * kHeight));
    }
  }
  return 0;
}
