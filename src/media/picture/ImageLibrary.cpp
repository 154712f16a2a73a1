#include "media/picture/ImageLibrary.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <utility>

#include "media/picture/CameraData.h"
#include "media/picture/PictureFile.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

// Attributes that describe how a file is stored. The output has other values.
constexpr std::array kOfTheFile{
    "planarconfig",
    "oiio:UnassociatedAlpha",
    "CompressionQuality",
    "PixelAspectRatio",
    "openexr:chunkCount",
    "openexr:levelmode",
    "openexr:roundingmode",
    "openexr:lineOrder",
    "dpx:ImageDescriptor",
    "dpx:Packing",
    "dpx:ImagePacking",
    // The pixels are turned upright.
    "Orientation",
};

// Of the other formats, these prefixes describe how the file is stored.
constexpr std::array kFormatPrefixes{"openexr", "dpx", "targa"};

// Those of a camera's picture that the library writes as it has read them. The others are copied
// by copyCameraData().
constexpr std::array kOfCameraPictures{
    "ICCProfile",     "oiio:ColorSpace", "oiio:Gamma",       "chromaticities",
    "whiteLuminance", "XResolution",     "YResolution",      "ResolutionUnit",
    "smpte:TimeCode", "smpte:KeyCode",   "FramesPerSecond",  "DateTime",
    "Copyright",      "Artist",          "ImageDescription", "DocumentName",
    "Make",           "Model",
};

constexpr const char* kCompression = "compression";
constexpr const char* kBitsPerSample = "oiio:BitsPerSample";

bool isAmong(std::string_view name, const auto& names) {
  return std::ranges::find(names, name) != names.end();
}

}  // namespace

std::string pictureLibrary() {
  const int version = OIIO::openimageio_version();  // 20407 for 2.4.7.
  return "OpenImageIO " + dotted(version / 10000, version / 100 % 100, version % 100);
}

std::unique_ptr<OIIO::ImageInput> openAs(const std::string& format,
                                         const std::filesystem::path& file) {
  std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::create(format);
  OIIO::ImageSpec spec;
  if (input && !input->open(file.string(), spec)) {
    input->geterror();
    input.reset();
  }
  OIIO::geterror();  // The library prints errors that are not fetched when the program ends.
  return input;
}

bool isInherited(const OIIO::ParamValue& attribute, const Metadata& metadata,
                 std::string_view format, bool sameStorage) {
  const std::string_view name = attribute.name().string();
  const bool sameFormat = format == metadata.format;
  if (name == kCompression) return sameFormat && sameStorage;
  // For 10 and 12 bits in 16. A count below 8 would lose bits of the picture.
  if (name == kBitsPerSample) return sameFormat && sameStorage && attribute.get_int() > 8;
  if (isAmong(name, kOfTheFile) || name.starts_with("thumbnail_")) return false;
  if (holdsCameraData(metadata.format) && holdsCameraData(format)) {
    // PNG text is copied by copyPngText().
    const bool isText = attribute.type() == OIIO::TypeString && !name.starts_with("oiio:");
    return isAmong(name, kOfCameraPictures) && !(sameFormat && format == "png" && isText);
  }
  const std::size_t colon = name.find(':');
  if (colon == std::string_view::npos) return true;
  const std::string_view prefix = name.substr(0, colon);
  if (prefix == "oiio") {
    return name == "oiio:ColorSpace" || name == "oiio:Gamma" ||
           (sameFormat && name == "oiio:subimagename");
  }
  if (isAmong(prefix, kFormatPrefixes)) return sameFormat;
  constexpr std::array kStoragePrefixes{"tiff", "jpeg", "png",        "gif", "bmp",
                                        "psd",  "webp", "ICCProfile", "raw", "heif"};
  return !isAmong(prefix, kStoragePrefixes);
}

bool describesColours(std::string_view name, const PictureInfo& picture) {
  if (picture.convertedTo.empty()) return false;
  constexpr std::array kOfColours{
      "oiio:ColorSpace", "oiio:Gamma",   "ICCProfile", "Exif:ColorSpace",
      "Exif:Gamma",      "dpx:Transfer", "dpx:Gamma",  "acesImageContainerFlag",
  };
  constexpr std::array kOfPrimaries{"chromaticities", "dpx:Colorimetric"};
  return isAmong(name, kOfColours) || name.starts_with("ICCProfile:") ||
         (picture.hasNewPrimaries && isAmong(name, kOfPrimaries));
}

bool isUsableProfile(const OIIO::ParamValue& profile, std::string_view format) {
  // The header of a profile: its size, the kind of its colours, and a signature.
  constexpr std::size_t kHeader = 128;
  constexpr std::size_t kColours = 16;
  constexpr std::size_t kSignature = 36;
  const std::string_view bytes(static_cast<const char*>(profile.data()), profile.type().size());
  if (bytes.size() < kHeader) return false;
  if (bytes.substr(kColours, 4) != "RGB ") return false;
  std::size_t size = 0;
  for (const char byte : bytes.substr(0, 4)) size = size << 8 | static_cast<unsigned char>(byte);
  return format != "png" || (size == bytes.size() && bytes.substr(kSignature, 4) == "acsp");
}

void applyMetadata(const PictureInfo& picture, const std::string& format, bool sameStorage,
                   OIIO::ImageSpec& spec) {
  const Metadata& metadata = *picture.metadata;
  for (const OIIO::ParamValue& attribute : metadata.spec.extra_attribs) {
    if (isInherited(attribute, metadata, format, sameStorage) &&
        !describesColours(attribute.name().string(), picture) &&
        (attribute.name() != "ICCProfile" || isUsableProfile(attribute, format))) {
      spec.extra_attribs.push_back(attribute);
    }
  }
  for (const auto& [name, length] : {std::pair{"Exif:PixelXDimension", spec.width},
                                     std::pair{"Exif:PixelYDimension", spec.height}}) {
    if (spec.find_attribute(name) != nullptr) spec.attribute(name, length);
  }
  spec.x = spec.full_x = metadata.spec.full_x;
  spec.y = spec.full_y = metadata.spec.full_y;
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
