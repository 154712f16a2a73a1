// A stream of Windows in memory. For Windows only, and for src/media only.
#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <objidl.h>

#include <cstddef>
#include <string>

namespace lomix::media {

/// Bytes that components of Windows write. They may seek and read in them as in a file. Has no more
/// than one thread at a time. Belongs to its maker, whatever references are taken: those who
/// take some must be gone before it.
class MemoryStream final : public IStream {
 public:
  const std::string& bytes() const { return bytes_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }

  HRESULT STDMETHODCALLTYPE Read(void* to, ULONG size, ULONG* done) override;
  /// Returns E_OUTOFMEMORY where there is no memory for the bytes.
  HRESULT STDMETHODCALLTYPE Write(const void* from, ULONG size, ULONG* done) override;
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* now) override;
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override;
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* about, DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }

  // No encoder needs these.
  HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*,
                                   ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

 private:
  std::string bytes_;
  std::size_t position_ = 0;  ///< May be behind the end.
};

}  // namespace lomix::media
