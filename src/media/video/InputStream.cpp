#include "media/video/InputStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "support/StandardFiles.h"

namespace lomix::media {

InputStream::InputStream(std::string start) : start_(std::move(start)) {
  constexpr int kBuffer = 64 * 1024;
  auto* buffer = static_cast<unsigned char*>(av_malloc(kBuffer));
  if (buffer != nullptr) io_ = avio_alloc_context(buffer, kBuffer, 0, this, read, nullptr, nullptr);
  if (io_ != nullptr) return;
  av_free(buffer);
  throw std::bad_alloc();
}

InputStream::~InputStream() {
  av_freep(&io_->buffer);
  avio_context_free(&io_);
}

AVFormatContext* InputStream::makeContainer() {
  AVFormatContext* container = avformat_alloc_context();
  if (container == nullptr) throw std::bad_alloc();
  container->pb = io_;
  container->flags |= AVFMT_FLAG_CUSTOM_IO;
  return container;
}

int InputStream::read(void* stream, std::uint8_t* target, int size) {
  auto& self = *static_cast<InputStream*>(stream);
  const std::size_t left = self.start_.size() - self.given_;
  if (left > 0) {
    const std::size_t count = std::min(left, static_cast<std::size_t>(size));
    std::memcpy(target, self.start_.data() + self.given_, count);
    self.given_ += count;
    return static_cast<int>(count);
  }
  self.start_ = {};
  self.given_ = 0;
  const std::ptrdiff_t count =
      readStandardInput(reinterpret_cast<char*>(target), static_cast<std::size_t>(size));
  if (count < 0) return AVERROR(errno);
  return count == 0 ? AVERROR_EOF : static_cast<int>(count);
}

}  // namespace lomix::media
