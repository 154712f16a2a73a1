// Decodes pictures with the imaging component of Windows: PNG, JPEG, TIFF, BMP, GIF, and other
// formats that the system knows.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "media/picture/ClaimedSize.h"
#include "media/picture/PictureCodec.h"
#include "media/picture/PictureContent.h"
#include "media/picture/PictureFile.h"
#include "media/picture/TiffDirectory.h"
#include "media/picture/WholeFile.h"
#include "media/picture/WindowsImaging.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

/// The formats that every Windows has a decoder for.
constexpr std::array<std::string_view, 5> kFormats{"png", "jpeg", "tiff", "bmp", "gif"};

enum class Sample { Byte, Word, Float };

/// Where a pixel has its channels.
struct Layout {
  const GUID* format;
  Sample sample;
  std::size_t samples;                 ///< Of a pixel.
  std::array<std::size_t, 3> colours;  ///< The places of red, green and blue.
  bool hasAlpha = false;               ///< In the fourth sample.
  bool isPremultiplied = false;

  std::size_t pixelBytes() const {
    return samples * (sample == Sample::Byte ? 1U : sample == Sample::Word ? 2U : 4U);
  }
};

constexpr std::array<std::size_t, 3> kGrey{0, 0, 0};
constexpr std::array<std::size_t, 3> kRgb{0, 1, 2};
constexpr std::array<std::size_t, 3> kBgr{2, 1, 0};

// Read as they are: the component's own conversions are only for formats that are not here.
const std::array kLayouts{
    Layout{&GUID_WICPixelFormat8bppGray, Sample::Byte, 1, kGrey},
    Layout{&GUID_WICPixelFormat24bppBGR, Sample::Byte, 3, kBgr},
    Layout{&GUID_WICPixelFormat24bppRGB, Sample::Byte, 3, kRgb},
    Layout{&GUID_WICPixelFormat32bppBGR, Sample::Byte, 4, kBgr},
    Layout{&GUID_WICPixelFormat32bppRGB, Sample::Byte, 4, kRgb},
    Layout{&GUID_WICPixelFormat32bppBGRA, Sample::Byte, 4, kBgr, true},
    Layout{&GUID_WICPixelFormat32bppRGBA, Sample::Byte, 4, kRgb, true},
    Layout{&GUID_WICPixelFormat32bppPBGRA, Sample::Byte, 4, kBgr, true, true},
    Layout{&GUID_WICPixelFormat32bppPRGBA, Sample::Byte, 4, kRgb, true, true},
    Layout{&GUID_WICPixelFormat16bppGray, Sample::Word, 1, kGrey},
    Layout{&GUID_WICPixelFormat48bppRGB, Sample::Word, 3, kRgb},
    Layout{&GUID_WICPixelFormat48bppBGR, Sample::Word, 3, kBgr},
    Layout{&GUID_WICPixelFormat64bppRGB, Sample::Word, 4, kRgb},
    Layout{&GUID_WICPixelFormat64bppRGBA, Sample::Word, 4, kRgb, true},
    Layout{&GUID_WICPixelFormat64bppBGRA, Sample::Word, 4, kBgr, true},
    Layout{&GUID_WICPixelFormat64bppPRGBA, Sample::Word, 4, kRgb, true, true},
    Layout{&GUID_WICPixelFormat64bppPBGRA, Sample::Word, 4, kBgr, true, true},
    Layout{&GUID_WICPixelFormat32bppGrayFloat, Sample::Float, 1, kGrey},
    Layout{&GUID_WICPixelFormat96bppRGBFloat, Sample::Float, 3, kRgb},
    Layout{&GUID_WICPixelFormat128bppRGBFloat, Sample::Float, 4, kRgb},
    Layout{&GUID_WICPixelFormat128bppRGBAFloat, Sample::Float, 4, kRgb, true},
    Layout{&GUID_WICPixelFormat128bppPRGBAFloat, Sample::Float, 4, kRgb, true, true},
};

const Layout* findLayout(const GUID& format) {
  const auto* const found = std::ranges::find_if(
      kLayouts, [&](const Layout& layout) { return IsEqualGUID(*layout.format, format) != FALSE; });
  return found == kLayouts.end() ? nullptr : found;
}

/// Returns where the pixels of a JPEG file begin, or where its header is damaged.
std::size_t pixelsOfJpeg(std::string_view bytes) {
  std::size_t at = 2;
  while (at + 4 <= bytes.size() && bytes[at] == '\xff') {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
    if (byte(1) == 0xda) break;
    at += byte(1) == 0xff ? 1U : 2U + (byte(2) << 8U | byte(3));
  }
  return std::min(at, bytes.size());
}

/// Returns whether a JPEG file lacks the mark of its end. Its header may contain a small picture,
/// which has one too.
bool isCutJpeg(const fs::path& file) {
  const std::string bytes = readWhole(file);
  return bytes.find("\xff\xd9"sv, pixelsOfJpeg(bytes)) == std::string::npos;
}

template <typename Value>
Value channelValue(std::uint8_t value) {
  if constexpr (std::is_same_v<Value, std::uint8_t>) return value;
  return static_cast<Value>(static_cast<float>(value) / 255.0f);
}
template <typename Value>
Value channelValue(std::uint16_t value) {
  return static_cast<float>(value) / 65535.0f;
}
template <typename Value>
Value channelValue(float value) {
  return value;
}

/// Converts a row of pixels to alpha, red, green and blue.
template <typename From, typename To>
void convertRow(const BYTE* from, const Layout& layout, To opaque, std::span<To> to) {
  const auto sample = [&](std::size_t i) {
    From value{};
    std::memcpy(&value, from + i * sizeof(From), sizeof(From));
    return channelValue<To>(value);
  };
  for (std::size_t x = 0; x < to.size(); x += Picture::kChannels) {
    to[x] = layout.hasAlpha ? sample(3) : opaque;
    for (std::size_t c = 0; c < 3; ++c) to[x + 1 + c] = sample(layout.colours[c]);
    from += layout.pixelBytes();
  }
}

/// Reads one file.
class Reader {
 public:
  explicit Reader(const fs::path& file)
      : file_(file), content_(contentFormatOf(file)), bytes_(file) {
    // A decoder of JPEG may fill a missing end with made-up pixels and report success.
    if (content_ == "jpeg" && isCutJpeg(file)) {
      throw MediaError(cannotRead(file) + "it ends too early (copy or make it again)");
    }
    require(createImagingFactory(factory_));
    const HRESULT result = factory_->CreateDecoderFromFilename(
        file.c_str(), nullptr, GENERIC_READ, WICDecodeMetadataCacheOnDemand, &decoder_);
    // A decoder that refuses a file may be taken for none.
    const bool isNone =
        result == WINCODEC_ERR_COMPONENTNOTFOUND || result == WINCODEC_ERR_UNKNOWNIMAGEFORMAT;
    require(isNone && hasDecoder() ? WINCODEC_ERR_BADIMAGE : result);
    require(decoder_->GetFrame(0, &frame_));
  }

  Picture read() {
    UINT width = 0;
    UINT height = 0;
    require(frame_->GetSize(&width, &height));
    requirePossibleSize(file_, width, height);
    const Layout layout = chooseLayout();
    requireFileFor(width, height);

    const bool inFloat = layout.sample != Sample::Byte || layout.isPremultiplied;
    Picture picture(static_cast<int>(width), static_cast<int>(height), inFloat ? 32 : 8);
    readRows(layout, picture);
    picture.info.hasAlpha = hasAlpha_;
    picture.info.storedPremultiplied = layout.isPremultiplied;
    picture.info.storage = layout.sample == Sample::Byte   ? Storage::UInt8
                           : layout.sample == Sample::Word ? Storage::UInt16
                                                           : Storage::Float;
    if (layout.sample == Sample::Float) picture.info.encoding = Encoding::Linear;
    if (layout.isPremultiplied) unpremultiply(picture);
    if (mayHaveAlpha_) dropUnusedAlpha(picture);
    if (content_ == "jpeg" || content_ == "tiff") {
      picture = upright(std::move(picture), orientationOf(bytes_));
    }
    return picture;
  }

 private:
  /// Throws unless the file can have a picture of that size.
  void requireFileFor(UINT width, UINT height) {
    const std::uint64_t size = std::uint64_t{width} * height * bitsPerPixel_ / 8;
    if (content_ != "gif") {
      requireBytesFor(file_, content_, compressionOf(bytes_), width, height, size);
      return;
    }
    // GIF has one of the compressions of TIFF.
    requireBytesFor(file_, "tiff", "lzw", width, height, size);
    bytes_.setBigEndian(false);
    if (bytes_.number(6, 2) == width && bytes_.number(8, 2) == height) return;
    throw MediaError(cannotRead(file_) +
                     "its picture covers a part of its area only (convert it to PNG)");
  }

  /// Chooses how pixels are read, and the converter where the component must convert them.
  Layout chooseLayout() {
    WICPixelFormatGUID format{};
    require(frame_->GetPixelFormat(&format));
    ComPtr<IWICComponentInfo> component;
    ComPtr<IWICPixelFormatInfo2> info;
    require(factory_->CreateComponentInfo(format, &component));
    require(component.As(&info));
    require(info->GetBitsPerPixel(&bitsPerPixel_));
    pixels_ = frame_;
    if (const Layout* const own = findLayout(format)) {
      Layout layout = *own;
      // Many programs write alpha into the fourth byte of a BMP file and do not say so.
      mayHaveAlpha_ = content_ == "bmp" && IsEqualGUID(format, GUID_WICPixelFormat32bppBGR);
      layout.hasAlpha = layout.hasAlpha || mayHaveAlpha_;
      hasAlpha_ = layout.hasAlpha;
      return layout;
    }

    UINT channels = 0;
    BOOL isTransparent = FALSE;
    WICPixelFormatNumericRepresentation numbers = WICPixelFormatNumericRepresentationUnspecified;
    require(info->GetChannelCount(&channels));
    require(info->SupportsTransparency(&isTransparent));
    require(info->GetNumericRepresentation(&numbers));
    const bool isIndexed = numbers == WICPixelFormatNumericRepresentationIndexed;
    hasAlpha_ = isIndexed ? hasTranslucentPalette() : isTransparent != FALSE;
    const bool isDeep = !isIndexed && channels > 0 && bitsPerPixel_ / channels > 8;
    const bool isLinear = numbers == WICPixelFormatNumericRepresentationFloat ||
                          numbers == WICPixelFormatNumericRepresentationFixed;
    // Whole numbers stay in whole numbers: between these and floats the component would convert
    // the colours to linear light.
    const GUID& target = isLinear ? GUID_WICPixelFormat128bppRGBAFloat
                         : isDeep ? GUID_WICPixelFormat64bppRGBA
                                  : GUID_WICPixelFormat32bppBGRA;
    ComPtr<IWICFormatConverter> converter;
    require(factory_->CreateFormatConverter(&converter));
    require(converter->Initialize(frame_.Get(), target, WICBitmapDitherTypeNone, nullptr, 0.0,
                                  WICBitmapPaletteTypeCustom));
    pixels_ = converter;
    Layout layout = *findLayout(target);
    layout.hasAlpha = hasAlpha_;
    return layout;
  }

  bool hasTranslucentPalette() const {
    ComPtr<IWICPalette> palette;
    BOOL hasAlpha = FALSE;
    require(factory_->CreatePalette(&palette));
    require(frame_->CopyPalette(palette.Get()));
    require(palette->HasAlpha(&hasAlpha));
    return hasAlpha != FALSE;
  }

  void readRows(const Layout& layout, Picture& picture) const {
    // Some decoders begin anew with every call, so most pictures take one.
    constexpr std::size_t kBytesOfCall = std::size_t{1} << 27;
    const std::size_t rowBytes = layout.pixelBytes() * static_cast<std::size_t>(picture.width());
    const int most = static_cast<int>(std::max<std::size_t>(1, kBytesOfCall / rowBytes));
    const int rows = std::min(most, picture.height());
    std::vector<BYTE> bytes(rowBytes * static_cast<std::size_t>(rows));
    for (int top = 0; top < picture.height(); top += rows) {
      const WICRect part{0, top, picture.width(), std::min(rows, picture.height() - top)};
      require(pixels_->CopyPixels(&part, static_cast<UINT>(rowBytes),
                                  static_cast<UINT>(bytes.size()), bytes.data()));
      for (int y = 0; y < part.Height; ++y) {
        const BYTE* const row = bytes.data() + rowBytes * static_cast<std::size_t>(y);
        storeRow(row, layout, picture, top + y);
      }
    }
  }

  static void storeRow(const BYTE* row, const Layout& layout, Picture& picture, int y) {
    if (picture.depth() == 8) {
      convertRow<std::uint8_t, std::uint8_t>(row, layout, 255, picture.row8(y));
    } else if (layout.sample == Sample::Byte) {
      convertRow<std::uint8_t, float>(row, layout, 1.0f, picture.row32(y));
    } else if (layout.sample == Sample::Word) {
      convertRow<std::uint16_t, float>(row, layout, 1.0f, picture.row32(y));
    } else {
      convertRow<float, float>(row, layout, 1.0f, picture.row32(y));
    }
  }

  /// Makes a picture whose alpha is 0 everywhere opaque.
  static void dropUnusedAlpha(Picture& picture) {
    const auto forEachAlpha = [&](auto use) {
      for (int y = 0; y < picture.height(); ++y) {
        const std::span<std::uint8_t> row = picture.row8(y);
        for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) use(row[i]);
      }
    };
    bool isUsed = false;
    forEachAlpha([&](std::uint8_t alpha) { isUsed = isUsed || alpha != 0; });
    if (isUsed) return;
    forEachAlpha([](std::uint8_t& alpha) { alpha = 255; });
    picture.info.hasAlpha = false;
  }

  bool hasDecoder() const { return std::ranges::find(kFormats, content_) != kFormats.end(); }

  void require(HRESULT result) const {
    if (SUCCEEDED(result)) return;
    if (result == E_OUTOFMEMORY) throw std::bad_alloc();
    const bool isDamaged = result == E_FAIL && hasDecoder();
    throw MediaError(cannotRead(file_) + imagingCause(isDamaged ? WINCODEC_ERR_BADIMAGE : result) +
                     " (check that it is a whole PNG, JPEG, TIFF, BMP or GIF picture)");
  }

  fs::path file_;
  std::string content_;
  FileBytes bytes_;
  ComponentThread thread_;
  ComPtr<IWICImagingFactory> factory_;
  ComPtr<IWICBitmapDecoder> decoder_;
  ComPtr<IWICBitmapFrameDecode> frame_;
  ComPtr<IWICBitmapSource> pixels_;
  UINT bitsPerPixel_ = 0;
  bool hasAlpha_ = false;
  bool mayHaveAlpha_ = false;
};

}  // namespace

Picture decodePicture(const fs::path& file, const std::string&) { return Reader(file).read(); }

// Nothing but the pixels of one picture is read.
std::vector<std::string> lossesInVideo(const Picture&) { return {}; }

}  // namespace lomix::media
