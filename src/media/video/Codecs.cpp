#include "media/video/Codecs.h"

#include <algorithm>
#include <array>

#include "media/picture/PictureFile.h"
#include "media/video/ContainerCodecs.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

constexpr std::array kCodecs{
    // 10 bits for float pictures.
    CodecChoice{"h264", "libx264", false, 16, AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P,
                AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUV420P10},
    CodecChoice{"hevc", "libx265", false, 18, AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P,
                AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUV420P10},
    CodecChoice{"vp9", "libvpx-vp9", true, 20, AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA420P,
                AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUVA420P},
    CodecChoice{"prores", "prores_ks", true, 0, AV_PIX_FMT_YUV444P10, AV_PIX_FMT_YUVA444P10,
                AV_PIX_FMT_YUV444P10, AV_PIX_FMT_YUVA444P10},
    CodecChoice{"ffv1", "ffv1", true, 0, AV_PIX_FMT_BGR0, AV_PIX_FMT_BGRA, AV_PIX_FMT_GBRP16,
                AV_PIX_FMT_GBRAP16},
    CodecChoice{"png", "png", true, 0, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB48BE,
                AV_PIX_FMT_RGBA64BE},
    CodecChoice{"webp", "libwebp_anim", true, 0, AV_PIX_FMT_BGRA, AV_PIX_FMT_BGRA, AV_PIX_FMT_BGRA,
                AV_PIX_FMT_BGRA},
    CodecChoice{"apng", "apng", true, 0, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB48BE,
                AV_PIX_FMT_RGBA64BE},
    CodecChoice{"gif", "gif", true, 0, AV_PIX_FMT_BGRA, AV_PIX_FMT_BGRA, AV_PIX_FMT_BGRA,
                AV_PIX_FMT_BGRA},
    CodecChoice{"raw", "rawvideo", true, 0, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGBA64LE,
                AV_PIX_FMT_RGBA64LE},
    CodecChoice{"y4m", "wrapped_avframe", false, 0, AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV444P,
                AV_PIX_FMT_YUV444P16, AV_PIX_FMT_YUV444P16},
};
static_assert(std::ranges::equal(kCodecs, kVideoCodecNames, {}, &CodecChoice::name));

std::string extensionOf(const std::string& name) {
  return lowerCase(std::filesystem::path(name).extension().string());
}

std::string codecFor(const VideoOutput& output) {
  if (!output.codec.empty()) return output.codec;
  const std::string extension = extensionOf(output.name);
  if (output.name == kStandardStream || extension == ".y4m") return "y4m";
  if (extension == ".mkv" || extension == ".avi" || extension == ".nut") return "ffv1";
  if (extension == ".mov" || extension == ".qt" || extension == ".mxf") return "prores";
  if (extension == ".webm") return "vp9";
  if (extension == ".hevc" || extension == ".h265") return "hevc";
  if (extension == ".webp" || extension == ".apng" || extension == ".gif") {
    return extension.substr(1);
  }
  return "h264";
}

}  // namespace

const CodecChoice& chooseCodec(const VideoOutput& output) {
  const std::string wanted = codecFor(output);
  requireVideoCodec(wanted, "video codec");
  const auto found = std::ranges::find(kCodecs, wanted, &CodecChoice::name);
  if (avcodec_find_encoder_by_name(found->encoder) == nullptr) {
    throw AvoidableError(Remedy::ChooseCodec,
                         "video codec '" + wanted + "': the installed FFmpeg cannot write it",
                         "choose another one of " + joined(kVideoCodecNames, ", "));
  }
  return *found;
}

std::string codecNameOf(AVCodecID id) {
  for (const CodecChoice& choice : kCodecs) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(choice.encoder);
    if (encoder != nullptr && encoder->id == id) return std::string(choice.name);
  }
  return {};
}

const AVOutputFormat* chooseContainer(const VideoOutput& output, const CodecChoice& codec) {
  const std::string_view name = codec.name;
  if (output.name == kStandardStream && !codec.isPlain()) {
    throw AvoidableError(Remedy::ChooseCodec,
                         "video codec '" + std::string(name) +
                             "': it needs a container, which standard output cannot carry",
                         "name an output file, or choose raw or y4m");
  }
  if (name == "raw") return av_guess_format("rawvideo", nullptr, nullptr);
  if (name == "y4m") return av_guess_format("yuv4mpegpipe", nullptr, nullptr);
  const AVOutputFormat* container = av_guess_format(nullptr, output.name.c_str(), nullptr);
  if (container == nullptr) {
    throw MediaError(cannotWrite(output.name) +
                     "its extension names no container (use .mp4, .mov or .mkv)");
  }
  const AVCodecID id = avcodec_find_encoder_by_name(codec.encoder)->id;
  if (!holdsCodec(*container, id)) {
    throw AvoidableError(Remedy::ChooseCodec,
                         cannotWrite(output.name) + "such a file holds no " + std::string(name),
                         "use the extension .mkv or .mov, or choose another codec");
  }
  return container;
}

}  // namespace lomix::media
