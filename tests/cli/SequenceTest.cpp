// The built command on numbered sequences: frame numbers, times, and the files that are left after
// failures.
#include <sys/file.h>
#include <sys/mount.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "cli/CommandProcess.h"
#include "media/drawing/TestCard.h"
#include "media/picture/PictureFile.h"
#include "media/picture/SequenceName.h"

namespace lomix {
namespace {

using media::SequenceName;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class Sequence : public CommandProcess {
 protected:
  const std::vector<std::string> kLook{
      "--set", "Noise=40",          "--set", "Vertical Sync=30",
      "--set", "Bars Overlay=20",   "--set", "Signal Distortion=30",
      "--set", "Scan Distortion=60"};

  void makeFrames(std::int64_t first, std::int64_t last, int width = 48, int height = 27) {
    for (std::int64_t n = first; n <= last; ++n) {
      media::writePicture(media::drawTestCard(width, height + static_cast<int>(n % 3)),
                          path("in." + std::to_string(10000 + n).substr(1) + ".png"), false);
    }
  }
  std::vector<std::string> render(std::vector<std::string> more) {
    more.insert(more.begin(), "render");
    more.insert(more.end(), kLook.begin(), kLook.end());
    return more;
  }
  std::set<std::string> namesWith(const std::string& beginning) {
    std::set<std::string> found;
    for (const std::string& name : names()) {
      if (name.starts_with(beginning)) found.insert(name);
    }
    return found;
  }
};

TEST_F(Sequence, PatternsMatchFilesOfTheirPadding) {
  for (const char* name : {"a.0009.png", "a.0010.png", "a.12345.png", "a.010.png", "a.00011.png",
                           "a.-001.png", "a.x.png", "a.0012.jpg", "b.0013.png"}) {
    write(path(name), "");
  }
  struct Case {
    const char* pattern;
    std::vector<std::int64_t> numbers;
    const char* third;
  };
  for (const Case& c : {Case{"a.####.png", {-1, 9, 10, 12345}, "a.0003.png"},
                        {"a.%04d.png", {-1, 9, 10, 12345}, "a.0003.png"},
                        {"a.#.png", {12345}, "a.3.png"},
                        {"a.%d.png", {12345}, "a.3.png"},
                        {"a.%03d.png", {10, 12345}, "a.003.png"},
                        {"c.#####.png", {}, "c.00003.png"}}) {
    const auto name = SequenceName::parse(path(c.pattern));
    ASSERT_TRUE(name) << c.pattern;
    EXPECT_EQ(name->existing(), c.numbers) << c.pattern;
    EXPECT_EQ(name->file(3), path(c.third));
  }
  EXPECT_FALSE(SequenceName::parse(path("a.0010.png")));
  EXPECT_EQ(media::listed({1, 3, 4, 5, 9}), "1, 3-5, 9");
  EXPECT_EQ(media::listed({1, 3, 5, 7, 9, 11, 13, 15, 17, 19}),
            "1, 3, 5, 7, 9, 11, 13, 15 and 2 more");
}

TEST_F(Sequence, EveryFrameIsTheStillAtItsTimeOnAnyNumberOfThreads) {
  makeFrames(1001, 1007);
  for (const std::string threads : {"1", "2", "5"}) {
    expectDone(render(
        {"in.####.png", "out" + threads + ".%d.png", "--fps", "30000/1001", "--threads", threads}));
  }
  expectDone(render({"in.####.png", "plugin.#.png", "--fps", "29.97", "--engine", "plugin",
                     "--frames", "1002-1006x2,1007"}));
  EXPECT_THAT(namesWith("plugin"), ElementsAre("plugin.1002.png", "plugin.1004.png",
                                               "plugin.1006.png", "plugin.1007.png"));
  for (int n = 1001; n <= 1007; ++n) {
    const std::string number = std::to_string(n);
    expectDone(render({"in." + number + ".png", "still.png", "--overwrite", "--time",
                       std::to_string(n * 1001) + "/30000"}));
    const std::string still = read(path("still.png"));
    for (const std::string out : {"out1.", "out2.", "out5.", "plugin."}) {
      const auto file = path(out + number + ".png");
      if (!std::filesystem::exists(file)) continue;
      EXPECT_EQ(read(file), still) << file;
    }
  }
}

TEST_F(Sequence, AStillIsRepeatedAtItsFramesTimes) {
  makeFrames(1, 1);
  expectDone(render({"in.0001.png", "out.##.png", "--frames", "0-48x24"}));
  EXPECT_THAT(namesWith("out"), ElementsAre("out.00.png", "out.24.png", "out.48.png"));
  expectDone(render({"in.0001.png", "still.png", "--time", "2/1"}));
  EXPECT_EQ(read(path("out.48.png")), read(path("still.png")));
}

TEST_F(Sequence, MissingAndBrokenFramesAreNamedAndTheRestIsThere) {
  makeFrames(1, 6);
  std::filesystem::remove(path("in.0003.png"));
  write(path("in.0005.png"), "no picture");
  const Result result =
      run(render({"in.####.png", "out.####.png", "--frames", "1-8", "--report", "report.json"}));
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err,
              HasSubstr("error: cannot read 'in.####.png': frames 3, 7-8 do not exist"));
  EXPECT_THAT(result.err, HasSubstr("error: cannot read 'in.0005.png': "));
  EXPECT_THAT(result.err, HasSubstr("4 frames could not be read: 3, 5, 7-8 (the others"));
  EXPECT_THAT(namesWith("out"),
              ElementsAre("out.0001.png", "out.0002.png", "out.0004.png", "out.0006.png"));
  const auto report = nlohmann::json::parse(read(path("report.json")));
  EXPECT_EQ(report["frames"], nlohmann::json({{"rendered", 4}, {"skipped", 0}, {"failed", 4}}));
  EXPECT_EQ(report["settings"]["Noise"], 40.0);
  EXPECT_GT(report["seconds"]["effect"], 0.0);

  const Result gaps = run(render({"in.####.png", "out.####.png", "--skip-existing"}));
  EXPECT_EQ(gaps.exitCode, 3);
  EXPECT_THAT(gaps.err, testing::StartsWith("warning: 'in.####.png': frames 3 do not exist"));
  EXPECT_EQ(run(render({"in.####.png", "x.####.png", "--frames", "5"})).exitCode, 1);
}

TEST_F(Sequence, ExistingFramesAreRefusedKeptOrReplaced) {
  makeFrames(1, 4);
  write(path("out.2.png"), "precious");
  const auto before = names();
  const Result refused = run(render({"in.####.png", "out.#.png"}));
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("frames exist: 2 (replace them with --overwrite, or keep"));
  EXPECT_EQ(names(), before);
  expectDone(render({"in.####.png", "out.#.png", "--skip-existing"}));
  EXPECT_EQ(read(path("out.2.png")), "precious");
  EXPECT_EQ(namesWith("out").size(), 4u);
  expectDone(render({"in.####.png", "out.#.png", "--overwrite"}));
  EXPECT_NE(read(path("out.2.png")), "precious");
}

TEST_F(Sequence, KilledAtRandomAndResumedItIsWholeAndTheSame) {
  makeFrames(1, 30, 240, 135);
  expectDone(render({"in.####.png", "good.####.png"}));
  std::mt19937 random(20);
  int killed = 0;
  for (int i = 0; i < 20; ++i) {
    const pid_t process = start(render({"in.####.png", "out.####.png", "--skip-existing"}));
    // From 0 ms, so that some are killed before their first frame.
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 60));
    kill(process, SIGKILL);
    if (finish(process).exitCode == 1000 + SIGKILL) ++killed;
  }
  EXPECT_GT(killed, 0);
  // What another process is writing stays.
  write(path(".lomix-0123456789abcdef.png"), "");
  const int other = open(path(".lomix-0123456789abcdef.png").c_str(), O_RDONLY);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  expectDone(render({"in.####.png", "out.####.png", "--skip-existing"}));
  ASSERT_EQ(namesWith("out").size(), 30u);
  EXPECT_THAT(namesWith(".lomix-"), ElementsAre(".lomix-0123456789abcdef.png"));
  close(other);
  for (const std::string& name : namesWith("out")) {
    EXPECT_EQ(read(path(name)), read(path("good" + name.substr(3)))) << name;
  }
}

TEST_F(Sequence, ProcessesThatShareAFolderAllSucceedAndItIsWhole) {
  makeFrames(1, 12, 160, 90);
  expectDone(render({"in.####.png", "good.####.png"}));
  const std::vector<std::string> shared =
      render({"in.####.png", "out.####.png", "--skip-existing", "--threads", "2"});
  for (const std::size_t count : {2U, 2U, 2U, 4U, 4U, 4U}) {
    std::vector<pid_t> processes(count);
    for (pid_t& process : processes) process = start(shared);
    for (const pid_t process : processes) {
      const Result result = finish(process);
      EXPECT_EQ(result.exitCode, 0) << result.err;
    }
    ASSERT_EQ(namesWith("out").size(), 12u);
    EXPECT_THAT(namesWith(".lomix-"), IsEmpty());
    for (const std::string& name : namesWith("out")) {
      EXPECT_EQ(read(path(name)), read(path("good" + name.substr(3)))) << name;
      std::filesystem::remove(path(name));
    }
  }
}

TEST_F(Sequence, APictureThatAppearsDuringTheRenderIsKept) {
  media::writePicture(media::drawTestCard(1920, 1080), path("card.png"), false);
  const pid_t process = start(render({"card.png", "out.png", "--skip-existing", "--report", "r"}));
  // The report's probe and the picture's own file; the second is being written.
  while (namesWith(".lomix-").empty()) std::this_thread::yield();
  write(path("out.png"), "theirs");
  const Result result = finish(process);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(read(path("out.png")), "theirs");
  const auto report = nlohmann::json::parse(read(path("r")));
  EXPECT_TRUE(report.contains("kept") || report["frames"]["skipped"] == 1) << report;
}

TEST_F(Sequence, AnInterruptFinishesTheFramesInFlightAndSaysHowToGoOn) {
  media::writePicture(media::drawTestCard(640, 360), path("card.png"), false);
  const pid_t process = start(render({"card.png", "out.####.png", "--frames", "1-9999"}));
  while (namesWith("out").size() < 3) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  kill(process, SIGINT);
  const Result result = finish(process);
  EXPECT_EQ(result.exitCode, 130);
  const auto written = namesWith("out");
  EXPECT_THAT(result.err,
              HasSubstr("interrupted: 'out.####.png': " + std::to_string(written.size()) +
                        " frames written (run it again with --skip-existing"));
  for (const std::string& name : written) {
    EXPECT_EQ(media::readPicture(path(name)).height(), 360) << name;
  }
  EXPECT_EQ(names().size(), written.size() + 1);
}

TEST_F(Sequence, AFullDiskIsAnErrorAndWhatIsFinishedStaysWhole) {
  std::filesystem::create_directory(path("disk"));
  if (mount("lomix", path("disk").c_str(), "tmpfs", 0, "size=1m") != 0) {
    GTEST_SKIP() << "only root may mount a small disk";
  }
  const std::shared_ptr<void> unmount(nullptr, [this](void*) { umount(path("disk").c_str()); });
  media::writePicture(media::drawTestCard(320, 180), path("card.png"), false);
  for (const std::string format : {".png", ".jpg", ".tif", ".exr"}) {
    const Result result =
        run(render({"card.png", "disk/out.####" + format, "--frames", "1-100", "--depth", "8"}));
    EXPECT_EQ(result.exitCode, 1) << format;
    EXPECT_THAT(result.err, HasSubstr("error: cannot write 'disk/out."));
    EXPECT_THAT(result.err, EndsWith(")\n"));
    int whole = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path("disk"))) {
      EXPECT_NO_THROW(media::readPicture(entry.path())) << entry.path();
      std::filesystem::remove(entry.path());
      ++whole;
    }
    EXPECT_GT(whole, 1) << format;
  }
}

TEST_F(Sequence, ProgressIsALineASecondAndNothingWhenQuiet) {
  media::writePicture(media::drawTestCard(640, 360), path("card.png"), false);
  for (const std::string quiet : {"", "--quiet"}) {
    std::vector<std::string> arguments{"card.png", "o.####.png", "--frames", "1-9999",
                                       "--skip-existing"};
    if (!quiet.empty()) arguments.push_back(quiet);
    const pid_t process = start(render(arguments));
    const auto shown = [&] { return read(outputs_ / "err").find(" left\n") != std::string::npos; };
    for (int i = 0; i < 6000 && !(quiet.empty() ? shown() : i > 130); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    kill(process, SIGTERM);
    const Result result = finish(process);
    EXPECT_EQ(result.exitCode, 128 + SIGTERM);
    const auto line = testing::ContainsRegex("of 9999 frames, [0-9.]+ frames/s, .* left\n");
    EXPECT_EQ(testing::Value(result.err, line), quiet.empty()) << result.err;
    EXPECT_THAT(result.out, IsEmpty());
  }
}

}  // namespace
}  // namespace lomix
