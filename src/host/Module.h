// Loads plug-in modules.
#pragma once

#include <filesystem>
#include <memory>

#include "hostapi/Records.h"

namespace lomix::host {

/// The one function that a plug-in module exports.
using EntryPoint = PF_Err (*)(PF_Cmd command, PF_InData* inData, PF_OutData* outData,
                              PF_ParamDef* params[], PF_LayerDef* output, void* extra);

class DynamicLibrary;

/// A loaded plug-in module. The destructor unloads it. It must outlive its hosts.
class Module {
 public:
  /// Loads a module, or the one inside a macOS bundle folder, and finds EntryPointFunc.
  /// Throws HostError when the file is missing, is not a module, or has no such function.
  explicit Module(const std::filesystem::path& file);
  ~Module();
  Module(Module&&) noexcept;
  Module& operator=(Module&&) noexcept;

  EntryPoint entryPoint() const { return entryPoint_; }
  /// Returns the name that the module was loaded by.
  const std::filesystem::path& file() const { return file_; }

 private:
  std::filesystem::path file_;
  std::unique_ptr<DynamicLibrary> library_;
  EntryPoint entryPoint_ = nullptr;
};

}  // namespace lomix::host
