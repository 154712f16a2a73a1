// Helpers of the tests that drive the effect through the host: the module, a ready host, pictures.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/Host.h"

namespace lomix::host {

enum ParameterNumber {
  kTimeControl = 1,
  kTime,
  kDistortionMode,
  kSignalDistortion,
  kScanDistortion,
  kHorizontalSync,
  kVerticalSync,
  kBarsOverlay,
  kNoise,
  kScanlineOverlay,
  kScanlineSpeed,
  kScanlineThickness,
  kBlend
};

/// The module that this program tests.
extern const char* const kModuleFile;

inline const Module& effectModule() {
  static const Module kModule(kModuleFile);
  return kModule;
}

/// Returns a host that keeps its log, after GLOBAL_SETUP and PARAMS_SETUP.
inline Host readyHost(HostOptions options = {}) {
  options.keepLog = true;
  Host host(effectModule(), std::move(options));
  GlobalInfo info;
  EXPECT_EQ(host.globalSetup(info), 0);
  EXPECT_EQ(host.paramsSetup(), 0);
  host.clearLog();
  return host;
}

/// Turns every part of the effect on; returns a frame at 0.7 s.
inline FrameSettings turnEverythingOn(Host& host) {
  const std::pair<int, double> values[] = {
      {kSignalDistortion, 60}, {kScanDistortion, 40}, {kHorizontalSync, 30},  {kVerticalSync, -20},
      {kBarsOverlay, 50},      {kNoise, 30},          {kScanlineOverlay, 40}, {kScanlineSpeed, 5},
      {kScanlineThickness, 2}, {kBlend, 25}};
  for (const auto& [index, value] : values) host.setValue(index, value);
  FrameSettings frame;
  frame.currentTime = 7;
  frame.timeScale = 10;
  return frame;
}

/// Fills a world with random pixels, alpha included: 8-bit values, at 32 bits as fractions.
inline void drawPattern(World& world) {
  std::mt19937 random(1);
  for (int y = 0; y < world.height(); ++y) {
    for (int x = 0; x < world.width(); ++x) {
      const auto next = [&random] { return static_cast<A_u_char>(random() >> 24U); };
      const PF_Pixel p{next(), next(), next(), next()};
      if (world.depth() == 8) {
        world.row8(y)[x] = p;
      } else if (world.depth() == 32) {
        world.row32(y)[x] = {
            static_cast<float>(p.alpha) / 255.0f, static_cast<float>(p.red) / 255.0f,
            static_cast<float>(p.green) / 255.0f, static_cast<float>(p.blue) / 255.0f};
      }
    }
  }
}

inline World patternWorld(int width, int height, int depth, WorldLayout layout = {}) {
  World world(width, height, depth, layout);
  drawPattern(world);
  return world;
}

inline void fillBytes(World& world, int value) {
  const std::size_t bytes = static_cast<std::size_t>(world.width()) *
                            static_cast<std::size_t>(bytesPerPixel(world.depth()));
  for (int y = 0; y < world.height(); ++y) std::memset(world.row(y), value, bytes);
}

inline bool everyByteIs(const World& world, int value) {
  const int bytes = world.width() * bytesPerPixel(world.depth());
  for (int y = 0; y < world.height(); ++y) {
    for (int i = 0; i < bytes; ++i) {
      if (world.row(y)[i] != static_cast<std::byte>(value)) return false;
    }
  }
  return true;
}

/// Returns the names of the logged calls, except acquisitions and releases of suites.
inline std::vector<std::string> workingCalls(const Host& host) {
  std::vector<std::string> names;
  for (const Call& call : host.log()) {
    if (!call.name.starts_with("acquire:") && !call.name.starts_with("release:")) {
      names.push_back(call.name);
    }
  }
  return names;
}

inline std::vector<std::string> toleratedNames(const Host& host) {
  std::vector<std::string> names;
  for (const auto& [name, count] : host.toleratedImbalances()) names.push_back(name);
  return names;
}

}  // namespace lomix::host
