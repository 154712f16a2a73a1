#include <CLI/App.hpp>
#include <algorithm>
#include <cmath>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "batch/FrameRenderer.h"
#include "batch/Route.h"
#include "cli/FrameList.h"
#include "cli/LookOptions.h"
#include "cli/OptionValues.h"
#include "cli/commands/Commands.h"
#include "cli/figures/ContactSheet.h"
#include "cli/figures/SheetAxis.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::cli {
namespace {

constexpr int kUsualWidth = 320;
// The most pictures in one row without --columns.
constexpr int kUsualRow = 6;

/// The options of `lomix sheet`.
struct SheetOptions {
  std::string input;
  std::string output;
  LookOptions look;
  std::vector<std::string> sweeps;
  bool presets = false;
  std::string times;
  std::string time = "0";
  std::string frame;
  std::string colour;
  std::string title;
  int columns = 0;
  int width = 0;
  bool allowsPlaylists = false;
  bool overwrite = false;
};

void declare(CLI::App& app, SheetOptions& options) {
  app.add_option("INPUT", options.input, "The picture or video to show the effect on")
      ->type_name("FILE")
      ->required();
  app.add_option("OUTPUT", options.output, "The sheet to write; its extension chooses the format")
      ->type_name("FILE")
      ->required();

  const char* shown = "What to show (several make a table; the last one goes across)";
  app.add_flag("--presets", options.presets, "Every built-in preset")->group(shown);
  app.add_option("--sweep", options.sweeps,
                 "A parameter at COUNT values, or at those listed;\n"
                 "may be given many times")
      ->type_name("NAME=FROM:TO:COUNT|NAME=VALUE,...")
      ->allow_extra_args(false)
      ->group(shown);
  app.add_option("--times", options.times, "COUNT times, or those listed")
      ->type_name("FROM:TO:COUNT|SECONDS,...")
      ->group(shown);

  options.look.addTo(app);
  app.get_option("--presets")->excludes(app.get_option("--preset"));
  app.add_option("--time", options.time, "The time of the pictures without --times; 0 by default")
      ->type_name("SECONDS|N/D")
      ->group("Effect");

  app.add_option("--frame", options.frame,
                 "The frame of a video or sequence: its number, or a time\n"
                 "such as 2.5s; the first one by default")
      ->type_name("N|SECONDSs")
      ->group("Effect");

  addColour(app, "Convert INPUT, before the effect,", options.colour)->group("Effect");

  const char* layout = "Layout";
  app.add_option("--columns", options.columns, "Pictures in a row")
      ->type_name("N")
      ->check(CLI::Range(1, kMaxSheetCells))
      ->group(layout);
  app.add_option("--width", options.width,
                 "Width of each picture in pixels; by default that of\n"
                 "INPUT, 320 at most")
      ->type_name("N")
      ->check(CLI::Range(16, 8192))
      ->group(layout);
  app.add_option("--title", options.title, "A line above the pictures")
      ->type_name("TEXT")
      ->group(layout);
  app.add_flag("--overwrite", options.overwrite, "Replace OUTPUT if it exists")->group(layout);
  addNoFsync(app)->group(layout);
  addAllowPlaylists(app, options.allowsPlaylists)->group(layout);
  app.footer(
      "Examples:\n"
      "  lomix sheet in.png noise.png --sweep Noise=0:100:5\n"
      "  lomix sheet in.png presets.jpg --presets --time 1.3 --columns 4\n"
      "  lomix sheet in.png drop.png --preset signal-drop --times 0:2:5\n"
      "  lomix sheet film.mov presets.png --presets --frame 12.5s\n"
      "  lomix sheet in.png both.png --sweep distortion-mode=Tile,Stretch \\\n"
      "      --sweep \"Scan Distortion=0:60:4\" --time 1.3\n");
}

std::vector<std::vector<Step>> axesOf(const SheetOptions& options,
                                      const looks::ParameterTable& table) {
  std::vector<std::vector<Step>> all;
  if (options.presets) all.push_back(presetAxis(table));
  for (const std::string& sweep : options.sweeps) all.push_back(parameterAxis(table, sweep));
  if (!options.times.empty()) all.push_back(timeAxis(options.times));
  if (all.empty()) {
    throw UsageError("lomix sheet: there is nothing to show (add --sweep, --presets or --times)");
  }
  return all;
}

/// A picture of the sheet.
struct Cell {
  std::vector<Caption> captions;  ///< One for each axis.
  Moment moment;
};

/// Returns every combination of the axes' steps; the last axis changes fastest.
std::vector<Cell> cellsOf(const SheetOptions& options, const looks::ParameterTable& table,
                          const std::vector<std::vector<Step>>& axes) {
  std::vector<Cell> all{{{}, {options.look.read(table), parseTime(options.time)}}};
  for (const std::vector<Step>& axis : axes) {
    if (all.size() * axis.size() > std::size_t{kMaxSheetCells}) {
      throw UsageError("lomix sheet: this makes more than " + std::to_string(kMaxSheetCells) +
                       " pictures (ask for fewer)");
    }
    std::vector<Cell> product;
    for (const Cell& cell : all) {
      for (const Step& step : axis) {
        product.push_back(cell);
        product.back().captions.push_back(step.caption);
        step.apply(product.back().moment);
      }
    }
    all = std::move(product);
  }
  return all;
}

int columnsFor(const SheetOptions& options, const std::vector<std::vector<Step>>& axes, int count) {
  if (options.columns > 0) return options.columns;
  if (axes.size() > 1) return static_cast<int>(axes.back().size());
  if (count <= kUsualRow) return count;
  return static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
}

/// Returns the heads of a table: the last axis goes across.
SheetHeads headsOf(const std::vector<Cell>& cells, int columns) {
  SheetHeads heads;
  for (std::size_t i = 0; i < cells.size(); i += static_cast<std::size_t>(columns)) {
    heads.rows.emplace_back(cells[i].captions.begin(), cells[i].captions.end() - 1);
  }
  for (int i = 0; i < columns; ++i) {
    heads.columns.push_back(cells[static_cast<std::size_t>(i)].captions.back());
  }
  return heads;
}

/// Reads the picture, or the chosen frame of a video or sequence.
media::Picture inputPicture(const SheetOptions& options) {
  batch::RouteOptions route;
  route.input = options.input;
  route.threads = threadCount(0);
  route.allowsPlaylists = options.allowsPlaylists;
  if (!options.frame.empty()) {
    route.frames = parseFrames(options.frame);
    if (!route.frames.isOne()) {
      throw UsageError("--frame: '" + options.frame + "' is more than one frame (choose one)");
    }
  }
  const auto source = batch::openSource(route);
  const std::optional<batch::Frame> frame = source->next();
  if (!frame) {
    throw MediaError(cannotRead(options.input) + "it has no such frame (choose another)");
  }
  media::Picture picture;
  source->load(*frame, picture);
  return picture;
}

void run(const SheetOptions& options, const Streams& streams) {
  const auto colours = parseColour(options.colour);
  std::vector<NamedFile> inputs = options.look.files();
  inputs.push_back({"INPUT", options.input});
  requireDistinctFiles({{"OUTPUT", options.output}}, inputs);
  batch::FrameRenderer renderer({});
  const std::vector<std::vector<Step>> axes = axesOf(options, renderer.parameters());
  const std::vector<Cell> cells = cellsOf(options, renderer.parameters(), axes);
  media::checkWritable(options.output, options.overwrite);
  media::Picture picture = inputPicture(options);
  if (colours) {
    picture = colours->convert(std::move(picture));
  } else if (const std::string note =
                 encodingNote(picture.info.encoding, media::Encoding::Display, "srgb");
             !note.empty()) {
    streams.err << "warning: '" + options.output + "': " + note + "\n";
  }

  const int count = static_cast<int>(cells.size());
  const int width = options.width > 0 ? options.width : std::min(kUsualWidth, picture.width());
  // An extreme pixel aspect could give a height beyond int. The limit is a size that pictures
  // refuse.
  const double height = std::clamp(
      width * static_cast<double>(picture.height()) / (picture.width() * picture.info.pixelAspect),
      1.0, static_cast<double>(media::Picture::kMaxSide));
  const int columns = columnsFor(options, axes, count);
  // Other columns than those of the last axis are no table: each picture says what it shows.
  const bool isTable = axes.size() > 1 && columns == static_cast<int>(axes.back().size());
  ContactSheet sheet({count, columns, width, static_cast<int>(std::lround(height)),
                      isTable ? 0 : static_cast<int>(axes.size())},
                     options.title, isTable ? headsOf(cells, columns) : SheetHeads{});
  const int threads = threadCount(0);
  for (int i = 0; i < count; ++i) {
    const auto& [captions, moment] = cells[static_cast<std::size_t>(i)];
    media::Picture input = picture;
    media::Picture rendered;
    renderer.render(moment.look, input, moment.time, threads, rendered);
    sheet.place(i, toDepth(std::move(rendered), 8), isTable ? std::vector<Caption>{} : captions);
  }
  media::writePicture(sheet.finish(), options.output, options.overwrite);
}

}  // namespace

Command addSheetCommand(CLI::App& lomix) {
  return addCommand<SheetOptions>(
      lomix, "sheet", "Show a picture with several presets or values side by side", declare, run);
}

}  // namespace lomix::cli
