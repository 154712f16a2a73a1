#include <CLI/App.hpp>
#include <string>

#include "cli/OptionValues.h"
#include "cli/commands/Commands.h"
#include "media/drawing/Scene.h"
#include "media/drawing/TestCard.h"
#include "media/drawing/TestPicture.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// The options of `lomix testcard`.
struct TestCardOptions {
  std::string output;
  std::string size = "1280x720";
  bool scene = false;
  bool alpha = false;
  bool overwrite = false;
};

void declare(CLI::App& app, TestCardOptions& options) {
  app.add_option("OUTPUT", options.output, "The picture to write; its extension chooses the format")
      ->type_name("FILE")
      ->required();
  app.add_option("--size", options.size,
                 "Width and height in pixels, each from 1 to " +
                     std::to_string(media::kMaxTestPictureSide) + ";\n1280x720 by default")
      ->type_name("WxH");
  CLI::Option* scene = app.add_flag("--scene", options.scene,
                                    "Draw a landscape instead: an evening at a lake, with\n"
                                    "soft colours where the card has straight lines");
  app.add_flag("--alpha", options.alpha,
               "Make the card's lower right corner transparent, to see\n"
               "what becomes of transparency")
      ->excludes(scene);
  app.add_flag("--overwrite", options.overwrite, "Replace OUTPUT if it exists");
  addNoFsync(app);
  app.footer(
      "Examples:\n"
      "  lomix testcard card.png\n"
      "  lomix testcard lake.jpg --scene\n"
      "  lomix testcard tall.tif --size 1080x1920 --alpha\n");
}

void run(const TestCardOptions& options, const Streams&) {
  const batch::PairOfWholes size = parseSize(options.size);
  if (size.first > media::kMaxTestPictureSide || size.second > media::kMaxTestPictureSide) {
    throw UsageError("--size: " + options.size + " is too large (use at most " +
                     std::to_string(media::kMaxTestPictureSide) + " to each side)");
  }
  media::checkWritable(options.output, options.overwrite);
  const auto corner = options.alpha ? media::CardCorner::Transparent : media::CardCorner::Opaque;
  media::writePicture(options.scene ? media::drawScene(size.first, size.second)
                                    : media::drawTestCard(size.first, size.second, corner),
                      options.output, options.overwrite);
}

}  // namespace

Command addTestCardCommand(CLI::App& lomix) {
  return addCommand<TestCardOptions>(lomix, "testcard",
                                     "Draw a television test card or a landscape", declare, run);
}

}  // namespace lomix::cli
