// PictureCodec.h by stb's headers alone, for builds without OpenImageIO. Reads PNG (8 and 16 bits),
// JPEG, BMP and TGA; writes them with 8 bits.
#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "media/picture/PictureCodec.h"
#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"

#ifdef __GNUC__
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#endif
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_ONLY_TGA
#define STBI_NO_STDIO
#define STBI_FAILURE_USERMSG
#include <stb/stb_image.h>
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>
#ifdef __GNUC__
#pragma GCC diagnostic pop
#endif

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

enum class Format { Unknown, Png, Jpeg, Bmp, Tga };

constexpr const char* kExtensions = ".png, .jpg, .bmp or .tga";

Format formatFor(const std::string& name) {
  const std::string extension = lowerCase(name);
  if (extension == ".png") return Format::Png;
  if (extension == ".jpg" || extension == ".jpeg") return Format::Jpeg;
  if (extension == ".bmp") return Format::Bmp;
  return extension == ".tga" ? Format::Tga : Format::Unknown;
}

[[noreturn]] void refuseReading(const fs::path& file, const std::string& reason) {
  throw MediaError(cannotRead(file) + reason +
                   " (check that it is a whole PNG, JPEG, BMP or TGA picture)");
}

/// Copies the library's pixels (red, green, blue, alpha) to a picture (alpha, red, green, blue).
template <typename Sample, typename Row, typename Convert>
void fill(Picture& picture, const Sample* samples, Row row, Convert convert) {
  for (int y = 0; y < picture.height(); ++y) {
    const auto target = row(y);
    for (std::size_t i = 0; i < target.size(); i += Picture::kChannels, samples += 4) {
      target[i] = convert(samples[3]);
      for (std::size_t c = 0; c < 3; ++c) target[i + 1 + c] = convert(samples[c]);
    }
  }
}

void appendTo(void* context, void* data, int size) {
  static_cast<std::ofstream*>(context)->write(static_cast<const char*>(data), size);
}

}  // namespace

std::string pictureLibrary() { return "stb_image " + std::to_string(STBI_VERSION); }

Picture decodePicture(const fs::path& file, const std::string&) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) refuseReading(file, "the system gives no more of it");
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    refuseReading(file, "it is larger than 2 gigabytes");
  }
  const auto* data = reinterpret_cast<const stbi_uc*>(bytes.data());
  const auto size = static_cast<int>(bytes.size());
  int width = 0;
  int height = 0;
  int channels = 0;
  if (stbi_info_from_memory(data, size, &width, &height, &channels) == 0) {
    refuseReading(file, stbi_failure_reason());
  }
  // The JPEG decoder fills a missing end with made-up pixels and reports success.
  if (bytes.starts_with("\xFF\xD8") && bytes.rfind("\xFF\xD9") == std::string::npos) {
    refuseReading(file, "it ends too early");
  }

  const bool deep = stbi_is_16_bit_from_memory(data, size) != 0;
  Picture picture(width, height, deep ? 32 : 8);
  const auto load = [&](auto* samples, auto row, auto convert) {
    if (samples == nullptr) refuseReading(file, stbi_failure_reason());
    const std::unique_ptr<void, void (*)(void*)> owner(samples, stbi_image_free);
    fill(picture, samples, row, convert);
  };
  if (deep) {
    load(
        stbi_load_16_from_memory(data, size, &width, &height, &channels, 4),
        [&](int y) { return picture.row32(y); },
        [](stbi_us value) { return static_cast<float>(value) / 65535.0f; });
  } else {
    load(
        stbi_load_from_memory(data, size, &width, &height, &channels, 4),
        [&](int y) { return picture.row8(y); }, [](stbi_uc value) { return value; });
  }
  picture.info.hasAlpha = channels == 2 || channels == 4;
  picture.info.storage = deep ? Storage::UInt16 : Storage::UInt8;
  return picture;
}

// The library reads nothing but the pixels of one picture.
std::vector<std::string> lossesInVideo(const Picture&) { return {}; }

// As the library does it.
std::string jpegSubsampling(int quality) { return quality <= 90 ? "4:2:0" : "4:4:4"; }

void requireWritableFormat(const fs::path& file) {
  if (!file.has_extension()) {
    throw MediaError(cannotWrite(file) + "its name has no extension to choose the format by (use " +
                     kExtensions + ")");
  }
  if (formatFor(file.extension().string()) == Format::Unknown) {
    throw MediaError(cannotWrite(file) + "'" + file.extension().string() +
                     "' names no picture format that can be written (use " + kExtensions + ")");
  }
}

std::string formatOf(const std::string& extension) {
  constexpr std::array kNames{"", "png", "jpeg", "bmp", "targa"};
  return kNames.at(static_cast<std::size_t>(formatFor(extension)));
}

bool storesAlpha(const fs::path& file, const std::string& extension) {
  if (extension.empty()) requireWritableFormat(file);
  return formatFor(extension.empty() ? file.extension().string() : extension) != Format::Jpeg;
}

std::vector<std::string> encodePicture(const Picture& picture, const fs::path& file,
                                       const fs::path& temporary, const PictureOutput& options) {
  const Picture bytes = toDepth(picture, 8);
  const Format format =
      formatFor(options.extension.empty() ? file.extension().string() : options.extension);
  const bool withAlpha = picture.info.hasAlpha && format != Format::Jpeg;
  const std::size_t channels = withAlpha ? 4 : 3;
  constexpr std::array<std::size_t, 4> kFileOrder{1, 2, 3, 0};
  std::vector<std::uint8_t> samples;
  samples.reserve(channels * static_cast<std::size_t>(bytes.width()) *
                  static_cast<std::size_t>(bytes.height()));
  for (int y = 0; y < bytes.height(); ++y) {
    const auto row = bytes.row8(y);
    for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) {
      for (std::size_t c = 0; c < channels; ++c) samples.push_back(row[i + kFileOrder[c]]);
    }
  }

  std::ofstream stream(temporary, std::ios::binary);
  const int width = bytes.width();
  const int height = bytes.height();
  const auto count = static_cast<int>(channels);
  int done = 0;
  switch (format) {
    case Format::Jpeg:
      done = stbi_write_jpg_to_func(appendTo, &stream, width, height, count, samples.data(),
                                    options.quality);
      break;
    case Format::Bmp:
      done = stbi_write_bmp_to_func(appendTo, &stream, width, height, count, samples.data());
      break;
    case Format::Tga:
      done = stbi_write_tga_to_func(appendTo, &stream, width, height, count, samples.data());
      break;
    default:
      done = stbi_write_png_to_func(appendTo, &stream, width, height, count, samples.data(),
                                    width * count);
  }
  stream.close();
  if (done == 0 || !stream) {
    throw MediaError(cannotWrite(file) + "not all of it could be written (check the free space)");
  }
  return {};
}

}  // namespace lomix::media
