// Errors about names, values and presets. what() is one line, "subject: cause (way out)".
#pragma once

#include <string>

#include "support/Errors.h"

namespace lomix::looks {

/// Reports a name that no parameter or preset has.
class UnknownName : public UsageError {
 public:
  /// problem: "subject: cause". nearest: the name that resembles it most; empty for none.
  UnknownName(const std::string& problem, const std::string& nearest)
      : UnknownName(problem, nearest, "") {}

  /// Returns the same error with another way out added, such as where the names are listed.
  UnknownName withHint(const std::string& hint) const { return {problem_, nearest_, hint}; }

 private:
  UnknownName(const std::string& problem, const std::string& nearest, const std::string& hint)
      : UsageError(problem + wayOut(nearest, hint)), problem_(problem), nearest_(nearest) {}

  static std::string wayOut(const std::string& nearest, const std::string& hint) {
    const std::string guess = nearest.empty() ? "" : "did you mean '" + nearest + "'?";
    if (guess.empty() && hint.empty()) return " (leave it out)";
    return " (" + guess + (guess.empty() || hint.empty() ? "" : " ") + hint + ")";
  }

  std::string problem_;
  std::string nearest_;
};

/// Reports a value that the parameter does not take.
class ValueOutOfRange : public UsageError {
 public:
  using UsageError::UsageError;
};

/// Reports a text that is not a valid preset; what() names the line.
class BadPreset : public CommandError {
 public:
  using CommandError::CommandError;
};

}  // namespace lomix::looks
