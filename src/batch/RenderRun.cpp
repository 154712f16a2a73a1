#include "batch/RenderRun.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ostream>

#include "batch/Pipeline.h"
#include "batch/Progress.h"
#include "batch/RunReport.h"
#include "batch/Warnings.h"
#include "lomix/lomix.h"
#include "looks/JsonText.h"
#include "looks/PresetStore.h"
#include "media/picture/PictureFile.h"
#include "media/picture/SequenceName.h"
#include "support/Errors.h"
#include "support/NewFile.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace lomix::batch {
namespace {

std::string summary(const std::string& output, const Tally& tally, double seconds) {
  std::string text = "wrote '" + output + "': " + countedFrames(tally.rendered);
  if (tally.skipped > 0) text += ", " + countedFrames(tally.skipped) + " kept";
  char time[64];
  std::snprintf(time, sizeof time, " in %.2f s", seconds);
  return text + time + "\n";
}

/// Throws unless all frames are done.
void throwUnlessDone(const RunOptions& options, const Pipeline& pipeline, const Route& route) {
  const Tally& tally = pipeline.tally();
  if (pipeline.interruptedBy() != 0) {
    std::string kept = "nothing is written (run it again from the start)";
    if (route.sink->allowsGaps()) {
      kept =
          countedFrames(tally.rendered) + " written (run it again with --skip-existing to go on)";
    }
    throw Interrupted("'" + route.output + "': " + kept, pipeline.interruptedBy());
  }
  if (const std::string loss = route.source->loss(); !loss.empty()) {
    throw FramesFailed("'" + options.route.input + "': " + loss +
                       " (what is there is written; copy or repair the input)");
  }
  if (const std::string damage = route.source->damage(); !damage.empty()) {
    throw FramesFailed("'" + options.route.input + "': " + damage +
                       " (the others are written; repair the input)");
  }
  if (pipeline.failures().empty() && tally.rendered + tally.skipped == 0) {
    throw CommandError("'" + options.route.input +
                       "': it has none of the chosen frames (choose others)");
  }
  if (pipeline.failures().empty()) return;
  std::vector<std::int64_t> numbers;
  for (const FrameFailure& failure : pipeline.failures()) numbers.push_back(failure.number);
  std::ranges::sort(numbers);
  const std::string input = "'" + options.route.input + "': ";
  if (!route.source->isSequence() && route.source->missing().size() == numbers.size()) {
    const std::string message =
        input + countedFrames(tally.failed) + " beyond its end: " + media::listed(numbers);
    if (tally.rendered + tally.skipped == 0) throw CommandError(message + " (choose others)");
    throw FramesFailed(message + " (the others are written)");
  }
  const std::string message =
      input + countedFrames(tally.failed) + " could not be read: " + media::listed(numbers);
  if (tally.rendered + tally.skipped == 0) throw CommandError(message + " (check the files)");
  throw FramesFailed(message + " (the others are written; repair these, then use --skip-existing)");
}

/// Returns what the segments of one film have in common: a number for the input's name, the options
/// and the settings, without spaces.
std::string jobOf(const RunOptions& options, const looks::ParameterTable& table,
                  const looks::Look& look) {
  const std::string input =
      std::filesystem::path(options.route.input).lexically_normal().generic_string();
  // FNV-1a: the same on every machine.
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : input + "\n" + options.job + settingsOf(table, look).dump()) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  }
  char text[20];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return text;
}

/// Writes the report.
class Report {
 public:
  Report(const RunOptions& options, const FrameRenderer& renderer, const looks::Look& look,
         const Route& route, const Warnings& warnings)
      : options_(options), renderer_(renderer), look_(look), route_(route), warnings_(warnings) {}

  /// error: why the run ended early; empty: it did not.
  void write(const Pipeline& pipeline, double seconds, const std::string& error) const {
    // A video that is not finished is not there.
    const bool isThere = error.empty() || !route_.isVideo;
    write(pipeline.tally(), pipeline.failures(),
          isThere ? pipeline.done() : std::vector<std::int64_t>(), seconds, error, false);
  }
  /// For an output that exists and is kept. The frames of a video are not counted.
  void writeKept(bool isVideo) const {
    Tally tally;
    if (!isVideo) tally.skipped = 1;
    write(tally, {}, ownFrames(), 0.0, "", true);
  }
  /// For a share that has no frame.
  void writeEmpty() const { write(Tally(), {}, {}, 0.0, "", false); }

 private:
  /// Returns the frames of the share; none without a share.
  std::vector<std::int64_t> ownFrames() const {
    if (!options_.route.share) return {};
    Share share = *options_.route.share;
    share.blocks = share.blocks || route_.isVideo;
    return partOf(route_.whole, share);
  }

  nlohmann::ordered_json share() const {
    const Share& share = *options_.route.share;
    return {{"number", share.number},
            {"of", share.count},
            {"blocks", share.blocks || route_.isVideo},
            {"segment", route_.isVideo},
            {"frames", framesText(ownFrames())},
            {"whole", framesText(route_.whole)}};
  }

  void write(const Tally& tally, const std::vector<FrameFailure>& failures,
             std::vector<std::int64_t> done, double seconds, const std::string& error,
             bool kept) const {
    if (options_.reportFile.empty() && !options_.takeReport) return;
    nlohmann::ordered_json report = {
        {"lomix", lomix_version_text()},   {"effect", renderer_.versionText()},
        {"input", options_.route.input},   {"output", options_.route.output},
        {"arguments", options_.arguments}, {"engine", options_.byPlugin ? "plugin" : "rows"},
        {"threads", options_.threads},     {"settings", settingsOf(renderer_.parameters(), look_)}};
    if (const std::optional<int> quality = route_.jpegQuality; quality && !kept) {
      report["jpeg"] = {{"quality", *quality}, {"chromaSubsampling", media::kJpegSubsampling}};
    }
    if (!renderer_.colours().empty()) report["colour"] = renderer_.colours();
    if (options_.route.share) report["share"] = share();
    std::ranges::sort(done);
    report["done"] = framesText(done);
    report.update(reportOf(tally, failures, seconds));
    if (kept) report["kept"] = true;
    report["warnings"] = warnings_.all();
    if (!error.empty()) report["error"] = error;
    if (options_.takeReport) return options_.takeReport(report);
    writeText(looks::jsonText(report), options_.reportFile,
              options_.route.existing == Existing::Overwrite || continuesShare(options_));
  }

  const RunOptions& options_;
  const FrameRenderer& renderer_;
  const looks::Look& look_;
  const Route& route_;
  const Warnings& warnings_;
};

}  // namespace

void runRender(const RunOptions& options, FrameRenderer& renderer, const looks::Look& look,
               const Streams& streams) {
  Warnings warnings;
  const auto printLine = [&](const std::string& line) { streams.err << line + "\n" << std::flush; };
  if (!options.quiet) warnings.setPrint(printLine);
  RouteOptions routeOptions = options.route;
  routeOptions.job = jobOf(options, renderer.parameters(), look);
  if (continuesShare(options)) routeOptions.replacedOutput = "--report";
  routeOptions.warn = [&](const std::string& text) { warnings.add(text); };
  if (!options.savedPreset.empty()) {
    routeOptions.otherOutputs.push_back({"--save-preset", options.savedPreset});
  }
  if (!options.reportFile.empty()) {
    routeOptions.otherOutputs.push_back({"--report", options.reportFile});
  }
  const Route route = makeRoute(routeOptions);
  if (!options.savedPreset.empty()) {
    looks::savePreset(look, renderer.parameters(), options.savedPreset,
                      options.route.existing == Existing::Overwrite);
  }
  const Report report(options, renderer, look, route, warnings);
  const auto keep = [&] {
    report.writeKept(route.isVideo);
    if (!options.quiet) streams.out << "kept '" + route.output + "': it exists\n";
  };
  if (route.done) return keep();
  if (!route.source) {
    report.writeEmpty();
    if (!options.quiet) {
      streams.out << "nothing to do: " + options.route.share->text() + " has none of the " +
                         countedFrames(static_cast<std::int64_t>(route.whole.size())) + "\n";
    }
    return;
  }

  Pipeline pipeline(*route.source, renderer, look, *route.sink, options.threads);
  const std::vector<std::int64_t> missing = route.source->missing();
  if (!missing.empty()) {
    streams.err << "error: " + cannotRead(options.route.input) + "frames " +
                       media::listed(missing) + " do not exist (the others are rendered)\n";
  }
  const auto start = std::chrono::steady_clock::now();
  const auto seconds = [start] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  try {
    std::optional<std::int64_t> total = route.source->count();
    if (total) *total += static_cast<std::int64_t>(missing.size());
    Progress progress(streams, pipeline.tally(), total, options.quiet);
    pipeline.onFailure = [&progress](const std::string& message) {
      progress.say("error: " + message);
    };
    if (!options.quiet) warnings.setPrint([&](const std::string& line) { progress.say(line); });
    pipeline.run();
    if (!options.quiet) warnings.setPrint(printLine);
  } catch (const FileExistsError& error) {
    warnings.setPrint({});
    // Of a video, which another process has finished meanwhile.
    if (options.route.existing == Existing::Skip) return keep();
    report.write(pipeline, seconds(), error.what());
    throw;
  } catch (const std::exception& error) {
    warnings.setPrint({});
    report.write(pipeline, seconds(), error.what());
    throw;
  }
  if (const std::string loss = route.source->loss(); !loss.empty()) {
    warnings.add("'" + options.route.input + "': " + loss);
  }
  if (const std::string damage = route.source->damage(); !damage.empty()) {
    warnings.add("'" + options.route.input + "': " + damage);
  }
  report.write(pipeline, seconds(), pipeline.interruptedBy() != 0 ? "interrupted" : "");
  throwUnlessDone(options, pipeline, route);
  // Standard output may carry the frames.
  std::ostream& out = options.route.output == media::kStandardStream ? streams.err : streams.out;
  if (!options.quiet) out << summary(route.output, pipeline.tally(), seconds());
}

}  // namespace lomix::batch
