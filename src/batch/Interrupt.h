#pragma once

namespace lomix::batch {

/// Has SIGINT, SIGTERM and SIGHUP end the program with 128 and the signal's number, without
/// leaving a temporary file behind.
void endOnSignals();

/// While one of these lives, the first such signal is only noted, so that work under way can be
/// finished; the second ends the program at once. One at a time.
class PatientWork {
 public:
  PatientWork();
  ~PatientWork();
  PatientWork(const PatientWork&) = delete;
  PatientWork& operator=(const PatientWork&) = delete;

  /// The signal that was noted, 0 for none.
  static int interruptedBy();
};

}  // namespace lomix::batch
