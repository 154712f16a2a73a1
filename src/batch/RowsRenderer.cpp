#include "batch/RowsRenderer.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include "effect/signal/FrameRecord.h"
#include "engine/RowEngine.h"

namespace lomix::cli {
namespace {

// Rows that a thread takes at a time: enough to stay out of the others' way, few enough to share
// frames of any height.
constexpr int kRowsAtATime = 16;

/// The record of a world that is the picture itself. The engine only reads its source.
PF_LayerDef layerOf(const media::Picture& picture) {
  PF_LayerDef layer{};
  const void* pixels = picture.depth() == 8 ? static_cast<const void*>(picture.row8(0).data())
                                            : static_cast<const void*>(picture.row32(0).data());
  layer.data = static_cast<PF_Pixel*>(const_cast<void*>(pixels));
  layer.width = picture.width();
  layer.height = picture.height();
  layer.rowbytes = picture.width() * host::bytesPerPixel(picture.depth());
  layer.extent_hint = {0, 0, picture.width(), picture.height()};
  return layer;
}

void drawOnThreads(const engine::RowEngine& rows, int height, int threads) {
  std::atomic<int> next = 0;
  const auto work = [&] {
    for (int first = next.fetch_add(kRowsAtATime); first < height;
         first = next.fetch_add(kRowsAtATime)) {
      rows.drawRows(first, std::min(first + kRowsAtATime, height));
    }
  };
  const int bands = (height + kRowsAtATime - 1) / kRowsAtATime;
  std::vector<std::jthread> others;
  for (int i = 1; i < std::min(threads, bands); ++i) others.emplace_back(work);
  work();
}

}  // namespace

void renderRows(const std::vector<host::Parameter>& parameters, const host::FrameSettings& frame,
                const media::Picture& input, media::Picture& output, int threads) {
  std::vector<PF_ParamDef> definitions;
  for (const host::Parameter& parameter : parameters) {
    definitions.push_back(parameter.definition);
  }
  std::vector<PF_ParamDef*> params;
  for (PF_ParamDef& definition : definitions) params.push_back(&definition);

  const double xDown = quotientOf(frame.downsampleX);
  const double invXDown = 1.0 / xDown;
  const double invYDown = 1.0 / quotientOf(frame.downsampleY);
  LomixStruct record;
  fillFrameRecord(record, params.data(), frame.currentTime, frame.timeScale, xDown);
  const engine::RowEngine rows(
      {record, layerOf(input), layerOf(output), input.depth(), invXDown, invYDown});
  drawOnThreads(rows, output.height(), threads);
}

}  // namespace lomix::cli
