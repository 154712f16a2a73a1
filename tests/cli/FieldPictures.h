// H.264 whose fields are pictures of their own, as broadcasters have it. FFmpeg has no encoder for
// it.
#pragma once

#include <string>

namespace lomix {

/// Returns a stream of that number of frames, of 64x64 pixels, 25 a second. Each field is filled
/// with one grey, different from that of the fields before and after it. Every fifth frame is a key
/// frame.
std::string fieldPictures(int frames);

}  // namespace lomix
