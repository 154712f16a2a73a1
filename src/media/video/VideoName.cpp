// Tells videos from pictures by their names. Part of builds without video too.
#include <algorithm>
#include <array>
#include <string_view>

#include "media/video/Video.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

constexpr std::array<std::string_view, 26> kExtensions{
    ".mp4", ".m4v", ".mov", ".qt",   ".mkv", ".webm", ".avi",  ".mpg", ".mpeg",
    ".m2v", ".ts",  ".mts", ".m2ts", ".vob", ".mxf",  ".wmv",  ".asf", ".flv",
    ".ogv", ".3gp", ".nut", ".dv",   ".y4m", ".h264", ".hevc", ".ivf"};

}  // namespace

bool isVideoName(const std::string& name) {
  if (name == kStandardStream) return true;
  const std::string extension = lowerCase(std::filesystem::path(name).extension().string());
  return std::ranges::find(kExtensions, extension) != kExtensions.end();
}

}  // namespace lomix::media
