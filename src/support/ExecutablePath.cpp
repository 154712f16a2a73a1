#include "support/ExecutablePath.h"

#include <cstdint>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#elif defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

namespace lomix {

std::filesystem::path executablePath(std::error_code& error) {
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
  return std::filesystem::canonical(file, error);
}

}  // namespace lomix
