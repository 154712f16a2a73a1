// Images of the caller, as the engine has them.
#pragma once

#include <string>

#include "engine/RowEngine.h"
#include "lomix/lomix.h"

namespace lomix::library {

struct Format {
  int depth;  ///< Bits per channel.
  engine::AlphaPlace alpha;
};

/// Returns the format of an image. name: the argument's, for messages. Throws LOMIX_BAD_ARGUMENT.
Format formatOf(const lomix_image& image, const std::string& name);

/// Returns the image as the engine has it. Throws LOMIX_BAD_ARGUMENT for what is no image.
PF_LayerDef layerOf(const lomix_image& image, const char* name);

/// Throws LOMIX_BAD_ARGUMENT with "name: cause".
[[noreturn]] void failImage(const char* name, const std::string& cause);

}  // namespace lomix::library
