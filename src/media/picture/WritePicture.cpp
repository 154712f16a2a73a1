// Encodes pictures with OpenImageIO.
#include <OpenImageIO/filesystem.h>

#include <array>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "media/picture/CameraData.h"
#include "media/picture/ExrParts.h"
#include "media/picture/ImageLibrary.h"
#include "media/picture/Losses.h"
#include "media/picture/PictureCodec.h"
#include "media/picture/PictureFile.h"
#include "media/picture/PngText.h"
#include "media/picture/WholeFile.h"
#include "media/picture/WriteChecks.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

/// Alpha first in memory, last in files: file channel i is memory channel kFileOrder[i].
constexpr std::array<std::size_t, 4> kFileOrder{1, 2, 3, 0};

const std::string kExtensions = ".png, .jpg, .tif or .exr";

/// Returns null for an extension that no format has.
std::unique_ptr<OIIO::ImageOutput> createWriterFor(const std::string& extension) {
  std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create("a" + extension);
  OIIO::geterror();  // The library prints errors that are not fetched when the program ends.
  const std::string_view format = output ? output->format_name() : "";
  // Two of the library's writers make no file: one discards, one prints on the terminal.
  if (format == "null" || format == "term") return nullptr;
  return output;
}

/// extension: as in PictureOutput.
std::unique_ptr<OIIO::ImageOutput> createWriter(const fs::path& file,
                                                const std::string& extension = {}) {
  if (extension.empty() && !file.has_extension()) {
    throw MediaError(cannotWrite(file) + "its name has no extension to choose the format by (use " +
                     kExtensions + ")");
  }
  const std::string used = extension.empty() ? file.extension().string() : extension;
  std::unique_ptr<OIIO::ImageOutput> output = createWriterFor(used);
  if (!output) {
    throw MediaError(cannotWrite(file) + "'" + used +
                     "' names no picture format that can be written (use " + kExtensions + ")");
  }
  return output;
}

/// Returns the types to store the channels as, the best first.
std::vector<OIIO::TypeDesc> wantedTypes(const Picture& picture) {
  using OIIO::TypeDesc;
  if (picture.depth() == 8) return {TypeDesc::UINT8};
  switch (picture.info.storage) {
    case Storage::UInt16:
      return {TypeDesc::UINT16, TypeDesc::FLOAT};
    case Storage::Half:
      return {TypeDesc::HALF, TypeDesc::FLOAT, TypeDesc::UINT16};
    default:
      return {TypeDesc::FLOAT, TypeDesc::UINT16};
  }
}

bool storesPremultiplied(const std::string_view format, const PictureInfo& info) {
  if (format == "tiff") return info.storedPremultiplied;
  return format == "openexr" || format == "sgi" || format == "rla" || format == "iff";
}

/// Multiplies the colours by alpha. Colour under alpha 0 is kept if the input stored premultiplied
/// colours: there it is light that adds to the background (glows, flames). From straight colours it
/// is hidden and becomes 0.
void premultiply(Picture& picture) {
  const bool keepUnderZero = picture.info.storedPremultiplied;
  for (int y = 0; y < picture.height(); ++y) {
    const std::span<float> row = picture.row32(y);
    for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) {
      const float alpha = row[i];
      if (alpha == 1.0f || (alpha == 0.0f && keepUnderZero)) continue;
      for (std::size_t c = 1; c < Picture::kChannels; ++c) row[i + c] *= alpha;
    }
  }
}

/// Writes whole rows of type To, each channel converted by convert.
template <typename To, typename Row, typename Convert>
bool writeRows(OIIO::ImageOutput& output, OIIO::TypeDesc type, Row row, Convert convert) {
  const OIIO::ImageSpec& spec = output.spec();
  const auto channels = static_cast<std::size_t>(spec.nchannels);
  const auto width = static_cast<std::size_t>(spec.width);
  std::vector<To> pixels(channels * width * static_cast<std::size_t>(spec.height));
  To* target = pixels.data();
  for (int y = 0; y < spec.height; ++y) {
    const auto source = row(y);
    for (std::size_t x = 0; x < width; ++x) {
      for (std::size_t c = 0; c < channels; ++c) {
        *target++ = convert(source[x * Picture::kChannels + kFileOrder[c]]);
      }
    }
  }
  return output.write_image(type, pixels.data());
}

/// Writes the pixels in the file's own type, so that the library rounds nothing itself.
bool writePixels(OIIO::ImageOutput& output, Picture picture, bool premultiplied) {
  const auto type = static_cast<OIIO::TypeDesc::BASETYPE>(output.spec().format.basetype);
  if (picture.depth() == 8 && type == OIIO::TypeDesc::UINT8 && !premultiplied) {
    return writeRows<std::uint8_t>(
        output, OIIO::TypeDesc::UINT8, [&](int y) { return picture.row8(y); },
        [](std::uint8_t value) { return value; });
  }
  picture = toDepth(std::move(picture), 32);
  if (premultiplied) premultiply(picture);
  const auto row = [&](int y) { return picture.row32(y); };
  if (type == OIIO::TypeDesc::UINT8) {
    return writeRows<std::uint8_t>(output, OIIO::TypeDesc::UINT8, row, [](float value) {
      return static_cast<std::uint8_t>(quantize(value, 255));
    });
  }
  if (type == OIIO::TypeDesc::UINT16) {
    return writeRows<std::uint16_t>(output, OIIO::TypeDesc::UINT16, row, [](float value) {
      return static_cast<std::uint16_t>(quantize(value, 65535));
    });
  }
  return writeRows<float>(output, OIIO::TypeDesc::FLOAT, row, [](float value) { return value; });
}

/// Returns the description of a picture's file without the type of its channels.
OIIO::ImageSpec describe(const Picture& picture, const std::string& format, bool withAlpha,
                         bool premultiplied, int quality) {
  OIIO::ImageSpec spec(picture.width(), picture.height(), withAlpha ? 4 : 3, OIIO::TypeDesc::UINT8);
  if (picture.info.metadata) {
    const bool sameStorage = (picture.depth() == 8) == (picture.info.storage == Storage::UInt8);
    applyMetadata(picture.info, format, sameStorage, spec);
  }
  if (!picture.info.convertedTo.empty()) {
    spec.attribute("oiio:ColorSpace", picture.info.convertedTo);
  }
  if (picture.info.pixelAspect != 1.0) {
    spec.attribute("PixelAspectRatio", static_cast<float>(picture.info.pixelAspect));
  }
  if (withAlpha && !premultiplied) spec.attribute("oiio:UnassociatedAlpha", 1);
  if (format == "jpeg") {
    spec.attribute("CompressionQuality", quality);
    spec.attribute("jpeg:subsampling", kJpegSubsampling);
  }
  return spec;
}

/// Returns a warning, without a subject, where programs read the values of a file otherwise than
/// they are meant; empty where not, and where the user has chosen what they mean.
std::string encodingNoteOf(const PictureInfo& info, const std::string& format,
                           const OIIO::ImageSpec& stored) {
  if (info.isEncodingChosen) return {};
  const bool isFloat =
      stored.format == OIIO::TypeDesc::HALF || stored.format == OIIO::TypeDesc::FLOAT;
  const bool wasFloat = info.storage == Storage::Half || info.storage == Storage::Float;
  // A file of the same format says the same, or leaves it to the same custom.
  if (info.metadata && info.metadata->format == format && isFloat == wasFloat) return {};
  // Of other formats of floats, the tag of the input decides.
  const bool isTagged = stored.get_string_attribute("oiio:ColorSpace") == "sRGB";
  const bool isLinear = format == "openexr" || format == "hdr" || (isFloat && !isTagged);
  return encodingNote(info.encoding, isLinear ? Encoding::Linear : Encoding::Display,
                      info.metadata ? "srgb" : "rec709");
}

/// Copies the data of cameras and the text of PNG files, which the library does not keep as it is.
void copyWhatTheLibraryDoesNot(const Picture& picture, const fs::path& file,
                               const fs::path& temporary, WrittenFile& written) {
  const Metadata& metadata = *picture.info.metadata;
  if (written.format == "png" && metadata.format == "png") {
    copyPngText(metadata.file, temporary, file);
  } else if (written.format == "png") {
    markUtf8PngText(temporary, file);
  }
  if (holdsCameraData(metadata.format) && holdsCameraData(written.format)) {
    const std::string& space = picture.info.convertedTo;
    const CameraColours colours = space.empty()     ? CameraColours::AsTheyWere
                                  : space == "sRGB" ? CameraColours::Srgb
                                                    : CameraColours::Other;
    written.lostCameraData =
        copyCameraData(metadata.file, temporary, file, picture.width(), picture.height(), colours);
  }
}

/// Where a writer of the library writes: to memory if it supports that, else to the file. Few
/// writers notice a full disk, and one of them ends the process then.
class Destination {
 public:
  /// hasParts: the file is made by writeExrParts(). It may be large, and the library writes several
  /// parts to files only.
  Destination(OIIO::ImageOutput& output, const fs::path& file, bool hasParts)
      : file_(file), hasParts_(hasParts) {
    // The TIFF writer reads its own directory again, but not from memory.
    const bool isTiff = std::string_view(output.format_name()) == "tiff";
    if (isTiff || hasParts || output.supports("ioproxy") == 0) return;
    output.set_ioproxy(&memory_.emplace());
  }

  /// Completes the file after its writer was closed. readsBack: called where only a comparison can
  /// tell; returns whether the file has its pixels. Returns whether the file is complete. Throws
  /// MediaError, which names shownAs, where the bytes in memory could not be written.
  template <typename ReadsBack>
  bool store(const fs::path& shownAs, ReadsBack readsBack) const {
    // The OpenEXR writer does not report a failure of its last writes.
    if (hasParts_) return isWholeExr(file_);
    if (!memory_) return readsBack();
    const std::vector<unsigned char>& bytes = memory_->buffer();
    writeWhole({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, file_, shownAs);
    return true;
  }

 private:
  fs::path file_;
  bool hasParts_;
  std::optional<OIIO::Filesystem::IOVecOutput> memory_;
};

}  // namespace

std::string formatOf(const std::string& extension) {
  const std::unique_ptr<OIIO::ImageOutput> output = createWriterFor(extension);
  return output ? output->format_name() : "";
}

void requireWritableFormat(const fs::path& file) { createWriter(file); }

bool storesAlpha(const fs::path& file, const std::string& extension) {
  return createWriter(file, extension)->supports("alpha") != 0;
}

std::vector<std::string> encodePicture(const Picture& picture, const fs::path& file,
                                       const fs::path& temporary, const PictureOutput& options) {
  std::optional<Destination> destination;  // Outlives the writer, which may write when it ends.
  std::unique_ptr<OIIO::ImageOutput> output = createWriter(file, options.extension);
  WrittenFile written;
  const std::string format = output->format_name();
  written.format = format;
  written.extension = options.extension.empty() ? file.extension().string() : options.extension;
  const bool withAlpha = picture.info.hasAlpha && output->supports("alpha") != 0;
  const bool premultiplied = withAlpha && storesPremultiplied(format, picture.info);
  OIIO::ImageSpec spec = describe(picture, format, withAlpha, premultiplied, options.quality);
  if (output->supports("displaywindow") == 0) spec.x = spec.y = spec.full_x = spec.full_y = 0;

  const auto require = [&](bool success) {
    if (success) return;
    throw MediaError(cannotWrite(file) +
                     firstLine(output->geterror(), temporary.string(), file.string()) +
                     " (check the free space, or try another format)");
  };
  written.keepsParts = format == "openexr" && hasExrParts(picture);
  if (written.keepsParts) {
    Picture drawn = toDepth(picture, 32);
    if (premultiplied) premultiply(drawn);
    destination.emplace(*output, temporary, true);
    require(writeExrParts(drawn, *output, temporary));
  } else {
    // A writer that lacks the wanted type chooses another one, not always the nearest.
    const std::vector<OIIO::TypeDesc> types = wantedTypes(picture);
    for (std::size_t i = 0; i < types.size(); ++i) {
      if (i > 0) {
        // Opened twice, one writer would leave its first header in the file.
        output->close();
        output = createWriter(file, options.extension);
      }
      spec.set_format(types[i]);
      destination.emplace(*output, temporary, false);
      require(output->open(temporary.string(), spec));
      if (output->spec().format == types[i]) break;
    }
    require(writePixels(*output, picture, premultiplied));
  }
  const OIIO::ImageSpec stored = output->spec();
  require(output->close());
  const auto readsBack = [&] {
    ReadBack comparison(temporary, stored);
    return writePixels(comparison, picture, premultiplied);
  };
  if (!destination->store(file, readsBack)) {
    throw MediaError(cannotWrite(file) + "not all of it could be written (check the free space)");
  }
  std::vector<std::string> notes;
  const std::string note = encodingNoteOf(picture.info, format, stored);
  if (picture.info.metadata) {
    copyWhatTheLibraryDoesNot(picture, file, temporary, written);
    if (const auto input = openAs(format, temporary)) {
      written.spec = input->spec(written.keepsParts ? picture.info.metadata->part : 0);
    }
    notes = lossesOf(picture, written);
  }
  if (!note.empty()) notes.push_back(note);
  return notes;
}

}  // namespace lomix::media
