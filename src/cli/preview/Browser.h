// Opens the user's browser.
#pragma once

#include <sys/types.h>

#include <string>

namespace lomix::cli {

/// The program that opens an address in the browser: xdg-open, or open on macOS.
extern const char* const kOpener;

/// Starts the opener, in a process group of its own, so that Ctrl-C does not end a browser that it
/// starts, and without this process's terminal. Returns the process, a child, or -1 where the
/// program cannot be started.
pid_t openBrowser(const std::string& address);

}  // namespace lomix::cli
