#include "media/video/FrameConverter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "support/MediaError.h"

namespace lomix::media {
namespace {

// Interpolates the chroma planes at full precision and rounds instead of truncating.
constexpr int kQuality =
    SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT;

constexpr std::size_t kChannels = Picture::kChannels;

AVPixelFormat formatOf(const AVFrame& frame) { return static_cast<AVPixelFormat>(frame.format); }

/// Returns row y of a plane as values of type T.
template <typename T>
T* plane(const AVFrame& frame, int index, int y) {
  return reinterpret_cast<T*>(frame.data[index] + std::ptrdiff_t{y} * frame.linesize[index]);
}

/// Copies the planes green, blue, red and, where the format has it, alpha to a picture's pixels.
template <typename From, typename To, typename Row, typename Convert>
void interleave(const AVFrame& frame, Row row, To opaque, Convert convert) {
  const bool alpha = hasAlphaChannel(formatOf(frame));
  const auto width = static_cast<std::size_t>(frame.width);
  for (int y = 0; y < frame.height; ++y) {
    const From* green = plane<From>(frame, 0, y);
    const From* blue = plane<From>(frame, 1, y);
    const From* red = plane<From>(frame, 2, y);
    To* to = row(y);
    for (std::size_t x = 0; x < width; ++x) {
      to[x * kChannels] = opaque;
      to[x * kChannels + 1] = convert(red[x]);
      to[x * kChannels + 2] = convert(green[x]);
      to[x * kChannels + 3] = convert(blue[x]);
    }
    if (!alpha) continue;
    const From* transparency = plane<From>(frame, 3, y);
    for (std::size_t x = 0; x < width; ++x) to[x * kChannels] = convert(transparency[x]);
  }
}

/// Copies a float picture to planes of 16 bits.
void separate(const Picture& picture, AVFrame& frame) {
  const bool alpha = hasAlphaChannel(formatOf(frame));
  constexpr std::array<int, kChannels> kPlanes{3, 2, 0, 1};
  for (int y = 0; y < frame.height; ++y) {
    const std::span<const float> from = picture.row32(y);
    for (std::size_t c = alpha ? 0 : 1; c < kChannels; ++c) {
      auto* to = plane<std::uint16_t>(frame, kPlanes[c], y);
      for (std::size_t x = 0; x < static_cast<std::size_t>(frame.width); ++x) {
        to[x] = static_cast<std::uint16_t>(quantize(from[x * kChannels + c], 65535));
      }
    }
  }
}

/// Copies 8-bit pixels, also onto themselves, with their bytes in another order: target byte i is
/// source byte Order[i].
template <std::size_t... Order>
void reorder(const std::uint8_t* from, std::uint8_t* to, int width) {
  for (std::size_t x = 0; x < static_cast<std::size_t>(width) * kChannels; x += kChannels) {
    const std::array<std::uint8_t, kChannels> pixel{from[x + Order]...};
    std::memcpy(to + x, pixel.data(), kChannels);
  }
}

void reorderToFormat(const std::uint8_t* from, std::uint8_t* to, int width, AVPixelFormat format) {
  switch (format) {
    case AV_PIX_FMT_RGBA:
      reorder<1, 2, 3, 0>(from, to, width);
      break;
    case AV_PIX_FMT_ARGB:
      reorder<0, 1, 2, 3>(from, to, width);
      break;
    default:
      reorder<3, 2, 1, 0>(from, to, width);
  }
}

void reorderToPicture(const AVFrame& frame, Picture& picture) {
  for (int y = 0; y < frame.height; ++y) {
    const auto* from = plane<std::uint8_t>(frame, 0, y);
    std::uint8_t* to = picture.row8(y).data();
    switch (frame.format) {
      case AV_PIX_FMT_RGBA:
        reorder<3, 0, 1, 2>(from, to, frame.width);
        break;
      case AV_PIX_FMT_ARGB:
        reorder<0, 1, 2, 3>(from, to, frame.width);
        break;
      default:
        reorder<3, 2, 1, 0>(from, to, frame.width);
    }
    if (frame.format != AV_PIX_FMT_BGR0) continue;
    for (std::size_t x = 0; x < static_cast<std::size_t>(frame.width); ++x) to[x * kChannels] = 255;
  }
}

/// Returns a frame that refers to the picture's memory, which must outlive it.
FfmpegPtr<AVFrame> frameAround(const Picture& picture) {
  FfmpegPtr<AVFrame> frame = newFrame();
  frame->format = AV_PIX_FMT_ARGB;
  frame->width = picture.width();
  frame->height = picture.height();
  frame->data[0] = const_cast<std::uint8_t*>(picture.row8(0).data());
  frame->linesize[0] = picture.width() * Picture::kChannels;
  return frame;
}

const int* coefficients(AVColorSpace matrix) {
  switch (matrix) {
    case AVCOL_SPC_BT709:
      return sws_getCoefficients(SWS_CS_ITU709);
    case AVCOL_SPC_FCC:
      return sws_getCoefficients(SWS_CS_FCC);
    case AVCOL_SPC_SMPTE240M:
      return sws_getCoefficients(SWS_CS_SMPTE240M);
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return sws_getCoefficients(SWS_CS_BT2020);
    default:
      return sws_getCoefficients(SWS_CS_ITU601);
  }
}

}  // namespace

AVColorSpace effectiveMatrix(AVColorSpace tagged, int height) {
  if (tagged != AVCOL_SPC_UNSPECIFIED && tagged != AVCOL_SPC_RGB) return tagged;
  constexpr int kFirstHdHeight = 720;
  return height >= kFirstHdHeight ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

bool FrameConverter::isReordered(AVPixelFormat format) {
  return format == AV_PIX_FMT_ARGB || format == AV_PIX_FMT_RGBA || format == AV_PIX_FMT_BGRA ||
         format == AV_PIX_FMT_BGR0;
}

void FrameConverter::reorderInPlace(Picture& picture, AVPixelFormat format) {
  for (int y = 0; y < picture.height(); ++y) {
    std::uint8_t* row = picture.row8(y).data();
    reorderToFormat(row, row, picture.width(), format);
  }
}

AVFrame& FrameConverter::scratch(AVPixelFormat format, int width, int height) {
  if (scratch_ && scratch_->format == format && scratch_->width == width &&
      scratch_->height == height) {
    return *scratch_;
  }
  scratch_ = newFrame();
  scratch_->format = format;
  scratch_->width = width;
  scratch_->height = height;
  if (av_frame_get_buffer(scratch_.get(), 0) < 0) throw std::bad_alloc();
  return *scratch_;
}

void FrameConverter::convert(const AVFrame& from, AVFrame& to) {
  const AVColorSpace fromMatrix = effectiveMatrix(from.colorspace, from.height);
  const AVColorSpace toMatrix = effectiveMatrix(to.colorspace, to.height);
  const int fromFull = isRgb(formatOf(from)) || from.color_range == AVCOL_RANGE_JPEG;
  const int toFull = isRgb(formatOf(to)) || to.color_range == AVCOL_RANGE_JPEG;
  const std::vector<int> key{from.width, from.height, from.format, to.format,
                             fromMatrix, toMatrix,    fromFull,    toFull};
  if (key != scalerKey_) {
    scaler_.reset(sws_getContext(from.width, from.height, formatOf(from), to.width, to.height,
                                 formatOf(to), kQuality, nullptr, nullptr, nullptr));
    if (!scaler_) {
      throw MediaError(std::string("video: pixels of the format ") +
                       av_get_pix_fmt_name(formatOf(from)) +
                       " cannot be converted (convert the video first)");
    }
    constexpr int kOne = 1 << 16;
    sws_setColorspaceDetails(scaler_.get(), coefficients(fromMatrix), fromFull,
                             coefficients(toMatrix), toFull, 0, kOne, kOne);
    scalerKey_ = key;
  }
  sws_scale(scaler_.get(), from.data, from.linesize, 0, from.height, to.data, to.linesize);
}

void FrameConverter::toPicture(const AVFrame& frame, Picture& picture) {
  const AVPixelFormat format = formatOf(frame);
  const bool alpha = hasAlphaChannel(format);
  const int depth = channelBits(format) > 8 ? 32 : 8;
  picture.reset(frame.width, frame.height, depth);
  picture.info = PictureInfo{};
  picture.info.hasAlpha = alpha;
  picture.info.storage = depth == 8 ? Storage::UInt8 : Storage::UInt16;
  if (isReordered(format)) {
    reorderToPicture(frame, picture);
    return;
  }
  const AVPixelFormat planar = depth == 8 ? (alpha ? AV_PIX_FMT_GBRAP : AV_PIX_FMT_GBRP)
                                          : (alpha ? AV_PIX_FMT_GBRAP16 : AV_PIX_FMT_GBRP16);
  const AVFrame* planes = &frame;
  if (format != planar) {
    AVFrame& converted = scratch(planar, frame.width, frame.height);
    convert(frame, converted);
    planes = &converted;
  }
  if (depth == 8) {
    interleave<std::uint8_t>(
        *planes, [&](int y) { return picture.row8(y).data(); }, std::uint8_t{255},
        [](std::uint8_t value) { return value; });
  } else {
    interleave<std::uint16_t>(
        *planes, [&](int y) { return picture.row32(y).data(); }, 1.0f,
        [](std::uint16_t value) { return static_cast<float>(value) / 65535.0f; });
  }
}

void FrameConverter::toFrame(const Picture& picture, AVFrame& frame) {
  const AVPixelFormat format = formatOf(frame);
  if (picture.depth() == 8) {
    convert(*frameAround(picture), frame);
    return;
  }
  const AVPixelFormat planar = hasAlphaChannel(format) ? AV_PIX_FMT_GBRAP16 : AV_PIX_FMT_GBRP16;
  if (format == planar) {
    separate(picture, frame);
    return;
  }
  AVFrame& planes = scratch(planar, frame.width, frame.height);
  separate(picture, planes);
  convert(planes, frame);
}

}  // namespace lomix::media
