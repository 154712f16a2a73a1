// Ends a run on Ctrl-C and similar signals without leaving half-written files.
#pragma once

namespace lomix::batch {

/// Makes SIGINT, SIGTERM, SIGHUP, SIGQUIT and SIGPIPE remove all temporary files and end the
/// program with exit code 128 plus the signal's number. A signal that the parent process ignores
/// stays ignored.
void endOnSignals();

/// While an object of this class exists, the first such signal is only recorded, so that the caller
/// can finish its frames; the second one ends the program at once. Only one object at a time.
class PatientWork {
 public:
  PatientWork();
  ~PatientWork();
  PatientWork(const PatientWork&) = delete;
  PatientWork& operator=(const PatientWork&) = delete;

  /// Returns the recorded signal, 0 for none.
  static int interruptedBy();
};

}  // namespace lomix::batch
