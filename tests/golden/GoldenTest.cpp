#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "WindowsHostThread.h"
#include "golden/Frames.h"

namespace lomix::golden {
namespace {

// The file's lines after its comments.
std::vector<std::pair<std::string, std::string>> blessedHashes() {
  std::ifstream file(LOMIX_GOLDEN_FILE);
  EXPECT_TRUE(file) << "cannot read " << LOMIX_GOLDEN_FILE;
  std::vector<std::pair<std::string, std::string>> hashes;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("#")) continue;
    const std::size_t tab = line.find('\t');
    hashes.emplace_back(line.substr(0, tab), tab == line.npos ? "" : line.substr(tab + 1));
  }
  return hashes;
}

// A difference that is meant is blessed with tools/bless_golden.sh and a reason.
void expectFramesAsBlessed(const char* moduleFile) {
  const host::Module module(moduleFile);
  const auto blessed = blessedHashes();
  ASSERT_EQ(blessed.size(), frames().size());
  std::set<std::string> distinct;
  for (std::size_t i = 0; i < frames().size(); ++i) {
    const Frame& frame = frames()[i];
    const host::World output = render(frame, module);
    char hash[17];
    std::snprintf(hash, sizeof hash, "%016llx", static_cast<unsigned long long>(hashOf(output)));
    EXPECT_EQ(blessed[i], std::pair(std::string(frame.name), std::string(hash)));
    EXPECT_TRUE(output.guardsIntact()) << frame.name;
    distinct.insert(hash);
  }
  EXPECT_EQ(distinct.size(), frames().size());
}

TEST(Golden, KernelModuleDrawsTheBlessedFrames) { expectFramesAsBlessed(LOMIX_KERNEL_MODULE); }

TEST(Golden, RowsModuleDrawsTheBlessedFrames) { expectFramesAsBlessed(LOMIX_ROWS_MODULE); }

TEST(Golden, FramesAreTheSameOnTheThreadsOfWindowsHosts) {
  onWindowsHostThread([] {
    expectFramesAsBlessed(LOMIX_KERNEL_MODULE);
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
