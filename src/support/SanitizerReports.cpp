// Keeps the sanitizers' reports. Linked only into programs of builds with sanitizers.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <initializer_list>

namespace {

/// Sends reports to the file or terminal that is standard error when the program starts, so that
/// QuietStandardError does not drop them. GCC's sanitizers are libraries with a file each, Clang's
/// are parts of the program. The library of GCC's undefined-behaviour sanitizer may choose standard
/// error again at its first report; the program then ends with an exit code and no text.
int keepReports() {
  const int file = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (file < 0) return file;
  for (const char* library : {"libasan.so.8", "libubsan.so.1", "libtsan.so.2", ""}) {
    void* handle = dlopen(*library != '\0' ? library : nullptr, RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) continue;
    using SetFile = void (*)(void*);
    const auto set = reinterpret_cast<SetFile>(dlsym(handle, "__sanitizer_set_report_fd"));
    if (set != nullptr) set(reinterpret_cast<void*>(std::intptr_t{file}));
    dlclose(handle);
  }
  return file;
}

[[maybe_unused]] const int reports = keepReports();

}  // namespace
