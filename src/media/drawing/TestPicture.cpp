#include "media/drawing/TestPicture.h"

#include <string>

#include "support/MediaError.h"

namespace lomix::media {

Picture blankTestPicture(int width, int height) {
  if (width < 1 || height < 1 || width > kMaxTestPictureSide || height > kMaxTestPictureSide) {
    throw MediaError("test picture: a size of " + std::to_string(width) + "x" +
                     std::to_string(height) + " is not possible (each side is from 1 to " +
                     std::to_string(kMaxTestPictureSide) + ")");
  }
  Picture picture(width, height, 8);
  for (int y = 0; y < height; ++y) {
    const std::span<std::uint8_t> row = picture.row8(y);
    for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) row[i] = 255;
  }
  return picture;
}

}  // namespace lomix::media
