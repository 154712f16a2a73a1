// lomix_draw_frames: draws the benchmark's frame a number of times on one thread, so that an
// emulator can count the instructions of a frame.

#include <charconv>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bench/Picture.h"
#include "bench/Scene.h"
#include "engine/SimdTarget.h"

namespace {

using namespace lomix::bench;

constexpr const char* kUsage =
    "Usage: lomix_draw_frames --targets\n"
    "       lomix_draw_frames TARGET LOOK DEPTH ALPHA FRAMES\n"
    "Draws a frame of 960 x 270 pixels FRAMES times.\n"
    "--targets: prints the names of the SIMD targets that this processor runs, the fastest first.\n"
    "TARGET: one of these, or reference: the reference path.\n"
    "LOOK: geometry, overlays, grain or everything. DEPTH: 8 or 32. ALPHA: opaque or mixed.\n";
constexpr int kWidth = 960;
constexpr int kHeight = 270;

int numberOf(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size() || number < 0) {
    throw std::invalid_argument("'" + std::string(text) + "' is no such number");
  }
  return number;
}

template <typename List, typename Name>
auto& named(List& list, std::string_view name, Name nameOf) {
  for (auto& entry : list) {
    if (name == nameOf(entry)) return entry;
  }
  throw std::invalid_argument("there is no '" + std::string(name) + "'");
}

void drawFrames(char** arguments) {
  const std::string_view target = arguments[0];
  const Look& look = named(kLooks, arguments[1], [](const Look& l) { return l.name; });
  const int depth = numberOf(arguments[2]);
  if (depth != 8 && depth != 32) throw std::invalid_argument("DEPTH: only 8 and 32 are drawn");
  const std::string_view alpha = arguments[3];
  if (alpha != "opaque" && alpha != "mixed") {
    throw std::invalid_argument("ALPHA: only opaque and mixed are known");
  }
  const bool reference = target == "reference";
  const auto targets = lomix::engine::availableTargets();
  const auto* const vectors =
      reference ? targets.front() : named(targets, target, [](const auto* t) { return t->name; });

  Picture source(depth, kWidth, kHeight);
  Picture output(depth, kWidth, kHeight);
  source.fillWithNoise(alpha == "mixed" ? Alpha::kMixed : Alpha::kOpaque);
  Scene scene(look, source, output, *vectors, [] { return 0.0; });
  for (int frames = numberOf(arguments[4]); frames > 0; --frames) {
    reference ? scene.reference(1) : scene.engine(1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--targets") == 0) {
    for (const auto* target : lomix::engine::availableTargets()) std::puts(target->name);
    return 0;
  }
  if (argc != 6) return std::fputs(kUsage, stderr), 2;
  try {
    drawFrames(argv + 1);
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "error: lomix_draw_frames: %s (run it without arguments for help)\n",
                 error.what());
    return 2;
  }
  return 0;
}
