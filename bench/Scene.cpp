#include "bench/Scene.h"

#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "effect/kernel/DistortPixel.h"
#include "effect/signal/SyncFunctions.h"
#include "engine/RowEngine.h"

namespace lomix::bench {
namespace {

PF_InData premiereCall(int width, int height) {
  PF_InData in{};
  in.appl_id = kHostIdPremiere;
  in.downsample_x = in.downsample_y = in.pixel_aspect_ratio = {1, 1};
  in.width = width;
  in.height = height;
  return in;
}

PF_SmartRenderInput smartInputOf(int depth) {
  PF_SmartRenderInput input{};
  input.bitdepth = static_cast<A_short>(depth);
  return input;
}

LomixStruct scalarsOf(const Look& look) {
  LomixStruct record{};
  record.distortionMode = 1;
  record.time = 1.3f;
  record.signalDistortion = 0.12f;
  record.scanDistortion = 0.45f;
  record.horizontalSyncOffset = legacySync(0.07f, record.time);
  record.verticalSyncOffset = legacySync(0.08f, record.time);
  record.barsOverlay = look.bars;
  record.noise = look.noise;
  record.scanlineOverlay = look.scanlines;
  record.scanlineSpeed = 30.0f;
  record.scanlineThickness = 2.0f;
  record.effectAmount = look.effectAmount;
  return record;
}

// Allocates blocks whose sizes change from frame to frame. The time of a copy depends on the page
// offsets of its ends, on some processors by a factor of ten; only changing heap layouts show the
// typical time.
std::vector<std::vector<char>> occupyHeap(unsigned frame) {
  constexpr unsigned kBlocks = 40;
  std::vector<std::vector<char>> blocks;
  for (unsigned i = 0; i < kBlocks; ++i)
    blocks.emplace_back(1000 + (frame * 7 + i * 13) % 32 * 272);
  return blocks;
}

}  // namespace

Scene::Scene(const Look& look, const Picture& source, Picture& output,
             const engine::SimdTarget& target, Clock clock, engine::AlphaPlace alphaPlace)
    : in_(premiereCall(source.world.width, source.world.height)),
      smartInput_(smartInputOf(source.depth())),
      target_(target),
      clock_(clock),
      alphaPlace_(alphaPlace),
      scalars_(scalarsOf(look)),
      source_(source),
      output_(output),
      effect_(&in_, &out_, &extra_) {}

double Scene::copy() {
  const Stopwatch watch(clock_);
  std::memcpy(output_.world.data, source_.world.data, source_.byteCount());
  return watch.seconds();
}

double Scene::engine(int threads) {
  // The threads of a pool live as long as it: making them is no part of a frame.
  std::unique_ptr<library::WorkerPool>& pool = pools_[threads];
  if (!pool) pool = std::make_unique<library::WorkerPool>(threads);
  const Stopwatch watch(clock_);
  library::drawWholeFrame(*pool,
                          {scalars_, source_.world, output_.world, source_.depth(),
                           effect_.invXDown, effect_.invYDown, alphaPlace_},
                          target_);
  return watch.seconds();
}

double Scene::uncopied(int step) {
  const Stopwatch watch(clock_);
  LomixStruct record = profiledRecord();
  const double profileSeconds = watch.seconds();
  PF_LayerDef source = source_.world;
  return profileSeconds + drawPixels(step, [&](int x, int y) {
           distortPixel(effect_, record, source, output_.world, x, y);
         });
}

double Scene::reference(int step) {
  const Stopwatch watch(clock_);
  LomixStruct record = profiledRecord();
  const double profileSeconds = watch.seconds();
  const std::vector<std::vector<char>> occupied = occupyHeap(referenceFrames_++);
  PF_LayerDef source = source_.world;
  return profileSeconds + drawPixels(step, [&](int x, int y) {
           effect_.Kernel(&source, &output_.world, x, y, &record);
         });
}

LomixStruct Scene::profiledRecord() {
  LomixStruct record = scalars_;
  effect_.CreateDisplacementImage(&output_.world, -record.time, &record);
  return record;
}

template <typename DrawPixel>
double Scene::drawPixels(int step, DrawPixel drawPixel) {
  const Stopwatch watch(clock_);
  const int height = output_.world.height;
  for (int y = 0; y < height; y += step) {
    for (int x = 0; x < output_.world.width; ++x) drawPixel(x, y);
    if (scalars_.effectAmount < 1.0f) {
      PF_LayerDef original = rowOf(source_.world, y);
      PF_LayerDef drawn = rowOf(output_.world, y);
      effect_.Lerp(&original, &drawn, scalars_.effectAmount);
    }
  }
  const int drawnRows = (height + step - 1) / step;
  return watch.seconds() * height / drawnRows;
}

}  // namespace lomix::bench
