// The axes of a contact sheet: presets, parameter values or times.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "batch/FrameTime.h"
#include "cli/figures/ContactSheet.h"
#include "looks/Look.h"

namespace lomix::cli {

/// The most pictures on a sheet.
inline constexpr int kMaxSheetCells = 1000;

/// The parameters and the time of one picture.
struct Moment {
  looks::Look look;
  batch::FrameTime time;
};

/// One step of an axis: its caption, and the change that it makes to a picture's parameters or
/// time. Presets and times have no name.
struct Step {
  Caption caption;
  std::function<void(Moment&)> apply;
};

/// Returns the steps of one parameter: "NAME=FROM:TO:COUNT" or "NAME=VALUE,VALUE,...". Throws
/// UsageError.
std::vector<Step> parameterAxis(const looks::ParameterTable& table, std::string_view text);

/// Returns steps of time: "FROM:TO:COUNT" or "SECONDS,SECONDS,...". Throws UsageError.
std::vector<Step> timeAxis(std::string_view text);

/// Returns a step for each built-in preset. Parameters that are set already replace the preset's.
std::vector<Step> presetAxis(const looks::ParameterTable& table);

}  // namespace lomix::cli
