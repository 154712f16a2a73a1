#include <CLI/App.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "batch/Route.h"
#include "cli/OptionValues.h"
#include "cli/commands/Commands.h"
#include "cli/figures/ContactSheet.h"
#include "media/picture/Difference.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/MediaError.h"
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
struct CompareOptions {
  std::string a;
  std::string b;
  std::string output;
  std::string view = "side";
  double gain = 0.0;  ///< 0: as the difference needs.
  std::string failAbove;
  std::string colour;
  std::string colourA;
  std::string colourB;
  bool allowsPlaylists = false;
  bool overwrite = false;
};

void declare(CLI::App& app, CompareOptions& options) {
  app.add_option("A", options.a, "The first picture, sequence or video")
      ->type_name("FILE")
      ->required();
  app.add_option("B", options.b, "The second one, of the same size")->type_name("FILE")->required();
  app.add_option("OUTPUT", options.output,
                 "A picture of both to write; optional. Of several frames\n"
                 "it shows those that differ most")
      ->type_name("FILE");
  app.add_option("--view", options.view,
                 "What OUTPUT shows: side (A beside B, the default),\n"
                 "split (the left half of A, the right half of B) or\n"
                 "difference (of each colour)")
      ->type_name("side|split|difference");
  app.add_option("--gain", options.gain,
                 "Factor that brightens differences; by default the\n"
                 "whole number that makes the largest nearly white")
      ->type_name("N")
      ->check(CLI::Range(0.001, 65536.0));
  app.add_option("--fail-above", options.failAbove,
                 "Exit with code 1 where the largest difference is above\n"
                 "this, or a frame is in one of the two only. A whole\n"
                 "number counts levels of 8 bits, as 5 and 5/255; 0.02\n"
                 "is a part of the range")
      ->type_name("DIFFERENCE");
  CLI::Option* both = addColour(app, "Convert both pictures", options.colour);
  for (const auto& [name, side, value] :
       {std::tuple{"--colour-a", "A", &options.colourA}, {"--colour-b", "B", &options.colourB}}) {
    app.add_option(name, *value,
                   std::string("Convert ") + side + " alone, as --colour converts both")
        ->type_name("FROM:TO")
        ->excludes(both);
  }
  app.add_flag("--overwrite", options.overwrite, "Replace OUTPUT if it exists");
  addNoFsync(app);
  addAllowPlaylists(app, options.allowsPlaylists);
  app.footer(
      "Prints the largest difference and the peak signal-to-noise ratio. Of sequences and videos, "
      "all\n"
      "frames are compared: those of two sequences by their numbers, others by their order.\n\n"
      "Examples:\n"
      "  lomix compare before.png after.png\n"
      "  lomix compare before.png after.png both.png --view split\n"
      "  lomix compare a.exr b.exr where.png --view difference --gain 100\n"
      "  lomix compare plate.exr plate.png --colour-a linear:srgb\n"
      "  lomix compare before.mov after.mov --fail-above 2\n"
      "  lomix compare 'a.####.png' 'b.####.png' worst.png --view difference\n");
}

/// Returns the factor that brightens differences.
double gainOf(const CompareOptions& options, const media::Difference& difference) {
  constexpr double kMost = 65536.0;
  if (options.gain > 0.0) return options.gain;
  if (difference.largestColour == 0.0) return 1.0;
  // A little more than the quotient, which may have been rounded down below a whole number.
  return std::clamp(std::floor(1.0 / difference.largestColour + 1e-6), 1.0, kMost);
}

Picture draw(const CompareOptions& options, const Picture& a, const Picture& b, double gain,
             const std::string& finding) {
  const auto name = [](const std::string& file) {
    return std::filesystem::path(file).filename().string();
  };
  const Picture a8 = toDepth(a, 8);
  const Picture b8 = toDepth(b, 8);
  const int count = options.view == "side" ? 2 : 1;
  const int lines = options.view == "difference" ? 2 : 1;
  ContactSheet sheet({count, count, a.width(), a.height(), lines}, {});
  if (options.view == "side") {
    sheet.place(0, a8, {{name(options.a), ""}});
    sheet.place(1, b8, {{name(options.b), ""}});
  } else if (options.view == "split") {
    sheet.place(0, split(a8, b8), {{name(options.a) + "  |  " + name(options.b), ""}});
  } else {
    sheet.place(0, differencePicture(a, b, gain),
                {{"difference", "× " + shortest(gain)}, {"largest:", finding}});
  }
  return sheet.finish();
}

/// Reads DIFFERENCE. Returns a part of the range.
double parseLimit(const std::string& text) {
  const std::size_t slash = text.find('/');
  const auto value = parseNumber(std::string_view(text).substr(0, slash));
  double scale = text.find('.') == std::string::npos ? 255.0 : 1.0;
  if (slash != std::string::npos) {
    scale = parseNumber(std::string_view(text).substr(slash + 1)).value_or(0.0);
  }
  if (!value || *value < 0 || scale <= 0) {
    throw UsageError("--fail-above: '" + text +
                     "' is not a difference (use levels such as 5, or a part such as 0.02)");
  }
  return *value / scale;
}

/// One of the two sides: its frames in order.
class Side {
 public:
  /// colours: null for none.
  Side(const std::string& name, std::shared_ptr<const media::ColourConversion> colours,
       bool allowsPlaylists)
      : name_(name), colours_(std::move(colours)) {
    batch::RouteOptions options;
    options.input = name;
    options.threads = threadCount(0);
    options.allowsPlaylists = allowsPlaylists;
    source_ = batch::openSource(options);
    next();
  }

  const std::string& name() const { return name_; }
  const std::optional<batch::Frame>& frame() const { return frame_; }
  void next() { frame_ = source_->next(); }
  Picture load() {
    Picture picture;
    source_->load(*frame_, picture);
    return colours_ ? colours_->convert(std::move(picture)) : picture;
  }
  /// Returns whether the frames have the numbers of files.
  bool isSequence() const { return source_->isSequence(); }
  /// Throws where the input has less than it promises.
  void requireWhole() const {
    const std::string loss = source_->loss();
    if (!loss.empty()) throw MediaError(cannotRead(name_) + loss + " (copy it again)");
    const std::string damage = source_->damage();
    if (!damage.empty()) throw MediaError(cannotRead(name_) + damage + " (repair it)");
  }

 private:
  std::string name_;
  std::shared_ptr<const media::ColourConversion> colours_;
  std::unique_ptr<batch::FrameSource> source_;
  std::optional<batch::Frame> frame_;
};

/// The result of comparing all frames.
struct Comparison {
  std::int64_t compared = 0;
  std::vector<std::int64_t> onlyA, onlyB;  ///< Numbers of frames that the other side lacks.
  media::Difference worst;
  std::int64_t worstNumber = 0;
  Picture worstA, worstB;
  int depth = 8;
  double psnrSum = 0.0;  ///< Of the frames that differ.
  std::int64_t differing = 0;
  double lowestPsnr = std::numeric_limits<double>::infinity();
  std::int64_t lowestNumber = 0;
  media::PictureInfo infoA, infoB;  ///< Of the first frames.
};

void compareFrames(Comparison& result, const std::string& nameA, Picture a,
                   const std::string& nameB, Picture b, std::int64_t number) {
  if (a.width() != b.width() || a.height() != b.height()) {
    throw CommandError("lomix compare: '" + nameA + "' is " + sizeText(a) + " and '" + nameB +
                       "' is " + sizeText(b) + " (compare pictures of one size)");
  }
  if (result.compared == 0) {
    result.infoA = a.info;
    result.infoB = b.info;
  }
  const int depth = std::max(a.depth(), b.depth());
  a = toDepth(std::move(a), depth);
  b = toDepth(std::move(b), depth);
  const media::Difference difference = measureDifference(a, b);
  if (difference.largest > 0.0) {
    result.psnrSum += difference.psnr;
    ++result.differing;
  }
  if (difference.psnr < result.lowestPsnr) {
    result.lowestPsnr = difference.psnr;
    result.lowestNumber = number;
  }
  const bool worse =
      difference.largest > result.worst.largest ||
      (difference.largest == result.worst.largest && difference.psnr < result.worst.psnr);
  if (result.compared++ > 0 && !worse) return;
  result.worst = difference;
  result.worstNumber = number;
  result.depth = depth;
  result.worstA = std::move(a);
  result.worstB = std::move(b);
}

Comparison compareAll(Side& a, Side& b) {
  const bool byNumber = a.isSequence() && b.isSequence();
  Comparison result;
  for (std::int64_t place = 0; a.frame() || b.frame(); ++place) {
    const bool takeA =
        a.frame() && (!byNumber || !b.frame() || a.frame()->number <= b.frame()->number);
    const bool takeB =
        b.frame() && (!byNumber || !a.frame() || b.frame()->number <= a.frame()->number);
    const std::int64_t number = byNumber ? (takeA ? a : b).frame()->number : place;
    if (takeA && takeB) {
      compareFrames(result, a.name(), a.load(), b.name(), b.load(), number);
    } else {
      (takeA ? result.onlyA : result.onlyB).push_back(number);
    }
    if (takeA) a.next();
    if (takeB) b.next();
  }
  a.requireWhole();
  b.requireWhole();
  if (result.compared == 0) {
    throw CommandError("lomix compare: '" + a.name() + "' and '" + b.name() +
                       "' have no frame in common (check the names)");
  }
  return result;
}

std::string decibels(double psnr) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(2) << psnr << " dB";
  return text.str();
}

void print(const Comparison& result, const Side& a, const Side& b, std::ostream& out) {
  const bool several = result.compared > 1 || !result.onlyA.empty() || !result.onlyB.empty();
  const std::string finding = findingText(result.worst, result.depth);
  if (!several) {
    out << "largest difference: " << finding << "\n";
    return;
  }
  out << "frames compared: " << result.compared << ", " << result.differing << " differ\n";
  if (result.differing > 0) {
    out << "largest difference: frame " << result.worstNumber << ", " << finding << "\n"
        << "PSNR of the frames that differ: mean "
        << decibels(result.psnrSum / static_cast<double>(result.differing)) << ", lowest "
        << decibels(result.lowestPsnr) << " in frame " << result.lowestNumber << "\n";
  } else {
    out << "largest difference: none, the frames are the same\n";
  }
  for (const auto& [side, numbers] : {std::pair{&a, &result.onlyA}, {&b, &result.onlyB}}) {
    if (!numbers->empty()) {
      out << "only in '" << side->name() << "': frames " << media::listed(*numbers) << "\n";
    }
  }
}

/// Warns where the values of the two sides mean different things, or where a picture of them would
/// be shown as something else.
void warnOfEncodings(const CompareOptions& options, const Comparison& result, std::ostream& err) {
  const media::Encoding a = result.infoA.encoding;
  if (a != result.infoB.encoding) {
    err << "warning: '" + options.a + "' and '" + options.b +
               "': their values mean different things: " + nameOf(a) + " and " +
               nameOf(result.infoB.encoding) +
               " (convert one with --colour-a or --colour-b FROM:TO, such as linear:srgb)\n";
  }
  if (options.output.empty() || options.view == "difference") return;
  for (const media::PictureInfo& info : {result.infoA, result.infoB}) {
    const std::string note = encodingNote(info.encoding, media::Encoding::Display, "srgb");
    if (note.empty() || info.isEncodingChosen) continue;
    err << "warning: '" + options.output + "': " + note + "\n";
    return;
  }
}

void run(const CompareOptions& options, const Streams& streams) {
  if (options.view != "side" && options.view != "split" && options.view != "difference") {
    throw UsageError("--view: there is no view '" + options.view +
                     "' (use side, split or difference)");
  }
  const double limit = options.failAbove.empty() ? std::numeric_limits<double>::infinity()
                                                 : parseLimit(options.failAbove);
  if (!options.output.empty()) {
    requireDistinctFiles({{"OUTPUT", options.output}}, {{"A", options.a}, {"B", options.b}});
    media::checkWritable(options.output, options.overwrite);
  }
  const auto both = parseColour(options.colour);
  const auto coloursA = parseColour(options.colourA, "--colour-a");
  const auto coloursB = parseColour(options.colourB, "--colour-b");
  Side a(options.a, both ? both : coloursA, options.allowsPlaylists);
  Side b(options.b, both ? both : coloursB, options.allowsPlaylists);
  const Comparison result = compareAll(a, b);
  warnOfEncodings(options, result, streams.err);
  const double gain = gainOf(options, result.worst);
  if (!options.output.empty()) {
    const std::string finding = findingText(result.worst, result.depth);
    media::writePicture(draw(options, result.worstA, result.worstB, gain, finding), options.output,
                        options.overwrite);
  }
  print(result, a, b, streams.out);
  if (!options.output.empty() && options.view == "difference") {
    streams.out << "shown in '" << options.output << "': the difference × " << shortest(gain)
                << "\n";
  }
  if (options.failAbove.empty()) return;
  if (!result.onlyA.empty() || !result.onlyB.empty()) {
    throw CommandError("lomix compare: '" + options.a + "' and '" + options.b +
                       "' have different frames (see above)");
  }
  if (result.worst.largest > limit) {
    throw CommandError("lomix compare: the largest difference, " +
                       levelText(result.worst.largest, result.depth) + ", is above " +
                       options.failAbove + " (see above)");
  }
}

}  // namespace

Command addCompareCommand(CLI::App& lomix) {
  return addCommand<CompareOptions>(lomix, "compare",
                                    "Measure the difference of two pictures or videos, and show it",
                                    declare, run);
}

}  // namespace lomix::cli
