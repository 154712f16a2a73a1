// Warns where a run's output loses the transparency of its pictures.
#pragma once

#include <atomic>
#include <string>

#include "media/picture/Picture.h"
#include "support/Warn.h"

namespace lomix::media {

/// Warns once for all pictures of an output.
class TransparencyCheck {
 public:
  /// storesAlpha: whether the output keeps transparency; the check then does nothing. hint: which
  /// formats keep it, such as ".jpg files have none; .png files do".
  TransparencyCheck(bool storesAlpha, const std::string& output, const std::string& hint,
                    Warn warn);

  /// Warns where the picture has transparency and the output will not. Any thread.
  void check(const Picture& picture);

 private:
  std::string text_;
  Warn warn_;
  std::atomic<bool> needed_;
};

}  // namespace lomix::media
