// Errors of the headless host.
#pragma once

#include <stdexcept>

namespace lomix::host {

/// Reports something that the host cannot do. what() is one line, "subject: cause (way out)". Error
/// codes of the plug-in are returned and not thrown.
class HostError : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

}  // namespace lomix::host
