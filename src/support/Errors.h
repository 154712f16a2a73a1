#pragma once

#include <stdexcept>
#include <string>

namespace lomix {

/// The command line asks for something that cannot be; the process ends with 2. what() is one line,
/// "subject: cause (way out)".
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The work could not be done; the process ends with 1. what() as above.
class CommandError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Some of the work could not be done, the rest is; the process ends with 3. what() as above.
class FramesFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A signal ended the work between two frames; the process ends with 128 and its number. what():
/// "subject: what is done (how to go on)".
class Interrupted : public std::runtime_error {
 public:
  Interrupted(const std::string& message, int signal)
      : std::runtime_error(message), signal_(signal) {}
  int signal() const { return signal_; }

 private:
  int signal_;
};

}  // namespace lomix
