#include "effect/signal/FrameRecord.h"

#include "effect/numeric/Truncate.h"
#include "effect/signal/SyncFunctions.h"

namespace lomix {

ParameterValues parameterValues(PF_ParamDef* const params[]) {
  ParameterValues values;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto& value = params[i + 1]->u;
    values[i] = kParameters[i].type == PF_Param_POPUP ? value.pd.value : value.fs_d.value;
  }
  return values;
}

LomixStruct frameRecord(const ParameterValues& values, double seconds, const ScanlineScale& scale) {
  const auto at = [&values](int index) { return values[static_cast<std::size_t>(index - 1)]; };
  // The panel shows percent; the record wants fractions. Divided in double, rounded once.
  const auto fraction = [&at](int index) { return static_cast<float>(at(index) / 100.0); };
  LomixStruct record;
  record.timeControl = truncateToInt32(at(indexOf("time_control")));
  record.distortionMode = truncateToInt32(at(indexOf("distortion_mode")));
  record.signalDistortion = fraction(indexOf("signal_distortion"));
  record.scanDistortion = fraction(indexOf("scan_distortion"));
  record.barsOverlay = fraction(indexOf("bars_overlay"));
  record.noise = fraction(indexOf("noise"));
  record.scanlineOverlay = fraction(indexOf("scanline_overlay"));
  record.scanlineSpeed = static_cast<float>(at(indexOf("scanline_speed")) * scale.speed);
  record.scanlineThickness =
      static_cast<float>(at(indexOf("scanline_thickness")) * scale.thickness);
  record.effectAmount = static_cast<float>(at(indexOf("blend_with_original")) / -100.0 + 1.0);
  const bool automatic = record.timeControl == kAutomaticTime;
  record.time = static_cast<float>(automatic ? seconds : at(indexOf("time")));
  record.verticalSyncOffset = legacySync(fraction(indexOf("vertical_sync")), record.time);
  record.horizontalSyncOffset = legacySync(fraction(indexOf("horizontal_sync")), record.time);
  return record;
}

}  // namespace lomix
