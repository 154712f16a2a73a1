#include "media/video/ContainerCodecs.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace lomix::media {
namespace {

// FFmpeg does not tell what these formats hold, and would write some other streams as data that no
// program can read.
constexpr std::array kTransportStream{
    AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO,   AV_CODEC_ID_MPEG4,       AV_CODEC_ID_H264,
    AV_CODEC_ID_HEVC,       AV_CODEC_ID_MP1,          AV_CODEC_ID_MP2,         AV_CODEC_ID_MP3,
    AV_CODEC_ID_AAC,        AV_CODEC_ID_AAC_LATM,     AV_CODEC_ID_AC3,         AV_CODEC_ID_EAC3,
    AV_CODEC_ID_DTS,        AV_CODEC_ID_TRUEHD,       AV_CODEC_ID_OPUS,        AV_CODEC_ID_S302M,
    AV_CODEC_ID_PCM_BLURAY, AV_CODEC_ID_DVB_TELETEXT, AV_CODEC_ID_DVB_SUBTITLE};
constexpr std::array kProgramStream{
    AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_H264,        AV_CODEC_ID_MP1,
    AV_CODEC_ID_MP2,        AV_CODEC_ID_MP3,        AV_CODEC_ID_AC3,         AV_CODEC_ID_DTS,
    AV_CODEC_ID_PCM_S16BE,  AV_CODEC_ID_PCM_DVD,    AV_CODEC_ID_DVD_SUBTITLE};
constexpr std::array kOgg{AV_CODEC_ID_THEORA, AV_CODEC_ID_VP8,  AV_CODEC_ID_VORBIS,
                          AV_CODEC_ID_OPUS,   AV_CODEC_ID_FLAC, AV_CODEC_ID_SPEEX};
constexpr std::array kMxf{AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_DNXHD,     AV_CODEC_ID_PRORES,
                          AV_CODEC_ID_H264,       AV_CODEC_ID_PCM_S16LE, AV_CODEC_ID_PCM_S24LE};

std::span<const AVCodecID> knownCodecs(std::string_view format) {
  if (format == "mpegts") return kTransportStream;
  if (format == "mpeg" || format == "vcd" || format == "svcd" || format == "dvd" ||
      format == "vob") {
    return kProgramStream;
  }
  if (format == "ogg" || format == "ogv") return kOgg;
  return format == "mxf" ? std::span<const AVCodecID>(kMxf) : std::span<const AVCodecID>();
}

}  // namespace

bool holdsCodec(const AVOutputFormat& format, AVCodecID codec) {
  // 1: yes, 0: no, below 0: unknown.
  const int answer = avformat_query_codec(&format, codec, FF_COMPLIANCE_NORMAL);
  if (answer >= 0) return answer > 0;
  return std::ranges::count(knownCodecs(format.name), codec) > 0;
}

}  // namespace lomix::media
