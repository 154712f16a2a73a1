#include "media/video/Playlists.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace lomix::media {
namespace {

constexpr std::array<std::string_view, 10> kPlaylists{"hls",      "applehttp",  "dash", "concat",
                                                      "imf",      "vobsub",     "sdp",  "rtsp",
                                                      "avisynth", "vapoursynth"};

/// Returns a list of all formats but play lists.
std::string formatsOfOneFile() {
  std::string names;
  void* place = nullptr;
  while (const AVInputFormat* format = av_demuxer_iterate(&place)) {
    if (!isPlaylist(*format)) names += (names.empty() ? "" : ",") + std::string(format->name);
  }
  return names;
}

}  // namespace

bool isPlaylist(const AVInputFormat& format) {
  return std::ranges::find(kPlaylists, std::string_view(format.name)) != kPlaylists.end();
}

void limitWhatIsOpened(FfmpegOptions& options, bool playlists) {
  options.set("protocol_whitelist", "file,pipe,crypto,data");
  if (!playlists) options.set("format_whitelist", formatsOfOneFile());
}

}  // namespace lomix::media
