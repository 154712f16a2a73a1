// Joins segments of a film.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "media/video/Codecs.h"
#include "media/video/CopyPlan.h"
#include "media/video/Playlists.h"
#include "media/video/Reader.h"
#include "media/video/SegmentNote.h"
#include "media/video/Writer.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

/// The packets of one segment.
class SegmentFile {
 public:
  /// Throws MediaError for a file that is no segment.
  explicit SegmentFile(const std::string& name) : name_(name) {
    try {
      open();
    } catch (...) {
      avformat_close_input(&container_);
      throw;
    }
  }
  ~SegmentFile() { avformat_close_input(&container_); }
  SegmentFile(const SegmentFile&) = delete;
  SegmentFile& operator=(const SegmentFile&) = delete;

  const AVStream& stream() const { return *container_->streams[0]; }
  const SegmentNote& note() const { return note_; }

  /// Returns the next packet in the order of decoding, with the film's timestamp; null after the
  /// last. Throws MediaError.
  FfmpegPtr<AVPacket> next() {
    FfmpegPtr<AVPacket> packet = newPacket();
    const int error = av_read_frame(container_, packet.get());
    if (error == AVERROR_EOF) return nullptr;
    if (error < 0) fail(ffmpegMessage(error));
    if (packet->pts == AV_NOPTS_VALUE) fail("a frame has no time");
    // MP4's segments begin at 0.
    if (isMp4Family(*av_guess_format(nullptr, name_.c_str(), nullptr))) {
      const AVRational base = stream().time_base;
      packet->pts +=
          av_rescale_rnd(note_.start.num, base.den, note_.start.den * base.num, AV_ROUND_NEAR_INF);
    }
    return packet;
  }

  [[noreturn]] void fail(const std::string& cause) const {
    throw MediaError(cannotRead(name_) + cause + " (render the segment again)");
  }

 private:
  void open() {
    if (!fileExists(name_)) {
      throw MediaError(cannotRead(name_) + "there is no such file (check the name)");
    }
    FfmpegOptions options;
    limitWhatIsOpened(options, false);
    const std::string url = "file:" + name_;
    int error = avformat_open_input(&container_, url.c_str(), nullptr, options.address());
    if (error >= 0) error = avformat_find_stream_info(container_, nullptr);
    if (error < 0) fail(ffmpegMessage(error));
    const AVDictionaryEntry* tag = av_dict_get(container_->metadata, "comment", nullptr, 0);
    const auto note = SegmentNote::parse(tag == nullptr ? "" : tag->value);
    if (!note || container_->nb_streams != 1 || !holdsSegments(name_)) {
      throw MediaError(cannotRead(name_) +
                       "it is no segment of a film (name what 'lomix render --share' wrote)");
    }
    note_ = *note;
  }

  std::string name_;
  AVFormatContext* container_ = nullptr;
  SegmentNote note_;
};

/// A segment that was looked through.
struct Part {
  std::string name;
  SegmentNote note;
  std::int64_t frames = 0;
};

/// Returns what differs between two streams that one decoder has to take; empty for nothing.
std::string differenceOf(const AVStream& a, const AVStream& b) {
  const AVCodecParameters& p = *a.codecpar;
  const AVCodecParameters& q = *b.codecpar;
  if (p.codec_id != q.codec_id || p.codec_tag != q.codec_tag) return "codec";
  if (p.width != q.width || p.height != q.height) return "size";
  if (p.format != q.format || p.bits_per_coded_sample != q.bits_per_coded_sample) {
    return "pixel format";
  }
  if (av_cmp_q(a.time_base, b.time_base) != 0) return "unit of time";
  if (av_cmp_q(a.sample_aspect_ratio, b.sample_aspect_ratio) != 0) return "pixel aspect";
  if (p.color_range != q.color_range || p.color_space != q.color_space ||
      p.color_trc != q.color_trc || p.color_primaries != q.color_primaries) {
    return "colour";
  }
  if (p.extradata_size != q.extradata_size ||
      (p.extradata_size > 0 &&
       std::memcmp(p.extradata, q.extradata, static_cast<std::size_t>(p.extradata_size)) != 0)) {
    return "header of the codec, which another encoder may have written,";
  }
  return {};
}

/// Joins the segments of one film.
class Joiner {
 public:
  Joiner(const JoinInput& input, const VideoOutput& output) : input_(input), output_(output) {}

  JoinedFilm join() {
    muteFfmpeg();
    readNotes();
    requireAll();
    requireOutput();
    for (Part& part : parts_) lookThrough(part);
    orderFrames();
    openSource();
    write();
    return std::move(film_);
  }

 private:
  const SegmentNote& note() const { return parts_.front().note; }

  void readNotes() {
    for (const std::string& name : input_.segments) {
      const SegmentFile file(name);
      parts_.push_back({name, file.note(), 0});
    }
    std::ranges::sort(parts_, {}, [](const Part& part) { return part.note.segment.number; });
    for (std::size_t i = 1; i < parts_.size(); ++i) {
      const Part& part = parts_[i];
      const std::string number = std::to_string(part.note.segment.number);
      if (part.note.common() != note().common()) {
        throw MediaError(
            cannotRead(part.name) + "it is of another job than '" + parts_.front().name +
            "': the input, the settings or the number of shares differ (render one " + "again)");
      }
      if (part.note.segment.number == parts_[i - 1].note.segment.number) {
        throw MediaError(cannotRead(part.name) + "it is segment " + number + " as '" +
                         parts_[i - 1].name + "' is (name one of them)");
      }
    }
  }

  /// Throws MediaError where a segment is missing.
  void requireAll() const {
    const std::int64_t count = note().segment.count;
    const std::int64_t frames = note().segment.film.frames;
    constexpr std::size_t kMostNamed = 8;
    std::vector<std::string> missing;
    auto part = parts_.begin();
    for (std::int64_t n = 1; n <= count; ++n) {
      if (part != parts_.end() && part->note.segment.number == n) {
        ++part;
      } else if (blockBegin(frames, n - 1, count) < blockBegin(frames, n, count)) {
        missing.push_back(std::to_string(n));
      }
    }
    if (missing.empty()) return;
    const std::string share = missing.front() + "/" + std::to_string(count);
    const std::size_t more = missing.size() > kMostNamed ? missing.size() - kMostNamed : 0;
    missing.resize(missing.size() - more);
    throw MediaError(cannotWrite(output_.name) + "of " + std::to_string(count) +
                     " segments these are missing: " + joined(missing, ", ") +
                     (more > 0 ? " and " + std::to_string(more) + " more" : "") +
                     " (render them, with --share " + share + " and so on)");
  }

  void requireOutput() const {
    const auto extension = [](const std::string& name) {
      return lowerCase(std::filesystem::path(name).extension().string());
    };
    const std::string wanted = extension(parts_.front().name);
    for (const Part& part : parts_) {
      if (extension(part.name) == wanted) continue;
      throw MediaError(cannotRead(part.name) + "it is no " + wanted + " file as '" +
                       parts_.front().name + "' is (give the segments their own extension)");
    }
    if (extension(output_.name) != wanted) {
      throw UsageError("OUTPUT: '" + output_.name + "' is no " + wanted +
                       " file as the segments are (name one)");
    }
  }

  /// Checks that a segment fits to the first, and collects the times of its frames.
  void lookThrough(Part& part) {
    SegmentFile file(part.name);
    if (&part == &parts_.front()) {
      first_ = std::make_unique<SegmentFile>(part.name);
    } else if (const std::string what = differenceOf(file.stream(), first_->stream());
               !what.empty()) {
      throw MediaError(cannotRead(part.name) + "its " + what + " is not that of '" +
                       parts_.front().name + "' (render one again, with the same lomix)");
    }
    while (const FfmpegPtr<AVPacket> packet = file.next()) {
      if (part.frames == 0 && (packet->flags & AV_PKT_FLAG_KEY) == 0) {
        file.fail("it does not begin with a key frame");
      }
      times_.push_back(packet->pts);
      ++part.frames;
    }
    const std::int64_t promised = part.note.segment.frames;
    if (part.frames == 0) file.fail("it has no frame");
    if (part.frames < promised) {
      film_.losses.push_back("'" + part.name + "' has " + std::to_string(part.frames) + " of its " +
                             std::to_string(promised) + " frames");
    }
    // In the order of display, each segment follows the one before.
    const auto begin = times_.end() - static_cast<std::ptrdiff_t>(part.frames);
    const std::int64_t earliest = *std::min_element(begin, times_.end());
    if (latest_ && earliest <= *latest_) file.fail("its times overlap those of the one before");
    latest_ = *std::max_element(begin, times_.end());
  }

  /// Sorts the times into the order of display. Finds by how many frames decoding has to be ahead,
  /// so that no frame is decoded after it is shown. Throws MediaError where two frames have one
  /// time.
  void orderFrames() {
    sorted_ = times_;
    std::ranges::sort(sorted_);
    if (std::ranges::adjacent_find(sorted_) != sorted_.end()) {
      throw MediaError(cannotRead(parts_.front().name) +
                       "two frames have one time (render the segments again)");
    }
    for (std::size_t i = 0; i < times_.size(); ++i) {
      while (delay_ <= i && times_[i] < sorted_[i - delay_]) ++delay_;
    }
  }

  /// Returns the time at which a packet is decoded: increasing, and never after its display.
  std::int64_t decodingTime(std::size_t place) const {
    if (place >= delay_) return sorted_[place - delay_];
    return sorted_[place] - (sorted_[delay_] - sorted_[0]);
  }

  void openSource() {
    const bool given = !input_.source.empty();
    const bool rendered = note().sourceBytes > 0;
    if (!rendered && given) {
      throw UsageError("--source: the segments were made from pictures (leave it out)");
    }
    if (!rendered || !input_.fromSource) return;
    if (!given) {
      throw UsageError(
          "--source is required: the video that was rendered, whose sound and tags are copied (or "
          "add --video-only)");
    }
    if (isReadOnce(input_.source)) {
      throw UsageError("--source: '" + input_.source +
                       "' is no file that can be compared with the video that was rendered (copy " +
                       "it to a file)");
    }
    VideoInput input;
    input.name = input_.source;
    input.warn = output_.warn;
    const Film& film = note().segment.film;
    if (!film.isAll) input.frames.series = FrameSeries{film.first, 1};
    source_ = std::make_unique<Reader>(input);
    std::error_code ignored;
    const auto size = std::filesystem::file_size(std::filesystem::path(input_.source), ignored);
    if (static_cast<std::int64_t>(size) != note().sourceBytes) {
      throw MediaError(cannotRead(input_.source) + "it has " + std::to_string(size) +
                       " bytes, but the video that was rendered had " +
                       std::to_string(note().sourceBytes) + " (name that one)");
    }
  }

  /// Returns a time of the film as one of the source.
  Moment inSource(std::int64_t time) const {
    const AVRational base = source_->stream().time_base;
    const Moment moment{time, first_->stream().time_base};
    return {moment.in(base) + source_->zero().in(base), base};
  }

  void write() {
    VideoOutput output = output_;
    const SegmentNote& common = note();
    output.codec = codecNameOf(first_->stream().codecpar->codec_id);
    output.sound = common.sound;
    output.subtitles = common.subtitles;
    output.data = common.data;
    output.keepTimestamps = common.keepsTimestamps;
    Writer writer(output, source_.get());
    if (source_) {
      source_->beginCopying();
      if (!common.segment.film.isAll) source_->endCopyingAt(inSource(endOfLast()));
    }
    AVRational rate;
    av_reduce(&rate.num, &rate.den, common.rate.num, common.rate.den, 1 << 30);
    writer.openLike(first_->stream(), rate);
    std::size_t place = 0;
    for (const Part& part : parts_) {
      SegmentFile file(part.name);
      while (const FfmpegPtr<AVPacket> packet = file.next()) {
        if (place == times_.size() || times_[place] != packet->pts) {
          file.fail("it changed while it was read");
        }
        packet->dts = decodingTime(place++);
        if (source_) {
          auto others = source_->takeBefore(inSource(packet->pts + packet->duration));
          writer.copy(others);
        }
        writer.writeEncoded(*packet, first_->stream().time_base);
        ++film_.frames;
      }
    }
    writer.finish();
    if (source_) film_.sourceLoss = source_->lossOfCopied();
  }

  /// Returns the time at which the last frame ends.
  std::int64_t endOfLast() const {
    SegmentFile file(parts_.back().name);
    std::int64_t end = 0;
    while (const FfmpegPtr<AVPacket> packet = file.next()) {
      end = std::max(end, packet->pts + packet->duration);
    }
    return end;
  }

  const JoinInput& input_;
  const VideoOutput& output_;
  std::vector<Part> parts_;             ///< In their order.
  std::unique_ptr<SegmentFile> first_;  ///< The first one.
  // In units of the segments' time base.
  std::vector<std::int64_t> times_;   ///< Of the frames in the order of decoding.
  std::vector<std::int64_t> sorted_;  ///< The same in the order of display.
  std::optional<std::int64_t> latest_;
  std::size_t delay_ = 0;
  std::unique_ptr<Reader> source_;  ///< Null: nothing is copied.
  JoinedFilm film_;
};

}  // namespace

bool holdsSegments(const std::string& name) {
  const AVOutputFormat* format = av_guess_format(nullptr, name.c_str(), nullptr);
  return format != nullptr && (isMp4Family(*format) || isMatroska(*format));
}

JoinedFilm joinSegments(const JoinInput& input, const VideoOutput& output) {
  return Joiner(input, output).join();
}

}  // namespace lomix::media
