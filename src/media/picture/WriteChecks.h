// Finds out whether all of a picture has reached its file. For src/media only: includes
// OpenImageIO's headers.
#pragma once

#include <OpenImageIO/imageio.h>

#include <filesystem>
#include <string>

namespace lomix::media {

/// Compares the pixels of a finished file with those that were given to its writer. Takes them as a
/// writer does: write_image() returns whether the file has these pixels or, of HEIF and RLA,
/// whether it can be decoded.
class ReadBack : public OIIO::ImageOutput {
 public:
  /// spec: that of the writer.
  ReadBack(const std::filesystem::path& file, const OIIO::ImageSpec& spec);

  const char* format_name() const override { return "comparison"; }
  bool open(const std::string&, const OIIO::ImageSpec&, OpenMode) override { return false; }
  bool close() override { return true; }
  bool write_image(OIIO::TypeDesc format, const void* pixels, OIIO::stride_t, OIIO::stride_t,
                   OIIO::stride_t, OIIO::ProgressCallback, void*) override;

 private:
  std::filesystem::path file_;
};

}  // namespace lomix::media
