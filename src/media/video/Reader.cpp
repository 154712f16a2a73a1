#include "media/video/Reader.h"

#include <cmath>
#include <new>
#include <utility>

#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {
namespace {

constexpr const char* kUnknown = "check that it is a whole video";

/// Returns whether streams of the type are copied: sound, subtitles and their attachments (fonts).
bool isCopied(AVMediaType type) {
  return type == AVMEDIA_TYPE_AUDIO || type == AVMEDIA_TYPE_SUBTITLE ||
         type == AVMEDIA_TYPE_ATTACHMENT;
}

}  // namespace

Reader::Reader(const VideoInput& input) : name_(input.name), isRaw_(!input.rawFormat.empty()) {
  muteFfmpeg();
  try {
    open(input);
    openDecoder(input.threads);
    readOrientation();
  } catch (...) {
    avformat_close_input(&container_);
    throw;
  }
}

Reader::~Reader() { avformat_close_input(&container_); }

void Reader::fail(int error, const char* hint) const {
  throw MediaError(cannotRead(name_) + ffmpegMessage(error) + " (" + hint + ")");
}

void Reader::open(const VideoInput& input) {
  const bool standard = name_ == kStandardStream;
  if (!standard && !fileExists(name_)) {
    throw MediaError(cannotRead(name_) + "there is no such file (check the name)");
  }
  const AVInputFormat* format = nullptr;
  FfmpegOptions options;
  if (isRaw_) {
    format = av_find_input_format("rawvideo");
    options.set("pixel_format", input.rawFormat);
    options.set("video_size",
                std::to_string(input.rawWidth) + "x" + std::to_string(input.rawHeight));
    options.set("framerate",
                std::to_string(input.rawRate.num) + "/" + std::to_string(input.rawRate.den));
  }
  const std::string url = standard ? "pipe:0" : "file:" + name_;
  int error = avformat_open_input(&container_, url.c_str(), format, options.address());
  if (error < 0) fail(error, isRaw_ ? "check the pixel format and the size" : kUnknown);
  error = avformat_find_stream_info(container_, nullptr);
  if (error < 0) fail(error, kUnknown);
  const int index = av_find_best_stream(container_, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) throw MediaError(cannotRead(name_) + "it has no video stream (name another file)");
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    AVStream* stream = container_->streams[i];
    if (static_cast<int>(i) != index && !isCopied(stream->codecpar->codec_type)) {
      stream->discard = AVDISCARD_ALL;
    }
  }
  stream_ = container_->streams[index];
}

void Reader::openDecoder(int threads) {
  const AVCodec* codec = avcodec_find_decoder(stream_->codecpar->codec_id);
  if (codec == nullptr) {
    throw MediaError(cannotRead(name_) + "there is no decoder for " +
                     avcodec_get_name(stream_->codecpar->codec_id) + " (convert it first)");
  }
  decoder_.reset(avcodec_alloc_context3(codec));
  if (!decoder_) throw std::bad_alloc();
  avcodec_parameters_to_context(decoder_.get(), stream_->codecpar);
  decoder_->pkt_timebase = stream_->time_base;
  decoder_->thread_count = threads;
  const int error = avcodec_open2(decoder_.get(), codec, nullptr);
  if (error < 0) fail(error, kUnknown);
  if (decoder_->width > Picture::kMaxSide || decoder_->height > Picture::kMaxSide) {
    throw MediaError(cannotRead(name_) + "its frames are too large (scale it down first)");
  }
}

void Reader::readOrientation() {
  const auto* matrix = reinterpret_cast<const std::int32_t*>(
      av_stream_get_side_data(stream_, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  if (matrix == nullptr) return;
  const double clockwise = -av_display_rotation_get(matrix);
  if (std::isnan(clockwise)) return;
  constexpr int kOrientations[] = {1, 6, 3, 8};
  orientation_ = kOrientations[(std::lround(clockwise / 90.0) % 4 + 4) % 4];
}

std::optional<std::int64_t> Reader::frameCount() const {
  if (stream_->nb_frames > 0) return stream_->nb_frames;
  if (container_->duration <= 0 || stream_->avg_frame_rate.num <= 0) return std::nullopt;
  return std::llround(static_cast<double>(container_->duration) / AV_TIME_BASE *
                      av_q2d(stream_->avg_frame_rate));
}

/// Skips damaged parts, as players do, and counts those after the first frame: recordings often
/// begin in the middle of one.
void Reader::requireDecoded(int error) {
  if (error >= 0) return;
  if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
  constexpr int kMaxErrorsInARow = 1000;
  if (++errorsInARow_ > kMaxErrorsInARow) fail(error, "repair the file first");
  if (firstTime_) ++damaged_;
}

/// Sends the decoder the next packet or, once, the end of the file. Returns false after that.
bool Reader::feed() {
  if (atEnd_) return false;
  int error = av_read_frame(container_, packet_.get());
  if (error == AVERROR_EOF) {
    atEnd_ = true;
    error = avcodec_send_packet(decoder_.get(), nullptr);
    return error >= 0;
  }
  if (error < 0) fail(error, kUnknown);
  if (packet_->stream_index == stream_->index) {
    error = avcodec_send_packet(decoder_.get(), packet_.get());
    av_packet_unref(packet_.get());
    requireDecoded(error);
    return true;
  }
  if (isCopied(container_->streams[packet_->stream_index]->codecpar->codec_type)) {
    packets_.push_back(std::exchange(packet_, newPacket()));
  } else {
    av_packet_unref(packet_.get());
  }
  return true;
}

/// Sets a frame's timestamp; where the file gives none, the end of the frame before.
void Reader::stamp(AVFrame& frame) {
  frame.pts = frame.best_effort_timestamp;
  if (frame.pts == AV_NOPTS_VALUE) frame.pts = nextTime_;
  if (frame.pkt_duration <= 0) {
    const AVRational rate = av_guess_frame_rate(container_, stream_, &frame);
    if (rate.num > 0) frame.pkt_duration = av_rescale_q(1, av_inv_q(rate), stream_->time_base);
  }
  nextTime_ = frame.pts + frame.pkt_duration;
  if (!firstTime_) firstTime_ = frame.pts;
  if (frame.sample_aspect_ratio.num == 0) {
    frame.sample_aspect_ratio = av_guess_sample_aspect_ratio(container_, stream_, &frame);
  }
}

std::unique_ptr<VideoFrame> Reader::next() {
  auto decoded = std::make_unique<DecodedFrame>();
  decoded->frame = newFrame();
  for (;;) {
    const int error = avcodec_receive_frame(decoder_.get(), decoded->frame.get());
    if (error >= 0) break;
    if (error == AVERROR_EOF) return nullptr;
    if (error != AVERROR(EAGAIN)) {
      requireDecoded(error);
    } else if (!feed()) {
      return nullptr;
    }
  }
  errorsInARow_ = 0;
  stamp(*decoded->frame);
  decoded->packets = std::move(packets_);
  packets_.clear();
  decoded->time = {(decoded->frame->pts - *firstTime_) * stream_->time_base.num,
                   stream_->time_base.den};
  return decoded;
}

void Reader::toPicture(const VideoFrame& frame, Picture& picture) {
  const AVFrame& decoded = *static_cast<const DecodedFrame&>(frame).frame;
  converters_.use([&](FrameConverter& converter) { converter.toPicture(decoded, picture); });
  const double aspect = av_q2d(decoded.sample_aspect_ratio);
  picture.info.pixelAspect =
      decoded.sample_aspect_ratio.den > 0 && aspect > 0.01 && aspect < 100 ? aspect : 1.0;
  if (orientation_ != 1) picture = upright(std::move(picture), orientation_);
}

std::unique_ptr<VideoReader> openVideo(const VideoInput& input) {
  return std::make_unique<Reader>(input);
}

}  // namespace lomix::media
