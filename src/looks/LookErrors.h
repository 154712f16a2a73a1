// What can be wrong with a name or a value. what() is one line, "subject: cause (way out)".
#pragma once

#include "support/Errors.h"

namespace lomix::looks {

/// No parameter or preset has this name.
class UnknownName : public UsageError {
 public:
  using UsageError::UsageError;
};

/// The parameter does not take this value.
class ValueOutOfRange : public UsageError {
 public:
  using UsageError::UsageError;
};

/// The text is not a preset; what() names the line.
class BadPreset : public CommandError {
 public:
  using CommandError::CommandError;
};

}  // namespace lomix::looks
