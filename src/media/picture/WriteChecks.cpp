#include "media/picture/WriteChecks.h"

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace lomix::media {
namespace {

/// Returns whether the pixels that are read are those that were written. written: of the writer.
bool storesExactly(const OIIO::ImageInput& input, const OIIO::ImageSpec& written) {
  const std::string_view format = input.format_name();
  // HEIF is lossy, and the library does not read every RLA file as it wrote it.
  if (format == "heif" || format == "rla") return false;
  const OIIO::ImageSpec& spec = input.spec();
  const std::string compression = spec.get_string_attribute("compression");
  const bool isLossless = compression.empty() || compression == "none" || compression == "lzw" ||
                          compression == "zip" || compression == "packbits";
  const int allBits = static_cast<int>(written.format.size() * 8);
  return isLossless && spec.format == written.format &&
         spec.get_int_attribute("oiio:BitsPerSample", allBits) == allBits;
}

}  // namespace

ReadBack::ReadBack(const std::filesystem::path& file, const OIIO::ImageSpec& spec) : file_(file) {
  m_spec = spec;
}

bool ReadBack::write_image(OIIO::TypeDesc format, const void* pixels, OIIO::stride_t,
                           OIIO::stride_t, OIIO::stride_t, OIIO::ProgressCallback, void*) {
  OIIO::ImageSpec config;
  // The colours as they are in the file.
  config.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file_.string(), &config);
  bool same = input && input->spec().width == m_spec.width &&
              input->spec().height == m_spec.height && input->spec().nchannels == m_spec.nchannels;
  if (same) {
    const std::size_t size = m_spec.image_pixels() * m_spec.pixel_bytes(0, m_spec.nchannels) /
                             m_spec.format.size() * format.size();
    std::vector<char> read(size);
    const bool isExact = storesExactly(*input, m_spec);
    same = input->read_image(0, 0, 0, m_spec.nchannels, format, read.data()) &&
           (!isExact || std::memcmp(read.data(), pixels, size) == 0);
    input->geterror();
  }
  OIIO::geterror();  // The library prints errors that are not fetched when the program ends.
  return same;
}

}  // namespace lomix::media
