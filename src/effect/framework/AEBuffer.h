// Scratch memory from the host.
#pragma once

#include <map>

#include "effect/framework/AEBase.h"

/// Hands out blocks of host memory and remembers them, so that Flush, or the object's end, returns
/// them all. In After Effects only; elsewhere making a block throws the int
/// PF_Err_BAD_CALLBACK_PARAM, as a missing suite does. The context's suites must outlive it.
class AEBuffer : public AEBase {
 public:
  /// Blocks by address. A block that was given back keeps its entry, with a null handle.
  std::map<void*, PF_Handle> handles;
  /// Reserved for blocks that are worlds.
  std::map<PF_Pixel*, _AEGP_World**> worlds;

  AEBuffer(PF_InData* in_data, PF_OutData* out_data);
  explicit AEBuffer(const AEBase& base);
  AEBuffer(const AEBuffer&) = delete;
  AEBuffer& operator=(const AEBuffer&) = delete;
  ~AEBuffer();

  /// The address of a new locked block of size bytes; the host's failure is not detected.
  void* CreateBuffer(unsigned long size);
  /// A block for one frame of the context's size, counted in 32 bits.
  void* CreateFrameBuffer(unsigned long bytesPerPixel);
  /// Gives one block back; an unknown address is remembered and otherwise ignored. Returns 0.
  PF_Err DestroyBuffer(void* block);
  /// Gives all blocks back. Returns 0.
  PF_Err Flush();

 private:
  void Dispose(PF_Handle& handle);
};
