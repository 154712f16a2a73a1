// Reads videos with FFmpeg's libraries.
#pragma once

#include <deque>
#include <string_view>
#include <vector>

#include "media/video/CopiedPackets.h"
#include "media/video/Ffmpeg.h"
#include "media/video/FrameConverter.h"
#include "media/video/FrameFilter.h"
#include "media/video/InputStream.h"
#include "media/video/WebpFrames.h"

namespace lomix::media {

/// A decoded frame, and the packets of the copied streams that belong before the next one.
class DecodedFrame : public VideoFrame {
 public:
  FfmpegPtr<AVFrame> frame;                  ///< Timestamp in the stream's time base.
  std::vector<FfmpegPtr<AVPacket>> packets;  ///< Of the copied streams.
};

/// Reads any container and codec that FFmpeg's libraries support.
class Reader : public VideoReader {
 public:
  explicit Reader(const VideoInput& input);
  ~Reader() override;

  std::optional<std::int64_t> frameCount() const override;
  bool has(StreamKind kind) const override;
  std::string damage() const override;
  std::vector<std::int64_t> missingFrames() const override;
  std::string loss() const override;
  std::unique_ptr<VideoFrame> next() override;
  void toPicture(const VideoFrame& frame, Picture& picture) override;

  /// How the streams are copied.
  struct Copying {
    std::vector<bool> streams;    ///< By stream: whether its packets are wanted.
    bool lead = false;            ///< As in CopiedPackets::cutBefore().
    bool keepTimestamps = false;  ///< The output has the input's timestamps.
    /// Whether the streams only say where the output begins, and no packet of them is kept.
    bool framesOnly = false;
  };
  /// Call before the first next(). Without a call no stream is copied.
  void copy(const Copying& copying);

  /// Returns the packets of the copied streams after the last frame. Reads on where they may be
  /// stored later.
  std::vector<FfmpegPtr<AVPacket>> takePackets();
  /// Finds the first chosen frame, to copy the other streams alone: takeBefore() takes the place of
  /// next(). Throws MediaError where there is no such frame.
  void beginCopying();
  /// Says where the chosen frames end. Call after beginCopying() where not all are chosen.
  void endCopyingAt(const Moment& end);
  /// Returns the packets of the copied streams that begin before that time of the input and were
  /// not returned yet. Reads on without decoding.
  std::vector<FfmpegPtr<AVPacket>> takeBefore(const Moment& time);
  /// Returns as loss() what the copied streams lack, up to the end of the chosen frames. Call after
  /// takePackets().
  std::string lossOfCopied() const;
  /// Returns the number of frames, which is that of the packets that hold one to show; nothing
  /// where only decoding tells. Reads to the end.
  std::optional<std::int64_t> countPackets();
  /// Returns the number of frames that can be decoded. Reads to the end.
  std::int64_t countDecoded();

  /// Returns the time of the input that is 0 in the output. Valid after the first frame.
  Moment zero() const { return zero_; }
  /// Returns the time of the input at which the first chosen frame begins. Valid after next().
  Moment start() const { return start_; }
  /// Returns the first and last time of the input that the chosen frames show; nothing where all
  /// frames are chosen. The last time is estimated. Valid after the first frame.
  std::optional<std::pair<Moment, Moment>> span() const;
  /// Returns the timestamp of the first packet of a copied stream, in its time base, where it is
  /// known before the first frame is written.
  std::optional<std::int64_t> firstPacket(int stream) const {
    return firstPackets_.at(static_cast<std::size_t>(stream));
  }
  /// Returns the number of the first chosen frame. Valid after next() was called.
  std::int64_t firstNumber() const { return firstNumber_; }
  /// Returns the first chosen frame. Valid after next() was called, as long as the frame exists.
  const AVFrame& firstFrame() const { return *firstFrame_; }

  const std::string& name() const { return name_; }
  const AVFormatContext& container() const { return *container_; }
  const AVStream& stream() const { return *stream_; }
  const AVCodecContext& decoder() const { return *decoder_; }
  /// Returns the stored orientation, as upright() in Picture.h takes it.
  int orientation() const { return orientation_; }
  bool isRaw() const { return isRaw_; }
  bool deinterlaces() const { return deinterlaces_; }

 private:
  void open(const VideoInput& input);
  void chooseStream();
  void openDecoder(int threads);
  void readOrientation();
  bool isCopied(int stream) const;
  FfmpegPtr<AVPacket> readPacket();
  bool feed();
  template <typename Enough>
  void readAhead(bool keepVideo, Enough enough);
  void requireDecoded(int error);
  void stamp(AVFrame& frame);
  FfmpegPtr<AVFrame> decodeStored();
  FfmpegPtr<AVFrame> deinterlaced();
  void startDeinterlacing(const AVFrame& first);
  std::unique_ptr<DecodedFrame> decode();
  void resolveTimecodes();
  bool isPastChoice() const;
  bool isChosen(const DecodedFrame& frame);
  std::unique_ptr<DecodedFrame> findChosen();
  bool choosesAll() const { return film_ ? film_->isAll : choice_.isAll(); }
  void begin(const DecodedFrame& first);
  Moment beginOf(const DecodedFrame& frame) const;
  Moment endOf(const DecodedFrame& frame) const;
  std::optional<Moment> promisedEnd(const AVStream& stream) const;
  std::string lossOf(const std::string& what, const std::optional<Moment>& end,
                     const std::optional<Moment>& promised) const;
  std::string lossAtEnd() const;
  void checkEnd();
  std::string_view format() const;
  void continueClock(AVPacket& packet);
  void checkMpegEnd();
  std::vector<int> usedStreams() const;
  [[noreturn]] void fail(int error, const char* hint) const;

  std::string name_;
  bool isRaw_;
  FrameChoice choice_;
  std::optional<Film> film_;
  bool deinterlaces_;
  Warn warn_;
  std::unique_ptr<FrameFilter> deinterlacer_;  ///< Made for the first frame.
  bool filtersEnd_ = false;                    ///< The deinterlacer has got the last frame.
  std::unique_ptr<InputStream>
      standardInput_;                 ///< Standard input that was begun to be read; else null.
  std::unique_ptr<WebpFrames> webp_;  ///< The frames of an animated WebP; else null.
  AVFormatContext* container_ = nullptr;
  AVStream* stream_ = nullptr;
  FfmpegPtr<AVCodecContext> decoder_;
  std::unique_ptr<CopiedPackets> copied_;
  std::deque<FfmpegPtr<AVPacket>> ahead_;  ///< The video's packets that were read ahead.
  Copying copying_;
  int orientation_ = 1;
  std::int64_t skipped_ = 0;  ///< Parts after the first frame that could not be decoded.
  std::int64_t patched_ = 0;  ///< Frames of next() whose gaps the decoder has filled.
  int errorsInARow_ = 0;
  bool atFileEnd_ = false;
  bool drained_ = false;
  bool endsEarly_ = false;       ///< The file ends within a frame.
  bool mayEndEarly_ = false;     ///< It seems so.
  bool lastIsShort_ = false;     ///< The last packet so far has less bytes than it should have.
  bool lacksEnd_ = false;        ///< The file has not got what ends every whole one.
  std::int64_t packetsEnd_ = 0;  ///< The offset behind the last packet so far.
  std::optional<std::int64_t> lastDts_;     ///< Of the last packet that was decoded.
  std::optional<std::int64_t> patchedDts_;  ///< Of the last one whose frame had gaps.
  std::string breakOff_;            ///< Why the file could not be read to its end; empty: it could.
  std::uint64_t missingBytes_ = 0;  ///< Of those that the container states.

  /// The times of one stream as they are stored, in AV_TIME_BASE units.
  struct Clock {
    std::optional<std::int64_t> last;  ///< Of the last packet: its begin.
    std::int64_t end = 0;              ///< Of the last packet.
    std::int64_t shift = 0;            ///< What is added to them.
  };
  std::vector<Clock> clocks_;  ///< By stream.
  std::int64_t shift_ = 0;     ///< Of the part of the recording that was reached first.

  bool begun_ = false;
  bool copiesAlone_ = false;  ///< beginCopying() was called.
  std::unique_ptr<DecodedFrame> upcoming_;
  std::int64_t nextNumber_ = 0;
  std::size_t nextChosen_ = 0;
  Moment zero_;
  Moment start_;                     ///< Of the first chosen frame.
  std::optional<Moment> filmStart_;  ///< Of the first frame of film_, once it was decoded.
  std::optional<Moment> lastEnd_;    ///< Of the frames decoded so far: the largest.
  std::optional<Moment> chosenEnd_;  ///< Of the last chosen frame, once it is known.
  std::optional<Moment> anyEnd_;     ///< Of all packets read so far: the largest.
  FfmpegPtr<AVFrame> firstFrame_;
  std::int64_t firstNumber_ = 0;
  std::vector<std::optional<std::int64_t>> firstPackets_;  ///< By stream.
  std::optional<std::int64_t> firstTime_;
  std::int64_t nextTime_ = 0;  ///< Timestamp for the next frame if the file gives none.
  ConverterPool converters_;
};

}  // namespace lomix::media
