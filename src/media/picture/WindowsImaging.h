// The imaging component of Windows (WIC), which decodes and encodes pictures. For Windows only, and
// for src/media only.
#pragma once

#include <windows.h>
// After windows.h, which they need.
#include <wincodec.h>
#include <wrl/client.h>

#include <string>

namespace lomix::media {

using Microsoft::WRL::ComPtr;

/// Prepares the calling thread for components of Windows, as long as it exists. Declare it before
/// the components.
class ComponentThread {
 public:
  ComponentThread() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
  ~ComponentThread() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  ComponentThread(const ComponentThread&) = delete;
  ComponentThread& operator=(const ComponentThread&) = delete;

 private:
  HRESULT result_;  ///< An error where the thread was prepared in another way: that serves too.
};

/// Makes the object that makes all others. The thread must have a ComponentThread.
HRESULT createImagingFactory(ComPtr<IWICImagingFactory>& factory);

/// Returns what an error of the component means, in the words of a cause: "it is damaged (0x...)".
std::string imagingCause(HRESULT result);

}  // namespace lomix::media
