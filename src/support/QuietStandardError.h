// Silences libraries that print on standard error.
#pragma once

namespace lomix {

/// Drops everything that the process, on any thread, writes to standard error while an object of
/// this class exists. The image library's decoders print there by themselves and would interrupt
/// the command's own lines; their errors are also returned by the image library. Use
/// StandardErrorCopy to print meanwhile. Several threads may have an object each.
class QuietStandardError {
 public:
  QuietStandardError();
  ~QuietStandardError();
  QuietStandardError(const QuietStandardError&) = delete;
  QuietStandardError& operator=(const QuietStandardError&) = delete;
};

}  // namespace lomix
