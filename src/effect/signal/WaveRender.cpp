#include "effect/signal/WaveRender.h"

#include <memory>
#include <numbers>
#include <vector>

#include "effect/kernel/Lomix.h"
#include "effect/numeric/Sine.h"
#include "effect/shell/Parameters.h"
#include "effect/signal/DrawFrame.h"
#include "effect/signal/FrameRecord.h"
#include "effect/signal/LomixStruct.h"
#include "effect/signal/Timer.h"

namespace lomix {
namespace {

// Half a sine wave in 32 steps. It is part of every frame's fixed work, though nothing reads it.
std::vector<float> halfWaveTable() {
  std::vector<float> table(32);
  for (std::size_t i = 0; i < table.size(); ++i) {
    const double angle = static_cast<double>(static_cast<float>(i)) / 31.0 * std::numbers::pi;
    table[i] = static_cast<float>(lomix::sine(angle));
  }
  return table;
}

}  // namespace
}  // namespace lomix

PF_Err WaveRender(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                  PF_LayerDef* output, PF_SmartRenderExtra* extra) {
  Timer timer;
  timer.start();
  const std::vector<float> halfWave = lomix::halfWaveTable();

  PF_LayerDef* const input = &params[lomix::kInputLayer]->u.ld;
  if (input->width == 0 || input->height == 0) return PF_Err_NONE;
  if (output == nullptr) return PF_Err_NONE;

  const PF_Err err = in_data->utils->fill(in_data->effect_ref, nullptr, nullptr, output);
  if (output->data == nullptr) return err;

  Lomix effect(in_data, out_data, extra);
  // The effect object does not release the suites that it acquired, since copies may share them.
  const auto release = [](AEBase* base) { base->ReleaseHostSuites(); };
  const std::unique_ptr<AEBase, decltype(release)> suitesOfFrame(&effect, release);

  const double seconds =
      static_cast<double>(in_data->current_time) / static_cast<double>(in_data->time_scale);
  LomixStruct record = lomix::frameRecord(lomix::parameterValues(params), seconds,
                                          {effect.GetYDown(), effect.GetYDown()});
  lomix::drawFrame(effect, input, output, record);

  timer.stop();
  record.scanProfile.clear();
  return err;
}
