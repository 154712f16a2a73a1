// What changes from one picture of a contact sheet to the next.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "batch/FrameTime.h"
#include "looks/Look.h"

namespace lomix::cli {

/// The most pictures on a sheet.
inline constexpr int kMaxSheetCells = 1000;

/// What one picture is made with.
struct Moment {
  looks::Look look;
  batch::FrameTime time;
};

/// One place on an axis.
struct Step {
  std::string label;
  std::function<void(Moment&)> apply;
};

/// "NAME=FROM:TO:COUNT" or "NAME=VALUE,VALUE,...": a parameter at those values. Throws UsageError.
std::vector<Step> parameterAxis(const looks::ParameterTable& table, std::string_view text);

/// "FROM:TO:COUNT" or "SECONDS,SECONDS,...". Throws UsageError.
std::vector<Step> timeAxis(std::string_view text);

/// Every built-in preset. Settings that stand in the moment already win over the preset's.
std::vector<Step> presetAxis(const looks::ParameterTable& table);

}  // namespace lomix::cli
