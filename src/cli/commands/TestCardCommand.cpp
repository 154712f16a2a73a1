#include <CLI/App.hpp>
#include <string>

#include "cli/OptionValues.h"
#include "cli/commands/Commands.h"
#include "media/drawing/TestCard.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// The options of `lomix testcard`.
struct Options {
  std::string output;
  std::string size = "1280x720";
  bool overwrite = false;
};

void declare(CLI::App& app, Options& options) {
  app.add_option("OUTPUT", options.output, "The picture to write; its extension chooses the format")
      ->type_name("FILE")
      ->required();
  app.add_option("--size", options.size,
                 "Width and height in pixels, each from 1 to " +
                     std::to_string(media::kMaxTestCardSide) + ";\n1280x720 by default")
      ->type_name("WxH");
  app.add_flag("--overwrite", options.overwrite, "Replace OUTPUT if it exists");
  app.footer(
      "Examples:\n"
      "  lomix testcard card.png\n"
      "  lomix testcard tall.tif --size 1080x1920\n");
}

void run(const Options& options, const Streams&) {
  const batch::PairOfWholes size = parseSize(options.size);
  if (size.first > media::kMaxTestCardSide || size.second > media::kMaxTestCardSide) {
    throw UsageError("--size: " + options.size + " is too large (use at most " +
                     std::to_string(media::kMaxTestCardSide) + " to each side)");
  }
  media::checkWritable(options.output, options.overwrite);
  media::writePicture(media::drawTestCard(size.first, size.second), options.output,
                      options.overwrite);
}

}  // namespace

Command addTestCardCommand(CLI::App& lomix) {
  return addCommand<Options>(lomix, "testcard", "Draw a television test card", declare, run);
}

}  // namespace lomix::cli
