#include "media/picture/MemoryStream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>

namespace lomix::media {
namespace {

/// Resizes, and returns E_OUTOFMEMORY where that is not possible: no exception may pass through a
/// component.
HRESULT resize(std::string& bytes, std::size_t size) {
  try {
    bytes.resize(size);
    return S_OK;
  } catch (const std::exception&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

HRESULT MemoryStream::QueryInterface(REFIID id, void** object) {
  if (object == nullptr) return E_POINTER;
  const bool isKnown = IsEqualGUID(id, __uuidof(IUnknown)) ||
                       IsEqualGUID(id, __uuidof(ISequentialStream)) ||
                       IsEqualGUID(id, __uuidof(IStream));
  *object = isKnown ? static_cast<IStream*>(this) : nullptr;
  return isKnown ? S_OK : E_NOINTERFACE;
}

HRESULT MemoryStream::Read(void* to, ULONG size, ULONG* done) {
  const std::size_t left = bytes_.size() - std::min(position_, bytes_.size());
  const std::size_t count = std::min<std::size_t>(size, left);
  if (count > 0) std::memcpy(to, bytes_.data() + position_, count);
  position_ += count;
  if (done != nullptr) *done = static_cast<ULONG>(count);
  return count == size ? S_OK : S_FALSE;
}

HRESULT MemoryStream::Write(const void* from, ULONG size, ULONG* done) {
  if (done != nullptr) *done = 0;
  if (size == 0) return S_OK;
  if (position_ + size > bytes_.size()) {
    const HRESULT result = resize(bytes_, position_ + size);
    if (FAILED(result)) return result;
  }
  std::memcpy(bytes_.data() + position_, from, size);
  position_ += size;
  if (done != nullptr) *done = size;
  return S_OK;
}

HRESULT MemoryStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* now) {
  std::int64_t start = 0;
  if (origin == STREAM_SEEK_CUR) {
    start = static_cast<std::int64_t>(position_);
  } else if (origin == STREAM_SEEK_END) {
    start = static_cast<std::int64_t>(bytes_.size());
  } else if (origin != STREAM_SEEK_SET) {
    return STG_E_INVALIDFUNCTION;
  }
  const std::int64_t target = start + move.QuadPart;
  if (target < 0) return STG_E_INVALIDFUNCTION;
  position_ = static_cast<std::size_t>(target);
  if (now != nullptr) now->QuadPart = static_cast<std::uint64_t>(target);
  return S_OK;
}

HRESULT MemoryStream::SetSize(ULARGE_INTEGER size) {
  return resize(bytes_, static_cast<std::size_t>(size.QuadPart));
}

HRESULT MemoryStream::Stat(STATSTG* about, DWORD) {
  if (about == nullptr) return STG_E_INVALIDPOINTER;
  *about = STATSTG{};
  about->type = STGTY_STREAM;
  about->cbSize.QuadPart = bytes_.size();
  about->grfMode = STGM_READWRITE;
  return S_OK;
}

}  // namespace lomix::media
