// Helpers for FFmpeg's libraries that reading and writing share. For src/media/video only: includes
// their headers.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

#include "media/video/Video.h"

namespace lomix::media {

/// Frees objects of the libraries with the functions that belong to them.
struct FfmpegDeleter {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};
template <typename T>
using FfmpegPtr = std::unique_ptr<T, FfmpegDeleter>;

/// Allocate an empty frame or packet. Throw std::bad_alloc.
FfmpegPtr<AVFrame> newFrame();
FfmpegPtr<AVPacket> newPacket();

/// A dictionary of options for one call of the libraries.
class FfmpegOptions {
 public:
  FfmpegOptions() = default;
  ~FfmpegOptions() { av_dict_free(&entries_); }
  FfmpegOptions(const FfmpegOptions&) = delete;
  FfmpegOptions& operator=(const FfmpegOptions&) = delete;

  void set(const char* name, const std::string& value) {
    av_dict_set(&entries_, name, value.c_str(), 0);
  }
  AVDictionary** address() { return &entries_; }

 private:
  AVDictionary* entries_ = nullptr;
};

/// Returns the libraries' text for an error code.
std::string ffmpegMessage(int error);

/// Keeps the libraries from printing. Their errors are returned as codes.
void muteFfmpeg();

/// Returns the ratio in lowest terms, rounded where FFmpeg's integers cannot hold it.
inline AVRational toAv(const Ratio& ratio) {
  AVRational result;
  av_reduce(&result.num, &result.den, ratio.num, ratio.den, 1 << 30);
  return result;
}

/// Returns the bits of the format's largest channel.
int channelBits(AVPixelFormat format);
bool hasAlphaChannel(AVPixelFormat format);
bool isRgb(AVPixelFormat format);

}  // namespace lomix::media
