#include "golden/Frames.h"

#include <array>
#include <bit>
#include <cmath>
#include <string>

#include "host/HostError.h"

namespace lomix::golden {

namespace {

using enum Source;

host::FrameSettings at(A_long time, A_u_long scale, PF_RationalScale x = {1, 1},
                       PF_RationalScale y = {1, 1}) {
  host::FrameSettings settings;
  settings.currentTime = time;
  settings.timeScale = scale;
  settings.downsampleX = x;
  settings.downsampleY = y;
  return settings;
}

// No two neighbours alike: a slanted ramp with noise on it, so that a pixel taken from the wrong
// place shows. Whole numbers from 0 to 255.
std::array<int, 4> levels(int x, int y, Source source) {
  auto bits = static_cast<std::uint32_t>(y * 4099 + x) * 2654435761U;
  bits = (bits ^ (bits >> 15U)) * 2246822519U;
  const auto noise = [bits](unsigned shift) { return static_cast<int>((bits >> shift) & 63U); };
  const int kind = static_cast<int>((bits >> 27U) & 3U);
  int alpha = 255;
  if (source != Source::Opaque && kind != 0) alpha = kind == 1 ? 0 : (x * 7 + y * 5) % 256;
  return {alpha, (x * 3 + noise(0)) % 256, (y * 4 + noise(6)) % 256, (x + y * 2 + noise(12)) % 256};
}

}  // namespace

const std::vector<Frame>& frames() {
  // clang-format off
  static const std::vector<Frame> kFrames{
      // name                           depth input     output    source        ctl  time  mode   sig  scan  hsync  vsync  bars  noise  lines  speed  thick  blend  time, units per second, reduced to
      {"untouched 8",                    8, {61, 47}, {61, 47}, Mixed,      {   1,    0,    2,    0,    0,     0,     0,    0,     0,     0,     1,     1,     0}, at(0, 25)},
      {"untouched float",               32, {40, 33}, {40, 33}, Mixed,      {   1,    0,    2,    0,    0,     0,     0,    0,     0,     0,     1,     1,     0}, at(0, 25)},
      {"scan tile 8",                    8, {61, 47}, {61, 47}, Opaque,     {   1,    0,    1,    0,   45,     0,     0,    0,     0,     0,     1,     1,     0}, at(31, 24)},
      {"signal stretch float",          32, {53, 29}, {53, 29}, Opaque,     {   1,    0,    2,   70,    0,     0,     0,    0,     0,     0,     1,     1,     0}, at(1001, 30000)},
      {"negative sync 8",                8, {61, 47}, {61, 47}, Opaque,     {   1,    0,    2,    0,    0, -37.5, -12.3,    0,     0,     0,     1,     1,     0}, at(19, 30)},
      {"negative layer time float",     32, {40, 33}, {40, 33}, Opaque,     {   1,    0,    1,    0,   60,     0,    64,   35,     0,     0,     1,     1,     0}, at(-17, 24)},
      {"bars 8",                         8, {37, 61}, {37, 61}, Mixed,      {   1,    0,    2,    0,    0,     0,     0,   63,     0,     0,     1,     1,     0}, at(50, 24)},
      {"bars float",                    32, {37, 61}, {37, 61}, Mixed,      {   1,    0,    2,    0,    0,     0,     0,   63,     0,     0,     1,     1,     0}, at(50, 24)},
      {"noise 8",                        8, {61, 47}, {61, 47}, Mixed,      {   1,    0,    2,    0,    0,     0,     0,    0,    42,     0,     1,     1,     0}, at(7, 25)},
      {"noise float, manual time",      32, {40, 33}, {40, 33}, Mixed,      {   2, 12.7,    2,    0,    0,     0,     0,    0,    42,     0,     1,     1,     0}, at(7, 25)},
      {"scanlines 8",                    8, {23, 59}, {23, 59}, Mixed,      {   1,    0,    2,    0,    0,     0,     0,    0,     0,    55,   7.3,     3,     0}, at(40, 30)},
      {"scanlines backwards float",     32, {23, 59}, {23, 59}, Mixed,      {   1,    0,    2,    0,    0,     0,     0,    0,     0,    55,  -7.3,   1.5,     0}, at(40, 30)},
      {"all in tile, blended 8",         8, {61, 47}, {61, 47}, Mixed,      {   1,    0,    1,   35,   25,    40,   -15,   50,    30,    40,     5,     2,    25}, at(33, 25)},
      {"all in stretch, blended float", 32, {61, 47}, {61, 47}, OutOfRange, {   1,    0,    2,   35,   25,    40,   -15,   50,    30,    40,     5,     2,    25}, at(33, 25)},
      {"axes reduced unlike 8",          8, {40, 33}, {40, 33}, Mixed,      {   1,    0,    2,   30,   40,     0,     0,   45,    25,    60,     9,     5,     0}, at(61, 24, {1, 2}, {1, 3})},
      {"larger output float",           32, {40, 33}, {52, 38}, OutOfRange, {   1,    0,    1,    0,   80,    66,     0,    0,    20,     0,     1,     1,    40}, at(11, 10, {1, 2}, {1, 2})},
  };
  // clang-format on
  return kFrames;
}

host::World inputOf(const Frame& frame) {
  host::World world(frame.input.width, frame.input.height, frame.depth);
  for (int y = 0; y < frame.input.height; ++y) {
    for (int x = 0; x < frame.input.width; ++x) {
      const std::array<int, 4> level = levels(x, y, frame.source);
      if (frame.depth == 8) {
        const auto byte = [&level](std::size_t i) { return static_cast<A_u_char>(level[i]); };
        world.row8(y)[x] = {byte(0), byte(1), byte(2), byte(3)};
      } else {
        const auto colour = [&](std::size_t i) {
          const auto value = static_cast<float>(level[i]);
          return frame.source == Source::OutOfRange ? (value - 96.0f) / 64.0f : value / 255.0f;
        };
        world.row32(y)[x] = {static_cast<float>(level[0]) / 255.0f, colour(1), colour(2),
                             colour(3)};
      }
    }
  }
  return world;
}

host::World render(const Frame& frame, const host::Module& module) {
  host::Host host(module);
  const auto check = [&frame](PF_Err err) {
    if (err == PF_Err_NONE) return;
    throw host::HostError("frame '" + std::string(frame.name) + "': the module answered error " +
                          std::to_string(err));
  };
  host::GlobalInfo info;
  check(host.globalSetup(info));
  check(host.paramsSetup());
  for (std::size_t i = 0; i < frame.values.size(); ++i) {
    host.setValue(static_cast<int>(i) + 1, frame.values[i]);
  }
  host::World input = inputOf(frame);
  host::World output(frame.output.width, frame.output.height, frame.depth);
  check(host.render(frame.settings, input, output));
  return output;
}

std::uint64_t hashOf(const host::World& world) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  const auto add = [&hash](std::uint32_t bits, int bytes) {
    for (int i = 0; i < bytes; ++i, bits >>= 8U) hash = (hash ^ (bits & 0xFFU)) * 0x100000001B3U;
  };
  const auto addFloat = [&add](float value) {
    add(std::isnan(value) ? 0x7FC00000U : std::bit_cast<std::uint32_t>(value), 4);
  };
  for (int y = 0; y < world.height(); ++y) {
    for (int x = 0; x < world.width(); ++x) {
      if (world.depth() == 8) {
        const PF_Pixel& p = world.row8(y)[x];
        for (const A_u_char channel : {p.alpha, p.red, p.green, p.blue}) add(channel, 1);
      } else {
        const PF_PixelFloat& p = world.row32(y)[x];
        for (const float channel : {p.alpha, p.red, p.green, p.blue}) addFloat(channel);
      }
    }
  }
  return hash;
}

}  // namespace lomix::golden
