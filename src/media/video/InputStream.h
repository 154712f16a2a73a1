// Standard input for FFmpeg, after its first bytes were read. For src/media/video only.
#pragma once

#include <memory>
#include <string>

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// Feeds a demuxer with bytes that were read already, then with standard input.
class InputStream {
 public:
  /// Throws std::bad_alloc.
  explicit InputStream(std::string start);
  ~InputStream();
  InputStream(const InputStream&) = delete;
  InputStream& operator=(const InputStream&) = delete;

  /// Returns a new container for avformat_open_input() that reads this stream, which must outlive
  /// it. Throws std::bad_alloc.
  AVFormatContext* makeContainer();

 private:
  static int read(void* stream, std::uint8_t* target, int size);

  std::string start_;
  std::size_t given_ = 0;
  AVIOContext* io_ = nullptr;
};

}  // namespace lomix::media
