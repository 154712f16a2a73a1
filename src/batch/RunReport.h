#pragma once

#include <nlohmann/json.hpp>

#include "batch/FrameRenderer.h"
#include "batch/Pipeline.h"

namespace lomix::batch {

/// The run's numbers: frames, failures, times in seconds (of reading, effect and writing the sum
/// over all threads).
nlohmann::ordered_json reportOf(const Pipeline& pipeline, double wallSeconds);

/// Every parameter's name with its value, or with its keys as presets have them.
nlohmann::ordered_json settingsOf(const looks::ParameterTable& table, const looks::Look& look);

}  // namespace lomix::batch
