#include <CLI/App.hpp>
#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "batch/RenderRun.h"
#include "cli/FrameList.h"
#include "cli/LookOptions.h"
#include "cli/OptionValues.h"
#include "cli/WaysOut.h"
#include "cli/commands/Commands.h"
#include "media/picture/SequenceName.h"
#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

using host::Personality;

Personality parsePersonality(const std::string& text) {
  if (text == "ae") return Personality::AfterEffects;
  if (text == "premiere") return Personality::Premiere;
  throw UsageError("--host: there is no host '" + text + "' (use ae or premiere)");
}

/// text: empty for the default. module: the module that was named, empty for none.
batch::Engine parseEngine(const std::string& text, const std::string& module) {
  if (text.empty()) return module.empty() ? batch::Engine::Rows : batch::Engine::Plugin;
  if (text == "plugin") return batch::Engine::Plugin;
  if (text != "rows") {
    throw UsageError("--engine: there is no engine '" + text + "' (use rows or plugin)");
  }
  if (!module.empty()) {
    throw UsageError("--plugin: the engine rows loads no module (use --engine plugin)");
  }
  return batch::Engine::Rows;
}

/// Returns bits per channel; nothing for the input's own.
std::optional<int> parseDepth(const std::string& text, Personality personality) {
  if (text.empty()) return std::nullopt;
  if (text != "8" && text != "32") {
    throw UsageError("--depth: " + text + " bits cannot be rendered (use 8 or 32)");
  }
  if (text == "32" && personality == Personality::Premiere) {
    throw UsageError("--depth: the host premiere renders 8 bits only (use --depth 8 or --host ae)");
  }
  return text == "8" ? 8 : 32;
}

/// Prints a hint where Time is set but has no effect.
void noteIdleTime(const looks::ParameterTable& table, const looks::Look& look, std::ostream& err) {
  const looks::Parameter* time = table.find("Time");
  const looks::Parameter* control = table.find("Time Control");
  if (time == nullptr || control == nullptr || !look.curves().contains(time->index)) return;
  if (looks::valueText(*control, look.valueAt(*control, 0.0)) == "Automatic") {
    err << "note: Time: it has no effect while Time Control is Automatic (add --set "
           "\"Time Control=Manual\", or use --time)\n";
  }
}

/// The options of `lomix render`.
struct RenderOptions {
  std::vector<std::string> files;  ///< The inputs, and the output at the end.
  bool recursive = false;
  const CLI::App* parser = nullptr;
  LookOptions look;
  std::string savedPreset;
  std::string time;
  std::string frames;
  std::string fps;
  std::string share;
  bool shareBlocks = false;
  std::string depth;
  std::string colour;
  std::string downsample = "1";
  std::string host = "ae";
  std::string engine;
  std::string plugin;
  int threads = 0;
  std::string format;
  std::optional<int> quality;
  std::string report;
  std::string codec;
  std::optional<int> crf;
  std::string raw;
  bool deinterlace = false;
  bool allowsPlaylists = false;
  bool videoOnly = false;
  bool noAudio = false;
  bool noSubtitles = false;
  bool noData = false;
  bool keepTimestamps = false;
  bool overwrite = false;
  bool skipExisting = false;
  bool quiet = false;
};

void declare(CLI::App& app, RenderOptions& options) {
  options.parser = &app;
  app.add_option("INPUT OUTPUT", options.files,
                 "INPUT: a picture (PNG, JPEG, TIFF, OpenEXR, ...), a\n"
                 "numbered sequence such as shot.####.exr or\n"
                 "shot.%04d.png, or a video; - for standard input.\n"
                 "OUTPUT: the picture, sequence or video to write; the\n"
                 "extension chooses the format; - for standard output.\n"
                 "JPEG knows no transparency: the colours are written as\n"
                 "they are. Several inputs, or a folder of pictures and\n"
                 "videos, are written to the folder OUTPUT")
      ->type_name("FILE...");
  app.add_flag("--recursive", options.recursive, "Render also what is in the folders below INPUT");

  options.look.addTo(app);
  app.add_option("--save-preset", options.savedPreset,
                 "Save the parameters of --preset, --set and --key as\n"
                 "a preset, for use with --preset FILE")
      ->type_name("FILE")
      ->group("Effect");
  app.add_option("--time", options.time,
                 "The time of a single picture: seconds such as 1.5, or\n"
                 "a fraction such as 45/30; 0 by default")
      ->type_name("SECONDS|N/D")
      ->group("Effect");

  const char* sequences = "Sequences";
  app.add_option("--frames", options.frames,
                 "The frames to render: 1-100, 1-99x2 (every second),\n"
                 "1,5,8-12; by default all that exist. A single picture\n"
                 "is repeated for them; those of a video count from 0.\n"
                 "Also times since the first frame, 2s-5.5s, and\n"
                 "timecodes of a video, 00:00:02:00-00:00:05:12")
      ->type_name("A-B[xS]|As-Bs|TIMECODES,...")
      ->group(sequences);
  app.add_option("--fps", options.fps,
                 "Frames a second: frame n has the time n over this.\n"
                 "24 by default for pictures")
      ->type_name("N|N/D")
      ->group(sequences);

  CLI::Option* share = app.add_option("--share", options.share,
                                      "Render one of N shares, K from 1 to N: every Nth frame,\n"
                                      "or every Nth input for a folder. Of a video as OUTPUT,\n"
                                      "named with a place for K (film.##.mkv), the Kth segment,\n"
                                      "without sound; 'lomix join' makes the film of them. In\n"
                                      "the name of a report, # signs are the place for K")
                           ->type_name("K/N")
                           ->group(sequences);
  app.add_flag("--share-blocks", options.shareBlocks,
               "Frames that follow each other in each share; always so\n"
               "for a video as OUTPUT")
      ->needs(share)
      ->group(sequences);

  const char* pictures = "Pictures";
  app.add_option("--format", options.format,
                 "The format to write pictures in: png, jpg, tif, exr,\n"
                 "dpx, tga, ... By default that of OUTPUT's extension, and\n"
                 "for standard output that of INPUT. Also the format of a\n"
                 "picture on standard input whose content does not tell")
      ->type_name("NAME")
      ->group(pictures);
  app.add_option("--quality", options.quality,
                 "Quality of JPEG, 1 to 100 (best); 95 by default.\n"
                 "Colours are stored at full resolution (4:4:4)")
      ->type_name("N")
      ->check(CLI::Range(1, 100))
      ->group(pictures);

  const char* video = "Video";
  app.add_option("--codec", options.codec,
                 "How to write a video: h264, hevc, vp9 (with alpha),\n"
                 "prores (4444, with alpha), ffv1 (lossless, 8 or 16\n"
                 "bits), png, webp, apng, gif, raw (frames without a\n"
                 "container) or y4m. By default h264, prores for .mov,\n"
                 "ffv1 for .mkv and .avi, vp9 for .webm, y4m for standard\n"
                 "output. Of pictures with more than 8 bits, h264, hevc\n"
                 "and vp9 keep 10")
      ->type_name("CODEC")
      ->group(video);
  app.add_option("--crf", options.crf,
                 "Quality of h264, hevc and vp9, 0 (best) to 51, vp9 63;\n"
                 "16, 18 and 20 by default")
      ->type_name("N")
      ->check(CLI::Range(0, 63))
      ->group(video);
  app.add_option("--raw", options.raw,
                 "INPUT is raw frames of this size and FFmpeg pixel format\n"
                 "(rgba by default), at --fps; standard output then takes\n"
                 "frames of the same kind")
      ->type_name("WxH[:FORMAT]")
      ->group(video);
  app.add_flag("--deinterlace", options.deinterlace,
               "Make frames of two fields frames of one time, with\n"
               "FFmpeg's filter bwdif, before the effect; by default\n"
               "the fields and their order are kept")
      ->group(video);
  addAllowPlaylists(app, options.allowsPlaylists)->group(video);
  app.add_flag("--video-only", options.videoOnly, "Leave all but the pictures out")->group(video);
  app.add_flag("--no-audio", options.noAudio, "Leave the sound out")->group(video);
  app.add_flag("--no-subtitles", options.noSubtitles, "Leave subtitles and their fonts out")
      ->group(video);
  app.add_flag("--no-data", options.noData, "Leave other data out without a warning")->group(video);
  app.add_flag("--keep-timestamps", options.keepTimestamps,
               "Keep the input's timestamps; by default the output\n"
               "begins at 0")
      ->group(video);

  const char* rendering = "Rendering";
  app.add_option("--depth", options.depth,
                 "Bits per channel: 8, or 32 for float. By default 8\n"
                 "for 8-bit inputs and 32 for deeper ones")
      ->type_name("8|32")
      ->group(rendering);
  addColour(app, "Convert INPUT, before the effect,", options.colour)->group(rendering);
  app.add_option("--downsample", options.downsample,
                 "Render as a host does at reduced resolution: INPUT is\n"
                 "averaged to 1/X by 1/Y of its size, the effect scales\n"
                 "its lengths to match, and OUTPUT has the smaller size")
      ->type_name("X[,Y]")
      ->group(rendering);
  app.add_option("--host", options.host,
                 "The host to imitate: ae (After Effects, the default) or\n"
                 "premiere (Premiere Pro, renders 8 bits only)")
      ->type_name("ae|premiere")
      ->group(rendering);
  app.add_option("--engine", options.engine,
                 "What computes the pixels: rows, the fast engine in\n"
                 "this program (default), or plugin, a module that is\n"
                 "loaded as a host loads it. The pixels are the same")
      ->type_name("rows|plugin")
      ->group(rendering);
  app.add_option("--plugin", options.plugin,
                 "The module for --engine plugin, which this implies; by\n"
                 "default the one that is installed with lomix")
      ->type_name("FILE")
      ->group(rendering);
  app.add_option("--threads", options.threads, "Frames in flight; all processors by default")
      ->type_name("N")
      ->check(CLI::Range(1, 1024))
      ->group(rendering);

  const char* files = "Files and messages";
  CLI::Option* overwrite = app.add_flag("--overwrite", options.overwrite,
                                        "Replace files that exist: OUTPUT, the report, the preset")
                               ->group(files);
  app.add_flag("--skip-existing", options.skipExisting,
               "Keep the frames that exist and render the others, to\n"
               "continue a run that was stopped")
      ->excludes(overwrite)
      ->group(files);
  addNoFsync(app)->group(files);
  app.add_option("--report", options.report,
                 "Write a report as JSON: frames, failures, times, settings,\n"
                 "versions")
      ->type_name("FILE")
      ->group(files);
  app.add_flag("--quiet", options.quiet, "Print errors only")->group(files);

  app.footer(
      "Examples:\n"
      "  lomix render in.png out.png --set Noise=30 --set \"Vertical Sync=5\" --time 1.5\n"
      "  lomix render in.png out.png --preset weak-aerial --set Noise=60\n"
      "  lomix render 'in.####.exr' 'out.####.exr' --frames 1001-1100 --fps 25 --set Noise=20\n"
      "  lomix render 'in.####.exr' 'out.####.exr' --set Noise=20 --share 3/8 --skip-existing\n"
      "  lomix render film.mp4 aired.mp4 --set \"Scan Distortion=15\" --crf 18\n"
      "  lomix render plate.exr out.exr --set scan-distortion=20 --set distortion-mode=Tile\n"
      "  lomix render plate.exr preview.png --colour linear:srgb --preset weak-aerial\n"
      "  lomix render a.jpg b.jpg c.png aired/ --preset weak-aerial\n"
      "  lomix render in.tif half.tif --downsample 2 --overwrite\n"
      "  lomix render in.png out.png --key \"Noise=0:0,2.5:60@ease,4:0\" --time 2\n");
}

/// Returns the options that do not change what is written.
const std::set<std::string>& idleOptions() {
  static const std::set<std::string> names{"--threads",   "--report",        "--quiet",
                                           "--overwrite", "--skip-existing", "--no-fsync",
                                           "--share",     "--save-preset",   "--share-blocks",
                                           "--engine",    "--plugin"};
  return names;
}

/// Fills in what concerns a share.
void chooseShare(const RenderOptions& options, batch::RunOptions& run) {
  run.arguments = {"render"};
  run.arguments.insert(run.arguments.end(), options.files.begin(), options.files.end());
  for (std::string& option : givenOptions(*options.parser, {})) {
    run.arguments.push_back(std::move(option));
  }
  if (options.share.empty()) return;
  run.route.share = parseShare(options.share);
  run.route.share->blocks = options.shareBlocks;
  // The values of the parameters are compared by themselves.
  std::set<std::string> without = idleOptions();
  without.insert({"--preset", "--set", "--key"});
  run.job = joined(givenOptions(*options.parser, without), "\n");
  if (const auto pattern = media::SequenceName::parse(options.report)) {
    run.reportFile = pattern->file(run.route.share->number).string();
  }
}

/// Returns whether the last name is the folder for the outputs of the others.
bool writesFolder(const std::vector<std::string>& files) {
  std::error_code ignored;
  const std::string& output = files.back();
  const bool folder = std::filesystem::is_directory(output, ignored) || output.ends_with('/');
  if (files.size() > 2 && !folder) {
    throw UsageError("OUTPUT: '" + output +
                     "' is no folder for several inputs (make it, or end its name with /)");
  }
  if (folder || !std::filesystem::is_directory(files.front(), ignored)) return folder;
  if (batch::isMediaName(output)) {
    throw UsageError("OUTPUT: '" + output + "' is the name of a file, but '" + files.front() +
                     "' is a folder (name a folder, or end its name with /)");
  }
  return true;
}

void run(const RenderOptions& options, const Streams& streams) {
  if (options.files.empty()) {
    throw UsageError("lomix render: INPUT is required (see 'lomix render --help')");
  }
  if (options.files.size() < 2) {
    throw UsageError("lomix render: OUTPUT is required (see 'lomix render --help')");
  }
  const bool folder = writesFolder(options.files);
  batch::RunOptions run;
  run.threads = threadCount(options.threads);
  run.reportFile = options.report;
  run.quiet = options.quiet;
  batch::RenderOptions rendering;
  rendering.personality = parsePersonality(options.host);
  rendering.downsample = parseDownsample(options.downsample);
  rendering.depth = parseDepth(options.depth, rendering.personality);
  rendering.colours = parseColour(options.colour);
  rendering.engine = parseEngine(options.engine, options.plugin);
  rendering.module = options.plugin;
  run.byPlugin = rendering.engine == batch::Engine::Plugin;
  run.savedPreset = options.savedPreset;
  run.withWayOut = withWayOut;

  chooseShare(options, run);

  batch::RouteOptions& route = run.route;
  route.input = options.files.front();
  route.output = options.files.back();
  if (!options.time.empty()) route.time = parseTime(options.time);
  if (!options.frames.empty()) route.frames = parseFrames(options.frames);
  if (!options.fps.empty()) route.rate = parseRate(options.fps);
  if (options.overwrite) route.existing = batch::Existing::Overwrite;
  if (options.skipExisting) route.existing = batch::Existing::Skip;
  route.threads = run.threads;
  route.otherInputs = options.look.files();
  if (!options.plugin.empty()) route.otherInputs.push_back({"--plugin", options.plugin});
  if (!options.format.empty()) {
    // Both "png" and ".png".
    const bool dot = options.format.starts_with('.');
    route.format = lowerCase(dot ? options.format : "." + options.format);
  }
  route.quality = options.quality;
  route.codec = options.codec;
  route.crf = options.crf;
  route.deinterlace = options.deinterlace;
  route.allowsPlaylists = options.allowsPlaylists;
  route.sound = !options.videoOnly && !options.noAudio;
  route.subtitles = !options.videoOnly && !options.noSubtitles;
  route.data = !options.videoOnly && !options.noData;
  route.keepTimestamps = options.keepTimestamps;
  if (!options.codec.empty()) media::requireVideoCodec(options.codec, "--codec");
  if (!options.raw.empty()) {
    const std::size_t colon = options.raw.find(':');
    route.rawSize = parseSize(options.raw.substr(0, colon), "--raw");
    route.rawFormat = colon == std::string::npos ? "rgba" : options.raw.substr(colon + 1);
    if (route.rawFormat.empty()) {
      throw UsageError("--raw: '" + options.raw +
                       "' names no pixel format after the colon (write one such as rgba)");
    }
    if (options.codec.empty() && route.output == media::kStandardStream) route.codec = "raw";
  }
  if (folder) {
    const auto makeRenderer = [&] { return std::make_unique<batch::FrameRenderer>(rendering); };
    const auto makeLook = [&](const looks::ParameterTable& table) {
      return options.look.read(table);
    };
    batch::runFolder(run, {options.files.begin(), options.files.end() - 1}, options.recursive,
                     makeRenderer, makeLook, streams);
    return;
  }
  batch::FrameRenderer renderer(rendering);
  const looks::Look look = options.look.read(renderer.parameters());
  if (!options.quiet) noteIdleTime(renderer.parameters(), look, streams.err);
  batch::runRender(run, renderer, look, streams);
}

}  // namespace

Command addRenderCommand(CLI::App& lomix) {
  return addCommand<RenderOptions>(lomix, "render", "Apply the effect to pictures or a video",
                                   declare, run);
}

}  // namespace lomix::cli
