#include "effect/signal/FrameRecord.h"

#include "effect/shell/ParameterIndex.h"
#include "effect/signal/SyncFunctions.h"

namespace lomix {

void fillFrameRecord(LomixStruct& record, PF_ParamDef* const params[], A_long currentTime,
                     A_u_long timeScale, double downsample) {
  const auto slider = [params](int index) { return params[index]->u.fs_d.value; };
  // The panel shows percent; the record wants fractions. Divided in double, rounded once.
  const auto fraction = [slider](int index) { return static_cast<float>(slider(index) / 100.0); };
  record.timeControl = params[kTimeControl]->u.pd.value;
  record.distortionMode = params[kDistortionMode]->u.pd.value;
  record.time =
      record.timeControl == kAutomaticTime
          ? static_cast<float>(static_cast<double>(currentTime) / static_cast<double>(timeScale))
          : static_cast<float>(slider(kTime));
  record.signalDistortion = fraction(kSignalDistortion);
  record.scanDistortion = fraction(kScanDistortion);
  record.horizontalSyncOffset = legacySync(fraction(kHorizontalSync), record.time);
  record.verticalSyncOffset = legacySync(fraction(kVerticalSync), record.time);
  record.barsOverlay = fraction(kBarsOverlay);
  record.noise = fraction(kNoise);
  record.scanlineOverlay = fraction(kScanlineOverlay);
  record.scanlineSpeed = static_cast<float>(slider(kScanlineSpeed) * downsample);
  record.scanlineThickness = static_cast<float>(slider(kScanlineThickness) * downsample);
  record.effectAmount = static_cast<float>(slider(kBlendWithOriginal) / -100.0 + 1.0);
}

}  // namespace lomix
