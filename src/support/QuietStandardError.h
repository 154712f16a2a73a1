#pragma once

namespace lomix {

/// While one of these lives, whatever the process writes to standard error is dropped. The decoders
/// under the image library print there by themselves, and their lines would stand between ours; the
/// errors among them come back through the image library too. Print nothing while it lives.
class QuietStandardError {
 public:
  QuietStandardError();
  ~QuietStandardError();
  QuietStandardError(const QuietStandardError&) = delete;
  QuietStandardError& operator=(const QuietStandardError&) = delete;
};

}  // namespace lomix
