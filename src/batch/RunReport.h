// The report of a run as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "batch/FrameRenderer.h"
#include "batch/Pipeline.h"
#include "batch/RenderRun.h"

namespace lomix::batch {

/// Returns a run's counts of frames, its failures and its times in seconds. The times of reading,
/// effect and writing are sums over all threads.
nlohmann::ordered_json reportOf(const Tally& tally, const std::vector<FrameFailure>& failures,
                                double wallSeconds);

/// Returns whether the run goes on with a share, keeping what exists, and the file that its report
/// is written to has the report of an earlier try of that share. Such a file may be replaced.
/// Throws MediaError.
bool continuesShare(const RunOptions& options);

/// Returns every parameter's value by name, or its keys in the form of preset files.
nlohmann::ordered_json settingsOf(const looks::ParameterTable& table, const looks::Look& look);

}  // namespace lomix::batch
