// A random generator with the same results on every processor and standard library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace lomix::differential {

/// SplitMix64.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  /// Starts a separate stream for each pair.
  Random(std::uint64_t seed, std::uint64_t stream) : Random(seed) {
    state_ = next() ^ (stream * 0xd1342543de82ef95u);
  }

  std::uint64_t next() {
    std::uint64_t z = state_ += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }
  /// Returns an integer in [0, n).
  int below(int n) {
    return static_cast<int>(((next() >> 32) * static_cast<std::uint64_t>(n)) >> 32);
  }
  /// Returns an integer in [low, high].
  int between(int low, int high) { return low + below(high - low + 1); }
  bool oneIn(int n) { return below(n) == 0; }
  /// Returns a number in [0, 1).
  double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }
  float unitFloat() { return static_cast<float>(next() >> 40) * 0x1p-24f; }

  template <typename T, std::size_t kCount>
  T pick(const std::array<T, kCount>& choices) {
    return choices[static_cast<std::size_t>(below(static_cast<int>(kCount)))];
  }

 private:
  std::uint64_t state_;
};

}  // namespace lomix::differential
