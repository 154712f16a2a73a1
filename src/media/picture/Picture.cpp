#include "media/picture/Picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "support/MediaError.h"

namespace lomix::media {

Picture::Picture(int width, int height, int depth) { reset(width, height, depth); }

void Picture::reset(int width, int height, int depth) {
  if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) {
    throw MediaError("picture: a size of " + std::to_string(width) + "x" + std::to_string(height) +
                     " is not possible (each side is from 1 to " + std::to_string(kMaxSide) + ")");
  }
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  if (pixels > kMaxPixels) {
    throw MediaError("picture: " + std::to_string(width) + "x" + std::to_string(height) +
                     " is too large (use at most " + std::to_string(kMaxPixels) + " pixels)");
  }
  if (depth != 8 && depth != 32) {
    throw MediaError("picture: a depth of " + std::to_string(depth) +
                     " bits is not possible (use 8 or 32)");
  }
  width_ = width;
  height_ = height;
  depth_ = depth;
  const std::size_t count = offset(height);
  bytes_.resize(depth == 8 ? count : 0);
  floats_.resize(depth == 8 ? 0 : count);
}

unsigned quantize(float value, unsigned max) {
  // Written so that NaN takes the first branch.
  if (!(value > 0.0f)) return 0;
  if (value >= 1.0f) return max;
  return static_cast<unsigned>(static_cast<double>(value) * max + 0.5);
}

Picture toDepth(Picture picture, int depth) {
  if (picture.depth() == depth) return picture;
  Picture converted(picture.width(), picture.height(), depth);
  converted.info = picture.info;
  for (int y = 0; y < picture.height(); ++y) {
    if (depth == 32) {
      std::ranges::transform(picture.row8(y), converted.row32(y).begin(),
                             [](std::uint8_t value) { return static_cast<float>(value) / 255.0f; });
    } else {
      std::ranges::transform(picture.row32(y), converted.row8(y).begin(), [](float value) {
        return static_cast<std::uint8_t>(quantize(value, 255));
      });
    }
  }
  return converted;
}

bool isTranslucent(const Picture& picture) {
  for (int y = 0; y < picture.height(); ++y) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(picture.width()); ++i) {
      const std::size_t at = i * Picture::kChannels;
      if (picture.depth() == 8 ? picture.row8(y)[at] != 255 : picture.row32(y)[at] != 1.0f) {
        return true;
      }
    }
  }
  return false;
}

void unpremultiply(Picture& picture) {
  for (int y = 0; y < picture.height(); ++y) {
    const std::span<float> row = picture.row32(y);
    for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) {
      const float alpha = row[i];
      if (alpha == 0.0f || alpha == 1.0f) continue;
      for (std::size_t c = 1; c < Picture::kChannels; ++c) row[i + c] /= alpha;
    }
  }
}

Picture reduced(Picture picture, int factorX, int factorY) {
  if (factorX == 1 && factorY == 1) return picture;
  if (picture.depth() == 8)
    return toDepth(reduced(toDepth(std::move(picture), 32), factorX, factorY), 8);

  const auto blocks = [](int length, int factor) {
    return length / factor + (length % factor != 0 ? 1 : 0);
  };
  Picture small(blocks(picture.width(), factorX), blocks(picture.height(), factorY), 32);
  small.info = picture.info;
  if (factorX != factorY) {
    small.info.pixelAspect *= static_cast<double>(factorX) / factorY;
  }
  for (int y = 0; y < small.height(); ++y) {
    // The last block of a row or column may be cut short by the picture's edge.
    const int top = y * factorY;
    const int bottom = top + std::min(factorY, picture.height() - top);
    for (int x = 0; x < small.width(); ++x) {
      const int left = x * factorX;
      const int right = left + std::min(factorX, picture.width() - left);
      std::array<double, Picture::kChannels> sum{};
      for (int sourceY = top; sourceY < bottom; ++sourceY) {
        const float* pixel = picture.row32(sourceY).data() + std::ptrdiff_t{left} * 4;
        for (int sourceX = left; sourceX < right; ++sourceX, pixel += Picture::kChannels) {
          const double alpha = pixel[0];
          sum[0] += alpha;
          for (std::size_t c = 1; c < sum.size(); ++c) sum[c] += alpha * pixel[c];
        }
      }
      float* target = small.row32(y).data() + std::ptrdiff_t{x} * 4;
      const double count = static_cast<double>(bottom - top) * (right - left);
      target[0] = static_cast<float>(sum[0] / count);
      for (std::size_t c = 1; c < sum.size(); ++c) {
        target[c] = sum[0] == 0.0 ? 0.0f : static_cast<float>(sum[c] / sum[0]);
      }
    }
  }
  return small;
}

Picture upright(Picture picture, int orientation) {
  if (orientation < 2 || orientation > 8) return picture;
  const bool onItsSide = orientation >= 5;
  const bool flipX = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const bool flipY = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  const int width = picture.width();
  const int height = picture.height();
  Picture turned(onItsSide ? height : width, onItsSide ? width : height, picture.depth());
  turned.info = picture.info;
  if (onItsSide) turned.info.pixelAspect = 1.0 / picture.info.pixelAspect;

  for (int y = 0; y < turned.height(); ++y) {
    for (int x = 0; x < turned.width(); ++x) {
      int fromX = onItsSide ? y : x;
      int fromY = onItsSide ? x : y;
      if (flipX) fromX = width - 1 - fromX;
      if (flipY) fromY = height - 1 - fromY;
      const auto copyPixel = [&](auto from, auto to) {
        std::ranges::copy(
            from.subspan(static_cast<std::size_t>(fromX) * Picture::kChannels, Picture::kChannels),
            to.begin() + std::ptrdiff_t{x} * Picture::kChannels);
      };
      if (picture.depth() == 8) {
        copyPixel(picture.row8(fromY), turned.row8(y));
      } else {
        copyPixel(picture.row32(fromY), turned.row32(y));
      }
    }
  }
  return turned;
}

}  // namespace lomix::media
