#include "media/video/CopyPlan.h"

#include <string>
#include <string_view>

#include "media/video/ContainerCodecs.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {
namespace {

bool isText(AVCodecID codec) {
  const AVCodecDescriptor* description = avcodec_descriptor_get(codec);
  return description != nullptr && (description->props & AV_CODEC_PROP_TEXT_SUB) != 0;
}

/// Returns whether the format can hold a cover beside the video.
bool holdsCover(const AVOutputFormat& format, AVCodecID codec) {
  const std::string_view name = format.name;
  return (name == "mp4" || name == "ipod" || name == "matroska") &&
         (codec == AV_CODEC_ID_MJPEG || codec == AV_CODEC_ID_PNG);
}

/// Plans the streams one by one.
class Planner {
 public:
  Planner(const Reader& source, const AVOutputFormat& format, const VideoOutput& output)
      : source_(source), format_(format), output_(output) {}

  Treatment plan(const AVStream& stream) {
    const AVCodecID codec = stream.codecpar->codec_id;
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
      return holdsCover(format_, codec) && stream.attached_pic.size > 0
                 ? Treatment::CoverArt
                 : leaveOut(stream, "cover art");
    }
    switch (stream.codecpar->codec_type) {
      case AVMEDIA_TYPE_AUDIO:
        if (!output_.sound) return Treatment::LeaveOut;
        if (isPlain()) return leaveOut(stream, "sound");
        if (!holdsCodec(format_, codec)) refuseSound(stream);
        return Treatment::Copy;
      case AVMEDIA_TYPE_SUBTITLE:
        if (!output_.subtitles) return Treatment::LeaveOut;
        if (!isPlain() && holdsSubtitles(codec)) return Treatment::Copy;
        if (isText(codec) && textSubtitleCodec(format_) != AV_CODEC_ID_NONE) {
          return Treatment::ConvertText;
        }
        return leaveOut(stream, "subtitles");
      case AVMEDIA_TYPE_ATTACHMENT:
        if (!output_.subtitles) return Treatment::LeaveOut;
        return isMatroska(format_) && std::string_view(format_.name) != "webm"
                   ? Treatment::Copy
                   : leaveOut(stream, "an attachment");
      case AVMEDIA_TYPE_VIDEO:
        return leaveOut(stream, "a second video");
      default:
        return planData(stream);
    }
  }

 private:
  /// Returns whether the output is a series of frames only.
  bool isPlain() const { return format_.audio_codec == AV_CODEC_ID_NONE; }

  bool holdsSubtitles(AVCodecID codec) const {
    // The transport streams of Blu-ray discs have subtitles of their own.
    const bool isDisc = std::string_view(format_.name) == "mpegts" &&
                        av_match_ext(output_.name.c_str(), "m2ts") != 0;
    return isDisc ? codec == AV_CODEC_ID_HDMV_PGS_SUBTITLE : holdsCodec(format_, codec);
  }

  Treatment planData(const AVStream& stream) {
    // The container writes a track of timecodes by itself, from the video's tag.
    const bool timecode = stream.codecpar->codec_tag == MKTAG('t', 'm', 'c', 'd') &&
                          av_dict_get(source_.stream().metadata, "timecode", nullptr, 0) != nullptr;
    // The same for a text track of chapters.
    const bool chapters = stream.codecpar->codec_tag == MKTAG('t', 'e', 'x', 't') &&
                          source_.container().nb_chapters > 0;
    if (!output_.data || chapters || (timecode && (isMp4Family(format_) || isMatroska(format_)))) {
      return Treatment::LeaveOut;
    }
    return leaveOut(stream, "data");
  }

  Treatment leaveOut(const AVStream& stream, const char* what) {
    output_.warn("'" + source_.name() + "': stream " + std::to_string(stream.index) + ", " + what +
                 " (" + avcodec_get_name(stream.codecpar->codec_id) +
                 "), is left out (the output cannot hold it)");
    return Treatment::LeaveOut;
  }

  [[noreturn]] void refuseSound(const AVStream& stream) const {
    throw AvoidableError(Remedy::NoSound,
                         cannotWrite(output_.name) +
                             "such a file cannot hold the sound of stream " +
                             std::to_string(stream.index) + " (" +
                             avcodec_get_name(stream.codecpar->codec_id) + ") of the input",
                         "use another extension such as .mkv, or leave the sound out");
  }

  const Reader& source_;
  const AVOutputFormat& format_;
  const VideoOutput& output_;
};

}  // namespace

bool isMp4Family(const AVOutputFormat& format) {
  const std::string_view name = format.name;
  return name == "mp4" || name == "mov" || name == "ipod" || name == "3gp";
}

bool isMatroska(const AVOutputFormat& format) {
  const std::string_view name = format.name;
  return name == "matroska" || name == "webm";
}

AVCodecID textSubtitleCodec(const AVOutputFormat& format) {
  if (isMp4Family(format)) return AV_CODEC_ID_MOV_TEXT;
  if (std::string_view(format.name) == "webm") return AV_CODEC_ID_WEBVTT;
  return isMatroska(format) ? AV_CODEC_ID_SUBRIP : AV_CODEC_ID_NONE;
}

std::vector<Treatment> planCopies(const Reader& source, const AVOutputFormat& format,
                                  const VideoOutput& output) {
  Planner planner(source, format, output);
  const AVFormatContext& container = source.container();
  std::vector<Treatment> treatments(container.nb_streams, Treatment::LeaveOut);
  for (unsigned i = 0; i < container.nb_streams; ++i) {
    const AVStream& stream = *container.streams[i];
    if (&stream != &source.stream()) treatments[i] = planner.plan(stream);
  }
  return treatments;
}

}  // namespace lomix::media
