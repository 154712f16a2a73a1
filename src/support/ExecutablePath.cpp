#include "support/ExecutablePath.h"

#include <cstdint>
#include <string>
#include <system_error>

#include "support/Errors.h"

#if defined(_WIN32)
#include <windows.h>
#elif defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

namespace lomix {

std::filesystem::path executablePath() {
  std::error_code error;
#if defined(_WIN32)
  std::wstring name(32768, L'\0');
  name.resize(GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
  const std::filesystem::path file(name);
#elif defined(__APPLE__)
  std::uint32_t size = 0;
  _NSGetExecutablePath(nullptr, &size);
  std::string name(size, '\0');
  _NSGetExecutablePath(name.data(), &size);
  const std::filesystem::path file(name.c_str());
#else
  const std::filesystem::path file("/proc/self/exe");
#endif
  std::filesystem::path resolved = std::filesystem::canonical(file, error);
  if (error) {
    throw CommandError("plug-in: the place of this program is unknown, " + error.message() +
                       " (name the module with --plugin FILE)");
  }
  return resolved;
}

}  // namespace lomix
