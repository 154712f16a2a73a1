// A landscape, to try the effect on a picture with soft colours and fine detail.
#pragma once

#include "media/picture/Picture.h"

namespace lomix::media {

/// Draws an evening at a lake: sky, sun, hills, water, and a house with its aerial. 8 bits and
/// opaque. Clouds, hills and waves are the effect's own noise, and all arithmetic rounds the same
/// way everywhere: the same bytes for the same size on every system. width, height: 1 to
/// kMaxTestPictureSide. Throws MediaError for other sizes. Seeds the process-wide MTRand_int32, so
/// that one thread in the process may call it at a time.
Picture drawScene(int width, int height);

}  // namespace lomix::media
