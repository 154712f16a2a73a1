// From parameter values to the record of one frame.
#pragma once

#include <array>

#include "effect/shell/Parameters.h"
#include "effect/signal/LomixStruct.h"
#include "hostapi/Records.h"

namespace lomix {

/// The value of every parameter in the panel's units: entry i belongs to kParameters[i]. Popups:
/// the choice, counted from 1.
using ParameterValues = std::array<double, kParameters.size()>;

/// Returns the values of the host's parameter array, whose entry 0 is not read.
ParameterValues parameterValues(PF_ParamDef* const params[]);

/// Factors of the rows that scanlines are measured in: 0.5 at half resolution.
struct ScanlineScale {
  double speed = 1.0;
  double thickness = 1.0;
};

/// Returns the record of a frame with its scalars filled, time and sync phases included, and empty
/// profiles. seconds: layer time, used where time is automatic.
LomixStruct frameRecord(const ParameterValues& values, double seconds, const ScanlineScale& scale);

}  // namespace lomix
