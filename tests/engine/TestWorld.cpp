#include "engine/TestWorld.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace lomix::differential {
namespace {

constexpr std::uint8_t kUntouched = 0xA5;

std::size_t worldBytes(int width, int height, int depth, const Layout& layout) {
  const int rows = layout.oneRow ? 1 : height;
  const auto rowBytes = static_cast<std::size_t>(width * pixelBytes(depth));
  const auto stride = rowBytes + static_cast<std::size_t>(layout.padding);
  return static_cast<std::size_t>(layout.offset) + static_cast<std::size_t>(rows - 1) * stride +
         rowBytes;
}

}  // namespace

TestWorld::TestWorld(int width, int height, int depth, const Layout& layout, std::size_t guard)
    : size_(worldBytes(width, height, depth, layout) + 2 * guard),
      memory_(static_cast<std::uint8_t*>(::operator new[](size_, std::align_val_t{kAlignment}))) {
  std::memset(memory_.get(), kUntouched, size_);
  const int stride = layout.oneRow ? 0 : width * pixelBytes(depth) + layout.padding;
  std::uint8_t* first = memory_.get() + guard + layout.offset;
  if (layout.bottomUp) first += static_cast<std::ptrdiff_t>(stride) * (height - 1);
  def.data = reinterpret_cast<PF_Pixel*>(first);
  def.rowbytes = layout.bottomUp ? -stride : stride;
  def.width = width;
  def.height = height;
}

std::optional<std::size_t> firstDifference(const TestWorld& a, const TestWorld& b, int depth) {
  const std::span<const std::uint8_t> left = a.bytes();
  const std::span<const std::uint8_t> right = b.bytes();
  if (std::memcmp(left.data(), right.data(), left.size()) == 0) return std::nullopt;
  const std::size_t step = depth == 8 ? 1 : sizeof(float);
  for (std::size_t i = 0; i < left.size(); i += step) {
    if (std::memcmp(&left[i], &right[i], step) == 0) continue;
    float channels[2] = {0.0f, 0.0f};
    if (depth == 32) {
      std::memcpy(&channels[0], &left[i], step);
      std::memcpy(&channels[1], &right[i], step);
    }
    if (!(std::isnan(channels[0]) && std::isnan(channels[1]))) return i;
  }
  return std::nullopt;
}

}  // namespace lomix::differential
