#include "media/picture/ImageLibrary.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "media/picture/PictureFile.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

// The library's names of the attributes that describe the picture. Those that describe the file
// (tile sizes, strips, bit counts, software) are not inherited: the output has other values.
constexpr std::array kInherited{
    "ICCProfile",     "oiio:ColorSpace", "oiio:Gamma",       "chromaticities",
    "whiteLuminance", "XResolution",     "YResolution",      "ResolutionUnit",
    "smpte:TimeCode", "smpte:KeyCode",   "FramesPerSecond",  "DateTime",
    "Copyright",      "Artist",          "ImageDescription", "DocumentName",
    "Make",           "Model",
};

constexpr const char* kCompression = "compression";
constexpr const char* kBitsPerSample = "oiio:BitsPerSample";

}  // namespace

std::string pictureLibrary() {
  const int version = OIIO::openimageio_version();  // 20407 for 2.4.7.
  return "OpenImageIO " + dotted(version / 10000, version / 100 % 100, version % 100);
}

Metadata collectMetadata(const std::string& format, const OIIO::ImageSpec& spec) {
  Metadata metadata{format, {}, spec.full_x, spec.full_y};
  const auto take = [&](const char* name) {
    if (const OIIO::ParamValue* found = spec.find_attribute(name)) {
      metadata.attributes.push_back(*found);
    }
  };
  for (const char* name : kInherited) take(name);
  take(kCompression);
  // For 10 and 12 bits in 16. A count below 8 would lose bits of the picture.
  if (spec.get_int_attribute(kBitsPerSample) > 8) take(kBitsPerSample);
  return metadata;
}

void applyMetadata(const Metadata& metadata, const std::string& format, bool sameStorage,
                   OIIO::ImageSpec& spec) {
  for (const OIIO::ParamValue& attribute : metadata.attributes) {
    const bool ofTheFile = attribute.name() == kCompression || attribute.name() == kBitsPerSample;
    if (ofTheFile && !(sameStorage && format == metadata.format)) continue;
    spec.extra_attribs.push_back(attribute);
  }
  spec.x = spec.full_x = metadata.originX;
  spec.y = spec.full_y = metadata.originY;
}

std::string firstLine(const std::string& message, const std::string& name,
                      const std::string& shownAs) {
  std::string_view rest = message;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
    std::string line(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (const std::size_t at = name.empty() ? std::string::npos : line.find(name);
        at != std::string::npos) {
      line.replace(at, name.size(), shownAs);
    }
    std::ranges::replace_if(
        line, [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
    const std::size_t first = line.find_first_not_of(" .");
    const std::size_t last = line.find_last_not_of(" .");
    if (first != std::string::npos) return line.substr(first, last - first + 1);
  }
  return "no reason is given";
}

}  // namespace lomix::media
