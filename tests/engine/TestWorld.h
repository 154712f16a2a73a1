// A world anywhere in memory, and the comparison of two of them.
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

/// How the rows of a world lie in memory; bytes, multiples of 4 for float worlds.
struct Layout {
  int offset = 0;   ///< Of the first byte in memory from a 64-byte boundary.
  int padding = 0;  ///< Between rows.
  bool bottomUp = false;
  bool oneRow = false;  ///< All rows are the same memory: stride 0.
};

/// Owns its memory. Every byte starts as a pattern that tells whether it was written.
class TestWorld {
 public:
  /// guard: bytes before and after the rows, a multiple of 64. Without them a memory checker sees
  /// accesses past the last row.
  TestWorld(int width, int height, int depth, const Layout& layout, std::size_t guard);

  PF_LayerDef def{};

  /// All memory, guards and padding included.
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

/// The first byte in which two worlds of one size and layout differ, in pixels, padding or guards.
/// In float worlds one NaN equals any other; nothing else equals but the same bits.
std::optional<std::size_t> firstDifference(const TestWorld& a, const TestWorld& b, int depth);

}  // namespace lomix::differential
