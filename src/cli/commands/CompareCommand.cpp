#include "cli/commands/CompareCommand.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <ostream>
#include <sstream>

#include "cli/figures/ContactSheet.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
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

/// "12/255 in green at (14, 20), PSNR 34.21 dB"
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

/// The left half of one and the right half of the other, a white line between.
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

}  // namespace

CompareCommand::CompareCommand(CLI::App& app) {
  app.add_option("A", a_, "The first picture")->type_name("FILE")->required();
  app.add_option("B", b_, "The second one, of the same size")->type_name("FILE")->required();
  app.add_option("OUTPUT", output_, "A picture of both to write, if wanted")->type_name("FILE");
  app.add_option("--view", view_,
                 "What OUTPUT shows: side (A beside B, the default),\n"
                 "split (the left half of A, the right half of B) or\n"
                 "difference (how far each colour is apart)")
      ->type_name("side|split|difference");
  app.add_option("--gain", gain_, "How much differences are brightened; 8 by default")
      ->type_name("N")
      ->check(CLI::Range(0.001, 65536.0));
  app.add_flag("--overwrite", overwrite_, "Replace OUTPUT if it exists");
  app.footer(
      "Prints the largest difference and the peak signal-to-noise ratio.\n\n"
      "Examples:\n"
      "  lomix compare before.png after.png\n"
      "  lomix compare before.png after.png both.png --view split\n"
      "  lomix compare a.exr b.exr where.png --view difference --gain 100\n");
}

Picture CompareCommand::draw(const Picture& a, const Picture& b, const std::string& finding) const {
  const auto name = [](const std::string& file) {
    return std::filesystem::path(file).filename().string();
  };
  const Picture a8 = toDepth(a, 8);
  const Picture b8 = toDepth(b, 8);
  const int count = view_ == "side" ? 2 : 1;
  ContactSheet sheet({count, count, a.width(), a.height(), 1}, {});
  if (view_ == "side") {
    sheet.place(0, a8, {name(a_)});
    sheet.place(1, b8, {name(b_)});
  } else if (view_ == "split") {
    sheet.place(0, split(a8, b8), {name(a_) + "  |  " + name(b_)});
  } else {
    sheet.place(0, differencePicture(a, b, gain_),
                {"difference × " + shortest(gain_) + "; largest: " + finding});
  }
  return sheet.finish();
}

void CompareCommand::run(const Streams& streams) {
  if (view_ != "side" && view_ != "split" && view_ != "difference") {
    throw UsageError("--view: there is no view '" + view_ + "' (use side, split or difference)");
  }
  if (!output_.empty()) media::checkWritable(output_, overwrite_);
  Picture a = media::readPicture(a_);
  Picture b = media::readPicture(b_);
  if (a.width() != b.width() || a.height() != b.height()) {
    throw CommandError("lomix compare: '" + a_ + "' is " + sizeText(a) + " and '" + b_ + "' is " +
                       sizeText(b) + " (compare pictures of one size)");
  }
  const int depth = std::max(a.depth(), b.depth());
  a = toDepth(std::move(a), depth);
  b = toDepth(std::move(b), depth);
  const std::string finding = findingText(measureDifference(a, b), depth);
  if (!output_.empty()) media::writePicture(draw(a, b, finding), output_, overwrite_);
  streams.out << "largest difference: " << finding << "\n";
}

}  // namespace lomix::cli
