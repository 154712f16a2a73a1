// Times and rates of frames, as exact fractions.
#pragma once

#include <cstdint>
#include <optional>

namespace lomix::batch {

/// value / scale seconds. scale is above 0.
struct FrameTime {
  std::int32_t value = 0;
  std::uint32_t scale = 1;
  bool operator==(const FrameTime&) const = default;
};

/// Returns the time in seconds.
constexpr double inSeconds(const FrameTime& time) {
  return static_cast<double>(time.value) / static_cast<double>(time.scale);
}

/// Returns value / scale seconds in lowest terms; where that does not fit into 31 bits, the nearest
/// time that does. scale: from 1.
FrameTime fittedTime(std::int64_t value, std::int64_t scale);

/// Frames a second: frames / seconds, both from 1.
struct FrameRate {
  std::int32_t frames = 24;
  std::int32_t seconds = 1;
  bool operator==(const FrameRate&) const = default;
};

/// Returns the time of a frame: number / rate seconds in lowest terms; nothing where that does not
/// fit into 31 bits.
std::optional<FrameTime> frameTime(std::int64_t number, const FrameRate& rate);

/// Two whole numbers: width and height, or factors for them.
struct PairOfWholes {
  int first;
  int second;
  bool operator==(const PairOfWholes&) const = default;
};

}  // namespace lomix::batch
