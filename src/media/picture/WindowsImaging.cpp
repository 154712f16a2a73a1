// Defines the identifiers of the component.
#define INITGUID
#include "media/picture/WindowsImaging.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "media/picture/PictureFile.h"

namespace lomix::media {
namespace {

struct KnownError {
  HRESULT result;
  const char* cause;
};

constexpr const char* kDamaged = "it is damaged";
constexpr const char* kUnknown = "Windows does not know its format";
constexpr const char* kUnsupported = "Windows does not support this kind of picture";
constexpr std::array kErrors{
    KnownError{WINCODEC_ERR_BADIMAGE, kDamaged},
    KnownError{WINCODEC_ERR_BADHEADER, kDamaged},
    KnownError{WINCODEC_ERR_BADSTREAMDATA, kDamaged},
    KnownError{WINCODEC_ERR_BADMETADATAHEADER, kDamaged},
    KnownError{WINCODEC_ERR_FRAMEMISSING, kDamaged},
    KnownError{WINCODEC_ERR_STREAMREAD, kDamaged},
    KnownError{WINCODEC_ERR_PALETTEUNAVAILABLE, kDamaged},
    KnownError{WINCODEC_ERR_COMPONENTNOTFOUND, kUnknown},
    KnownError{WINCODEC_ERR_UNKNOWNIMAGEFORMAT, kUnknown},
    KnownError{WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT, kUnsupported},
    KnownError{WINCODEC_ERR_UNSUPPORTEDOPERATION, kUnsupported},
    KnownError{WINCODEC_ERR_IMAGESIZEOUTOFRANGE, kUnsupported},
    KnownError{HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION), "another program uses it"},
};

std::string codeText(HRESULT result) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text = "0x";
  for (int shift = 28; shift >= 0; shift -= 4) {
    text += kDigits[static_cast<std::uint32_t>(result) >> shift & 15U];
  }
  return text;
}

}  // namespace

HRESULT createImagingFactory(ComPtr<IWICImagingFactory>& factory) {
  return CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                          IID_PPV_ARGS(factory.ReleaseAndGetAddressOf()));
}

std::string imagingCause(HRESULT result) {
  for (const KnownError& error : kErrors) {
    if (error.result == result) return error.cause;
  }
  return "Windows has failed with the error " + codeText(result);
}

std::string pictureLibrary() { return "Windows Imaging Component"; }

}  // namespace lomix::media
