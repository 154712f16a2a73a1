// Sequences and videos through the whole pipeline: several threads must write what one writes. Runs
// under the thread sanitizer too.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>

#include "batch/FrameRenderer.h"
#include "batch/RenderRun.h"
#include "media/picture/PictureFile.h"
#include "support/Errors.h"
#include "support/ScratchFolder.h"

namespace lomix::batch {
namespace {

constexpr int kFrames = 12;
constexpr int kThreads = 4;

std::string numbered(const std::string& name, int number) {
  return name + "." + (number < 10 ? "0" : "") + std::to_string(number) + ".png";
}

class Pipelines : public ScratchFolder {
 protected:
  void makeSequence() {
    for (int i = 1; i <= kFrames; ++i) {
      media::Picture picture(33, 20, 8);
      for (int y = 0; y < picture.height(); ++y) {
        const auto row = picture.row8(y);
        for (std::size_t x = 0; x < row.size(); ++x) {
          row[x] = x % 4 == 0 ? 255 : static_cast<std::uint8_t>(x * 3 + std::size_t(y * i));
        }
      }
      media::writePicture(picture, path(numbered("in", i)), false);
    }
  }

  /// Renders with everything on. Returns what was printed.
  std::string render(const std::string& input, const std::string& output, int threads,
                     std::optional<int> depth = std::nullopt) {
    RenderOptions rendering;
    rendering.depth = depth;
    FrameRenderer renderer(rendering);
    looks::Look look;
    for (const looks::Parameter& parameter : renderer.parameters().all()) {
      if (parameter.isChoice || parameter.name.starts_with("Blend")) continue;
      look.set(parameter.index, parameter.sliderMaximum / 3);
    }
    RunOptions run;
    run.threads = threads;
    run.route.threads = threads;
    run.route.input = path(input).string();
    run.route.output = path(output).string();
    std::ostringstream out, err;
    runRender(run, renderer, look, {out, err, true});
    return out.str() + err.str();
  }

  std::string content(const std::string& name) const { return read(path(name)); }
};

TEST_F(Pipelines, ThreadsWriteTheSameSequence) {
  makeSequence();
  for (const int depth : {8, 32}) {
    SCOPED_TRACE(depth);
    const std::string one = "one" + std::to_string(depth), many = "many" + std::to_string(depth);
    render("in.##.png", one + ".##.png", 1, depth);
    EXPECT_THAT(render("in.##.png", many + ".##.png", kThreads, depth),
                testing::HasSubstr(std::to_string(kFrames) + " frames in"));
    for (int i = 1; i <= kFrames; ++i) {
      ASSERT_FALSE(content(numbered(one, i)).empty());
      EXPECT_EQ(content(numbered(one, i)), content(numbered(many, i))) << i;
    }
  }
}

TEST_F(Pipelines, ThreadsLeaveOutTheSameFrame) {
  makeSequence();
  write(path(numbered("in", 5)), "no picture");
  EXPECT_THROW(render("in.##.png", "out.##.png", kThreads), FramesFailed);
  for (int i = 1; i <= kFrames; ++i) EXPECT_EQ(content(numbered("out", i)).empty(), i == 5) << i;
}

TEST_F(Pipelines, OneFrameOnManyThreads) {
  makeSequence();
  render(numbered("in", 1), "one.png", 1);
  render(numbered("in", 1), "many.png", kThreads);
  EXPECT_EQ(content("one.png"), content("many.png"));
}

#ifdef LOMIX_TEST_VIDEO
TEST_F(Pipelines, ThreadsWriteTheSameVideo) {
  makeSequence();
  render("in.##.png", "clip.mkv", kThreads);
  render("clip.mkv", "one.y4m", 1);
  render("clip.mkv", "many.y4m", kThreads);
  ASSERT_GT(content("one.y4m").size(), std::size_t{kFrames * 33 * 20});
  EXPECT_EQ(content("one.y4m"), content("many.y4m"));
}
#endif

}  // namespace
}  // namespace lomix::batch
