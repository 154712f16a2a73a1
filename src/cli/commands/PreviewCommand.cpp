#include <pthread.h>
#include <sys/wait.h>

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <system_error>

#include "cli/CommandLine.h"
#include "cli/commands/Commands.h"
#include "cli/preview/Browser.h"
#include "cli/preview/PreviewServer.h"
#include "support/Errors.h"
#include "support/ExecutablePath.h"

namespace lomix::cli {
namespace {

namespace fs = std::filesystem;

/// The options of `lomix preview`.
struct PreviewOptions {
  std::string file;
  int port = 0;
  bool noOpen = false;
};

void declare(CLI::App& app, PreviewOptions& options) {
  app.add_option("FILE", options.file,
                 "A picture or film that the browser can read, or a preset,\nto open in the page")
      ->type_name("FILE");
  app.add_flag("--no-open", options.noOpen, "Print the page's address without opening the browser");
  app.add_option("--port", options.port, "The port on 127.0.0.1; any that is free by default")
      ->type_name("N")
      ->check(CLI::Range(1024, 65535));
  app.footer(
      "The page and FILE are served to this machine alone, under an address that nobody can\n"
      "guess, until Ctrl-C or the end of the terminal. Nothing is sent anywhere else.\n\n"
      "Examples:\n"
      "  lomix preview\n"
      "  lomix preview holiday.jpg\n"
      "  lomix preview film.mp4 --no-open\n");
}

/// Finds the page: in LOMIX_WEB_DIR, in the folder of the installation, or where tools/web.sh
/// builds it, for a command in a build folder of the sources. Throws CommandError.
fs::path pageFolder() {
  if (const char* folder = std::getenv("LOMIX_WEB_DIR"); folder != nullptr && *folder != '\0') {
    return folder;
  }
  std::error_code error;
  const fs::path program = executablePath(error);
  const fs::path prefix = program.parent_path().parent_path();
  if (const fs::path installed = prefix / "share/lomix/web"; fs::exists(installed, error)) {
    return installed;
  }
  const fs::path built = prefix.parent_path().parent_path() / "dist/web";
  if (fs::exists(prefix / "CMakeCache.txt", error) && fs::exists(built, error)) return built;
  throw CommandError(
      "preview: the page is not installed (install Lomix with its page, build it with "
      "tools/web.sh, or name its folder in LOMIX_WEB_DIR)");
}

/// Blocks the signals that end the preview, and that of an ended child, in this thread and those
/// that it starts, while an object of this class exists.
class Signals {
 public:
  Signals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGCHLD);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
      // A parent that ignores a signal (nohup) wants it ignored here too.
      struct sigaction action {};
      sigaction(number, nullptr, &action);
      if (action.sa_handler != SIG_IGN) sigaddset(&signals_, number);
    }
    pthread_sigmask(SIG_BLOCK, &signals_, &before_);
  }
  ~Signals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  /// Waits for the next one and returns its number.
  int next() const {
    int number = 0;
    while (sigwait(&signals_, &number) != 0) {
    }
    return number;
  }

 private:
  sigset_t signals_;
  sigset_t before_;
};

void warnOfBrowser(const Streams& streams) {
  streams.err << "warning: browser: '" << kOpener
              << "' cannot open it (open the address above yourself)" << std::endl;
}

void run(const PreviewOptions& options, const Streams& streams) {
  const Signals signals;
  PreviewServer server(pageFolder(), options.file, options.port);
  streams.out << server.address() << std::endl;
  streams.err << "Press Ctrl-C to end the preview." << std::endl;
  pid_t opener = -1;
  if (!options.noOpen) {
    opener = openBrowser(server.ticketAddress());
    if (opener < 0) warnOfBrowser(streams);
  }
  while (signals.next() == SIGCHLD) {
    int status = 0;
    if (opener < 0 || waitpid(opener, &status, WNOHANG) != opener) continue;
    opener = -1;
    if (status != 0) warnOfBrowser(streams);
  }
  // A browser in the middle of a film does not keep the terminal waiting.
  if (!server.stop()) std::_Exit(kExitDone);
}

}  // namespace

Command addPreviewCommand(CLI::App& lomix) {
  return addCommand<PreviewOptions>(
      lomix, "preview", "Try a look in the browser, on the page of Lomix", declare, run);
}

}  // namespace lomix::cli
