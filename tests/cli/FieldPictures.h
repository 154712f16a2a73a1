// H.264 whose fields are pictures of their own, as broadcasters have it. FFmpeg has no encoder for
// it.
#pragma once

#include <string>

namespace lomix {

/// Returns a stream of so many frames, 64 by 64 pixels and 25 a second. Each has a grey of its own
/// in each field; every fifth is a key frame.
std::string fieldPictures(int frames);

}  // namespace lomix
