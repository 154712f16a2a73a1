#pragma once

#include <stdexcept>

namespace lomix::host {

/// What the host itself cannot do: one line, "subject: cause (way out)". Errors that a plug-in
/// returns are PF_Err codes and never thrown.
class HostError : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

}  // namespace lomix::host
