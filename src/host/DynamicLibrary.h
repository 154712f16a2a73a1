#pragma once

#include <filesystem>

namespace lomix::host {

/// A shared library of the operating system, unloaded when the object goes.
class DynamicLibrary {
 public:
  /// Throws HostError with the system's reason when the file cannot be loaded.
  explicit DynamicLibrary(const std::filesystem::path& file);
  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  /// Address of an exported symbol; null when there is none of that name.
  void* find(const char* symbol) const;

 private:
  void* handle_;
};

}  // namespace lomix::host
