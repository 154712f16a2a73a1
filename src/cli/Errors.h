#pragma once

#include <stdexcept>

namespace lomix::cli {

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

}  // namespace lomix::cli
