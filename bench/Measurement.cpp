#include "bench/Measurement.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <thread>

namespace lomix::bench {
namespace {

using Json = nlohmann::ordered_json;

std::vector<int> threadCounts() {
  const int all = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  std::set<int> counts{1, 2, all};
  for (int count = 4; count < all; count *= 2) counts.insert(count);
  return {counts.begin(), counts.end()};
}

// Returns an odd step, which meets light and dark scanlines equally often.
int rowStep(const PF_LayerDef& world, int pixels) {
  const std::int64_t all = static_cast<std::int64_t>(world.width) * world.height;
  return static_cast<int>(all / pixels) | 1;
}

std::string threadText(int count) {
  return std::to_string(count) + (count == 1 ? " thread" : " threads");
}

// Throws where a row that the path draws differs from the reference picture.
void verify(const Path& path, Pictures& pictures, int step, const std::string& cell) {
  pictures.output.fillWithGuard();
  path.drawFrame();
  for (int y = 0; y < pictures.output.world.height; y += step) {
    const int x = firstDifference(pictures.output, pictures.reference, y);
    if (x < 0) continue;
    throw std::runtime_error(cell + ": the pixels of '" + path.name +
                             "' differ from the reference path's, first in column " +
                             std::to_string(x) + " of row " + std::to_string(y));
  }
}

double medianMilliseconds(const std::vector<double>& seconds) {
  return quartiles(seconds).median * 1e3;
}

Json ratioJson(const std::vector<double>& numerators, const std::vector<double>& denominators) {
  const Quartiles q = pairedRatio(numerators, denominators);
  return {{"low", q.low}, {"median", q.median}, {"high", q.high}};
}

}  // namespace

Plan fullPlan() {
  return {.sizes = {{672, 378, false},
                    {1344, 756, false},
                    {1920, 1080, true},
                    {3840, 2160, true},
                    {7680, 4320, false}},
          .threads = threadCounts(),
          .engineEffort = {.sampleSeconds = 0.01, .totalSeconds = 2.5, .leastTurns = 9},
          .plainEffort = {.sampleSeconds = 0.05, .totalSeconds = 2.0, .leastTurns = 5},
          .uncopiedPixels = 1'000'000,
          .referencePixels = 200'000};
}

Plan quickPlan() {
  return {.sizes = {{320, 180, true}, {251, 67, false}},
          .threads = threadCounts(),
          .engineEffort = {.sampleSeconds = 0.0, .totalSeconds = 0.0, .leastTurns = 2},
          .plainEffort = {.sampleSeconds = 0.0, .totalSeconds = 0.0, .leastTurns = 1},
          .uncopiedPixels = 20'000,
          .referencePixels = 3'000};
}

std::string cellName(const Look& look, int depth, const Size& size) {
  return std::string(look.name) + (depth == 8 ? "/8-bit/" : "/float/") +
         std::to_string(size.width) + 'x' + std::to_string(size.height);
}

Pictures::Pictures(int depth, const Size& size)
    : opaque(depth, size.width, size.height),
      mixed(depth, size.width, size.height),
      output(depth, size.width, size.height),
      reference(depth, size.width, size.height) {
  opaque.fillWithNoise(Alpha::kOpaque);
  mixed.fillWithNoise(Alpha::kMixed);
}

Json measureCell(const Look& look, Pictures& pictures, const std::string& name, const Plan& plan) {
  Scene opaque(look, pictures.opaque, pictures.output, *plan.target, plan.clock);
  Scene mixed(look, pictures.mixed, pictures.output, *plan.target, plan.clock);
  constexpr auto kLast = engine::AlphaPlace::Last;
  Scene opaqueLast(look, pictures.opaque, pictures.output, *plan.target, plan.clock, kLast);
  Scene mixedLast(look, pictures.mixed, pictures.output, *plan.target, plan.clock, kLast);
  const PF_LayerDef& world = pictures.output.world;
  const int uncopiedStep = rowStep(world, plan.uncopiedPixels);
  const int referenceStep = rowStep(world, plan.referencePixels);

  const Path copy{"memory copy", [&] { return opaque.copy(); }};
  const Path mixedEngine{"row engine, mixed alpha", [&] { return mixed.engine(1); }};
  const Path lastEngine{"row engine, alpha last", [&] { return opaqueLast.engine(1); }};
  const Path mixedLastEngine{"row engine, mixed alpha last", [&] { return mixedLast.engine(1); }};
  const Path uncopied{"reference path without copies",
                      [&] { return opaque.uncopied(uncopiedStep); }};
  const Path reference{"reference path", [&] { return opaque.reference(referenceStep); }};
  std::vector<Path> engines;
  for (const int threads : plan.threads) {
    engines.push_back({"row engine, " + threadText(threads),
                       [&opaque, threads] { return opaque.engine(threads); }});
  }

  const auto makeReference = [&](const Picture& source) {
    Scene(look, source, pictures.reference, *plan.target, plan.clock).uncopied(1);
  };
  // The reference path draws the same frame with its alphas moved to the front.
  const auto verifyLast = [&](const Path& path, Picture& source) {
    source.rotateChannels();
    makeReference(source);
    source.rotateChannels(true);
    pictures.reference.rotateChannels(true);
    verify(path, pictures, 1, name);
  };
  verifyLast(lastEngine, pictures.opaque);
  verifyLast(mixedLastEngine, pictures.mixed);
  makeReference(pictures.mixed);
  verify(mixedEngine, pictures, 1, name);
  makeReference(pictures.opaque);
  for (const Path& engine : engines) verify(engine, pictures, 1, name);
  verify(uncopied, pictures, uncopiedStep, name);
  verify(reference, pictures, referenceStep, name);

  std::vector<Path> fastPaths = engines;
  fastPaths.insert(fastPaths.end(), {mixedEngine, copy, lastEngine, mixedLastEngine});
  const Samples fast = measureInTurns(fastPaths, plan.engineEffort);
  const Samples plain = measureInTurns({engines[0], uncopied, reference}, plan.plainEffort);
  const std::vector<double>& copySamples = fast[engines.size() + 1];
  const std::vector<double>& mixedSamples = fast[engines.size()];
  const std::vector<double>& lastSamples = fast[engines.size() + 2];
  const std::vector<double>& mixedLastSamples = fast[engines.size() + 3];

  Json engineTimes;
  Json engineToCopy;
  for (std::size_t i = 0; i < engines.size(); ++i) {
    const std::string threads = std::to_string(plan.threads[i]);
    engineTimes[threads] = medianMilliseconds(fast[i]);
    engineToCopy[threads] = ratioJson(fast[i], copySamples);
  }
  return {{"name", name},
          {"look", look.name},
          {"depth", pictures.output.depth()},
          {"width", world.width},
          {"height", world.height},
          {"turns", {{"engine", copySamples.size()}, {"plain", plain[0].size()}}},
          {"rowStep", {{"uncopied", uncopiedStep}, {"reference", referenceStep}}},
          {"milliseconds",
           {{"copy", medianMilliseconds(copySamples)},
            {"engine", engineTimes},
            {"mixedEngine", medianMilliseconds(mixedSamples)},
            {"uncopied", medianMilliseconds(plain[1])},
            {"reference", medianMilliseconds(plain[2])}}},
          {"ratios",
           {{"engineToCopy", engineToCopy},
            {"mixedToOpaque", ratioJson(mixedSamples, fast[0])},
            {"alphaLastToFirst", ratioJson(lastSamples, fast[0])},
            {"mixedAlphaLastToFirst", ratioJson(mixedLastSamples, mixedSamples)},
            {"uncopiedToEngine", ratioJson(plain[1], plain[0])},
            {"referenceToEngine", ratioJson(plain[2], plain[0])}}}};
}

}  // namespace lomix::bench
