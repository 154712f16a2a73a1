#include "media/video/Subtitles.h"

#include <cstring>
#include <new>
#include <vector>

#include "support/MediaError.h"

namespace lomix::media {
namespace {

[[noreturn]] void fail(const AVStream& from) {
  throw MediaError("subtitles of stream " + std::to_string(from.index) + ": the format " +
                   avcodec_get_name(from.codecpar->codec_id) +
                   " cannot be converted (convert them first, or leave them out)");
}

FfmpegPtr<AVCodecContext> newContext(const AVCodec* codec, const AVStream& from) {
  if (codec == nullptr) fail(from);
  FfmpegPtr<AVCodecContext> context(avcodec_alloc_context3(codec));
  if (!context) throw std::bad_alloc();
  return context;
}

}  // namespace

SubtitleConverter::SubtitleConverter(const AVStream& from, AVCodecID to) {
  decoder_ = newContext(avcodec_find_decoder(from.codecpar->codec_id), from);
  avcodec_parameters_to_context(decoder_.get(), from.codecpar);
  decoder_->pkt_timebase = from.time_base;
  if (avcodec_open2(decoder_.get(), nullptr, nullptr) < 0) fail(from);
  encoder_ = newContext(avcodec_find_encoder(to), from);
  encoder_->time_base = {1, 1000};
  if (decoder_->subtitle_header_size > 0) {
    const auto size = static_cast<std::size_t>(decoder_->subtitle_header_size);
    // The encoder frees it, and reads a zero behind it.
    encoder_->subtitle_header = static_cast<std::uint8_t*>(av_mallocz(size + 1));
    if (encoder_->subtitle_header == nullptr) throw std::bad_alloc();
    std::memcpy(encoder_->subtitle_header, decoder_->subtitle_header, size);
    encoder_->subtitle_header_size = decoder_->subtitle_header_size;
  }
  if (avcodec_open2(encoder_.get(), nullptr, nullptr) < 0) fail(from);
}

void SubtitleConverter::describe(AVCodecParameters& parameters) const {
  if (avcodec_parameters_from_context(&parameters, encoder_.get()) < 0) throw std::bad_alloc();
}

FfmpegPtr<AVPacket> SubtitleConverter::convert(AVPacket& packet) {
  AVSubtitle subtitle{};
  int complete = 0;
  if (avcodec_decode_subtitle2(decoder_.get(), &subtitle, &complete, &packet) < 0 ||
      complete == 0) {
    return nullptr;
  }
  // The largest text of one subtitle.
  std::vector<std::uint8_t> bytes(std::size_t{1} << 20);
  const int size = avcodec_encode_subtitle(encoder_.get(), bytes.data(),
                                           static_cast<int>(bytes.size()), &subtitle);
  avsubtitle_free(&subtitle);
  if (size <= 0) return nullptr;
  FfmpegPtr<AVPacket> converted = newPacket();
  if (av_new_packet(converted.get(), size) < 0) throw std::bad_alloc();
  std::memcpy(converted->data, bytes.data(), static_cast<std::size_t>(size));
  converted->pts = packet.pts;
  converted->dts = packet.dts;
  converted->duration = packet.duration;
  converted->stream_index = packet.stream_index;
  converted->flags = packet.flags;
  return converted;
}

}  // namespace lomix::media
