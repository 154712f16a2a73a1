// The built command while system calls of writing fail: its output is new and whole, or the old
// one.
#include "cli/CommandProcess.h"
#include "media/drawing/TestCard.h"
#include "media/picture/PictureFile.h"

namespace lomix {
namespace {

class Fault : public CommandProcess {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the leak checker does not work in a traced process";
#endif
    const Result traced = finish(startProgram({"sh", "-c", "strace -o /dev/null true"}));
    if (traced.exitCode != 0) GTEST_SKIP() << "strace cannot trace programs here: " << traced.err;
    media::writePicture(media::drawTestCard(32, 24), path("card.png"), false);
  }

  std::vector<std::string> command(const std::string& output, const std::string& noise) {
    std::vector<std::string> all{"render",    "card.png", output,        "--set",  "Noise=" + noise,
                                 "--threads", "1",        "--overwrite", "--quiet"};
    if (output.find("video") != std::string::npos) all.insert(all.end(), {"--frames", "0-1"});
    return all;
  }

  /// Returns whether two outputs have the same content, whatever dates and identifiers they have.
  bool areEqual(const std::string& a, const std::string& b) {
    return run({"compare", a, b, "--fail-above", "0"}).exitCode == 0;
  }

  /// Runs the command while one of the calls fails at its place-th time. The output has to be there
  /// before, and is there again afterwards.
  void inject(const std::string& name, const std::string& calls, int place) {
    const std::string output = name;
    const std::string old = read(path(output));
    // The leak checker of a sanitized build cannot work in a traced program.
    std::vector<std::string> traced{
        "strace",     "-f",
        "-E",         "ASAN_OPTIONS=detect_leaks=0",
        "-o",         (outputs_ / "trace").string(),
        "-e",         "trace=" + calls,
        "-e",         "inject=" + calls + ":error=EIO:when=" + std::to_string(place),
        LOMIX_COMMAND};
    for (const std::string& argument : command(output, "60")) traced.push_back(argument);
    const auto before = names();
    const Result result = finish(startProgram(traced));
    const std::string what =
        output + ", " + calls + " " + std::to_string(place) + ": " + result.err;
    EXPECT_EQ(names(), before) << what;
    const bool isOld = read(path(output)) == old;
    // Flushing the folder comes after the rename.
    const bool flushesFolder = calls == "fsync" && place == 2;
    if (result.exitCode == 0 || flushesFolder) {
      EXPECT_EQ(flushesFolder, result.exitCode != 0) << what;
      EXPECT_TRUE(areEqual(output, "good-" + output)) << what;
      std::filesystem::copy_file(path("old-" + output), path(output),
                                 std::filesystem::copy_options::overwrite_existing);
    } else {
      EXPECT_TRUE(isOld) << what;
      EXPECT_EQ(result.exitCode, 1) << what;
    }
    refused_ += isOld ? 1 : 0;
  }

  int refused_ = 0;
};

TEST_F(Fault, OfAnyWriteLeavesTheOldFileOrAWholeNewOne) {
  for (const std::string name :
       {"o.png", "o.tif", "o.exr", "o.jpg", "video.mkv", "video.mp4", "video.y4m"}) {
    expectDone(command(name, "10"));
    std::filesystem::copy_file(path(name), path("old-" + name));
    std::filesystem::rename(path(name), path("good-" + name));
    expectDone(command("good-" + name, "60"));
    std::filesystem::copy_file(path("old-" + name), path(name));
    refused_ = 0;
    for (int place = 1; place <= 3; ++place) inject(name, "write,writev,pwrite64", place);
    EXPECT_GE(refused_, 1) << name;
    refused_ = 0;
    inject(name, "fsync", 1);
    inject(name, "rename", 1);
    inject(name, "fchmod", 1);
    EXPECT_GE(refused_, 2) << name;
    inject(name, "fsync", 2);
  }
}

}  // namespace
}  // namespace lomix
