// Eight threads at once: on the rows and profiles of one engine, and on frames of their own.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "engine/RandomFrame.h"
#include "engine/RowEngine.h"
#include "engine/TestWorld.h"

namespace lomix::differential {
namespace {

constexpr int kThreads = 8;
constexpr std::size_t kGuardBytes = 64;

template <typename Work>
void onEachThread(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

TestWorld outputOf(const RandomFrame& frame) {
  return TestWorld(frame.outputWidth, frame.outputHeight, frame.depth, frame.outputLayout,
                   kGuardBytes);
}

engine::Frame engineFrame(const RandomFrame& frame, const TestWorld& output) {
  return {frame.record, frame.source.def, output.def, frame.depth, 1.0, 1.0};
}

TestWorld drawnAlone(const RandomFrame& frame) {
  TestWorld output = outputOf(frame);
  engine::RowEngine(engineFrame(frame, output)).drawRows(0, frame.outputHeight);
  return output;
}

// Returns frames of both depths with at least two rows for each thread.
std::vector<RandomFrame> framesToShare() {
  constexpr std::size_t kFrames = 24;
  constexpr int kRows = 2 * kThreads;
  std::vector<RandomFrame> frames;
  for (std::uint64_t number = 0; frames.size() < kFrames; ++number) {
    RandomFrame frame = makeFrame(8, number);
    if (frame.rowByRow || frame.outputHeight < kRows) continue;
    if (frame.outputWidth > 0) frames.push_back(std::move(frame));
  }
  return frames;
}

// One band for each thread, of sizes that no vector divides evenly.
void inBands(int rows, const std::function<void(int, int)>& work) {
  onEachThread([&](int thread) { work(rows * thread / kThreads, rows * (thread + 1) / kThreads); });
}

TEST(Threads, ShareTheRowsOfOneEngine) {
  for (const RandomFrame& frame : framesToShare()) {
    const TestWorld output = outputOf(frame);
    const engine::RowEngine rows(engineFrame(frame, output), engine::bestTarget(), inBands);
    const engine::RowEngine alone(engineFrame(frame, output));
    EXPECT_EQ(rows.record().scanProfile, alone.record().scanProfile) << frame.describe();
    EXPECT_EQ(rows.record().barsProfile, alone.record().barsProfile) << frame.describe();
    EXPECT_EQ(rows.record().signalProfile, alone.record().signalProfile) << frame.describe();
    std::atomic<int> next = 0;
    onEachThread([&](int) {
      for (int y = next++; y < frame.outputHeight; y = next++) rows.drawRows(y, y + 1);
    });
    EXPECT_FALSE(firstDifference(drawnAlone(frame), output, frame.depth)) << frame.describe();
  }
}

TEST(Threads, DrawFramesOfTheirOwn) {
  const std::vector<RandomFrame> frames = framesToShare();
  std::vector<TestWorld> expected;
  for (const RandomFrame& frame : frames) expected.push_back(drawnAlone(frame));
  std::atomic<int> wrong = 0;
  onEachThread([&](int thread) {
    // Every thread draws all frames and starts at another one: different frames at once, and the
    // same.
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const std::size_t at = (i + static_cast<std::size_t>(thread) * 3) % frames.size();
      if (firstDifference(expected[at], drawnAlone(frames[at]), frames[at].depth)) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace lomix::differential
