// Small frames that together reach every part of the picture, and their hashes.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/Host.h"

namespace lomix::golden {

/// What the input picture holds besides opaque colours.
enum class Source {
  Opaque,     ///< Nothing more.
  Mixed,      ///< Alpha of 0, full and everything between.
  OutOfRange  ///< As Mixed, with colours from -1.5 to 2.5; float only.
};

struct Size {
  int width, height;  ///< Pixels.
};

struct Frame {
  const char* name;
  int depth;  ///< 8 or 32 bits per channel.
  Size input, output;
  Source source;
  std::array<double, 13> values;  ///< Of the parameters in their order, popups counted from 1.
  host::FrameSettings settings;
};

/// All of them, in the order of the file of hashes.
const std::vector<Frame>& frames();

/// The frame's input picture; the same on every machine.
host::World inputOf(const Frame& frame);

/// The frame as the module draws it. Throws HostError when the module fails.
host::World render(const Frame& frame, const host::Module& module);

/// 64-bit FNV-1a of the channels A R G B, rows top to bottom: bytes, or the bits of floats with the
/// lowest byte first. Every NaN counts as the same one.
std::uint64_t hashOf(const host::World& world);

}  // namespace lomix::golden
