#include <algorithm>
#include <array>
#include <string_view>

#include "media/video/Video.h"

namespace lomix::media {
namespace {

constexpr std::array<std::string_view, 26> kExtensions{
    ".mp4", ".m4v", ".mov", ".qt",   ".mkv", ".webm", ".avi",  ".mpg", ".mpeg",
    ".m2v", ".ts",  ".mts", ".m2ts", ".vob", ".mxf",  ".wmv",  ".asf", ".flv",
    ".ogv", ".3gp", ".nut", ".dv",   ".y4m", ".h264", ".hevc", ".ivf"};

}  // namespace

bool isVideoName(const std::string& name) {
  if (name == kStandardStream) return true;
  std::string extension = std::filesystem::path(name).extension().string();
  std::ranges::transform(extension, extension.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return std::ranges::find(kExtensions, extension) != kExtensions.end();
}

}  // namespace lomix::media
