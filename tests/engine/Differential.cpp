#include "engine/Differential.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstring>
#include <optional>
#include <span>
#include <thread>
#include <utility>

#include "HasThreads.h"
#include "effect/UnitSupport.h"
#include "effect/kernel/DistortPixel.h"
#include "effect/kernel/Lomix.h"
#include "effect/signal/DrawFrame.h"
#include "engine/Random.h"
#include "engine/RandomFrame.h"
#include "engine/RowEngine.h"
#include "engine/TestWorld.h"

namespace lomix::differential {
namespace {

using engine::AlphaPlace;
using engine::SimdTarget;

constexpr std::size_t kGuardBytes = 64;

// Draws a frame by the reference path.
class ReferencePath {
 public:
  explicit ReferencePath(RandomFrame& frame)
      : frame_(frame), call_(static_cast<A_short>(frame.depth)) {
    call_.in.downsample_x = frame.downsampleX;
    call_.in.downsample_y = frame.downsampleY;
    effect_.emplace(&call_.in, &call_.out, &call_.extra);
  }
  ReferencePath(const ReferencePath&) = delete;
  ReferencePath& operator=(const ReferencePath&) = delete;

  Lomix& effect() { return *effect_; }

  // Draws the whole frame as the effect does, profiles included.
  void drawByReference(TestWorld& output) {
    LomixStruct record = frame_.record;
    drawFrameByReference(*effect_, &frame_.source.def, &output.def, record);
  }

  // Draws rows first ... last - 1 from a record with profiles, without its copy for every pixel.
  void drawRows(const LomixStruct& record, TestWorld& output, int first, int last) {
    for (int y = first; y < last; ++y) {
      for (int x = 0; x < output.def.width; ++x) {
        distortPixel(*effect_, record, frame_.source.def, output.def, x, y);
      }
      if (!(record.effectAmount < 1.0f) || y >= frame_.source.def.height) continue;
      if (frame_.depth == 8) lerpRow<PF_Pixel, AERender::PixelLerp8>(record, output, y);
      if (frame_.depth == 32) lerpRow<PF_PixelFloat, AERender::PixelLerp32>(record, output, y);
    }
  }

 private:
  template <typename Pixel, auto kLerp>
  void lerpRow(const LomixStruct& record, TestWorld& output, int y) {
    const auto from = frame_.source.row<Pixel>(y);
    const auto to = output.row<Pixel>(y);
    for (std::size_t x = 0; x < std::min(from.size(), to.size()); ++x) {
      kLerp(&from[x], &to[x], record.effectAmount);
    }
  }

  RandomFrame& frame_;
  unit::HostCall call_;
  // Final, as std::optional calls its destructor and Lomix has no virtual one.
  struct Effect final : Lomix {
    using Lomix::Lomix;
  };
  std::optional<Effect> effect_;
};

template <typename Channel>
void rotateRow(std::span<Channel> channels, AlphaPlace place) {
  for (std::size_t i = 0; i < channels.size(); i += 4) {
    const auto pixel = channels.subspan(i, 4);
    std::ranges::rotate(pixel, place == AlphaPlace::Last ? pixel.begin() + 1 : pixel.end() - 1);
  }
}

// Moves the alphas of a world from the other place to this one.
void rotateChannels(const TestWorld& world, int depth, AlphaPlace place) {
  const int rows = world.def.rowbytes == 0 ? std::min(world.def.height, 1) : world.def.height;
  const auto channels = static_cast<std::size_t>(world.def.width) * 4;
  for (int y = 0; y < rows; ++y) {
    if (depth == 8) rotateRow(std::span(world.row<std::uint8_t>(y).data(), channels), place);
    if (depth == 32) rotateRow(std::span(world.row<std::uint32_t>(y).data(), channels), place);
  }
}

// A world whose alphas are in that place as long as this object lives, and first otherwise.
class PlacedAlpha {
 public:
  PlacedAlpha(const TestWorld& world, int depth, AlphaPlace place)
      : world_(world), depth_(depth), place_(place) {
    if (place_ == AlphaPlace::Last) rotateChannels(world_, depth_, AlphaPlace::Last);
  }
  ~PlacedAlpha() {
    if (place_ == AlphaPlace::Last) rotateChannels(world_, depth_, AlphaPlace::First);
  }
  PlacedAlpha(const PlacedAlpha&) = delete;
  PlacedAlpha& operator=(const PlacedAlpha&) = delete;

 private:
  const TestWorld& world_;
  int depth_;
  AlphaPlace place_;
};

// Draws all rows in pieces of random length and in random order, on one thread or several.
void drawInPieces(const engine::RowEngine& rows, int height, Random& random) {
  std::vector<std::pair<int, int>> pieces;
  for (int y = 0; y < height;) {
    const int end = std::min(height, y + random.between(1, std::max(1, height / 3)));
    pieces.insert(pieces.begin() + random.below(static_cast<int>(pieces.size()) + 1), {y, end});
    y = end;
  }
  std::atomic<std::size_t> next = 0;
  const auto draw = [&] {
    for (std::size_t i = next++; i < pieces.size(); i = next++) {
      rows.drawRows(pieces[i].first, pieces[i].second);
    }
  };
  std::vector<std::thread> threads;
  if (random.oneIn(16) && kHasThreads) {
    for (int i = 0; i < 3; ++i) threads.emplace_back(draw);
  }
  draw();
  for (std::thread& thread : threads) thread.join();
}

std::string profileDifference(const char* name, const std::vector<float>& expected,
                              const std::vector<float>& made) {
  if (expected.size() != made.size()) return std::string(name) + " profile has another length\n";
  for (std::size_t y = 0; y < expected.size(); ++y) {
    const bool same =
        std::bit_cast<std::uint32_t>(expected[y]) == std::bit_cast<std::uint32_t>(made[y]);
    if (same || (std::isnan(expected[y]) && std::isnan(made[y]))) continue;
    return std::string(name) + " profile, row " + std::to_string(y) + ": expected " +
           std::to_string(expected[y]) + ", drawn " + std::to_string(made[y]) + "\n";
  }
  return {};
}

std::string profileDifferences(const LomixStruct& expected, const LomixStruct& made) {
  return profileDifference("scan", expected.scanProfile, made.scanProfile) +
         profileDifference("bars", expected.barsProfile, made.barsProfile) +
         profileDifference("signal", expected.signalProfile, made.signalProfile);
}

std::string channelsText(const TestWorld& world, std::size_t at, int depth) {
  char text[32];
  if (depth == 8) {
    std::snprintf(text, sizeof text, "%d", world.bytes()[at]);
  } else {
    float value;
    std::memcpy(&value, &world.bytes()[at], sizeof value);
    std::snprintf(text, sizeof text, "%a", static_cast<double>(value));
  }
  return text;
}

// Describes the first difference between two worlds, or returns an empty string. rows: how many
// rows from firstRow on were drawn.
std::string worldDifference(const TestWorld& expected, const TestWorld& drawn, int depth,
                            int firstRow, int rows) {
  const std::optional<std::size_t> at = firstDifference(expected, drawn, depth);
  if (!at) return {};
  std::string place = "outside the rows";
  for (int y = firstRow; y < firstRow + rows; ++y) {
    const auto row = expected.row<std::uint8_t>(y);
    const std::ptrdiff_t inRow = &expected.bytes()[*at] - row.data();
    if (inRow < 0 || inRow >= std::ptrdiff_t{expected.def.width} * pixelBytes(depth)) continue;
    place = "row " + std::to_string(y) + ", column " + std::to_string(inRow / pixelBytes(depth)) +
            ", channel " + std::to_string(inRow % pixelBytes(depth) * 4 / pixelBytes(depth));
  }
  return "byte " + std::to_string(*at) + " (" + place + "): expected " +
         channelsText(expected, *at, depth) + ", drawn " + channelsText(drawn, *at, depth) + "\n";
}

class FrameComparison {
 public:
  FrameComparison(RandomFrame& frame, Random& random)
      : frame_(frame), random_(random), reference_(frame), record_(frame.record) {
    if (frame_.emptyProfiles) {
      PF_LayerDef world{};
      world.height = frame_.outputHeight;
      reference_.effect().CreateDisplacementImage(&world, -record_.time, &record_);
    }
  }

  /// Returns a description of the first difference, or an empty string.
  std::string differenceOf(const std::vector<const SimdTarget*>& targets) {
    for (const SimdTarget* target : targets) {
      for (const AlphaPlace place : {AlphaPlace::First, AlphaPlace::Last}) {
        const std::string difference = drawn(*target, place);
        if (difference.empty()) continue;
        return std::string(target->name) + " target, " +
               (place == AlphaPlace::Last ? "alpha last, " : "") + difference;
      }
    }
    return {};
  }

  std::uint64_t pixels() const { return pixels_; }

 private:
  TestWorld blankOutput() const {
    return TestWorld(frame_.outputWidth, frame_.outputHeight, frame_.depth, frame_.outputLayout,
                     kGuardBytes);
  }

  std::string drawn(const SimdTarget& target, AlphaPlace place) {
    TestWorld output = blankOutput();
    const engine::RowEngine rows(
        {frame_.record, frame_.source.def, output.def, frame_.depth, reference_.effect().invXDown,
         reference_.effect().invYDown, place},
        target);
    std::string difference = profileDifferences(record_, rows.record());
    if (!difference.empty()) return difference;
    return frame_.rowByRow ? rowByRowDifference(rows, output, place)
                           : wholeDifference(rows, output, place);
  }

  // Puts the alphas of the output first, then compares.
  std::string outputDifference(const TestWorld& expected, TestWorld& output, AlphaPlace place,
                               int firstRow, int rows) {
    if (place == AlphaPlace::Last) rotateChannels(output, frame_.depth, AlphaPlace::First);
    return worldDifference(expected, output, frame_.depth, firstRow, rows);
  }

  std::string wholeDifference(const engine::RowEngine& rows, TestWorld& output, AlphaPlace place) {
    if (!whole_) {
      constexpr int kSmall = 3000;
      whole_ = blankOutput();
      const int area = frame_.outputWidth * frame_.outputHeight;
      if (frame_.emptyProfiles && area < kSmall && random_.oneIn(2)) {
        reference_.drawByReference(*whole_);
      } else {
        reference_.drawRows(record_, *whole_, 0, frame_.outputHeight);
      }
    }
    {
      const PlacedAlpha source(frame_.source, frame_.depth, place);
      drawInPieces(rows, frame_.outputHeight, random_);
    }
    pixels_ += static_cast<std::uint64_t>(frame_.outputWidth) *
               static_cast<std::uint64_t>(frame_.outputHeight);
    return outputDifference(*whole_, output, place, 0, frame_.outputHeight);
  }

  std::string rowByRowDifference(const engine::RowEngine& rows, TestWorld& output,
                                 AlphaPlace place) {
    constexpr int kRows = 5;
    TestWorld expected = blankOutput();
    for (int i = 0; i < kRows; ++i) {
      const int y = random_.below(frame_.outputHeight);
      reference_.drawRows(record_, expected, y, y + 1);
      {
        const PlacedAlpha source(frame_.source, frame_.depth, place);
        rows.drawRows(y, y + 1);
      }
      pixels_ += static_cast<std::uint64_t>(frame_.outputWidth);
      const std::string difference = outputDifference(expected, output, place, y, 1);
      if (!difference.empty()) return difference;
    }
    return {};
  }

  RandomFrame& frame_;
  Random& random_;
  ReferencePath reference_;
  LomixStruct record_;  // With the reference path's profiles.
  std::optional<TestWorld> whole_;
  std::uint64_t pixels_ = 0;
};

}  // namespace

Outcome compareFrames(const Options& options) {
  constexpr std::uint64_t kPieces = 0x70696563;  // A random stream other than the frame's.
  const auto start = std::chrono::steady_clock::now();
  const auto seconds = [&] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  Outcome outcome;
  for (std::uint64_t number = options.firstFrame; number < options.endFrame; ++number) {
    if (outcome.pixels >= options.pixels || seconds() >= options.seconds) break;
    RandomFrame frame = makeFrame(options.seed, number);
    Random random(options.seed ^ kPieces, number);
    std::vector<const SimdTarget*> targets = options.targets;
    // The portable target is slow: every fourth frame is drawn by all targets, the others by one of
    // the vector targets in turn.
    if (number % 4 != 0 && targets.size() > 1) {
      targets = {targets[number % (targets.size() - 1)]};
    }
    FrameComparison comparison(frame, random);
    outcome.difference = comparison.differenceOf(targets);
    ++outcome.frames;
    outcome.pixels += comparison.pixels();
    if (!outcome.difference.empty()) {
      outcome.difference = "seed " + std::to_string(options.seed) + ", frame " +
                           std::to_string(number) + ": " + outcome.difference + frame.describe();
      break;
    }
  }
  return outcome;
}

}  // namespace lomix::differential
