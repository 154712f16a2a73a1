// Renders many inputs to one folder.
#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <ostream>
#include <set>
#include <string_view>
#include <system_error>

#include "batch/RenderRun.h"
#include "batch/RunReport.h"
#include "looks/JsonText.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace lomix::batch {
namespace {

namespace fs = std::filesystem;

/// An input and the name of its output within the folder.
struct Task {
  fs::path input;
  fs::path name;
};

/// Adds the pictures and videos of a folder, sorted by name.
void addFolder(const fs::path& folder, bool recursive, const Streams& streams, bool quiet,
               std::vector<Task>& tasks) {
  std::vector<fs::path> files;
  std::error_code error;
  const auto take = [&](const fs::directory_entry& entry) {
    if (entry.is_regular_file(error)) files.push_back(entry.path());
  };
  if (recursive) {
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) take(entry);
  } else {
    for (const auto& entry : fs::directory_iterator(folder, error)) take(entry);
  }
  if (error) throw MediaError(cannotRead(folder) + error.message() + " (check its permissions)");
  std::ranges::sort(files);
  for (const fs::path& file : files) {
    if (isMediaName(file)) {
      tasks.push_back({file, file.lexically_relative(folder)});
    } else if (!quiet) {
      streams.err << "warning: '" + file.string() +
                         "': it is left out (its name is not a picture's or a video's)\n";
    }
  }
}

std::vector<Task> tasksOf(const std::vector<std::string>& inputs, bool recursive,
                          const Streams& streams, bool quiet) {
  std::vector<Task> tasks;
  for (const std::string& input : inputs) {
    std::error_code ignored;
    if (fs::is_directory(input, ignored)) {
      addFolder(input, recursive, streams, quiet, tasks);
    } else {
      tasks.push_back({input, fs::path(input).filename()});
    }
  }
  std::map<fs::path, fs::path> names;
  for (const Task& task : tasks) {
    const auto [known, isNew] = names.emplace(task.name, task.input);
    if (isNew) continue;
    throw UsageError("INPUT: '" + task.input.string() + "' and '" + known->second.string() +
                     "' would both be written as '" + task.name.string() + "' (rename one)");
  }
  if (tasks.empty())
    throw CommandError("INPUT: there is no picture and no video (check the names)");
  return tasks;
}

bool isJpeg(const Task& task) { return media::formatOf(task.name.extension().string()) == "jpeg"; }

/// Refuses options that concern no output.
void refuseIdleOptions(const RouteOptions& route, const std::vector<Task>& tasks) {
  if (!route.format.empty()) {
    throw UsageError(
        "--format: in a folder the outputs have the names of the inputs (leave it "
        "out, or render them one by one)");
  }
  if (route.quality && std::ranges::none_of(tasks, isJpeg)) {
    throw UsageError("--quality: no input is a JPEG (leave it out)");
  }
}

}  // namespace

bool isMediaName(const fs::path& file) {
  constexpr std::array<std::string_view, 21> kPictures{
      ".png", ".jpg", ".jpeg", ".tif", ".tiff", ".exr", ".dpx", ".tga", ".bmp", ".gif", ".webp",
      ".hdr", ".jp2", ".ppm",  ".pgm", ".pnm",  ".sgi", ".psd", ".cin", ".ico", ".j2k"};
  const std::string extension = lowerCase(file.extension().string());
  return std::ranges::find(kPictures, extension) != kPictures.end() ||
         media::isVideoName(file.string());
}

void runFolder(const RunOptions& options, const std::vector<std::string>& inputs, bool recursive,
               const MakeRenderer& makeRenderer, const MakeLook& makeLook, const Streams& streams) {
  const fs::path folder = options.route.output;
  std::vector<Task> tasks = tasksOf(inputs, recursive, streams, options.quiet);
  const bool replaces = options.route.existing == Existing::Overwrite || continuesShare(options);
  std::vector<NamedFile> read = options.route.otherInputs;
  std::vector<NamedFile> written;
  for (const Task& task : tasks) {
    read.push_back({"INPUT", task.input});
    written.push_back({"OUTPUT", folder / task.name});
  }
  if (!options.reportFile.empty()) written.push_back({"--report", options.reportFile});
  if (!options.savedPreset.empty()) written.push_back({"--save-preset", options.savedPreset});
  requireDistinctFiles(written, read);
  refuseIdleOptions(options.route, tasks);
  makeFolder(folder);
  if (!options.reportFile.empty()) checkNewFile(options.reportFile, replaces);

  const std::size_t whole = tasks.size();
  if (options.route.share) tasks = partOf(tasks, *options.route.share);
  auto reports = nlohmann::ordered_json::array();
  std::size_t failed = 0;
  std::set<fs::path> cleaned;
  bool savesPreset = !options.savedPreset.empty();
  for (const Task& task : tasks) {
    RunOptions run = options;
    run.route.share.reset();
    run.route.input = task.input.string();
    run.route.output = (folder / task.name).string();
    if (!isJpeg(task)) run.route.quality.reset();
    run.reportFile.clear();
    if (!savesPreset) run.savedPreset.clear();
    // Once for each folder, which may have as many files as there are inputs.
    run.route.removesLeftovers = cleaned.insert((folder / task.name).parent_path()).second;
    const std::size_t before = reports.size();
    run.takeReport = [&](const nlohmann::ordered_json& report) { reports.push_back(report); };
    std::string failure;
    try {
      makeFolder((folder / task.name).parent_path());
      const std::unique_ptr<FrameRenderer> renderer = makeRenderer();
      runRender(run, *renderer, makeLook(renderer->parameters()), streams);
    } catch (const Interrupted&) {
      throw;
    } catch (const UsageError&) {
      throw;
    } catch (const AvoidableError& error) {
      failure = options.withWayOut(error);
    } catch (const std::exception& error) {
      failure = error.what();
    }
    savesPreset = false;
    if (failure.empty()) continue;
    ++failed;
    streams.err << "error: " + failure + "\n";
    if (reports.size() == before) {
      reports.push_back({{"input", run.route.input}, {"output", run.route.output}});
    }
    reports.back()["error"] = failure;
  }
  if (!options.reportFile.empty()) {
    nlohmann::ordered_json report{{"inputs", tasks.size()}, {"failed", failed}};
    if (const std::optional<Share>& share = options.route.share) {
      report["share"] = {
          {"number", share->number}, {"of", share->count}, {"blocks", share->blocks}};
      report["share"]["whole"] = whole;
    }
    report["output"] = options.route.output;
    report["arguments"] = options.arguments;
    report["runs"] = reports;
    writeText(looks::jsonText(report), options.reportFile, replaces);
  }
  if (tasks.empty() && !options.quiet) {
    streams.out << "nothing to do: " + options.route.share->text() + " has none of the " +
                       std::to_string(whole) + " inputs\n";
  }
  if (failed == 0) return;
  const std::string message = "'" + folder.string() + "': " + std::to_string(failed) + " of " +
                              std::to_string(tasks.size()) + " inputs failed";
  if (failed == tasks.size()) throw CommandError(message + " (see above)");
  throw FramesFailed(message + " (see above; the others are written)");
}

}  // namespace lomix::batch
