// Writes videos with FFmpeg's libraries.
#pragma once

#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "media/picture/TransparencyCheck.h"
#include "media/video/Codecs.h"
#include "media/video/CopyPlan.h"
#include "media/video/Reader.h"
#include "media/video/SegmentNote.h"
#include "media/video/Subtitles.h"
#include "support/TemporaryFile.h"

namespace lomix::media {

/// Writes a video and copies its source's sound, subtitles, chapters and tags.
class Writer : public VideoWriter {
 public:
  Writer(const VideoOutput& output, Reader* source);
  ~Writer() override;

  std::unique_ptr<EncodableFrame> prepare(std::shared_ptr<Picture> picture,
                                          const VideoFrame* origin, std::int64_t place) override;
  void finish() override;

  /// Starts the file with a stream for packets that are encoded already, like the stream of a
  /// segment. rate: frames a second. Call instead of prepare(), once. like: must outlive the call.
  void openLike(const AVStream& like, AVRational rate);
  /// Writes such a packet, its timestamps in units of base.
  void writeEncoded(AVPacket& packet, AVRational base);
  /// Writes packets of the source's copied streams.
  void copy(std::vector<FfmpegPtr<AVPacket>>& packets);

 private:
  class PreparedFrame;

  void append(PreparedFrame& prepared);
  std::unique_ptr<EncodableFrame> prepareTurned(std::shared_ptr<Picture> picture,
                                                const VideoFrame* origin, std::int64_t place);
  void fill(AVFrame& frame, std::shared_ptr<Picture> picture);
  void writeWrapped(AVFrame& frame);
  void open(const Picture& picture);
  void createContainer();
  void writeHeader();
  void openEncoder(const Picture& picture);
  void setColours(const PictureInfo& info, AVCodecContext& encoder) const;
  void warnOfEncoding(const PictureInfo& info) const;
  void setFieldOrder(AVCodecContext& encoder);
  SegmentNote segmentNote() const;
  void addStreams();
  void addVideoStream();
  void describeEncoded(AVStream& stream) const;
  void addSideData(AVPacketSideDataType type, const std::uint8_t* data, std::size_t size);
  void copySideData(const AVStream& from);
  void addCopiedStream(const AVStream& from);
  void addCover(const AVStream& from);
  void setPadding(const AVStream& from, AVStream& to) const;
  void copyTags();
  void copyChapters();
  void writeCovers();
  void encode(const AVFrame* frame);
  void encodeFiltered();
  void write(AVPacket& packet);
  void warn(const std::string& subject, const std::string& what) const;
  void require(int error) const;
  void requireHeader(int error) const;

  VideoOutput output_;
  Reader* source_;
  const CodecChoice& codec_;
  const AVOutputFormat* format_;
  std::optional<TemporaryFile> file_;  ///< None for standard output.
  AVFormatContext* container_ = nullptr;
  FfmpegPtr<AVCodecContext> encoder_;
  AVPixelFormat frameFormat_ = AV_PIX_FMT_NONE;  ///< Of the frames that prepare() makes.
  std::unique_ptr<FrameFilter> palettes_;        ///< For GIF: gives each frame its 256 colours.
  const AVStream* like_ = nullptr;               ///< During openLike().
  AVRational likeRate_{0, 1};
  AVStream* stream_ = nullptr;
  std::vector<Treatment> treatments_;  ///< Of each input stream.
  std::vector<int> copies_;  ///< Index of the output stream for each input stream; -1: none.
  std::map<int, SubtitleConverter> converted_;  ///< By input stream.
  FfmpegPtr<AVPacket> packet_ = newPacket();
  std::map<std::int64_t, std::int64_t> durations_;  ///< Of the frames in the encoder, by timestamp.
  ConverterPool converters_;
  std::optional<TransparencyCheck> transparency_;  ///< Once the file is open.
  std::mutex mutex_;                               ///< Guards open().
  std::exception_ptr openError_;                   ///< Why open() failed; null: it did not.
  int depth_ = 0;                                  ///< Of the pictures; 0 until the file is open.
  bool wraps_ = false;
  bool converts_ = false;  ///< The pictures are in another colour space than the source.
};

}  // namespace lomix::media
