#include <csignal>
#include <cstdlib>
#include <iostream>

#include "cli/CommandLine.h"
#include "media/TemporaryFile.h"

namespace {

extern "C" void endAtOnce(int number) {
  lomix::media::TemporaryFile::removeAllBeforeExit();
  // What shells report for a process that a signal ended: 130 for Ctrl-C.
  std::_Exit(128 + number);
}

void endOn(int number) {
  // A parent that ignores a signal (nohup) wants it ignored here too.
  if (std::signal(number, endAtOnce) == SIG_IGN) std::signal(number, SIG_IGN);
}

}  // namespace

int main(int count, char** arguments) {
  endOn(SIGINT);
  endOn(SIGTERM);
#ifdef SIGHUP
  endOn(SIGHUP);
#endif
  return lomix::cli::runCommandLine({arguments + (count > 0 ? 1 : 0), arguments + count},
                                    {std::cout, std::cerr});
}
