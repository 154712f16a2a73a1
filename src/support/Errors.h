// Errors that end a command, by exit code. what() is one line, "subject: cause (way out)".
#pragma once

#include <stdexcept>
#include <string>

namespace lomix {

/// Reports a command line or an argument that makes no sense. Exit code 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reports work that could not be done. Exit code 1.
class CommandError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reports that some frames failed and all others are done. Exit code 3.
class FramesFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reports that a signal ended the work between two frames. Exit code 128 plus the signal's number.
/// what(): "subject: what is done (how to go on)".
class Interrupted : public std::runtime_error {
 public:
  Interrupted(const std::string& message, int signal)
      : std::runtime_error(message), signal_(signal) {}
  int signal() const { return signal_; }

 private:
  int signal_;
};

}  // namespace lomix
