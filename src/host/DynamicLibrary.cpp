// The one file that differs between operating systems.
#include "host/DynamicLibrary.h"

#include <string>

#include "host/HostError.h"
#include "support/Text.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace lomix::host {
namespace {

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& reason) {
  throw HostError("cannot load '" + file.string() + "': " + oneLine(reason) +
                  " (give a plug-in module that was built for this system)");
}

}  // namespace

#ifdef _WIN32

DynamicLibrary::DynamicLibrary(const std::filesystem::path& file)
    : handle_(LoadLibraryW(std::filesystem::absolute(file).c_str())) {
  if (!handle_) refuse(file, "system error " + std::to_string(GetLastError()));
}

DynamicLibrary::~DynamicLibrary() { FreeLibrary(static_cast<HMODULE>(handle_)); }

void* DynamicLibrary::find(const char* symbol) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), symbol));
}

#else

// An absolute path, because the system would search its library folders for a bare name.
DynamicLibrary::DynamicLibrary(const std::filesystem::path& file)
    : handle_(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_) return;
  std::string reason = dlerror();
  const std::string prefix = std::filesystem::absolute(file).string() + ": ";
  if (reason.starts_with(prefix)) reason.erase(0, prefix.size());
  refuse(file, std::move(reason));
}

DynamicLibrary::~DynamicLibrary() { dlclose(handle_); }

void* DynamicLibrary::find(const char* symbol) const { return dlsym(handle_, symbol); }

#endif

}  // namespace lomix::host
