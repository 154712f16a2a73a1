#include "cli/RowsRenderer.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include "engine/Profiles.h"
#include "engine/RowEngine.h"
#include "signal/FrameRecord.h"

namespace lomix::cli {
namespace {

// Rows that a thread takes at a time: enough to stay out of the others' way, few enough to share
// frames of any height.
constexpr int kRowsAtATime = 16;

double ratio(const PF_RationalScale& r) {
  return static_cast<double>(r.num) / static_cast<double>(r.den);
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
                host::World& input, host::World& output, int threads) {
  std::vector<PF_ParamDef> definitions;
  for (const host::Parameter& parameter : parameters) {
    definitions.push_back(parameter.definition);
  }
  std::vector<PF_ParamDef*> params;
  for (PF_ParamDef& definition : definitions) params.push_back(&definition);

  const double xDown = ratio(frame.downsampleX);
  const double invXDown = 1.0 / xDown;
  const double invYDown = 1.0 / ratio(frame.downsampleY);
  LomixStruct record;
  fillFrameRecord(record, params.data(), frame.currentTime, frame.timeScale, xDown);
  engine::fillProfiles(record, output.height(), invYDown, -record.time, engine::bestKernels());
  const engine::RowEngine rows(
      {record, input.layer(), output.layer(), input.depth(), invXDown, invYDown});
  drawOnThreads(rows, output.height(), threads);
}

}  // namespace lomix::cli
