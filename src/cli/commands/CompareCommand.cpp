#include <CLI/App.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string>

#include "cli/commands/Commands.h"
#include "cli/figures/ContactSheet.h"
#include "media/picture/Difference.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/NewFile.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

using media::Picture;

std::string sizeText(const Picture& picture) {
  return std::to_string(picture.width()) + "x" + std::to_string(picture.height());
}

std::string levelText(double level, int depth) {
  if (depth == 8) return std::to_string(std::lround(level * 255.0)) + "/255";
  return shortest(level);
}

/// Returns a text such as "12/255 in green at (14, 20), PSNR 34.21 dB".
std::string findingText(const media::Difference& difference, int depth) {
  constexpr std::array<const char*, 4> kChannels{"alpha", "red", "green", "blue"};
  if (difference.largest == 0.0) return "none, the pictures are the same";
  std::ostringstream text;
  text << levelText(difference.largest, depth) << " in "
       << kChannels.at(static_cast<std::size_t>(difference.channel)) << " at (" << difference.x
       << ", " << difference.y << "), PSNR " << std::fixed << std::setprecision(2)
       << difference.psnr << " dB";
  return text.str();
}

/// Returns the left half of a and the right half of b with a white line between.
Picture split(const Picture& a, const Picture& b) {
  Picture both = b;
  const int middle = a.width() / 2;
  for (int y = 0; y < a.height(); ++y) {
    const auto left = a.row8(y).first(static_cast<std::size_t>(middle) * Picture::kChannels);
    std::ranges::copy(left, both.row8(y).begin());
    std::ranges::fill(both.row8(y).subspan(left.size(), Picture::kChannels), std::uint8_t{255});
  }
  return both;
}

/// The options of `lomix compare`.
struct Options {
  std::string a;
  std::string b;
  std::string output;
  std::string view = "side";
  double gain = 8.0;
  bool overwrite = false;
};

void declare(CLI::App& app, Options& options) {
  app.add_option("A", options.a, "The first picture")->type_name("FILE")->required();
  app.add_option("B", options.b, "The second picture, of the same size")
      ->type_name("FILE")
      ->required();
  app.add_option("OUTPUT", options.output, "A picture of both to write; optional")
      ->type_name("FILE");
  app.add_option("--view", options.view,
                 "What OUTPUT shows: side (A beside B, the default),\n"
                 "split (the left half of A, the right half of B) or\n"
                 "difference (of each colour)")
      ->type_name("side|split|difference");
  app.add_option("--gain", options.gain, "Factor that brightens differences; 8 by default")
      ->type_name("N")
      ->check(CLI::Range(0.001, 65536.0));
  app.add_flag("--overwrite", options.overwrite, "Replace OUTPUT if it exists");
  app.footer(
      "Prints the largest difference and the peak signal-to-noise ratio.\n\n"
      "Examples:\n"
      "  lomix compare before.png after.png\n"
      "  lomix compare before.png after.png both.png --view split\n"
      "  lomix compare a.exr b.exr where.png --view difference --gain 100\n");
}

Picture draw(const Options& options, const Picture& a, const Picture& b,
             const std::string& finding) {
  const auto name = [](const std::string& file) {
    return std::filesystem::path(file).filename().string();
  };
  const Picture a8 = toDepth(a, 8);
  const Picture b8 = toDepth(b, 8);
  const int count = options.view == "side" ? 2 : 1;
  ContactSheet sheet({count, count, a.width(), a.height(), 1}, {});
  if (options.view == "side") {
    sheet.place(0, a8, {name(options.a)});
    sheet.place(1, b8, {name(options.b)});
  } else if (options.view == "split") {
    sheet.place(0, split(a8, b8), {name(options.a) + "  |  " + name(options.b)});
  } else {
    sheet.place(0, differencePicture(a, b, options.gain),
                {"difference × " + shortest(options.gain) + "; largest: " + finding});
  }
  return sheet.finish();
}

void run(const Options& options, const Streams& streams) {
  if (options.view != "side" && options.view != "split" && options.view != "difference") {
    throw UsageError("--view: there is no view '" + options.view +
                     "' (use side, split or difference)");
  }
  if (!options.output.empty()) {
    requireDistinctFiles({{"OUTPUT", options.output}}, {{"A", options.a}, {"B", options.b}});
  }
  if (!options.output.empty()) media::checkWritable(options.output, options.overwrite);
  Picture a = media::readPicture(options.a);
  Picture b = media::readPicture(options.b);
  if (a.width() != b.width() || a.height() != b.height()) {
    throw CommandError("lomix compare: '" + options.a + "' is " + sizeText(a) + " and '" +
                       options.b + "' is " + sizeText(b) + " (compare pictures of one size)");
  }
  const int depth = std::max(a.depth(), b.depth());
  a = toDepth(std::move(a), depth);
  b = toDepth(std::move(b), depth);
  const std::string finding = findingText(measureDifference(a, b), depth);
  if (!options.output.empty()) {
    media::writePicture(draw(options, a, b, finding), options.output, options.overwrite);
  }
  streams.out << "largest difference: " << finding << "\n";
}

}  // namespace

Command addCompareCommand(CLI::App& lomix) {
  return addCommand<Options>(lomix, "compare",
                             "Measure the difference of two pictures, and show it", declare, run);
}

}  // namespace lomix::cli
