// Worlds with any alignment, padding and row order, and their comparison.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <span>

#include "hostapi/Records.h"

namespace lomix::differential {

inline constexpr std::size_t kAlignment = 64;

constexpr int pixelBytes(int depth) { return depth == 8 ? 4 : 16; }

/// The memory layout of a world, in bytes; multiples of 4 for float worlds.
struct Layout {
  int offset = 0;   ///< From a 64-byte boundary to the first byte in memory.
  int padding = 0;  ///< Between rows.
  bool bottomUp = false;
  bool oneRow = false;  ///< All rows are the same memory: stride 0.
};

/// A world that owns its memory. Every byte starts with the same pattern.
class TestWorld {
 public:
  /// guard: bytes before and after the rows, a multiple of 64. 0 lets a memory checker report
  /// accesses outside the rows.
  TestWorld(int width, int height, int depth, const Layout& layout, std::size_t guard);

  PF_LayerDef def{};

  /// Returns all memory, guards and padding included.
  std::span<std::uint8_t> bytes() const { return {memory_.get(), size_}; }
  template <typename Pixel>
  std::span<Pixel> row(int y) const {
    auto* first = reinterpret_cast<std::uint8_t*>(def.data) + std::ptrdiff_t{y} * def.rowbytes;
    return {reinterpret_cast<Pixel*>(first), static_cast<std::size_t>(def.width)};
  }

 private:
  struct Free {
    void operator()(std::uint8_t* p) const { ::operator delete[](p, std::align_val_t{kAlignment}); }
  };
  std::size_t size_;
  std::unique_ptr<std::uint8_t[], Free> memory_;
};

/// Returns the offset of the first byte that differs between two worlds of one size and layout, in
/// pixels, padding or guards. In float worlds any NaN equals any other; other values are equal only
/// with the same bits.
std::optional<std::size_t> firstDifference(const TestWorld& a, const TestWorld& b, int depth);

}  // namespace lomix::differential
