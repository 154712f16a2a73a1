#include <CLI/App.hpp>
#include <filesystem>
#include <string>
#include <utility>

#include "cli/OptionValues.h"
#include "cli/commands/Commands.h"
#include "cli/figures/ProfilePlot.h"
#include "looks/ParameterTable.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/NewFile.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace lomix::cli {
namespace {

// At later times the profiles consist of rounding errors.
constexpr double kMostSeconds = 100000;
constexpr media::Colour kWhite = media::grey(255);

std::pair<double, double> parseSpan(const std::string& text) {
  const std::size_t colon = text.find(':');
  const auto first = parseNumber(trimmed(std::string_view(text).substr(0, colon)));
  const auto last = colon == std::string::npos
                        ? std::nullopt
                        : parseNumber(trimmed(std::string_view(text).substr(colon + 1)));
  if (!first || !last || *last - *first < 0.001 || *first < -kMostSeconds || *last > kMostSeconds) {
    throw UsageError(
        "--over: '" + text +
        "' is not a span of time (write FROM:TO in seconds, such as 0:8, up to 100000)");
  }
  return {*first, *last};
}

/// The options of `lomix plot`.
struct PlotOptions {
  std::string output;
  int rows = 540;
  std::string time = "1";
  std::string over = "0:8";
  bool overwrite = false;
};

void declare(CLI::App& app, PlotOptions& options) {
  app.add_option("OUTPUT", options.output,
                 "The picture to write; its extension chooses the\n"
                 "format: .svg, .png, .jpg, ...")
      ->type_name("FILE")
      ->required();
  app.add_option("--rows", options.rows, "Height of the frame in rows; 540 by default")
      ->type_name("N")
      ->check(CLI::Range(16, 16384));
  app.add_option("--time", options.time, "Time of the curves; 1 by default")
      ->type_name("SECONDS|N/D");
  app.add_option("--over", options.over, "The span of the time axis; 0:8 by default")
      ->type_name("FROM:TO");
  app.add_flag("--overwrite", options.overwrite, "Replace OUTPUT if it exists");
  addNoFsync(app);
  app.footer(
      "Every row of a frame has three values, which depend only on its position and the time: the\n"
      "weight of the scan distortion, the brightness of the bars, the jitter of the signal.\n\n"
      "Examples:\n"
      "  lomix plot profiles.png\n"
      "  lomix plot profiles.svg --rows 1080 --time 2.5 --over 0:20\n");
}

void run(const PlotOptions& options, const Streams&) {
  const auto [from, to] = parseSpan(options.over);
  const ProfileRange range{options.rows, batch::inSeconds(parseTime(options.time)), from, to};
  const bool svg =
      looks::normalisedName(std::filesystem::path(options.output).extension().string()) == ".svg";
  if (svg) {
    checkNewFile(options.output, options.overwrite);
  } else {
    media::checkWritable(options.output, options.overwrite);
  }
  media::Drawing drawing(svg ? media::Drawing::Kind::Svg : media::Drawing::Kind::Pixels,
                         kProfilePlotWidth, kProfilePlotHeight, kWhite);
  drawProfiles(drawing, range);
  if (svg) {
    writeText(std::move(drawing).svg(), options.output, options.overwrite);
  } else {
    media::writePicture(drawing.picture(), options.output, options.overwrite);
  }
}

}  // namespace

Command addPlotCommand(CLI::App& lomix) {
  return addCommand<PlotOptions>(lomix, "plot", "Plot the row profiles of a frame", declare, run);
}

}  // namespace lomix::cli
