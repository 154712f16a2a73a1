#include "support/QuietStandardError.h"

#include <fcntl.h>

#include <cstdio>
#include <mutex>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace lomix {
namespace {

#ifdef _WIN32
constexpr const char* kNowhere = "NUL";
constexpr int kStandardError = 2;
int openNowhere() { return _open(kNowhere, _O_WRONLY); }
int duplicate(int file) { return _dup(file); }
void replace(int by, int file) { _dup2(by, file); }
void closeFile(int file) { _close(file); }
#else
constexpr const char* kNowhere = "/dev/null";
constexpr int kStandardError = STDERR_FILENO;
int openNowhere() { return open(kNowhere, O_WRONLY | O_CLOEXEC); }
int duplicate(int file) { return fcntl(file, F_DUPFD_CLOEXEC, kStandardError + 1); }
void replace(int by, int file) { dup2(by, file); }
void closeFile(int file) { close(file); }
#endif

// All threads share one standard error: the first object redirects it, the last one restores it.
std::mutex mutex;
int users = 0;
int kept = -1;

}  // namespace

QuietStandardError::QuietStandardError() {
  const std::lock_guard lock(mutex);
  if (users++ > 0) return;
  std::fflush(stderr);
  kept = duplicate(kStandardError);
  const int nowhere = openNowhere();
  if (kept >= 0 && nowhere >= 0) replace(nowhere, kStandardError);
  if (nowhere >= 0) closeFile(nowhere);
}

QuietStandardError::~QuietStandardError() {
  const std::lock_guard lock(mutex);
  if (--users > 0) return;
  std::fflush(stderr);
  if (kept < 0) return;
  replace(kept, kStandardError);
  closeFile(kept);
  kept = -1;
}

}  // namespace lomix
