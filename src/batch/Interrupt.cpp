#include "batch/Interrupt.h"

#include <atomic>
#include <csignal>
#include <cstdlib>

#include "support/TemporaryFile.h"

namespace lomix::batch {
namespace {

std::atomic<bool> patient = false;
std::atomic<int> noted = 0;
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void handleSignal(int number) {
  // Some systems remove a handler once it was called.
  std::signal(number, handleSignal);
  if (patient && noted.exchange(number) == 0) return;
  TemporaryFile::removeAllBeforeExit();
  // As shells report a process that a signal ended: 130 for Ctrl-C.
  std::_Exit(128 + number);
}

void endOn(int number) {
  // A parent that ignores a signal (nohup) wants it ignored here too.
  if (std::signal(number, handleSignal) == SIG_IGN) std::signal(number, SIG_IGN);
}

}  // namespace

void endOnSignals() {
  endOn(SIGINT);
  endOn(SIGTERM);
#ifndef _WIN32
  endOn(SIGHUP);
  endOn(SIGQUIT);
  // The reader of standard output or standard error has ended: "lomix ... | head -1".
  endOn(SIGPIPE);
#endif
}

PatientWork::PatientWork() {
  noted = 0;
  patient = true;
}

PatientWork::~PatientWork() { patient = false; }

int PatientWork::interruptedBy() { return noted; }

}  // namespace lomix::batch
