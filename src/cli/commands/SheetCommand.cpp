#include "cli/commands/SheetCommand.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <utility>

#include "batch/FrameRenderer.h"
#include "cli/OptionValues.h"
#include "cli/figures/ContactSheet.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"

namespace lomix::cli {
namespace {

constexpr int kUsualWidth = 320;
// The most pictures that stand in one row when nobody says how many.
constexpr int kUsualRow = 6;

}  // namespace

SheetCommand::SheetCommand(CLI::App& app) {
  app.add_option("INPUT", input_, "The picture to show the effect on")
      ->type_name("FILE")
      ->required();
  app.add_option("OUTPUT", output_, "The sheet to write; its extension chooses the format")
      ->type_name("FILE")
      ->required();

  const char* shown = "What to show (several make a table, the last across)";
  app.add_flag("--presets", presets_, "Every preset that comes with lomix")->group(shown);
  app.add_option("--sweep", sweeps_,
                 "A parameter at COUNT values, or at those listed;\n"
                 "may be given many times")
      ->type_name("NAME=FROM:TO:COUNT|NAME=VALUE,...")
      ->allow_extra_args(false)
      ->group(shown);
  app.add_option("--times", times_, "The look at COUNT times, or at those listed")
      ->type_name("FROM:TO:COUNT|SECONDS,...")
      ->group(shown);

  look_.addTo(app);
  app.get_option("--presets")->excludes(app.get_option("--preset"));
  app.add_option("--time", time_, "The time of the pictures without --times; 0 by default")
      ->type_name("SECONDS|N/D")
      ->group("Effect");

  const char* layout = "Layout";
  app.add_option("--columns", columns_, "Pictures in a row")
      ->type_name("N")
      ->check(CLI::Range(1, kMaxSheetCells))
      ->group(layout);
  app.add_option("--width", width_,
                 "Width of each picture in pixels; by default that of\n"
                 "INPUT, 320 at most")
      ->type_name("N")
      ->check(CLI::Range(16, 8192))
      ->group(layout);
  app.add_option("--title", title_, "A line above the pictures")->type_name("TEXT")->group(layout);
  app.add_flag("--overwrite", overwrite_, "Replace OUTPUT if it exists")->group(layout);
  app.footer(
      "Examples:\n"
      "  lomix sheet in.png noise.png --sweep Noise=0:100:5\n"
      "  lomix sheet in.png presets.jpg --presets --time 1.3 --columns 4\n"
      "  lomix sheet in.png drop.png --preset signal-drop --times 0:2:5\n"
      "  lomix sheet in.png both.png --sweep distortion-mode=Tile,Stretch \\\n"
      "      --sweep \"Scan Distortion=0:60:4\" --time 1.3\n");
}

std::vector<std::vector<Step>> SheetCommand::axes(const looks::ParameterTable& table) const {
  std::vector<std::vector<Step>> all;
  if (presets_) all.push_back(presetAxis(table));
  for (const std::string& sweep : sweeps_) all.push_back(parameterAxis(table, sweep));
  if (!times_.empty()) all.push_back(timeAxis(times_));
  if (all.empty()) {
    throw UsageError("lomix sheet: nothing tells what to show (add --sweep, --presets or --times)");
  }
  return all;
}

std::vector<SheetCommand::Cell> SheetCommand::cells(
    const looks::ParameterTable& table, const std::vector<std::vector<Step>>& axes) const {
  std::vector<Cell> all{{{}, {look_.read(table), parseTime(time_)}}};
  for (const std::vector<Step>& axis : axes) {
    if (all.size() * axis.size() > std::size_t{kMaxSheetCells}) {
      throw UsageError("lomix sheet: these are more than " + std::to_string(kMaxSheetCells) +
                       " pictures (ask for fewer)");
    }
    std::vector<Cell> product;
    for (const Cell& cell : all) {
      for (const Step& step : axis) {
        product.push_back(cell);
        product.back().label.push_back(step.label);
        step.apply(product.back().moment);
      }
    }
    all = std::move(product);
  }
  return all;
}

int SheetCommand::columnsFor(const std::vector<std::vector<Step>>& axes, int count) const {
  if (columns_ > 0) return columns_;
  if (axes.size() > 1) return static_cast<int>(axes.back().size());
  if (count <= kUsualRow) return count;
  return static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
}

void SheetCommand::run(const Streams&) {
  batch::FrameRenderer renderer({});
  const std::vector<std::vector<Step>> shown = axes(renderer.parameters());
  const std::vector<Cell> all = cells(renderer.parameters(), shown);
  media::checkWritable(output_, overwrite_);
  const media::Picture picture = media::readPicture(input_);

  const int count = static_cast<int>(all.size());
  const int width = width_ > 0 ? width_ : std::min(kUsualWidth, picture.width());
  // What an odd pixel aspect makes too high for an int is too high for a picture all the same.
  const double height = std::clamp(
      width * static_cast<double>(picture.height()) / (picture.width() * picture.info.pixelAspect),
      1.0, static_cast<double>(media::Picture::kMaxSide));
  ContactSheet sheet({count, columnsFor(shown, count), width, static_cast<int>(std::lround(height)),
                      static_cast<int>(shown.size())},
                     title_);
  const int threads = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  for (int i = 0; i < count; ++i) {
    const auto& [label, moment] = all[static_cast<std::size_t>(i)];
    media::Picture input = picture;
    media::Picture rendered;
    renderer.render(moment.look, input, moment.time, threads, rendered);
    sheet.place(i, toDepth(std::move(rendered), 8), label);
  }
  media::writePicture(sheet.finish(), output_, overwrite_);
}

}  // namespace lomix::cli
