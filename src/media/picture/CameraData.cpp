#include "media/picture/CameraData.h"

#include <algorithm>
#include <array>
#include <exception>
#include <exiv2/exiv2.hpp>
#include <initializer_list>
#include <mutex>

#include "media/picture/WholeFile.h"

namespace lomix::media {
namespace {

/// An owning pointer, of another kind in each version of the library.
using ImagePtr = decltype(Exiv2::ImageFactory::open(std::string()));

void lockXmp(void* mutex, bool lock) {
  auto& xmp = *static_cast<std::mutex*>(mutex);
  if (lock) {
    xmp.lock();
  } else {
    xmp.unlock();
  }
}

/// Initialises Exiv2 at the first call: for use by several threads, without printing warnings.
void prepare() {
  static std::mutex xmpMutex;
  static std::once_flag once;
  std::call_once(once, [] {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::XmpParser::initialize(lockXmp, &xmpMutex);
  });
}

/// Returns null for what the library does not know. place: a file's name, or bytes and their
/// number.
template <typename... Place>
ImagePtr open(const Place&... place) {
  prepare();
  try {
    ImagePtr image = Exiv2::ImageFactory::open(place...);
    if (image.get() != nullptr) image->readMetadata();
    return image;
  } catch (const std::exception&) {
    return ImagePtr();
  }
}

bool hasGps(const Exiv2::ExifData& exif) {
  return std::ranges::any_of(
      exif, [](const Exiv2::Exifdatum& entry) { return entry.groupName() == "GPSInfo"; });
}

/// Returns whether there is more than what describes the file itself, as every TIFF has it.
bool hasCameraExif(const Exiv2::ExifData& exif) {
  return std::ranges::any_of(exif, [](const Exiv2::Exifdatum& entry) {
    const std::string group = entry.groupName();
    return group != "Image" && group != "Thumbnail" && !group.starts_with("SubImage");
  });
}

/// An entry that describes the pixels, with the value that it must have.
struct Correction {
  const char* key;
  int value;
};

/// Corrects the entries that the data has. Returns whether one had another value.
template <typename Key, typename Data>
bool correct(Data& data, std::initializer_list<Correction> corrections) {
  bool changed = false;
  for (const Correction& correction : corrections) {
    const auto found = data.findKey(Key(correction.key));
    if (found == data.end() || found->toLong() == correction.value) continue;
    found->setValue(std::to_string(correction.value));
    changed = true;
  }
  return changed;
}

/// Returns Exif's number of a colour space.
int numberOf(CameraColours colours) {
  constexpr int kUncalibrated = 65535;
  return colours == CameraColours::Srgb ? 1 : kUncalibrated;
}

/// Removes the entries with these keys. Returns whether there was one.
template <typename Key, typename Data>
bool erase(Data& data, std::initializer_list<const char*> keys) {
  bool changed = false;
  for (const char* key : keys) {
    const auto found = data.findKey(Key(key));
    if (found == data.end()) continue;
    data.erase(found);
    changed = true;
  }
  return changed;
}

/// Copies the XMP data as it is stored, unless it describes the pixels otherwise than they are now.
void copyXmp(const Exiv2::Image& source, int width, int height, CameraColours colours,
             Exiv2::Image& target) {
  Exiv2::XmpData xmp = source.xmpData();
  bool changed = correct<Exiv2::XmpKey>(xmp, {{"Xmp.tiff.Orientation", 1},
                                              {"Xmp.tiff.ImageWidth", width},
                                              {"Xmp.tiff.ImageLength", height},
                                              {"Xmp.exif.PixelXDimension", width},
                                              {"Xmp.exif.PixelYDimension", height}});
  if (colours != CameraColours::AsTheyWere) {
    changed |= correct<Exiv2::XmpKey>(xmp, {{"Xmp.exif.ColorSpace", numberOf(colours)}});
    changed |= erase<Exiv2::XmpKey>(xmp, {"Xmp.photoshop.ICCProfile", "Xmp.exif.Gamma"});
  }
  target.setXmpData(xmp);
  if (changed || source.xmpPacket().empty()) return;
  target.setXmpPacket(source.xmpPacket());
  target.writeXmpFromPacket(true);
}

}  // namespace

bool holdsCameraData(std::string_view format) {
  constexpr std::array<std::string_view, 4> kFormats{"jpeg", "tiff", "png", "webp"};
  return std::ranges::find(kFormats, format) != kFormats.end();
}

std::vector<std::string> cameraDataOf(const std::filesystem::path& file) {
  const ImagePtr image = open(file.string());
  std::vector<std::string> kinds;
  if (image.get() == nullptr) return kinds;
  if (hasCameraExif(image->exifData())) kinds.emplace_back("Exif");
  if (hasGps(image->exifData())) kinds.emplace_back("GPS");
  if (!image->iptcData().empty()) kinds.emplace_back("IPTC");
  if (!image->xmpPacket().empty()) kinds.emplace_back("XMP");
  if (!image->comment().empty()) kinds.emplace_back("the comment");
  return kinds;
}

std::vector<std::string> copyCameraData(const std::filesystem::path& from,
                                        const std::filesystem::path& to,
                                        const std::filesystem::path& shownAs, int width, int height,
                                        CameraColours colours) {
  const ImagePtr source = open(from.string());
  if (source.get() == nullptr) return {};
  std::vector<std::string> lost;
  std::string changed;
  try {
    // In memory: the library does not notice a file that it could not write whole.
    const std::string written = readWhole(to);
    const ImagePtr target = open(reinterpret_cast<const Exiv2::byte*>(written.data()),
                                 static_cast<long>(written.size()));
    if (target.get() == nullptr) return cameraDataOf(from);
    Exiv2::ExifData exif = source->exifData();
    Exiv2::ExifThumb(exif).erase();
    correct<Exiv2::ExifKey>(exif, {{"Exif.Image.Orientation", 1},
                                   {"Exif.Photo.PixelXDimension", width},
                                   {"Exif.Photo.PixelYDimension", height}});
    if (colours != CameraColours::AsTheyWere) {
      correct<Exiv2::ExifKey>(exif, {{"Exif.Photo.ColorSpace", numberOf(colours)}});
      erase<Exiv2::ExifKey>(exif, {"Exif.Image.InterColorProfile", "Exif.Image.TransferFunction",
                                   "Exif.Photo.Gamma"});
    }
    const auto copy = [&](Exiv2::MetadataId kind, bool exists, const char* name, auto set) {
      if (!exists) return;
      if ((target->checkMode(kind) & Exiv2::amWrite) != 0) {
        set();
      } else {
        lost.emplace_back(name);
      }
    };
    copy(Exiv2::mdExif, !exif.empty(), "Exif", [&] { target->setExifData(exif); });
    target->clearIptcData();
    copy(Exiv2::mdIptc, !source->iptcData().empty(), "IPTC",
         [&] { target->setIptcData(source->iptcData()); });
    target->clearXmpData();
    copy(Exiv2::mdXmp, !source->xmpData().empty() || !source->xmpPacket().empty(), "XMP",
         [&] { copyXmp(*source, width, height, colours, *target); });
    // In PNG it is text, which copyPngText() copies.
    if (source->mimeType() != "image/png") {
      target->clearComment();
      copy(Exiv2::mdComment, !source->comment().empty(), "the comment",
           [&] { target->setComment(source->comment()); });
    }
    target->writeMetadata();
    changed.resize(target->io().size());
    target->io().open();
    target->io().read(reinterpret_cast<Exiv2::byte*>(changed.data()),
                      static_cast<long>(changed.size()));
  } catch (const std::exception&) {
    return cameraDataOf(from);
  }
  writeWhole(changed, to, shownAs);
  return lost;
}

}  // namespace lomix::media
