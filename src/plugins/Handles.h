// Owners of the objects of lomix.h.
#pragma once

#include <memory>

#include "lomix/lomix.h"

namespace lomix::plugins {

struct Destroy {
  void operator()(lomix_look* look) const { lomix_look_destroy(look); }
  void operator()(lomix_frame* frame) const { lomix_frame_destroy(frame); }
};
using LookPtr = std::unique_ptr<lomix_look, Destroy>;
using FramePtr = std::unique_ptr<lomix_frame, Destroy>;

}  // namespace lomix::plugins
