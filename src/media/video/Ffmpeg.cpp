#include "media/video/Ffmpeg.h"

#include <webp/demux.h>

#include <algorithm>
#include <array>
#include <new>

#include "support/Text.h"

namespace lomix::media {

std::vector<std::string> videoLibraries() {
  const auto line = [](const char* name, unsigned version) {
    return std::string(name) + " " +
           dotted(AV_VERSION_MAJOR(version), AV_VERSION_MINOR(version), AV_VERSION_MICRO(version));
  };
  return {std::string("FFmpeg ") + av_version_info(),
          line("libavformat", avformat_version()),
          line("libavcodec", avcodec_version()),
          line("libavutil", avutil_version()),
          line("libswscale", swscale_version()),
          line("libwebpdemux", static_cast<unsigned>(WebPGetDemuxVersion()))};
}

FfmpegPtr<AVFrame> newFrame() {
  FfmpegPtr<AVFrame> frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  return frame;
}

FfmpegPtr<AVPacket> newPacket() {
  FfmpegPtr<AVPacket> packet(av_packet_alloc());
  if (!packet) throw std::bad_alloc();
  return packet;
}

std::string ffmpegMessage(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(error, text.data(), text.size());
  return text.data();
}

void muteFfmpeg() { av_log_set_level(AV_LOG_QUIET); }

int channelBits(AVPixelFormat format) {
  const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
  if (description == nullptr) return 0;
  int bits = 0;
  for (int i = 0; i < description->nb_components; ++i) {
    bits = std::max(bits, description->comp[i].depth);
  }
  return bits;
}

bool hasAlphaChannel(AVPixelFormat format) {
  const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
  return description != nullptr && (description->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
}

bool isRgb(AVPixelFormat format) {
  const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
  return description != nullptr && (description->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

}  // namespace lomix::media
