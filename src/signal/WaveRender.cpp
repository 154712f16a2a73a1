#include "signal/WaveRender.h"

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "kernel/Lomix.h"
#include "shell/ParameterIndex.h"
#include "signal/LomixStruct.h"
#include "signal/SyncFunctions.h"
#include "signal/Timer.h"

namespace {

constexpr int kAutomatic = 1;

// Half a sine wave in 32 steps. Nothing reads it: it belongs to the frame's fixed work.
std::vector<float> halfWaveTable() {
  std::vector<float> table(32);
  for (std::size_t i = 0; i < table.size(); ++i) {
    const double angle = static_cast<double>(static_cast<float>(i)) / 31.0 * std::numbers::pi;
    table[i] = static_cast<float>(std::sin(angle));
  }
  return table;
}

void fillFromParameters(LomixStruct& record, PF_ParamDef* params[], const AEBase& base) {
  const auto slider = [params](int index) { return params[index]->u.fs_d.value; };
  const auto fraction = [slider](int index) { return static_cast<float>(slider(index) / 100.0); };
  record.timeControl = params[kTimeControl]->u.pd.value;
  record.distortionMode = params[kDistortionMode]->u.pd.value;
  record.time = static_cast<float>(slider(kTime));
  record.signalDistortion = fraction(kSignalDistortion);
  record.scanDistortion = fraction(kScanDistortion);
  record.horizontalSyncOffset = fraction(kHorizontalSync);
  record.verticalSyncOffset = fraction(kVerticalSync);
  record.barsOverlay = fraction(kBarsOverlay);
  record.noise = fraction(kNoise);
  record.scanlineOverlay = fraction(kScanlineOverlay);
  record.scanlineSpeed = static_cast<float>(slider(kScanlineSpeed) * base.GetYDown());
  record.scanlineThickness = static_cast<float>(slider(kScanlineThickness) * base.GetYDown());
  record.effectAmount = static_cast<float>(slider(kBlendWithOriginal) / -100.0 + 1.0);
}

}  // namespace

PF_Err WaveRender(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                  PF_LayerDef* output, PF_SmartRenderExtra* extra) {
  Timer timer;
  timer.start();
  const std::vector<float> halfWave = halfWaveTable();

  PF_LayerDef* const input = &params[kInputLayer]->u.ld;
  if (input->width == 0 || input->height == 0) return PF_Err_NONE;
  if (output == nullptr || output->data == nullptr) return PF_Err_NONE;

  const PF_Err err = in_data->utils->fill(in_data->effect_ref, nullptr, nullptr, output);

  Lomix effect(in_data, out_data, extra);
  // The context does not release the suites it acquired, since copies may share them.
  const auto release = [](AEBase* base) { base->ReleaseHostSuites(); };
  const std::unique_ptr<AEBase, decltype(release)> suitesOfFrame(&effect, release);

  LomixStruct record;
  fillFromParameters(record, params, effect);
  if (record.timeControl == kAutomatic) {
    record.time = static_cast<float>(static_cast<double>(in_data->current_time) /
                                     static_cast<double>(in_data->time_scale));
  }
  record.verticalSyncOffset = legacySync(record.verticalSyncOffset, record.time);
  record.horizontalSyncOffset = legacySync(record.horizontalSyncOffset, record.time);

  effect.CreateDisplacementImage(output, -record.time, &record);
  effect.ExecuteKernel(input, output, &record);
  if (record.effectAmount < 1.0f) effect.Lerp(input, output, record.effectAmount);

  timer.stop();
  record.scanProfile.clear();
  return err;
}
