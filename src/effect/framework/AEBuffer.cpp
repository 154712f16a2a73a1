#include "effect/framework/AEBuffer.h"

#include "effect/numeric/Truncate.h"
#include "effect/shell/AEGP_SuiteHandler.h"

AEBuffer::AEBuffer(PF_InData* inData, PF_OutData* outData) : AEBase(inData, outData) {}

AEBuffer::AEBuffer(const AEBase& base) : AEBase(base) {}

AEBuffer::~AEBuffer() { Flush(); }

void* AEBuffer::CreateBuffer(unsigned long size) {
  if (suites == nullptr) throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
  const PF_HandleSuite1* memory = suites->HandleSuite1();
  const PF_Handle handle = memory->host_new_handle(size);
  void* block = memory->host_lock_handle(handle);
  handles[block] = handle;
  return block;
}

void* AEBuffer::CreateFrameBuffer(unsigned long bytesPerPixel) {
  const std::uint32_t columns = lomix::truncateToUint32(width);
  const std::uint32_t rows = lomix::truncateToUint32(height);
  return CreateBuffer(columns * rows * static_cast<std::uint32_t>(bytesPerPixel));
}

PF_Err AEBuffer::DestroyBuffer(void* block) {
  Dispose(handles[block]);
  return PF_Err_NONE;
}

PF_Err AEBuffer::Flush() {
  for (auto& [block, handle] : handles) Dispose(handle);
  return PF_Err_NONE;
}

void AEBuffer::Dispose(PF_Handle& handle) {
  if (handle == nullptr) return;
  const PF_HandleSuite1* memory = suites->HandleSuite1();
  memory->host_unlock_handle(handle);
  memory->host_dispose_handle(handle);
  // A later Flush must not dispose of it a second time.
  handle = nullptr;
}
