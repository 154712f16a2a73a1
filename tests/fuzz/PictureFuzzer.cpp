// Reads any bytes as a picture file of each format. What is read is written as PNG and read again.
#include <array>
#include <fstream>
#include <string>

#include "fuzz/Bytes.h"
#include "fuzz/Fuzzing.h"
#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/TemporaryFile.h"

namespace {

using lomix::fuzz::require;
namespace media = lomix::media;

constexpr const char* kInput = "picture";
constexpr const char* kOutput = "written.png";
/// Larger pictures are only read.
constexpr int kMaxWritten = 64;

/// Formats that a file's content does not tell are chosen by an extension.
constexpr std::array kExtensions{"", ".tga", ".bmp", ".psd", ".hdr", ".ppm", ".sgi", ".ico"};

void readBack(const media::Picture& picture) {
  if (picture.width() > kMaxWritten || picture.height() > kMaxWritten) return;
  media::writePicture(picture, kOutput, true);
  const media::Picture again = media::readPicture(kOutput);
  require(again.width() == picture.width() && again.height() == picture.height(),
          "a picture has another size when it was written");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  lomix::fuzz::enterScratchFolder();
  lomix::TemporaryFile::setFlushing(false);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  std::ofstream(kInput, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size - 1));
  try {
    // The last byte, so that the corpus consists of pictures that other programs show too.
    readBack(media::readPicture(kInput, kExtensions[data[size - 1] % kExtensions.size()]));
  } catch (const lomix::MediaError& error) {
    lomix::fuzz::requireMessage(error.what());
  }
  return 0;
}
