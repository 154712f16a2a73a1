#include "media/video/Reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <new>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/parseutils.h>
#include <libavutil/timecode.h>
}

#include "media/picture/PictureFile.h"
#include "media/video/MpegEnd.h"
#include "media/video/Playlists.h"
#include "media/video/StatedSize.h"
#include "support/Errors.h"
#include "support/FileBytes.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/StandardFiles.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

constexpr const char* kUnknown = "check that it is a whole video";

/// Returns the end of a stream as Matroska's tags state it: "00:01:02.500000000".
std::optional<Moment> taggedEnd(const AVStream& stream) {
  const AVDictionaryEntry* tag = av_dict_get(stream.metadata, "DURATION", nullptr, 0);
  std::int64_t microseconds = 0;
  if (tag == nullptr || av_parse_time(&microseconds, tag->value, 1) < 0) return std::nullopt;
  return Moment{microseconds, AV_TIME_BASE_Q};
}

std::string secondsText(double seconds) {
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.2f", seconds);
  return text.data();
}

Encoding encodingOf(AVColorTransferCharacteristic transfer) {
  switch (transfer) {
    case AVCOL_TRC_LINEAR:
      return Encoding::Linear;
    case AVCOL_TRC_LOG:
    case AVCOL_TRC_LOG_SQRT:
      return Encoding::Logarithmic;
    case AVCOL_TRC_SMPTE2084:
      return Encoding::Pq;
    case AVCOL_TRC_ARIB_STD_B67:
      return Encoding::Hlg;
    default:
      return Encoding::Display;
  }
}

double secondsOf(const Moment& moment) {
  return static_cast<double>(moment.value) * av_q2d(moment.base);
}

/// Returns whether the decoder has filled gaps of a frame.
bool isPatched(const AVFrame& frame) { return frame.decode_error_flags != 0; }

/// Returns what standard input gives first; empty where it is at its end or cannot be read.
std::string firstInput() {
  std::string start(4096, '\0');
  const std::ptrdiff_t size = readStandardInput(start.data(), start.size());
  start.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return start;
}

/// Returns the format of the first bytes of a stream; null where they do not tell it.
const AVInputFormat* formatOfStart(std::string start) {
  AVProbeData data{};
  data.buf_size = static_cast<int>(start.size());
  start.append(AVPROBE_PADDING_SIZE, '\0');
  data.buf = reinterpret_cast<unsigned char*>(start.data());
  data.filename = "";
  return av_probe_input_format(&data, 1);
}

/// Does the same for a file; null for a pipe, which cannot be read twice.
const AVInputFormat* formatOfFile(const std::string& name) {
  if (isReadOnce(name)) return nullptr;
  const std::string url = "file:" + name;
  AVIOContext* file = nullptr;
  const AVInputFormat* format = nullptr;
  if (avio_open(&file, url.c_str(), AVIO_FLAG_READ) < 0) return nullptr;
  av_probe_input_buffer(file, &format, url.c_str(), nullptr, 0, 0);
  avio_closep(&file);
  return format;
}

}  // namespace

Reader::Reader(const VideoInput& input)
    : name_(input.name),
      isRaw_(!input.rawFormat.empty()),
      choice_(input.frames),
      film_(input.film),
      deinterlaces_(input.deinterlace),
      warn_(input.warn) {
  muteFfmpeg();
  try {
    open(input);
    chooseStream();
    openDecoder(input.threads);
    readOrientation();
    resolveTimecodes();
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
  if (!standard && !isRaw_ && isAnimatedWebp(name_)) {
    webp_ = std::make_unique<WebpFrames>(name_);
    if (webp_->hasMetadata()) {
      warn_("'" + name_ + "': colour profile, Exif and XMP of an animated WebP are not kept");
    }
    container_ = webp_->makeContainer();
    copied_ = std::make_unique<CopiedPackets>(*container_);
    return;
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
  limitWhatIsOpened(options, input.allowsPlaylists);
  const std::string url = standard ? "pipe:0" : "file:" + name_;
  const std::string start = standard && input.start.empty() ? firstInput() : input.start;
  if (!start.empty()) {
    standardInput_ = std::make_unique<InputStream>(start);
    container_ = standardInput_->makeContainer();
  }
  int error = avformat_open_input(&container_, url.c_str(), format, options.address());
  if (error < 0) {
    const AVInputFormat* found = standard ? formatOfStart(start) : formatOfFile(name_);
    if (!isRaw_ && !input.allowsPlaylists && found != nullptr && isPlaylist(*found)) {
      throw AvoidableError(
          Remedy::AllowPlaylists,
          cannotRead(name_) + "it is a play list, and the files that it names are not opened",
          "open them");
    }
    fail(error, isRaw_ ? "check the pixel format and the size" : kUnknown);
  }
  error = avformat_find_stream_info(container_, nullptr);
  if (error < 0) fail(error, kUnknown);
  copied_ = std::make_unique<CopiedPackets>(*container_);
}

void Reader::chooseStream() {
  const int index = av_find_best_stream(container_, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  const bool sound = av_find_best_stream(container_, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0) >= 0;
  const bool cover =
      index >= 0 && (container_->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
  if (sound && (index < 0 || cover)) {
    throw MediaError(cannotRead(name_) + "it has sound but no video (name a video)");
  }
  if (index < 0) throw MediaError(cannotRead(name_) + "it has no video stream (name another file)");
  stream_ = container_->streams[index];
  copy({});
}

bool Reader::has(StreamKind kind) const {
  const AVMediaType wanted = kind == StreamKind::Sound ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_SUBTITLE;
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    if (container_->streams[i]->codecpar->codec_type == wanted) return true;
  }
  return false;
}

void Reader::copy(const Copying& copying) {
  copying_ = copying;
  copying_.streams.resize(container_->nb_streams, false);
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    AVStream* stream = container_->streams[i];
    // Without a promise of its own, the video's end is known from those of all streams.
    const bool needed =
        stream == stream_ || isCopied(static_cast<int>(i)) || !promisedEnd(*stream_);
    stream->discard = needed ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
}

bool Reader::isCopied(int stream) const {
  return !copying_.framesOnly && copying_.streams[static_cast<std::size_t>(stream)];
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
  if (!choice_.spans.empty()) return std::nullopt;
  if (!choice_.isAll() && !choice_.series) {
    return static_cast<std::int64_t>(choice_.numbers.size());
  }
  if (choice_.series && film_) {
    const std::int64_t rest = std::max<std::int64_t>(
        0, film_->first + film_->frames - choice_.series->first + choice_.series->step - 1);
    return static_cast<std::int64_t>(choice_.numbers.size()) + rest / choice_.series->step;
  }
  if (stream_->nb_frames > 0) return stream_->nb_frames;
  if (container_->duration <= 0 || stream_->avg_frame_rate.num <= 0) return std::nullopt;
  return std::llround(static_cast<double>(container_->duration) / AV_TIME_BASE *
                      av_q2d(stream_->avg_frame_rate));
}

std::vector<std::int64_t> Reader::missingFrames() const {
  return {choice_.numbers.begin() + static_cast<std::ptrdiff_t>(nextChosen_),
          choice_.numbers.end()};
}

/// Returns the end that the file states for a stream of its own.
std::optional<Moment> Reader::promisedEnd(const AVStream& stream) const {
  if (const auto tagged = taggedEnd(stream)) return tagged;
  // Estimates from the timestamps or the size of the file tell nothing about its completeness.
  if (container_->duration_estimation_method != AVFMT_DURATION_FROM_STREAM) return std::nullopt;
  if (stream.duration <= 0 || stream.start_time == AV_NOPTS_VALUE) return std::nullopt;
  return Moment{stream.start_time + stream.duration, stream.time_base};
}

/// Returns a text where the end is before the promised one, by more than rounding explains.
std::string Reader::lossOf(const std::string& what, const std::optional<Moment>& end,
                           const std::optional<Moment>& promised) const {
  if (!promised) return {};
  const double start = std::min(secondsOf(start_), secondsOf(*promised));
  const double whole = secondsOf(*promised) - start;
  const double missing = secondsOf(*promised) - (end ? secondsOf(*end) : start);
  const AVRational rate = stream_->avg_frame_rate;
  const double frame = rate.num > 0 ? 1.0 / av_q2d(rate) : 0.1;
  const double tolerance = std::max(3 * frame + 0.05, 0.002 * whole);
  if (missing <= tolerance) return {};
  return secondsText(missing) + " of " + secondsText(whole) + " seconds" + what +
         " are missing at the end";
}

/// Returns how the file ends too early, where that is known otherwise than by times.
std::string Reader::lossAtEnd() const {
  if (missingBytes_ > 0) {
    return "it breaks off, " + std::to_string(missingBytes_) +
           " bytes before the end that it states";
  }
  if (!breakOff_.empty()) return "it breaks off, " + breakOff_;
  if (endsEarly_) return "it ends in the middle of a frame, and does not say how much is missing";
  return lacksEnd_ ? "it lacks the end that a whole file has, and does not say how much is missing"
                   : "";
}

std::string Reader::lossOfCopied() const {
  bool copies = false;
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    const AVStream& stream = *container_->streams[i];
    if (!isCopied(stream.index)) continue;
    copies = true;
    if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    std::optional<Moment> end = promisedEnd(stream);
    if (end && chosenEnd_ && *chosenEnd_ < *end) end = chosenEnd_;
    const std::string loss = lossOf(" of sound", copied_->reached(stream.index), end);
    if (!loss.empty()) return loss;
  }
  // What is read after the chosen frames need not be whole.
  return copies && !chosenEnd_ ? lossAtEnd() : "";
}

std::string Reader::loss() const {
  if (!begun_) return {};
  if (isPastChoice()) return lossOfCopied();
  // Seconds say more, but those of AVI and ASF may be wrong.
  if (missingBytes_ > 0 && !format().starts_with("matroska")) return lossAtEnd();
  std::string loss;
  if (const auto promised = promisedEnd(*stream_)) {
    loss = lossOf("", lastEnd_, promised);
  } else if (container_->duration_estimation_method == AVFMT_DURATION_FROM_STREAM &&
             container_->duration > 0) {
    const std::int64_t start =
        container_->start_time == AV_NOPTS_VALUE ? 0 : container_->start_time;
    loss = lossOf("", anyEnd_, Moment{start + container_->duration, AV_TIME_BASE_Q});
  }
  if (loss.empty()) loss = lossOfCopied();
  return loss.empty() ? lossAtEnd() : loss;
}

std::string Reader::damage() const {
  std::string text;
  if (skipped_ > 0) text = countedFrames(skipped_) + " damaged and left out";
  if (patched_ > 0) {
    text += (text.empty() ? "" : ", ") + countedFrames(patched_) + " damaged and decoded in part";
  }
  return text;
}

/// Returns FFmpeg's name of the container's format; empty for WebP.
std::string_view Reader::format() const {
  return container_->iformat == nullptr ? "" : container_->iformat->name;
}

/// Returns the identifiers of the video, first, and of the streams that are copied.
std::vector<int> Reader::usedStreams() const {
  std::vector<int> ids{stream_->id};
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    const AVStream& stream = *container_->streams[i];
    if (&stream != stream_ && isCopied(stream.index)) ids.push_back(stream.id);
  }
  return ids;
}

/// Looks at the end of a file, whose packets may all be whole.
void Reader::checkEnd() {
  if (webp_ || isRaw_ || isReadOnce(name_)) return;
  try {
    missingBytes_ = missingBytes(name_, format());
    lacksEnd_ = lacksEnd(name_, format());
    // A part of a frame is no packet there.
    if (format() == "yuv4mpegpipe") {
      endsEarly_ = packetsEnd_ < static_cast<std::int64_t>(std::filesystem::file_size(name_));
    }
    checkMpegEnd();
  } catch (const EndOfFile&) {
    breakOff_ = "and its end cannot be read";
  }
}

/// Looks at the end of an MPEG stream, which states no length.
void Reader::checkMpegEnd() {
  const bool isTransport = format() == "mpegts";
  if (!isTransport && format() != "mpeg") return;
  std::int64_t size = 0;
  if (isTransport) {
    av_opt_get_int(container_, "ts_packetsize", AV_OPT_SEARCH_CHILDREN, &size);
    if (size <= 0) return;
  }
  const MpegEnd end = isTransport
                          ? endOfTransportStream(name_, static_cast<int>(size), usedStreams())
                          : endOfProgramStream(name_);
  endsEarly_ = endsEarly_ || end == MpegEnd::Cut;
  mayEndEarly_ = end == MpegEnd::MaybeCut;
}

/// Skips damaged parts, as players do, and counts those after the first frame: recordings often
/// begin in the middle of one.
void Reader::requireDecoded(int error) {
  if (error >= 0) return;
  if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
  constexpr int kMaxErrorsInARow = 1000;
  if (++errorsInARow_ > kMaxErrorsInARow) fail(error, "repair the file first");
  if (firstTime_) ++skipped_;
}

/// Moves the times of a packet behind those before it where the clock of a stream jumps back or far
/// ahead: where recordings were put one behind the other.
void Reader::continueClock(AVPacket& packet) {
  if (webp_ || (container_->iformat->flags & AVFMT_TS_DISCONT) == 0) return;
  clocks_.resize(container_->nb_streams);
  Clock& clock = clocks_.at(static_cast<std::size_t>(packet.stream_index));
  const AVStream& stream = *container_->streams[packet.stream_index];
  const std::int64_t stored = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
  if (stored == AV_NOPTS_VALUE) return;
  const std::int64_t time = av_rescale_q(stored, stream.time_base, AV_TIME_BASE_Q);
  const AVMediaType type = stream.codecpar->codec_type;
  if (type != AVMEDIA_TYPE_VIDEO && type != AVMEDIA_TYPE_AUDIO) {
    clock.shift = shift_;  // Subtitles come at any distance.
  } else if (clock.last) {
    constexpr std::int64_t kBack = AV_TIME_BASE / 10;
    constexpr std::int64_t kAhead = 10 * AV_TIME_BASE;
    if (time < *clock.last - kBack || time > clock.end + kAhead) {
      // The first stream that comes there says for all how far.
      if (clock.shift == shift_) {
        shift_ += clock.end - time;
        const std::int64_t start =
            container_->start_time != AV_NOPTS_VALUE ? container_->start_time : 0;
        warn_("'" + name_ + "': its clock jumps after " +
              secondsText(static_cast<double>(clock.end + clock.shift - start) / AV_TIME_BASE) +
              " seconds, as where recordings are joined; the output goes on without a gap");
      }
      clock.shift = shift_;
    }
  }
  clock.last = time;
  clock.end = time + av_rescale_q(packet.duration, stream.time_base, AV_TIME_BASE_Q);
  const std::int64_t shift = av_rescale_q(clock.shift, AV_TIME_BASE_Q, stream.time_base);
  if (packet.pts != AV_NOPTS_VALUE) packet.pts += shift;
  if (packet.dts != AV_NOPTS_VALUE) packet.dts += shift;
}

/// Reads the next packet of any stream; null at the end of the file.
FfmpegPtr<AVPacket> Reader::readPacket() {
  if (atFileEnd_) return nullptr;
  FfmpegPtr<AVPacket> packet = newPacket();
  const int error = webp_ ? webp_->read(*packet) : av_read_frame(container_, packet.get());
  if (error < 0) {
    atFileEnd_ = true;
    if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
    if (error == AVERROR_EOF) {
      checkEnd();
      endsEarly_ = endsEarly_ || lastIsShort_;
      return nullptr;
    }
    if (!firstTime_) fail(error, kUnknown);
    breakOff_ = ffmpegMessage(error);
    return nullptr;
  }
  continueClock(*packet);
  // Of transport streams it marks packets after a gap.
  lastIsShort_ = (packet->flags & AV_PKT_FLAG_CORRUPT) != 0 && format() != "mpegts";
  packetsEnd_ = packet->pos + packet->size;
  const std::int64_t time = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
  if (time != AV_NOPTS_VALUE) {
    const Moment end{time + packet->duration, container_->streams[packet->stream_index]->time_base};
    if (!anyEnd_ || *anyEnd_ < end) anyEnd_ = end;
  }
  return packet;
}

/// Reads packets of all streams until enough() is true or the file ends. keepVideo: packets of the
/// video are decoded later; false: they are dropped.
template <typename Enough>
void Reader::readAhead(bool keepVideo, Enough enough) {
  while (!enough()) {
    FfmpegPtr<AVPacket> packet = readPacket();
    if (!packet) return;
    if (packet->stream_index == stream_->index) {
      if (keepVideo) ahead_.push_back(std::move(packet));
    } else if (isCopied(packet->stream_index)) {
      copied_->add(std::move(packet));
    }
  }
}

/// Sends the decoder the next packet or, once, the end of the file. Returns false after that.
bool Reader::feed() {
  if (drained_) return false;
  readAhead(true, [this] { return !ahead_.empty(); });
  if (ahead_.empty()) {
    drained_ = true;
    return avcodec_send_packet(decoder_.get(), nullptr) >= 0;
  }
  const FfmpegPtr<AVPacket> packet = std::move(ahead_.front());
  ahead_.pop_front();
  lastDts_ = packet->dts;
  requireDecoded(avcodec_send_packet(decoder_.get(), packet.get()));
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

Moment Reader::beginOf(const DecodedFrame& frame) const {
  return {frame.frame->pts, stream_->time_base};
}

Moment Reader::endOf(const DecodedFrame& frame) const {
  return {frame.frame->pts + std::max<std::int64_t>(0, frame.frame->pkt_duration),
          stream_->time_base};
}

/// Decodes the next frame as it is stored; null after the last.
FfmpegPtr<AVFrame> Reader::decodeStored() {
  FfmpegPtr<AVFrame> frame = newFrame();
  for (;;) {
    const int error = avcodec_receive_frame(decoder_.get(), frame.get());
    if (error >= 0) break;
    if (error != AVERROR(EAGAIN) && error != AVERROR_EOF) {
      requireDecoded(error);
    } else if (error == AVERROR_EOF || !feed()) {
      // The last packet decides: frames are shown in another order.
      if (patchedDts_ && patchedDts_ == lastDts_) endsEarly_ = true;
      return nullptr;
    }
  }
  errorsInARow_ = 0;
  if (isPatched(*frame)) {
    if (frame->pkt_dts != AV_NOPTS_VALUE) {
      patchedDts_ = frame->pkt_dts;
    } else if (drained_) {
      endsEarly_ = true;  // The decoder kept it to the end.
    }
  }
  stamp(*frame);
  return frame;
}

/// Decodes and deinterlaces the next frame; null after the last. Reads a frame ahead.
FfmpegPtr<AVFrame> Reader::deinterlaced() {
  for (;;) {
    if (deinterlacer_) {
      if (FfmpegPtr<AVFrame> frame = deinterlacer_->receive()) return frame;
      if (filtersEnd_) return nullptr;
    }
    const FfmpegPtr<AVFrame> stored = decodeStored();
    if (!deinterlacer_) {
      if (!stored) return nullptr;
      startDeinterlacing(*stored);
    }
    filtersEnd_ = !stored;
    deinterlacer_->send(stored.get());
  }
}

/// first: the video's first frame.
void Reader::startDeinterlacing(const AVFrame& first) {
  const AVFieldOrder order = stream_->codecpar->field_order;
  const bool marked =
      first.interlaced_frame != 0 || (order != AV_FIELD_UNKNOWN && order != AV_FIELD_PROGRESSIVE);
  if (!marked) {
    warn_("'" + name_ +
          "': no frame is marked as interlaced; all are taken for it, with the top field first");
  }
  const std::string frames = marked ? "interlaced" : "all";
  deinterlacer_ = std::make_unique<FrameFilter>("bwdif=mode=send_frame:deint=" + frames, first,
                                                stream_->time_base);
}

/// Decodes the next frame; null after the last.
std::unique_ptr<DecodedFrame> Reader::decode() {
  auto decoded = std::make_unique<DecodedFrame>();
  decoded->frame = deinterlaces_ ? deinterlaced() : decodeStored();
  if (!decoded->frame) return nullptr;
  decoded->number = nextNumber_++;
  decoded->time = {(decoded->frame->pts - *firstTime_) * stream_->time_base.num,
                   stream_->time_base.den};
  const Moment end = endOf(*decoded);
  if (!lastEnd_ || *lastEnd_ < end) lastEnd_ = end;
  if (film_ && decoded->number == film_->first) filmStart_ = beginOf(*decoded);
  return decoded;
}

/// Turns timecodes into frame numbers.
void Reader::resolveTimecodes() {
  if (choice_.timecodes.empty()) return;
  const AVRational rate = av_guess_frame_rate(container_, stream_, nullptr);
  const auto frameOf = [&](const std::string& text) {
    AVTimecode timecode;
    if (av_timecode_init_from_string(&timecode, rate, text.c_str(), nullptr) < 0) {
      throw UsageError("timecode '" + text + "': '" + name_ + "' at " + std::to_string(rate.num) +
                       "/" + std::to_string(rate.den) +
                       " frames a second has no such one (use frame numbers)");
    }
    return std::int64_t{timecode.start};
  };
  const AVDictionaryEntry* start = av_dict_get(stream_->metadata, "timecode", nullptr, 0);
  if (start == nullptr) start = av_dict_get(container_->metadata, "timecode", nullptr, 0);
  const std::int64_t zero = start == nullptr ? 0 : frameOf(start->value);
  constexpr std::int64_t kMost = 10'000'000;
  for (const TimecodeSpan& span : choice_.timecodes) {
    const std::int64_t first = frameOf(span.first) - zero;
    const std::int64_t last = frameOf(span.last) - zero;
    if (last < first || first < 0 || last - first >= kMost) {
      throw UsageError("timecode '" + span.first + "-" + span.last + "': '" + name_ +
                       "' has no such frames (its first one is " +
                       (start == nullptr ? "00:00:00:00" : start->value) + ")");
    }
    for (std::int64_t n = first; n <= last; ++n) choice_.numbers.push_back(n);
  }
  choice_.sortNumbers();
}

/// Returns whether no later frame can be chosen.
bool Reader::isPastChoice() const {
  if (choice_.isAll() || choice_.series || nextChosen_ < choice_.numbers.size()) return false;
  if (choice_.spans.empty()) return true;
  if (!lastEnd_) return false;
  const double shown =
      secondsOf(*lastEnd_) - static_cast<double>(*firstTime_) * av_q2d(stream_->time_base);
  return std::ranges::all_of(choice_.spans,
                             [&](const TimeSpan& span) { return shown > span.last; });
}

bool Reader::isChosen(const DecodedFrame& frame) {
  if (choice_.isAll()) return true;
  if (nextChosen_ < choice_.numbers.size() && choice_.numbers[nextChosen_] == frame.number) {
    ++nextChosen_;
    return true;
  }
  if (const auto& series = choice_.series; series && frame.number >= series->first) {
    if ((frame.number - series->first) % series->step == 0) return true;
  }
  // Half a tick, so that a decimal number such as 0.04 is the frame's own time.
  const double tick = av_q2d(stream_->time_base) / 2;
  const double begin = static_cast<double>(frame.time.num) / static_cast<double>(frame.time.den);
  const double length = secondsOf(endOf(frame)) - secondsOf(beginOf(frame));
  return std::ranges::any_of(choice_.spans, [&](const TimeSpan& span) {
    if (span.first == span.last) {
      return span.first >= begin - tick && span.first < begin + length - tick;
    }
    return begin >= span.first - tick && begin < span.last - tick;
  });
}

/// Decodes up to the next chosen frame; null after the last.
std::unique_ptr<DecodedFrame> Reader::findChosen() {
  while (!isPastChoice()) {
    std::unique_ptr<DecodedFrame> decoded = decode();
    if (!decoded || isChosen(*decoded)) return decoded;
    if (!begun_) copied_->forgetBefore(beginOf(*decoded));
  }
  return nullptr;
}

/// Finds the beginning of the output and cuts the other streams there.
void Reader::begin(const DecodedFrame& first) {
  firstFrame_.reset(av_frame_clone(first.frame.get()));
  if (!firstFrame_) throw std::bad_alloc();
  firstNumber_ = first.number;
  start_ = beginOf(first);
  zero_ = filmStart_.value_or(start_);
  std::vector<int> sounds;
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    const AVStream& stream = *container_->streams[i];
    if (!copying_.streams[i] || stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    sounds.push_back(stream.index);
    const Moment start{std::max<std::int64_t>(0, stream.start_time), stream.time_base};
    if (choosesAll() && stream.start_time != AV_NOPTS_VALUE && start < zero_) zero_ = start;
  }
  if (copying_.framesOnly) {
    if (copying_.keepTimestamps) zero_ = {};
    firstPackets_.resize(container_->nb_streams);
    return;
  }
  // The header of the output says how the sound begins: its first packets are needed. They may be
  // stored later, but not without a limit.
  constexpr std::int64_t kMostSeconds = 20;
  constexpr std::size_t kMostPackets = 5000;
  const Moment limit{zero_.in({1, 1}) + kMostSeconds, {1, 1}};
  readAhead(true, [&] {
    if (ahead_.size() > kMostPackets || (anyEnd_ && limit < *anyEnd_)) return true;
    return std::ranges::all_of(sounds, [&](int i) {
      const auto reached = copied_->reached(i);
      return reached && zero_ < *reached;
    });
  });
  if (!choice_.isAll()) copied_->cutBefore(zero_, copying_.lead);
  if (copying_.keepTimestamps) zero_ = {};
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    firstPackets_.push_back(copied_->first(static_cast<int>(i)));
  }
}

std::optional<std::pair<Moment, Moment>> Reader::span() const {
  if (choice_.isAll()) return std::nullopt;
  if (copiesAlone_ && chosenEnd_) return std::pair{start_, *chosenEnd_};
  const AVRational rate = stream_->avg_frame_rate;
  const AVRational base = stream_->time_base;
  std::int64_t end = start_.value;
  if (!choice_.numbers.empty() && rate.num > 0) {
    const std::int64_t frames = choice_.numbers.back() + 1 - firstNumber_;
    end = std::max(end, start_.value + av_rescale_q(frames, av_inv_q(rate), base));
  }
  for (const TimeSpan& span : choice_.spans) {
    end = std::max(end, *firstTime_ + static_cast<std::int64_t>(span.last / av_q2d(base)));
  }
  return std::pair{start_, Moment{end, base}};
}

std::unique_ptr<VideoFrame> Reader::next() {
  if (!begun_) {
    upcoming_ = findChosen();
    begun_ = true;
    if (upcoming_) begin(*upcoming_);
  }
  if (!upcoming_) return nullptr;
  std::unique_ptr<DecodedFrame> current = std::move(upcoming_);
  // Known before the current frame is returned, because the sound is cut at the end of the last.
  upcoming_ = findChosen();
  if (isPatched(*current->frame)) ++patched_;
  if (!upcoming_ && mayEndEarly_ && !endsEarly_ && !isPastChoice()) {
    warn_("'" + name_ +
          "': the last frame seems to lack its end, and so may all that follows (see how long the "
          "original is)");
  }
  if (choice_.isAll()) {
    current->packets = copied_->takeAll();
    return current;
  }
  const Moment end = endOf(*current);
  if (!upcoming_) {
    copied_->cutAfter(end);
    chosenEnd_ = end;
  }
  current->packets = copied_->takeUntil(end);
  return current;
}

void Reader::beginCopying() {
  upcoming_ = findChosen();
  begun_ = copiesAlone_ = true;
  if (!upcoming_) throw MediaError(cannotRead(name_) + "it has no frame (check the name)");
  begin(*upcoming_);
}

void Reader::endCopyingAt(const Moment& end) {
  chosenEnd_ = end;
  copied_->cutAfter(end);
}

std::vector<FfmpegPtr<AVPacket>> Reader::takeBefore(const Moment& time) {
  // The streams of a file are stored side by side, but not exactly.
  constexpr std::int64_t kMargin = 1;
  const Moment enough{time.in({1, 1}) + kMargin + 1, {1, 1}};
  readAhead(false, [&] { return anyEnd_ && enough < *anyEnd_; });
  return copied_->takeUntil(time);
}

std::optional<std::int64_t> Reader::countPackets() {
  const AVCodecID codec = stream_->codecpar->codec_id;
  const AVFieldOrder order = stream_->codecpar->field_order;
  const bool isInterlaced = order != AV_FIELD_UNKNOWN && order != AV_FIELD_PROGRESSIVE;
  // Each field of a picture may have a packet of its own.
  if (codec == AV_CODEC_ID_H264 && isInterlaced) return std::nullopt;
  std::int64_t count = 0;
  std::optional<std::int64_t> firstKey;
  int keys = 0;
  while (const FfmpegPtr<AVPacket> packet = readPacket()) {
    if (packet->stream_index != stream_->index) continue;
    const bool isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
    if (isKey && keys++ == 0) firstKey = packet->pts;
    // What the frames before the recording would be needed for is not shown: all before the first
    // key frame, and the frames after it in the file that are shown before it.
    if (keys == 0) return std::nullopt;
    if ((packet->flags & AV_PKT_FLAG_DISCARD) != 0) continue;  // Cut by an edit list.
    if (keys == 1 && packet->pts < *firstKey) return std::nullopt;
    // The fifth bit of a frame of VP8 says that it is shown.
    constexpr int kShown = 0x10;
    const bool hidden =
        codec == AV_CODEC_ID_VP8 && packet->size > 0 && (packet->data[0] & kShown) == 0;
    if (!hidden) ++count;
  }
  return count;
}

std::int64_t Reader::countDecoded() {
  std::int64_t count = 0;
  while (decodeStored()) ++count;
  return count;
}

std::vector<FfmpegPtr<AVPacket>> Reader::takePackets() {
  if (copiesAlone_ && !chosenEnd_) readAhead(false, [] { return false; });
  if (chosenEnd_) {
    const Moment end = *chosenEnd_;
    // Subtitles are stored near the pictures that they belong to.
    constexpr std::int64_t kMargin = 10;
    const Moment afterwards{end.in({1, 1}) + kMargin, {1, 1}};
    readAhead(false, [&] {
      const bool far = anyEnd_ && afterwards < *anyEnd_;
      for (unsigned i = 0; i < container_->nb_streams; ++i) {
        if (!copying_.streams[i]) continue;
        const AVMediaType type = container_->streams[i]->codecpar->codec_type;
        const auto reached = copied_->reached(static_cast<int>(i));
        if (type == AVMEDIA_TYPE_AUDIO && (!reached || *reached < end)) return false;
        if (type == AVMEDIA_TYPE_SUBTITLE && !far) return false;
      }
      return true;
    });
  }
  return copied_->takeAll();
}

void Reader::toPicture(const VideoFrame& frame, Picture& picture) {
  const AVFrame& decoded = *static_cast<const DecodedFrame&>(frame).frame;
  converters_.use([&](FrameConverter& converter) { converter.toPicture(decoded, picture); });
  // Some decoders leave it to the container.
  picture.info.encoding =
      encodingOf(decoded.color_trc != AVCOL_TRC_UNSPECIFIED ? decoded.color_trc
                                                            : stream_->codecpar->color_trc);
  const double aspect = av_q2d(decoded.sample_aspect_ratio);
  picture.info.pixelAspect =
      decoded.sample_aspect_ratio.den > 0 && aspect > 0.01 && aspect < 100 ? aspect : 1.0;
  if (orientation_ != 1) picture = upright(std::move(picture), orientation_);
}

std::int64_t countFrames(const VideoInput& input) {
  if (const auto count = Reader(input).countPackets()) return *count;
  return Reader(input).countDecoded();
}

std::unique_ptr<VideoReader> openVideo(const VideoInput& input) {
  return std::make_unique<Reader>(input);
}

}  // namespace lomix::media
