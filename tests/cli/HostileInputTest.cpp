// Files that ask for more than they are: memory for pictures that they cannot hold, other files.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>

#include "cli/VideoProcess.h"

namespace lomix {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class HostileInput : public Video {};

TEST_F(HostileInput, PicturesThatTheirFilesCannotHoldCostNoMemory) {
  constexpr long kMostKilobytes = 400 * 1024;  // Without a picture 150 MB; with sanitizers more.
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(LOMIX_PICTURE_CORPUS)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with("claims")) continue;
    ++files;
    const pid_t process = start({"render", entry.path().string(), "out.png"});
    int status = 0;
    rusage usage{};
    ASSERT_EQ(wait4(process, &status, 0, &usage), process);
    const std::string error = read(outputs_ / "err");
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << name << ": " << error;
    EXPECT_THAT(error, AllOf(StartsWith("error: cannot read "), EndsWith(")\n"))) << name;
    EXPECT_EQ(std::ranges::count(error, '\n'), 1) << error;
    EXPECT_LT(usage.ru_maxrss, kMostKilobytes) << name;
    EXPECT_TRUE(names().empty()) << name;
  }
  EXPECT_GE(files, 8);
}

TEST_F(HostileInput, LargePicturesOfOneColourAreNoSuchClaims) {
  // 25 million pixels in the fewest bytes that writers make of them.
  shell("ffmpeg -v error -f lavfi -i color=c=black:s=5120x5120 -frames:v 1 -pred none a.png");
  shell("ffmpeg -v error -f lavfi -i color=c=gray:s=5120x5120 -frames:v 1 -q:v 31 b.jpg");
  shell("ffmpeg -v error -i a.png -compression_algo lzw c.tif");
  shell("ffmpeg -v error -i a.png -compression_algo deflate d.tif");
  shell("ffmpeg -v error -i a.png e.tga");
  shell("ffmpeg -v error -i a.png -pix_fmt monob f.png");
  for (const std::string name : {"a.png", "b.jpg", "c.tif", "d.tif", "e.tga", "f.png"}) {
    EXPECT_LT(std::filesystem::file_size(path(name)), 2'000'000U) << name;
    expectDone({"render", name, "out.tga", "--overwrite", "--no-fsync", "--quiet"});
  }
}

TEST_F(HostileInput, PlayListsOpenNoOtherFileUnlessAllowed) {
  makeClip("part.mkv", "s=32x16:r=25:d=0.2", "-c:v ffv1");
  shell("ffmpeg -v error -i part.mkv -c:v mpeg2video -f hls -hls_segment_filename s%d.ts hls.m3u8");
  write(path("concat.ffconcat"), "ffconcat version 1.0\nfile 'part.mkv'\n");
  std::filesystem::copy_file(path("hls.m3u8"), path("hls.mp4"));
  std::filesystem::copy_file(path("concat.ffconcat"), path("concat.mov"));
  const auto before = names();
  for (const std::string name : {"hls.m3u8", "concat.ffconcat", "hls.mp4", "concat.mov"}) {
    for (const bool piped : {false, true}) {
      SCOPED_TRACE(name + (piped ? " piped" : ""));
      const std::string input = piped ? "- out.mkv < " + name : name + " out.mkv";
      const Result result = finish(startProgram({"sh", "-c", LOMIX_COMMAND " render " + input}));
      EXPECT_EQ(result.exitCode, 1);
      EXPECT_THAT(result.err, AllOf(StartsWith("error: cannot read "),
                                    EndsWith("(open them with --allow-playlists)\n")));
      EXPECT_EQ(names(), before);
    }
    expectDone({"render", name, "out.mkv", "--allow-playlists", "--quiet", "--video-only"});
    EXPECT_EQ(probe("out.mkv", "v", "stream=nb_read_frames -count_frames"), "stream,5\n");
    std::filesystem::remove(path("out.mkv"));
  }
  const Result result = run({"compare", "hls.mp4", "part.mkv"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("--allow-playlists"));
}

/// A port of this machine that takes connections and never answers.
class SilentPort {
 public:
  SilentPort() {
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address_), sizeof address_), 0);
    EXPECT_EQ(listen(socket_, 16), 0);
    socklen_t size = sizeof address_;
    EXPECT_EQ(getsockname(socket_, reinterpret_cast<sockaddr*>(&address_), &size), 0);
  }
  ~SilentPort() { close(socket_); }
  SilentPort(const SilentPort&) = delete;
  SilentPort& operator=(const SilentPort&) = delete;

  /// Returns "127.0.0.1:" and the number.
  std::string name() const { return "127.0.0.1:" + std::to_string(ntohs(address_.sin_port)); }
  /// Returns how many connections were made since the last call.
  int takeConnections() {
    int count = 0;
    for (int peer = 0; (peer = accept(socket_, nullptr, nullptr)) >= 0; ++count) close(peer);
    return count;
  }

 private:
  int socket_ = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
  sockaddr_in address_{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
};

TEST_F(HostileInput, PlayListsNeverOpenAddresses) {
  SilentPort port;
  const std::string address = "http://" + port.name() + "/s.ts";
  write(path("list.m3u8"),
        "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + address + "\n#EXT-X-ENDLIST\n");
  write(path("list.ffconcat"), "ffconcat version 1.0\nfile '" + address + "'\n");
  write(path("list.mpd"),
        "<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
        "profiles=\"urn:mpeg:dash:profile:isoff-on-demand:2011\" "
        "mediaPresentationDuration=\"PT1S\"><Period><AdaptationSet mimeType=\"video/mp4\">"
        "<Representation id=\"0\" bandwidth=\"1000\"><BaseURL>" +
            address + "</BaseURL></Representation></AdaptationSet></Period></MPD>");
  for (const std::string list : {"list.m3u8", "list.ffconcat", "list.mpd"}) {
    // Whoever opens addresses gets there.
    const std::string probe =
        "timeout 2 ffprobe -v quiet -rw_timeout 200000 -protocol_whitelist file,http,tcp " +
        std::string(list == "list.ffconcat" ? "-safe 0 " : "");
    EXPECT_NE(finish(startProgram({"sh", "-c", probe + list})).exitCode, 0);
    ASSERT_GT(port.takeConnections(), 0) << list;
    for (const std::string option : {" --allow-playlists", ""}) {
      const Result result = finish(startProgram(
          {"sh", "-c", "timeout 10 " LOMIX_COMMAND " render " + list + " out.mkv" + option}));
      EXPECT_EQ(result.exitCode, 1) << list << option;
      EXPECT_THAT(result.err,
                  AllOf(StartsWith("error: cannot read '" + list + "'"), EndsWith(")\n")));
      EXPECT_EQ(port.takeConnections(), 0) << list << option;
    }
  }
}

}  // namespace
}  // namespace lomix
