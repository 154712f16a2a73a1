// Encodes pictures with the imaging component of Windows: PNG and TIFF with 8 and 16 bits, JPEG and
// BMP with 8.
#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <new>
#include <span>
#include <string_view>
#include <vector>

#include "media/picture/MemoryStream.h"
#include "media/picture/PictureCodec.h"
#include "media/picture/PictureFile.h"
#include "media/picture/WholeFile.h"
#include "media/picture/WindowsImaging.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

struct Format {
  std::string_view name;
  const GUID* container;
  bool storesWords;  ///< Of 16 bits.
  bool storesAlpha;
};

const std::array kFormats{
    Format{"png", &GUID_ContainerFormatPng, true, true},
    Format{"tiff", &GUID_ContainerFormatTiff, true, true},
    Format{"jpeg", &GUID_ContainerFormatJpeg, false, false},
    Format{"bmp", &GUID_ContainerFormatBmp, false, true},
};

constexpr const char* kExtensions = ".png, .jpg, .tif or .bmp";

/// Returns null for an extension that no format has.
const Format* findFormat(const std::string& extension) {
  std::string_view name;
  const std::string lower = lowerCase(extension);
  if (lower == ".png") name = "png";
  if (lower == ".tif" || lower == ".tiff") name = "tiff";
  if (lower == ".jpg" || lower == ".jpeg") name = "jpeg";
  if (lower == ".bmp") name = "bmp";
  const auto* const found = std::ranges::find(kFormats, name, &Format::name);
  return found == kFormats.end() ? nullptr : found;
}

/// extension: as in PictureOutput.
const Format& formatFor(const fs::path& file, const std::string& extension = {}) {
  if (extension.empty() && !file.has_extension()) {
    throw MediaError(cannotWrite(file) + "its name has no extension to choose the format by (use " +
                     kExtensions + ")");
  }
  const std::string used = extension.empty() ? file.extension().string() : extension;
  const Format* const format = findFormat(used);
  if (format == nullptr) {
    throw MediaError(cannotWrite(file) + "'" + used +
                     "' names no picture format that can be written (use " + kExtensions + ")");
  }
  return *format;
}

/// The order of a pixel's channels in a file, as places in memory: alpha, red, green and blue.
constexpr std::array<std::size_t, 4> kRgba{1, 2, 3, 0};
constexpr std::array<std::size_t, 4> kBgra{3, 2, 1, 0};

/// Returns a channel in 8 or 16 bits.
template <typename Sample>
Sample sampleOf(std::uint8_t value) {
  if constexpr (sizeof(Sample) == 1) return value;
  return static_cast<Sample>(value * 257U);
}
template <typename Sample>
Sample sampleOf(float value) {
  return static_cast<Sample>(quantize(value, sizeof(Sample) == 1 ? 255U : 65535U));
}

/// Makes one file in memory.
class Writer {
 public:
  Writer(const fs::path& file, const Format& format) : file_(file) {
    require(createImagingFactory(factory_));
    require(factory_->CreateEncoder(*format.container, nullptr, &encoder_));
    require(encoder_->Initialize(&stream_, WICBitmapEncoderNoCache));
    require(encoder_->CreateNewFrame(&frame_, &options_));
  }

  /// Exchanges the bytes of 16-bit samples before the encoder gets them.
  void setSwapping(bool swaps) { swaps_ = swaps; }

  void setOption(const wchar_t* name, VARIANT value) const {
    PROPBAG2 option{};
    option.pstrName = const_cast<wchar_t*>(name);
    require(options_->Write(1, &option, &value));
  }

  /// wanted: the formats of pixels that will do, the first that the encoder has is taken. All have
  /// the same samples, channels of them in that order.
  template <typename Sample>
  void write(const Picture& picture, std::initializer_list<const GUID*> wanted,
             std::span<const std::size_t> order) const {
    require(frame_->Initialize(options_.Get()));
    require(
        frame_->SetSize(static_cast<UINT>(picture.width()), static_cast<UINT>(picture.height())));
    require(setFormat(wanted) ? S_OK : WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT);
    constexpr int kRows = 64;
    const std::size_t rowSamples = order.size() * static_cast<std::size_t>(picture.width());
    const std::size_t rowBytes = rowSamples * sizeof(Sample);
    std::vector<Sample> samples;
    for (int top = 0; top < picture.height(); top += kRows) {
      const int rows = std::min(kRows, picture.height() - top);
      samples.clear();
      samples.reserve(rowSamples * static_cast<std::size_t>(rows));
      for (int y = top; y < top + rows; ++y) {
        if (picture.depth() == 8) {
          append(picture.row8(y), order, samples);
        } else {
          append(picture.row32(y), order, samples);
        }
      }
      if (swaps_) exchangeBytes(samples);
      require(frame_->WritePixels(static_cast<UINT>(rows), static_cast<UINT>(rowBytes),
                                  static_cast<UINT>(rowBytes * static_cast<std::size_t>(rows)),
                                  reinterpret_cast<BYTE*>(samples.data())));
    }
    require(frame_->Commit());
    require(encoder_->Commit());
  }

  /// Returns the first sample of the file, which has 3 of 16 bits for a pixel; 0 where it cannot be
  /// read.
  std::uint16_t readFirstSample() {
    ComPtr<IWICBitmapDecoder> decoder;
    ComPtr<IWICBitmapFrameDecode> frame;
    const WICRect part{0, 0, 1, 1};
    std::array<std::uint16_t, 3> pixel{};
    const bool isRead = SUCCEEDED(stream_.Seek({}, STREAM_SEEK_SET, nullptr)) &&
                        SUCCEEDED(factory_->CreateDecoderFromStream(
                            &stream_, nullptr, WICDecodeMetadataCacheOnDemand, &decoder)) &&
                        SUCCEEDED(decoder->GetFrame(0, &frame)) &&
                        SUCCEEDED(frame->CopyPixels(&part, sizeof(pixel), sizeof(pixel),
                                                    reinterpret_cast<BYTE*>(pixel.data())));
    return isRead ? pixel.front() : std::uint16_t{0};
  }

  const std::string& bytes() const { return stream_.bytes(); }

 private:
  template <typename Sample>
  static void exchangeBytes(std::vector<Sample>& samples) {
    if constexpr (sizeof(Sample) == 2) {
      for (Sample& sample : samples) sample = static_cast<Sample>(sample << 8U | sample >> 8U);
    }
  }

  bool setFormat(std::initializer_list<const GUID*> wanted) const {
    return std::ranges::any_of(wanted, [&](const GUID* format) {
      WICPixelFormatGUID accepted = *format;
      require(frame_->SetPixelFormat(&accepted));
      return IsEqualGUID(accepted, *format) != FALSE;
    });
  }

  template <typename Sample, typename Value>
  static void append(std::span<const Value> row, std::span<const std::size_t> order,
                     std::vector<Sample>& samples) {
    for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) {
      for (const std::size_t c : order) samples.push_back(sampleOf<Sample>(row[i + c]));
    }
  }

  void require(HRESULT result) const {
    if (SUCCEEDED(result)) return;
    if (result == E_OUTOFMEMORY) throw std::bad_alloc();
    throw MediaError(cannotWrite(file_) + imagingCause(result) +
                     " (use another format or a smaller picture)");
  }

  fs::path file_;
  ComponentThread thread_;
  MemoryStream stream_;
  ComPtr<IWICImagingFactory> factory_;
  ComPtr<IWICBitmapEncoder> encoder_;
  ComPtr<IWICBitmapFrameEncode> frame_;
  ComPtr<IPropertyBag2> options_;
  bool swaps_ = false;
};

/// Returns whether the encoder of PNG files stores 16-bit channels with the wrong byte first, as
/// that of Wine 8 does. file: named in messages.
bool storesWordsSwapped(const fs::path& file) {
  Picture dark(1, 1, 32);
  std::ranges::fill(dark.row32(0), 1.0f / 65535.0f);
  Writer writer(file, *findFormat(".png"));
  writer.write<std::uint16_t>(dark, {&GUID_WICPixelFormat48bppRGB}, std::span(kRgba).first(3));
  return writer.readFirstSample() == 0x0100;
}

VARIANT byteOption(BYTE value) {
  VARIANT option{};
  option.vt = VT_UI1;
  option.bVal = value;
  return option;
}

void setOptions(const Writer& writer, const Format& format, int quality) {
  if (format.name == "jpeg") {
    VARIANT share{};
    share.vt = VT_R4;
    share.fltVal = static_cast<float>(quality) / 100.0f;
    writer.setOption(L"ImageQuality", share);
    writer.setOption(L"JpegYCrCbSubsampling", byteOption(WICJpegYCrCbSubsampling444));
  } else if (format.name == "tiff") {
    writer.setOption(L"TiffCompressionMethod", byteOption(WICTiffCompressionZIP));
  } else if (format.name == "bmp") {
    VARIANT yes{};
    yes.vt = VT_BOOL;
    yes.boolVal = VARIANT_TRUE;
    writer.setOption(L"EnableV5Header32bppBGRA", yes);
  }
}

}  // namespace

void requireWritableFormat(const fs::path& file) { formatFor(file); }

std::string formatOf(const std::string& extension) {
  const Format* const format = findFormat(extension);
  return format == nullptr ? "" : std::string(format->name);
}

bool storesAlpha(const fs::path& file, const std::string& extension) {
  return formatFor(file, extension).storesAlpha;
}

std::vector<std::string> encodePicture(const Picture& picture, const fs::path& file,
                                       const fs::path& temporary, const PictureOutput& options) {
  const Format& format = formatFor(file, options.extension);
  const bool withAlpha = picture.info.hasAlpha && format.storesAlpha;
  const auto channelsOf = [&](const std::array<std::size_t, 4>& all) {
    return std::span(all).first(withAlpha ? 4 : 3);
  };
  Writer writer(file, format);
  setOptions(writer, format, options.quality);
  if (picture.depth() == 32 && format.storesWords) {
    static const bool swapsPng = storesWordsSwapped(file);
    writer.setSwapping(swapsPng && format.name == "png");
    writer.write<std::uint16_t>(
        picture, {withAlpha ? &GUID_WICPixelFormat64bppRGBA : &GUID_WICPixelFormat48bppRGB},
        channelsOf(kRgba));
  } else if (withAlpha) {
    // Where BMP has no alpha, the byte that fills a pixel keeps it.
    const GUID* const last =
        format.name == "bmp" ? &GUID_WICPixelFormat32bppBGR : &GUID_WICPixelFormat32bppBGRA;
    writer.write<std::uint8_t>(picture, {&GUID_WICPixelFormat32bppBGRA, last}, channelsOf(kBgra));
  } else {
    writer.write<std::uint8_t>(picture, {&GUID_WICPixelFormat24bppBGR}, channelsOf(kBgra));
  }
  writeWhole(writer.bytes(), temporary, file);

  if (picture.info.encoding == Encoding::Display || picture.info.isEncodingChosen) return {};
  return {std::string("the input's ") + nameOf(picture.info.encoding) +
          " are kept as they are, but programs expect " + nameOf(Encoding::Display) +
          " here (convert its colours to sRGB before)"};
}

}  // namespace lomix::media
