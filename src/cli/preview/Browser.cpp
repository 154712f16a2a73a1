#include "cli/preview/Browser.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <csignal>

extern "C" char** environ;

namespace lomix::cli {

#ifdef __APPLE__
const char* const kOpener = "open";
#else
const char* const kOpener = "xdg-open";
#endif

pid_t openBrowser(const std::string& address) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDWR, 0);
  for (const int file : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_adddup2(&files, STDIN_FILENO, file);
  }
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // This process has blocked signals, which a child would inherit.
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  std::string name = kOpener;
  std::string argument = address;
  char* arguments[] = {name.data(), argument.data(), nullptr};
  pid_t process = -1;
  const int fault = posix_spawnp(&process, kOpener, &files, &attributes, arguments, environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return fault == 0 ? process : -1;
}

}  // namespace lomix::cli
