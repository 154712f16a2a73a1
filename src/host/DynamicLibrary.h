// Loads shared libraries on every operating system.
#pragma once

#include <filesystem>

namespace lomix::host {

/// A loaded shared library. The destructor unloads it.
class DynamicLibrary {
 public:
  /// Loads a library. Throws HostError with the system's reason when it cannot.
  explicit DynamicLibrary(const std::filesystem::path& file);
  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  /// Returns the address of an exported symbol; null when there is none of that name.
  void* find(const char* symbol) const;

 private:
  void* handle_;
};

}  // namespace lomix::host
