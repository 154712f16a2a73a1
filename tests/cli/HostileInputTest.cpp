// Files that ask for more than they are: memory for pictures that they cannot hold.
#include <sys/resource.h>

#include <algorithm>

#include "cli/VideoProcess.h"

namespace lomix {
namespace {

using testing::AllOf;
using testing::EndsWith;
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

}  // namespace
}  // namespace lomix
