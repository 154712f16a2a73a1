// A whole render: from the names of input and output to the report.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "batch/FrameRenderer.h"
#include "batch/Route.h"
#include "support/MediaError.h"
#include "support/Streams.h"

namespace lomix::batch {

/// The options of a whole render.
struct RunOptions {
  RouteOptions route;
  int threads = 1;
  std::string reportFile;   ///< Empty for none.
  std::string savedPreset;  ///< File to save the parameters to as a preset; empty for none.
  bool byPlugin = false;    ///< The engine that the report names: plugin or rows.
  bool quiet = false;
  /// The command line that was given, for the report.
  std::vector<std::string> arguments;
  /// The options by which two runs give other pixels or another file.
  std::string job;
  /// Returns the text of an input's error in runFolder(), its way out completed.
  std::function<std::string(const AvoidableError&)> withWayOut = [](const AvoidableError& error) {
    return std::string(error.what());
  };
  /// Called with the report instead of writing it, where it is set.
  std::function<void(const nlohmann::ordered_json&)> takeReport;
};

/// Renders all frames, prints progress and writes the report. look: made for the renderer's
/// parameters. Throws CommandError, FramesFailed, Interrupted, MediaError or host::HostError.
void runRender(const RunOptions& options, FrameRenderer& renderer, const looks::Look& look,
               const Streams& streams);

/// Returns whether a name is a picture's or a video's, by its extension.
bool isMediaName(const std::filesystem::path& file);

/// Makes the renderer of one run.
using MakeRenderer = std::function<std::unique_ptr<FrameRenderer>()>;
/// Makes the look of one run for its renderer's parameters.
using MakeLook = std::function<looks::Look(const looks::ParameterTable&)>;

/// Renders several inputs to files of their names in a folder, one after the other. Of a
/// folder among the inputs, all pictures and videos are rendered; recursive: also those in its
/// subfolders, which are made in the output folder too. An input that fails is printed, and the
/// others are rendered. options: of every run; route.output is the folder, which is made where it
/// is missing, and reportFile gets one report of all. Throws UsageError for two inputs of one name,
/// FramesFailed where some inputs failed, CommandError where all did, Interrupted.
void runFolder(const RunOptions& options, const std::vector<std::string>& inputs, bool recursive,
               const MakeRenderer& makeRenderer, const MakeLook& makeLook, const Streams& streams);

}  // namespace lomix::batch
