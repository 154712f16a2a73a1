// Files that appear only when complete, and errors that a front end completes.
#include <gmock/gmock.h>

#include <filesystem>

#include "support/MediaError.h"
#include "support/ScratchFolder.h"
#include "support/TemporaryFile.h"

namespace lomix::media {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TemporaryFileIn : public ScratchFolder {};

TEST_F(TemporaryFileIn, TakesTheFinalNameOnlyWhenPublished) {
  {
    TemporaryFile file(path("a.png"));
    EXPECT_EQ(file.path().extension(), ".png");
    EXPECT_EQ(file.path().parent_path(), folder_);
    write(file.path(), "whole");
    EXPECT_FALSE(std::filesystem::exists(path("a.png")));
    file.publish(false);
  }
  EXPECT_THAT(names(), ElementsAre("a.png"));
  EXPECT_EQ(read(path("a.png")), "whole");
}

TEST_F(TemporaryFileIn, IsRemovedWhenNotPublished) {
  { TemporaryFile file(path("a.png")); }
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(TemporaryFileIn, KeepsAFileThatTookTheNameMeanwhile) {
  {
    TemporaryFile file(path("a.png"));
    write(path("a.png"), "theirs");
    try {
      file.publish(false);
      ADD_FAILURE() << "an existing file was replaced";
    } catch (const AvoidableError& error) {
      EXPECT_EQ(error.remedy(), Remedy::Overwrite);
      EXPECT_THAT(error.what(),
                  testing::EndsWith(": it exists (choose another name, or replace it)"));
      EXPECT_THAT(error.wayOutWith("force"), testing::EndsWith(", or replace it with force)"));
    }
  }
  EXPECT_THAT(names(), ElementsAre("a.png"));
  EXPECT_EQ(read(path("a.png")), "theirs");
}

TEST_F(TemporaryFileIn, ReplacesOnRequest) {
  write(path("a.png"), "old");
  TemporaryFile file(path("a.png"));
  write(file.path(), "new");
  file.publish(true);
  EXPECT_EQ(read(path("a.png")), "new");
  EXPECT_THAT(names(), ElementsAre("a.png"));
}

}  // namespace
}  // namespace lomix::media
