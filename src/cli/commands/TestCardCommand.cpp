#include "cli/commands/TestCardCommand.h"

#include "cli/OptionValues.h"
#include "media/drawing/TestCard.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::cli {

TestCardCommand::TestCardCommand(CLI::App& app) {
  app.add_option("OUTPUT", output_, "The picture to write; its extension chooses the format")
      ->type_name("FILE")
      ->required();
  app.add_option("--size", size_,
                 "Width and height in pixels, each from 1 to " +
                     std::to_string(media::kMaxTestCardSide) + ";\n1280x720 by default")
      ->type_name("WxH");
  app.add_flag("--overwrite", overwrite_, "Replace OUTPUT if it exists");
  app.footer(
      "Examples:\n"
      "  lomix testcard card.png\n"
      "  lomix testcard tall.tif --size 1080x1920\n");
}

void TestCardCommand::run(const Streams&) {
  const batch::PairOfWholes size = parseSize(size_);
  if (size.first > media::kMaxTestCardSide || size.second > media::kMaxTestCardSide) {
    throw UsageError("--size: " + size_ + " is too large (use at most " +
                     std::to_string(media::kMaxTestCardSide) + " to each side)");
  }
  media::checkWritable(output_, overwrite_);
  media::writePicture(media::drawTestCard(size.first, size.second), output_, overwrite_);
}

}  // namespace lomix::cli
