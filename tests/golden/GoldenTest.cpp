#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "WindowsHostThread.h"
#include "golden/BlessedHashes.h"
#include "golden/Frames.h"

namespace lomix::golden {
namespace {

// A difference that is meant is blessed with tools/bless_golden.sh and a reason.
void expectFramesAsBlessed(const char* moduleFile) {
  const host::Module module(moduleFile);
  const auto blessed = blessedHashes(LOMIX_GOLDEN_FILE);
  ASSERT_EQ(blessed.size(), frames().size());
  std::set<std::string> distinct;
  for (std::size_t i = 0; i < frames().size(); ++i) {
    const Frame& frame = frames()[i];
    const host::World output = render(frame, module);
    const std::string hash = hashText(output);
    EXPECT_EQ(blessed[i], std::pair(std::string(frame.name), hash));
    EXPECT_TRUE(output.guardsIntact()) << frame.name;
    distinct.insert(hash);
  }
  EXPECT_EQ(distinct.size(), frames().size());
}

TEST(Golden, ReferenceModuleDrawsTheBlessedFrames) {
  expectFramesAsBlessed(LOMIX_REFERENCE_MODULE);
}

TEST(Golden, RowsModuleDrawsTheBlessedFrames) { expectFramesAsBlessed(LOMIX_ROWS_MODULE); }

TEST(Golden, FramesAreTheSameOnTheThreadsOfWindowsHosts) {
  onWindowsHostThread([] {
    expectFramesAsBlessed(LOMIX_REFERENCE_MODULE);
    expectFramesAsBlessed(LOMIX_ROWS_MODULE);
  });
}

TEST(GoldenHash, IsFnv1aOfTheChannelsInMemoryOrder) {
  host::World world(1, 1, 8);
  world.row8(0)[0] = {'f', 'o', 'o', 'b'};
  EXPECT_EQ(hashOf(world), 0xDD120E790C2512AFU);
}

TEST(GoldenHash, TellsZerosApartAndTakesEveryNaNAsOne) {
  const auto hashOfRed = [](float red) {
    host::World world(1, 1, 32);
    world.row32(0)[0].red = red;
    return hashOf(world);
  };
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(hashOfRed(nan), hashOfRed(-nan));
  EXPECT_NE(hashOfRed(0.0f), hashOfRed(-0.0f));
  EXPECT_NE(hashOfRed(1.0f), hashOfRed(std::nextafterf(1.0f, 2.0f)));
}

}  // namespace
}  // namespace lomix::golden
