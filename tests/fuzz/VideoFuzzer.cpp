// Reads any bytes as Y4M or as raw frames on standard input.
#include <array>
#include <cstdio>
#include <memory>
#include <string>

#include "fuzz/Bytes.h"
#include "fuzz/Fuzzing.h"
#include "media/video/Video.h"
#include "support/MediaError.h"

namespace {

namespace media = lomix::media;

constexpr std::array kRawFormats{"rgba",      "yuv420p", "gray16le",
                                 "gbrpf32le", "rgb24",   "yuva444p10le"};
constexpr int kMaxFrames = 4;

media::VideoInput takeInput(lomix::fuzz::Bytes& bytes) {
  media::VideoInput input;
  input.name = media::kStandardStream;
  const int kind = bytes.byte();
  input.deinterlace = kind % 8 == 3;
  if (kind % 16 == 7) input.frames.numbers = {0, 2};
  if (kind % 16 == 8) input.frames.spans = {{0.04, 1.0}};
  if (kind % 2 == 0) {
    input.start = "YUV4MPEG2" + bytes.remainder();
    return input;
  }
  input.rawFormat = kRawFormats[static_cast<std::size_t>(kind / 2) % kRawFormats.size()];
  input.rawWidth = bytes.between(1, 40);
  input.rawHeight = bytes.between(1, 40);
  input.rawRate = {bytes.between(1, 100), bytes.between(1, 100)};
  input.start = bytes.remainder();
  return input;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // What follows the input on standard input is nothing.
  lomix::fuzz::require(std::freopen("/dev/null", "rb", stdin) != nullptr, "no /dev/null");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  lomix::fuzz::Bytes bytes(data, size);
  const media::VideoInput input = takeInput(bytes);
  if (input.start.empty()) return 0;
  try {
    const std::unique_ptr<media::VideoReader> reader = media::openVideo(input);
    media::Picture picture;
    for (int i = 0; i < kMaxFrames; ++i) {
      const std::unique_ptr<media::VideoFrame> frame = reader->next();
      if (!frame) break;
      reader->toPicture(*frame, picture);
    }
    reader->loss();
    reader->missingFrames();
  } catch (const lomix::MediaError& error) {
    lomix::fuzz::requireMessage(error.what());
  }
  return 0;
}
