#pragma once

#include <stdexcept>

namespace lomix {

/// A picture could not be read, made or written. what() is one line, "subject: cause (way out)".
class MediaError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace lomix
