// Scratch memory from the host that is given back all at once.
#pragma once

#include <map>

#include "effect/framework/AEBase.h"

/// Allocates blocks of host memory and gives back those that are left when it is flushed or
/// destroyed. In After Effects only: elsewhere making a block throws the int
/// PF_Err_BAD_CALLBACK_PARAM, as a missing suite does. The context's suites must outlive the
/// object. One thread at a time may use it.
class AEBuffer : public AEBase {
 public:
  /// Handles by the address of their block. A block that was given back keeps its entry, with a
  /// null handle.
  std::map<void*, PF_Handle> handles;
  /// Reserved for blocks that are worlds; always empty.
  std::map<PF_Pixel*, _AEGP_World**> worlds;

  /// Captures a host context; throws as AEBase::InitBase does.
  AEBuffer(PF_InData* in_data, PF_OutData* out_data);
  /// Shares a host context that was captured before.
  explicit AEBuffer(const AEBase& base);
  AEBuffer(const AEBuffer&) = delete;
  AEBuffer& operator=(const AEBuffer&) = delete;
  /// Flushes.
  ~AEBuffer();

  /// Returns the address of a new locked block of size bytes. A failure of the host is not
  /// detected: the result is then the address that the host gives for a null handle.
  void* CreateBuffer(unsigned long size);
  /// Returns a block of width x height x bytesPerPixel bytes, with the context's size truncated to
  /// whole pixels in [0, 2^32) and the product modulo 2^32.
  void* CreateFrameBuffer(unsigned long bytesPerPixel);
  /// Gives one block back; an unknown address gets an entry with a null handle. Returns 0.
  PF_Err DestroyBuffer(void* block);
  /// Gives back all blocks that are left. Returns 0.
  PF_Err Flush();

 private:
  void Dispose(PF_Handle& handle);
};
