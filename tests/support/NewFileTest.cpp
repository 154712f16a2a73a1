// Folders that are made for outputs.
#include <gmock/gmock.h>

#include <vector>

#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/ScratchFolder.h"

namespace lomix {
namespace {

class NewFile : public ScratchFolder {};

TEST_F(NewFile, FoldersAreMadeWithThoseThatTheyAreIn) {
  for (const auto& folder : {path("a/b/c"), path("a/b/c"), path("a/d/"), path("e/../f")}) {
    makeFolder(folder);
    EXPECT_TRUE(std::filesystem::is_directory(folder)) << folder;
  }
  EXPECT_NO_THROW(makeFolder(""));
  write(path("file"), "");
  std::vector<std::filesystem::path> taken{path("file/a"), path("file")};
#ifndef _WIN32
  std::filesystem::create_symlink("nowhere", path("link"));
  taken.push_back(path("link"));
#endif
  for (const auto& folder : taken) {
    try {
      makeFolder(folder);
      ADD_FAILURE() << folder << " was made";
    } catch (const MediaError& error) {
      EXPECT_THAT(error.what(), testing::StartsWith("cannot write '" + folder.string() + "': "));
    }
  }
}

}  // namespace
}  // namespace lomix
