#include "cli/RenderCommand.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <optional>
#include <ostream>
#include <thread>
#include <utility>

#include "cli/Errors.h"
#include "cli/Numbers.h"
#include "cli/Plugin.h"
#include "cli/PresetStore.h"
#include "cli/RowsRenderer.h"
#include "media/PictureFile.h"

namespace lomix::cli {
namespace {

using host::Personality;
using media::Picture;

Personality parsePersonality(const std::string& text) {
  if (text == "ae") return Personality::AfterEffects;
  if (text == "premiere") return Personality::Premiere;
  throw UsageError("--host: there is no host '" + text + "' (use ae or premiere)");
}

enum class Engine { Rows, Plugin };

/// text: empty for the default. module: the module that was named, empty for none.
Engine parseEngine(const std::string& text, const std::string& module) {
  if (text.empty()) return module.empty() ? Engine::Rows : Engine::Plugin;
  if (text == "plugin") return Engine::Plugin;
  if (text != "rows") {
    throw UsageError("--engine: there is no engine '" + text + "' (use rows or plugin)");
  }
  if (!module.empty()) {
    throw UsageError("--plugin: the engine rows loads no module (use --engine plugin)");
  }
  return Engine::Rows;
}

/// wanted: 0 for all processors.
int threadCount(int wanted) {
  if (wanted > 0) return wanted;
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

/// Nothing: as the input wants it.
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

PF_RationalScale toRational(double aspect) {
  constexpr int kUnits = 100000;
  const auto units = static_cast<int>(std::lround(aspect * kUnits));
  const int divisor = std::gcd(units, kUnits);
  return {units / divisor, static_cast<A_u_long>(kUnits / divisor)};
}

/// World and picture hold the same pixels; only the padding of the rows differs.
void copyIn(const Picture& picture, host::World& world) {
  for (int y = 0; y < picture.height(); ++y) {
    if (picture.depth() == 8) {
      std::memcpy(world.row(y), picture.row8(y).data(), picture.row8(y).size_bytes());
    } else {
      std::memcpy(world.row(y), picture.row32(y).data(), picture.row32(y).size_bytes());
    }
  }
}

void copyOut(const host::World& world, Picture& picture) {
  for (int y = 0; y < picture.height(); ++y) {
    if (picture.depth() == 8) {
      std::memcpy(picture.row8(y).data(), world.row(y), picture.row8(y).size_bytes());
    } else {
      std::memcpy(picture.row32(y).data(), world.row(y), picture.row32(y).size_bytes());
    }
  }
}

/// A hint where the user set a time that the effect is not going to look at.
void noteIdleTime(const ParameterTable& table, const std::vector<Assignment>& assignments,
                  std::ostream& err) {
  const host::Parameter* time = table.find("Time");
  const host::Parameter* control = table.find("Time Control");
  if (time == nullptr || control == nullptr) return;
  bool timeIsSet = false;
  double controlValue = control->value();
  for (const Assignment& assignment : assignments) {
    if (assignment.index == time->index) timeIsSet = true;
    if (assignment.index == control->index) controlValue = assignment.value;
  }
  if (timeIsSet && valueText(*control, controlValue) == "Automatic") {
    err << "note: Time: it has no effect while Time Control is Automatic (add --set "
           "\"Time Control=Manual\", or use --time)\n";
  }
}

}  // namespace

RenderCommand::RenderCommand(CLI::App& app) {
  app.add_option("INPUT", input_, "The picture to read: PNG, JPEG, TIFF, OpenEXR, ...")
      ->type_name("FILE")
      ->required();
  app.add_option("OUTPUT", output_,
                 "The picture to write; its extension chooses the\n"
                 "format. JPEG knows no transparency: the colours are\n"
                 "written as they are")
      ->type_name("FILE")
      ->required();

  look_.addTo(app);
  app.add_option("--save-preset", savedPreset_,
                 "Write what --preset, --set and --key make together\n"
                 "as a preset, for use with --preset FILE")
      ->type_name("FILE")
      ->group("Effect");
  app.add_option("--time", time_,
                 "The frame's time: seconds such as 1.5, or a fraction\n"
                 "such as 45/30; 0 by default")
      ->type_name("SECONDS|N/D")
      ->group("Effect");

  const char* rendering = "Rendering";
  app.add_option("--depth", depth_,
                 "Bits per channel: 8, or 32 for float. By default 8\n"
                 "for 8-bit inputs and 32 for deeper ones")
      ->type_name("8|32")
      ->group(rendering);
  app.add_option("--downsample", downsample_,
                 "Render as a host does at reduced resolution: INPUT is\n"
                 "averaged to 1/X by 1/Y of its size, the effect is told\n"
                 "the factors, and OUTPUT has the smaller size")
      ->type_name("X[,Y]")
      ->group(rendering);
  app.add_option("--host", host_,
                 "The host to play: ae (After Effects, the default) or\n"
                 "premiere (Premiere Pro, renders 8 bits only)")
      ->type_name("ae|premiere")
      ->group(rendering);
  app.add_option("--engine", engine_,
                 "What computes the pixels: rows, the fast engine in\n"
                 "this program (default), or plugin, a module loaded as\n"
                 "a host loads it. The pixels are the same")
      ->type_name("rows|plugin")
      ->group(rendering);
  app.add_option("--plugin", plugin_,
                 "The module for --engine plugin, which this implies; by\n"
                 "default the one that is installed with lomix")
      ->type_name("FILE")
      ->group(rendering);
  app.add_option("--threads", threads_, "Threads of the rows engine; all processors by default")
      ->type_name("N")
      ->check(CLI::Range(1, 1024))
      ->group(rendering);

  const char* files = "Files and messages";
  app.add_flag("--overwrite", overwrite_, "Replace OUTPUT if it exists")->group(files);
  app.add_flag("--quiet", quiet_, "Print errors only")->group(files);

  app.footer(
      "Examples:\n"
      "  lomix render in.png out.png --set Noise=30 --set \"Vertical Sync=5\" --time 1.5\n"
      "  lomix render in.png out.png --preset weak-aerial --set Noise=60\n"
      "  lomix render plate.exr out.exr --set scan-distortion=20 --set distortion-mode=Tile\n"
      "  lomix render in.tif half.tif --downsample 2 --overwrite\n"
      "  lomix render in.png out.png --key \"Noise=0:0,2.5:60@ease,4:0\" --time 2\n");
}

void RenderCommand::run(const Streams& streams) {
  const Personality personality = parsePersonality(host_);
  const FrameTime time = parseTime(time_);
  const PairOfWholes factors = parseDownsample(downsample_);
  const std::optional<int> wantedDepth = parseDepth(depth_, personality);
  const Engine engine = parseEngine(engine_, plugin_);

  Plugin plugin =
      engine == Engine::Plugin ? Plugin(findPlugin(plugin_), personality) : Plugin(personality);
  const Look look = look_.read(plugin.parameters());
  const std::vector<Assignment> assignments = look.at(inSeconds(time));
  for (const Assignment& assignment : assignments) {
    plugin.host().setValue(assignment.index, assignment.value);
  }
  if (!quiet_) noteIdleTime(plugin.parameters(), assignments, streams.err);

  // Before the work, so that a long render does not end at a name that was taken all along.
  media::checkWritable(output_, overwrite_);
  if (!savedPreset_.empty()) savePreset(look, plugin.parameters(), savedPreset_, overwrite_);
  Picture picture = media::readPicture(input_);

  host::FrameSettings frame;
  frame.currentTime = time.value;
  frame.timeScale = time.scale;
  frame.layerWidth = picture.width();
  frame.layerHeight = picture.height();
  frame.pixelAspect = toRational(picture.info.pixelAspect);
  frame.downsampleX = {1, static_cast<A_u_long>(factors.first)};
  frame.downsampleY = {1, static_cast<A_u_long>(factors.second)};

  const int depth =
      wantedDepth.value_or(personality == Personality::Premiere ? 8 : picture.depth());
  // The average is taken at the deeper of the two depths.
  if (depth == 32) picture = toDepth(std::move(picture), 32);
  picture = toDepth(reduced(std::move(picture), factors.first, factors.second), depth);

  Picture rendered = picture;
  if (engine == Engine::Plugin) {
    host::World input(picture.width(), picture.height(), depth);
    host::World output(picture.width(), picture.height(), depth);
    copyIn(picture, input);
    requireSuccess(plugin.host().render(frame, input, output), "render the frame", plugin.host());
    copyOut(output, rendered);
  } else {
    renderRows(plugin.host().parameters(), frame, picture, rendered, threadCount(threads_));
  }
  plugin.finish();
  media::writePicture(rendered, output_, overwrite_);

  if (!quiet_) {
    streams.out << "wrote '" << output_ << "': " << picture.width() << "x" << picture.height()
                << ", " << depth << " bits, time " << time.value << "/" << time.scale << " s\n";
  }
}

}  // namespace lomix::cli
