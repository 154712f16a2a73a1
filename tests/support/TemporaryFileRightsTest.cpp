// Temporary files where files have modes, owners and links: not on Windows.
#include <gmock/gmock.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <utility>

#include "support/ScratchFolder.h"
#include "support/TemporaryFile.h"

namespace lomix::media {
namespace {

class TemporaryFileRights : public ScratchFolder {};

TEST_F(TemporaryFileRights, IsNeverMoreReadableThanTheFileThatItReplaces) {
  const auto modeOf = [](const std::filesystem::path& file) {
    return static_cast<unsigned>(std::filesystem::status(file).permissions());
  };
  const mode_t before = umask(022);
  for (const unsigned mode : {0600u, 0640u, 0644u, 0666u, 0400u}) {
    write(path("a.png"), "old");
    std::filesystem::permissions(path("a.png"), std::filesystem::perms(mode));
    TemporaryFile file(path("a.png"));
    EXPECT_EQ(modeOf(file.path()), 0600u);
    file.publish(true);
    EXPECT_EQ(modeOf(path("a.png")), mode);
    std::filesystem::remove(path("a.png"));
  }
  for (const auto& [mask, mode] : {std::pair{022u, 0644u}, {077u, 0600u}, {002u, 0664u}}) {
    umask(mask);
    TemporaryFile file(path("new.png"));
    file.publish(false);
    EXPECT_EQ(modeOf(path("new.png")), mode);
    std::filesystem::remove(path("new.png"));
  }
  umask(before);
}

TEST_F(TemporaryFileRights, GivesAnotherGroupNoMoreThanOthersHave) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  write(path("a.png"), "old");
  ASSERT_EQ(chown(path("a.png").c_str(), 1234, 2345), 0);
  ASSERT_EQ(chmod(path("a.png").c_str(), 0664), 0);
  std::filesystem::permissions(folder_, std::filesystem::perms::all);
  struct stat status {};
  {
    TemporaryFile file(path("a.png"));
    file.publish(true);
    ASSERT_EQ(stat(path("a.png").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234u);
    EXPECT_EQ(status.st_gid, 2345u);
    EXPECT_EQ(status.st_mode & 0777, 0664u);
  }
  // A user who is not in the group: in a child process, which cannot become root again.
  const auto replaced = [this] {
    if (setgroups(0, nullptr) != 0 || setgid(3456) != 0 || setuid(1234) != 0) std::_Exit(1);
    TemporaryFile file(path("a.png"));
    file.publish(true);
    std::_Exit(0);
  };
  EXPECT_EXIT(replaced(), testing::ExitedWithCode(0), "");
  ASSERT_EQ(stat(path("a.png").c_str(), &status), 0);
  EXPECT_EQ(status.st_gid, 3456u);
  EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(TemporaryFileRights, WritesThroughALink) {
  write(path("real.png"), "old");
  std::filesystem::create_symlink("real.png", path("link.png"));
  TemporaryFile file(path("link.png"));
  write(file.path(), "new");
  file.publish(true);
  EXPECT_TRUE(std::filesystem::is_symlink(path("link.png")));
  EXPECT_EQ(read(path("real.png")), "new");
}

TEST_F(TemporaryFileRights, AnInterruptRemovesEveryOne) {
  // In a child process, which ends as the signal handler ends the command.
  const auto interrupted = [this] {
    TemporaryFile first(path("a.png"));
    TemporaryFile second(path("b.exr"));
    const std::size_t count = names().size();
    TemporaryFile::removeAllBeforeExit();
    std::_Exit(static_cast<int>(count));
  };
  EXPECT_EXIT(interrupted(), testing::ExitedWithCode(2), "");
  EXPECT_THAT(names(), testing::IsEmpty());
}

}  // namespace
}  // namespace lomix::media
