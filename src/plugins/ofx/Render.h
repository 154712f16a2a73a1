// OfxImageEffectActionRender.
#pragma once

#include "plugins/ofx/Instance.h"

namespace lomix::ofx {

/// Draws the render window of the output. Draws any window of any bounds with the bytes of the
/// whole frame. Throws Failure and std::bad_alloc.
void render(const Instance& instance, PropertySet arguments);

}  // namespace lomix::ofx
