// Decodes pictures with OpenImageIO.
#include <algorithm>
#include <array>
#include <fstream>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "media/picture/ClaimedSize.h"
#include "media/picture/ImageLibrary.h"
#include "media/picture/PictureCodec.h"
#include "media/picture/PictureContent.h"
#include "media/picture/PictureFile.h"
#include "media/picture/PngText.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

int findChannel(const OIIO::ImageSpec& spec, std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) {
    for (int i = 0; i < spec.nchannels; ++i) {
      if (lowerCase(spec.channel_name(i)) == name) return i;
    }
  }
  return -1;
}

/// Returns the channels to decode: red, green and blue, or where those are missing, grey. Nothing
/// where the part has neither.
std::optional<ChannelMap> findColours(const OIIO::ImageSpec& spec, bool grey) {
  int alpha = findChannel(spec, {"a", "alpha"});
  if (alpha < 0 && spec.alpha_channel < spec.nchannels) alpha = spec.alpha_channel;
  if (grey) {
    const int found = findChannel(spec, {"y", "i", "l", "gray", "grey"});
    if (found < 0) return std::nullopt;
    return ChannelMap{alpha, found, found, found};
  }
  const ChannelMap colours{alpha, findChannel(spec, {"r", "red"}),
                           findChannel(spec, {"g", "green"}), findChannel(spec, {"b", "blue"})};
  if (std::any_of(colours.begin() + 1, colours.end(), [](int i) { return i < 0; })) {
    return std::nullopt;
  }
  return colours;
}

Storage storageOf(OIIO::TypeDesc type) {
  switch (type.basetype) {
    case OIIO::TypeDesc::UINT8:
      return Storage::UInt8;
    case OIIO::TypeDesc::UINT16:
      return Storage::UInt16;
    case OIIO::TypeDesc::HALF:
      return Storage::Half;
    default:
      return Storage::Float;
  }
}

/// Returns whether the library delivers premultiplied colours although straight ones were
/// requested.
bool arrivesPremultiplied(const std::string& format, const OIIO::ImageSpec& spec) {
  if (spec.get_int_attribute("oiio:UnassociatedAlpha") != 0) return false;
  // These formats do not say; by convention their colours are straight.
  return format != "bmp" && format != "ico" && format != "dpx" && format != "jpeg2000";
}

/// Returns what a file says of its values or, where it says nothing, what is usual.
Encoding encodingOf(const std::string& format, const OIIO::ImageSpec& spec, Storage storage) {
  const std::string space = lowerCase(spec.get_string_attribute("oiio:ColorSpace"));
  // Common programs mark all DPX files as linear, whatever their values are.
  if (space == "linear") return format == "dpx" ? Encoding::Display : Encoding::Linear;
  if (space.ends_with("log")) return Encoding::Logarithmic;
  if (!space.empty()) return Encoding::Display;
  const bool isFloat = storage == Storage::Half || storage == Storage::Float;
  return isFloat || format == "hdr" ? Encoding::Linear : Encoding::Display;
}

/// Reads one opened file.
class Reader {
 public:
  Reader(const fs::path& file, const std::string& extension) : file_(file) {
    // Requests the stored bytes of files with straight alpha. By default the library would
    // premultiply them, which loses precision in 8 bits.
    OIIO::ImageSpec wish;
    wish.attribute("oiio:UnassociatedAlpha", 1);
    // One reader only: tried on another format's files, some crash.
    const std::string named = contentFormatOf(file);
    const std::string format = named.empty() && !extension.empty() ? formatOf(extension) : named;
    input_ = OIIO::ImageInput::create(format.empty() ? file.string() : format);
    if (!input_) {
      OIIO::geterror();  // It names the library.
      throw MediaError(cannotRead(file_) +
                       "it is no picture of a known format (name another file)");
    }
    if (!input_->open(file.string(), spec_, wish)) fail(input_->geterror());
    choosePart();
    if (spec_.full_width < 1) spec_.full_width = spec_.width;
    if (spec_.full_height < 1) spec_.full_height = spec_.height;
    requirePossibleSize(file_, spec_.width, spec_.height);
    requirePossibleSize(file_, spec_.full_width, spec_.full_height);
    requireBytesFor(file_, input_->format_name(),
                    lowerCase(spec_.get_string_attribute("compression")), spec_.width, spec_.height,
                    spec_.image_bytes(true));
    hasAlpha_ = channels_[0] >= 0;
    premultiplied_ = hasAlpha_ && arrivesPremultiplied(input_->format_name(), spec_);
    if (premultiplied_ && std::string_view(input_->format_name()) == "webp") {
      throw MediaError(
          cannotRead(file_) +
          "the transparency of a WebP file cannot be read exactly (convert it to PNG)");
    }
  }

  Picture read() {
    const Storage storage = storageOf(spec_.channelformat(channels_[1]));
    const bool allAlike = std::ranges::all_of(
        channels_, [&](int i) { return i < 0 || storageOf(spec_.channelformat(i)) == storage; });
    const int depth = storage == Storage::UInt8 && allAlike && !premultiplied_ ? 8 : 32;

    Picture picture;
    if (depth == 8) {
      picture = copyPixels<std::uint8_t, std::uint8_t>(OIIO::TypeDesc::UINT8, 255,
                                                       [](std::uint8_t value) { return value; });
    } else if (allAlike && storage == Storage::UInt8) {
      picture = copyPixels<std::uint8_t, float>(
          OIIO::TypeDesc::UINT8, 1.0f,
          [](std::uint8_t value) { return static_cast<float>(value) / 255.0f; });
    } else if (allAlike && storage == Storage::UInt16) {
      picture = copyPixels<std::uint16_t, float>(
          OIIO::TypeDesc::UINT16, 1.0f,
          [](std::uint16_t value) { return static_cast<float>(value) / 65535.0f; });
    } else {
      picture =
          copyPixels<float, float>(OIIO::TypeDesc::FLOAT, 1.0f, [](float value) { return value; });
    }
    picture.info.hasAlpha = hasAlpha_;
    picture.info.storedPremultiplied = premultiplied_;
    picture.info.storage = storage;
    picture.info.encoding = encodingOf(input_->format_name(), spec_, storage);
    const float aspect = spec_.get_float_attribute("PixelAspectRatio", 1.0f);
    if (aspect > 0.01f && aspect < 100.0f) picture.info.pixelAspect = aspect;
    if (premultiplied_) unpremultiply(picture);
    picture = upright(std::move(picture), spec_.get_int_attribute("Orientation", 1));
    picture.info.metadata = std::make_shared<const Metadata>(describe(picture));
    return picture;
  }

 private:
  /// Chooses the first part with red, green and blue; where there is none, the first with grey.
  /// Only OpenEXR has parts: the further pictures of other formats are pages, layers or thumbnails.
  void choosePart() {
    std::vector<OIIO::ImageSpec> parts{spec_};
    if (isExr()) {
      for (int i = 1; input_->seek_subimage(i, 0); ++i) parts.push_back(input_->spec());
    } else {
      const std::string_view format = input_->format_name();
      hasOtherParts_ = (format == "tiff" || format == "psd" || format == "ico") && has(1, 0);
    }
    input_->geterror();  // Of the part that does not exist.
    hasOtherParts_ = hasOtherParts_ || parts.size() > 1;
    for (const OIIO::ImageSpec& part : parts) {
      if (!part.deep && part.depth <= 1) continue;
      const std::string name = part.get_string_attribute("oiio:subimagename");
      throw MediaError(cannotRead(file_) +
                       (name.empty() || parts.size() == 1 ? "it" : "its part '" + name + "'") +
                       " is deep or a volume (flatten it first)");
    }
    for (const bool grey : {false, true}) {
      for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::optional<ChannelMap> found = findColours(parts[i], grey);
        if (!found) continue;
        channels_ = *found;
        part_ = static_cast<int>(i);
        spec_ = parts[i];
        if (!input_->seek_subimage(part_, 0)) fail(input_->geterror());
        return;
      }
    }
    std::string names;
    for (const OIIO::ImageSpec& part : parts) {
      for (int i = 0; i < part.nchannels; ++i) {
        names += (names.empty() ? "" : ", ") + std::string(part.channel_name(i));
      }
    }
    throw MediaError(cannotRead(file_) + "it has no channels R, G and B or Y, only " + names +
                     " (extract the wanted layer to a separate file)");
  }

  bool isExr() const { return std::string_view(input_->format_name()) == "openexr"; }

  /// Returns whether the file has a part of that number and level. Opens it again: one that does
  /// not exist leaves a reader in disorder.
  bool has(int part, int level) const {
    const auto input = openAs(input_->format_name(), file_);
    const bool found = input && input->seek_subimage(part, level);
    if (input) input->geterror();
    return found;
  }

  Metadata describe(const Picture& picture) const {
    Metadata metadata;
    metadata.file = file_;
    metadata.format = input_->format_name();
    metadata.spec = spec_;
    if (metadata.format == "png") {
      for (OIIO::ParamValue& attribute : metadata.spec.extra_attribs) {
        if (attribute.type() != OIIO::TypeString) continue;
        attribute = OIIO::ParamValue(attribute.name(), utf8OfPngText(attribute.get_string()));
      }
    }
    metadata.channels = channels_;
    metadata.part = part_;
    metadata.hasOtherParts = hasOtherParts_;
    metadata.hasSmallerLevels = isExr() && spec_.tile_width > 0 && has(part_, 1);
    metadata.width = picture.width();
    metadata.height = picture.height();
    return metadata;
  }

  /// Reads the channels as From, converts them to To and places them at their offset in the frame.
  template <typename From, typename To, typename Convert>
  Picture copyPixels(OIIO::TypeDesc type, To opaque, Convert convert) {
    int first = spec_.nchannels;
    int last = 0;
    for (const int i : channels_) {
      if (i < 0) continue;
      first = std::min(first, i);
      last = std::max(last, i);
    }
    const auto stride = static_cast<std::size_t>(last - first + 1);
    const auto width = static_cast<std::size_t>(spec_.width);
    std::vector<From> pixels(stride * width * static_cast<std::size_t>(spec_.height));
    const bool complete = input_->read_image(part_, 0, first, last + 1, type, pixels.data());
    const std::string message = input_->geterror();
    // The JPEG reader fills a missing end with made-up pixels and only mentions it.
    if (!complete || message.find("Premature end") != std::string::npos) fail(message);

    Picture picture(spec_.full_width, spec_.full_height, sizeof(To) * 8);
    const std::int64_t offsetX = std::int64_t{spec_.x} - spec_.full_x;
    const std::int64_t offsetY = std::int64_t{spec_.y} - spec_.full_y;
    const std::int64_t begin = std::max<std::int64_t>(0, offsetX);
    const std::int64_t end = std::min<std::int64_t>(spec_.full_width, offsetX + spec_.width);
    for (int y = 0; y < spec_.full_height; ++y) {
      const std::span<To> target = rowOf<To>(picture, y);
      if (!hasAlpha_) {
        for (std::size_t i = 0; i < target.size(); i += Picture::kChannels) target[i] = opaque;
      }
      const std::int64_t sourceY = y - offsetY;
      if (sourceY < 0 || sourceY >= spec_.height) continue;
      const From* source = pixels.data() + static_cast<std::size_t>(sourceY) * width * stride;
      for (std::size_t c = 0; c < channels_.size(); ++c) {
        if (channels_[c] < 0) continue;
        const auto channel = static_cast<std::size_t>(channels_[c] - first);
        for (std::int64_t x = begin; x < end; ++x) {
          target[static_cast<std::size_t>(x) * Picture::kChannels + c] =
              convert(source[static_cast<std::size_t>(x - offsetX) * stride + channel]);
        }
      }
    }
    return picture;
  }

  template <typename To>
  static std::span<To> rowOf(Picture& picture, int y) {
    if constexpr (std::is_same_v<To, float>) {
      return picture.row32(y);
    } else {
      return picture.row8(y);
    }
  }

  [[noreturn]] void fail(const std::string& reason) const {
    throw MediaError(cannotRead(file_) + firstLine(reason) +
                     " (check that it is a whole picture of a known format)");
  }

  fs::path file_;
  std::unique_ptr<OIIO::ImageInput> input_;
  OIIO::ImageSpec spec_;
  ChannelMap channels_{};
  int part_ = 0;
  bool hasOtherParts_ = false;
  bool hasAlpha_ = false;
  bool premultiplied_ = false;
};

}  // namespace

Picture decodePicture(const fs::path& file, const std::string& extension) {
  return Reader(file, extension).read();
}

}  // namespace lomix::media
