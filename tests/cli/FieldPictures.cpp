#include "cli/FieldPictures.h"

#include <cstddef>

namespace lomix {
namespace {

constexpr unsigned kBlocks = 4;  // Of 16 pixels, in each direction of a frame.
constexpr int kFramesPerKey = 5;

/// Collects the bits of a NAL unit.
class Bits {
 public:
  explicit Bits(int unit) : bytes_(1, static_cast<char>(unit)) {}

  void put(unsigned value, int count) {
    for (int i = count - 1; i >= 0; --i) {
      if (free_ == 0) {
        bytes_ += '\0';
        free_ = 8;
      }
      --free_;
      bytes_.back() =
          static_cast<char>(static_cast<unsigned char>(bytes_.back()) | (value >> i & 1U) << free_);
    }
  }
  /// An Exp-Golomb code.
  void putCode(unsigned value) {
    int length = 0;
    while ((value + 1) >> length > 1) ++length;
    put(0, length);
    put(value + 1, length + 1);
  }
  void align() { free_ = 0; }
  void putByte(unsigned value) { bytes_ += static_cast<char>(value); }

  /// Returns the unit, with its start code and the bytes that prevent another one in it.
  std::string finished() {
    put(1, 1);
    std::string unit("\0\0\0\1", 4);
    int zeros = 0;
    for (const char c : bytes_) {
      if (zeros >= 2 && static_cast<unsigned char>(c) <= 3) {
        unit += '\3';
        zeros = 0;
      }
      unit += c;
      zeros = c == 0 ? zeros + 1 : 0;
    }
    return unit;
  }

 private:
  std::string bytes_;
  int free_ = 0;
};

std::string parameterSets() {
  Bits sequence(0x67);
  constexpr unsigned kMainProfile = 77;
  constexpr unsigned kLevel = 30;
  sequence.put(kMainProfile << 16 | kLevel, 24);
  for (const unsigned code : {0U, 0U, 2U, 1U}) sequence.putCode(code);  // 2: order of decoding.
  sequence.put(0, 1);
  sequence.putCode(kBlocks - 1);
  sequence.putCode(kBlocks / 2 - 1);
  sequence.put(0b001011, 6);  // Field pictures are allowed; a description of the times follows.
  sequence.put(0, 4);
  sequence.put(1, 1);
  sequence.put(1, 32);
  sequence.put(50, 32);  // Fields a second.
  sequence.put(0b10000, 5);
  Bits picture(0x68);
  for (int i = 0; i < 2; ++i) picture.putCode(0);
  picture.put(0, 2);
  for (int i = 0; i < 3; ++i) picture.putCode(0);
  picture.put(0, 3);
  for (int i = 0; i < 3; ++i) picture.putCode(0);
  picture.put(0b100, 3);  // Slices say how they are deblocked.
  return sequence.finished() + picture.finished();
}

std::string field(int frame, bool isBottom) {
  const bool isKey = frame % kFramesPerKey == 0 && !isBottom;
  Bits slice(isKey ? 0x65 : 0x61);
  slice.putCode(0);
  slice.putCode(7);  // Intra.
  slice.putCode(0);
  slice.put(static_cast<unsigned>(frame % kFramesPerKey), 4);
  slice.put(isBottom ? 0b11 : 0b10, 2);
  if (isKey) slice.putCode(0);
  slice.put(0, isKey ? 2 : 1);
  slice.putCode(0);
  slice.putCode(1);  // Not deblocked.
  for (unsigned block = 0; block < kBlocks * kBlocks / 2; ++block) {
    slice.putCode(25);  // Plain samples.
    slice.align();
    constexpr int kSamples = 384;
    const unsigned grey = 16 + (static_cast<unsigned>(frame) * 7 + (isBottom ? 40 : 0)) % 200;
    for (int i = 0; i < kSamples; ++i) slice.putByte(grey);
  }
  return slice.finished();
}

}  // namespace

std::string fieldPictures(int frames) {
  std::string stream;
  for (int n = 0; n < frames; ++n) {
    if (n % kFramesPerKey == 0) stream += parameterSets();
    stream += field(n, false) + field(n, true);
  }
  return stream;
}

}  // namespace lomix
