// Replaces the video readers and writers in builds without FFmpeg: every call is an error.
#include "media/picture/PictureFile.h"
#include "media/video/Video.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {
namespace {

constexpr const char* kCause = "this build has no video support (build it with LOMIX_VIDEO=ON)";

}  // namespace

std::vector<std::string> videoLibraries() { return {}; }

std::unique_ptr<VideoReader> openVideo(const VideoInput& input) {
  throw MediaError(cannotRead(input.name) + kCause);
}

std::unique_ptr<VideoWriter> createVideo(const VideoOutput& output, VideoReader*) {
  throw MediaError(cannotWrite(output.name) + kCause);
}

std::int64_t countFrames(const VideoInput& input) {
  throw MediaError(cannotRead(input.name) + kCause);
}

bool holdsSegments(const std::string&) { return true; }

JoinedFilm joinSegments(const JoinInput&, const VideoOutput& output) {
  throw MediaError(cannotWrite(output.name) + kCause);
}

}  // namespace lomix::media
