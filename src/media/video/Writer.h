// Writes videos with FFmpeg's libraries.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "media/video/Codecs.h"
#include "media/video/Reader.h"
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

 private:
  class PreparedFrame;

  void append(PreparedFrame& prepared);
  std::unique_ptr<EncodableFrame> prepareTurned(std::shared_ptr<Picture> picture,
                                                const VideoFrame* origin, std::int64_t place);
  void fill(AVFrame& frame, std::shared_ptr<Picture> picture);
  void writeWrapped(AVFrame& frame);
  void requireCarriable(const AVStream& stream) const;
  void open(const Picture& picture);
  void openEncoder(const Picture& picture);
  void setColours(AVCodecContext& encoder) const;
  void addStreams();
  void addVideoStream();
  void addCopiedStream(const AVStream& from);
  void copyChapters();
  void encode(const AVFrame* frame);
  void write(AVPacket& packet);
  void copy(std::vector<FfmpegPtr<AVPacket>>& packets);
  bool keepsRotation() const;
  void require(int error) const;

  VideoOutput output_;
  Reader* source_;
  const CodecChoice& codec_;
  const AVOutputFormat* format_;
  std::optional<TemporaryFile> file_;  ///< None for standard output.
  AVFormatContext* container_ = nullptr;
  FfmpegPtr<AVCodecContext> encoder_;
  AVStream* stream_ = nullptr;
  std::vector<int> copies_;  ///< Index of the output stream for each input stream; -1: none.
  FfmpegPtr<AVPacket> packet_ = newPacket();
  std::map<std::int64_t, std::int64_t> durations_;  ///< Of the frames in the encoder, by timestamp.
  ConverterPool converters_;
  std::mutex mutex_;  ///< Guards open().
  int depth_ = 0;     ///< Of the pictures; 0 until the file is open.
  bool wraps_ = false;
};

}  // namespace lomix::media
