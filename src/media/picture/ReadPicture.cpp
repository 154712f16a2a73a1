// Decodes pictures with OpenImageIO.
#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <type_traits>
#include <utility>

#include "media/picture/ImageLibrary.h"
#include "media/picture/PictureCodec.h"
#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

/// Indices of a file's channels in the order alpha, red, green, blue; -1: the file has none.
using ChannelMap = std::array<int, Picture::kChannels>;

int findChannel(const OIIO::ImageSpec& spec, std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) {
    for (int i = 0; i < spec.nchannels; ++i) {
      if (lowerCase(spec.channel_name(i)) == name) return i;
    }
  }
  return -1;
}

ChannelMap mapChannels(const fs::path& file, const OIIO::ImageSpec& spec) {
  int alpha = findChannel(spec, {"a", "alpha"});
  if (alpha < 0 && spec.alpha_channel < spec.nchannels) alpha = spec.alpha_channel;
  const ChannelMap colour{alpha, findChannel(spec, {"r", "red"}), findChannel(spec, {"g", "green"}),
                          findChannel(spec, {"b", "blue"})};
  if (std::all_of(colour.begin() + 1, colour.end(), [](int i) { return i >= 0; })) {
    return colour;
  }
  const int grey = findChannel(spec, {"y", "i", "l", "gray", "grey"});
  if (grey >= 0) return {alpha, grey, grey, grey};

  std::string names;
  for (int i = 0; i < spec.nchannels; ++i) {
    names += (i == 0 ? "" : ", ") + std::string(spec.channel_name(i));
  }
  throw MediaError(cannotRead(file) + "it has no channels R, G and B or Y, only " + names +
                   " (extract the wanted layer to a separate file)");
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

void unpremultiply(Picture& picture) {
  for (int y = 0; y < picture.height(); ++y) {
    const std::span<float> row = picture.row32(y);
    for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) {
      const float alpha = row[i];
      if (alpha == 0.0f || alpha == 1.0f) continue;
      for (std::size_t c = 1; c < Picture::kChannels; ++c) row[i + c] /= alpha;
    }
  }
}

/// Returns the library's name of the format that a file's first bytes tell; empty where they tell
/// none.
std::string contentFormat(const fs::path& file) {
  struct Signature {
    std::string_view bytes;
    const char* format;
  };
  using namespace std::string_view_literals;
  constexpr std::array kSignatures{
      Signature{"\x89PNG"sv, "png"},
      Signature{"\xff\xd8\xff"sv, "jpeg"},
      Signature{"II*\0"sv, "tiff"},
      Signature{"MM\0*"sv, "tiff"},
      Signature{"II+\0"sv, "tiff"},
      Signature{"MM\0+"sv, "tiff"},
      Signature{"\x76\x2f\x31\x01"sv, "openexr"},
      Signature{"GIF8"sv, "gif"},
      Signature{"SDPX"sv, "dpx"},
      Signature{"XPDS"sv, "dpx"},
      Signature{"8BPS"sv, "psd"},
      Signature{"#?RADIANCE"sv, "hdr"},
      Signature{"\0\0\0\x0cjP  "sv, "jpeg2000"},
      Signature{"BM"sv, "bmp"},
  };
  std::array<char, 12> start{};
  std::ifstream(file, std::ios::binary).read(start.data(), start.size());
  const std::string_view head(start.data(), start.size());
  for (const Signature& signature : kSignatures) {
    if (head.starts_with(signature.bytes)) return signature.format;
  }
  return head.starts_with("RIFF") && head.substr(8) == "WEBP" ? "webp" : "";
}

/// Reads one opened file.
class Reader {
 public:
  explicit Reader(const fs::path& file) : file_(file) {
    // Requests the stored bytes of files with straight alpha. By default the library would
    // premultiply them, which loses precision in 8 bits.
    OIIO::ImageSpec wish;
    wish.attribute("oiio:UnassociatedAlpha", 1);
    // One reader only: tried on another format's files, some crash.
    const std::string named = contentFormat(file);
    input_ = OIIO::ImageInput::create(named.empty() ? file.string() : named);
    if (!input_) fail(OIIO::geterror());
    if (!input_->open(file.string(), spec_, wish)) fail(input_->geterror());
    if (spec_.deep || spec_.depth > 1) {
      throw MediaError(cannotRead(file_) + "it is deep or a volume (flatten it first)");
    }
    if (spec_.full_width < 1) spec_.full_width = spec_.width;
    if (spec_.full_height < 1) spec_.full_height = spec_.height;
    requirePossibleSize(spec_.width, spec_.height);
    requirePossibleSize(spec_.full_width, spec_.full_height);
    channels_ = mapChannels(file_, spec_);
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
    const float aspect = spec_.get_float_attribute("PixelAspectRatio", 1.0f);
    if (aspect > 0.01f && aspect < 100.0f) picture.info.pixelAspect = aspect;
    picture.info.metadata =
        std::make_shared<const Metadata>(collectMetadata(input_->format_name(), spec_));
    if (premultiplied_) unpremultiply(picture);
    return upright(std::move(picture), spec_.get_int_attribute("Orientation", 1));
  }

 private:
  /// Throws what Picture's constructor would throw, but with the name of the file.
  void requirePossibleSize(int width, int height) const {
    if (width >= 1 && height >= 1 && width <= Picture::kMaxSide && height <= Picture::kMaxSide &&
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height) <= Picture::kMaxPixels) {
      return;
    }
    throw MediaError(cannotRead(file_) + "a size of " + std::to_string(width) + "x" +
                     std::to_string(height) + " is not possible (use at most " +
                     std::to_string(Picture::kMaxPixels) + " pixels)");
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
    const bool complete = input_->read_image(0, 0, first, last + 1, type, pixels.data());
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
  bool hasAlpha_ = false;
  bool premultiplied_ = false;
};

}  // namespace

Picture decodePicture(const fs::path& file) { return Reader(file).read(); }

}  // namespace lomix::media
