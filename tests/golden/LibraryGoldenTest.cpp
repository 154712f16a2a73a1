// The golden frames through the C API, in every pixel format.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "HasThreads.h"
#include "golden/BlessedHashes.h"
#include "golden/Frames.h"
#include "lomix/lomix.h"

namespace lomix::golden {
namespace {

struct Format {
  const char* name;
  int depth;  ///< Bits per channel.
  std::int32_t format;
  int order[4];  ///< Where alpha, red, green and blue are in a pixel.
};

constexpr Format kFormats[] = {
    {"ARGB8", 8, LOMIX_ARGB8, {0, 1, 2, 3}},      {"RGBA8", 8, LOMIX_RGBA8, {3, 0, 1, 2}},
    {"BGRA8", 8, LOMIX_BGRA8, {3, 2, 1, 0}},      {"ARGB32F", 32, LOMIX_ARGB32F, {0, 1, 2, 3}},
    {"RGBA32F", 32, LOMIX_RGBA32F, {3, 0, 1, 2}},
};

/// Pixels without padding whose channels are in a format's order.
struct Pixels {
  std::vector<std::uint8_t> bytes;
  lomix_image image = LOMIX_IMAGE_INIT;

  Pixels(const Size& size, const Format& format) {
    const int channelBytes = format.depth / 8;
    image.format = format.format;
    image.width = size.width;
    image.height = size.height;
    image.row_bytes = size.width * 4 * channelBytes;
    bytes.resize(static_cast<std::size_t>(image.row_bytes * size.height));
    image.data = bytes.data();
  }
};

/// Copies between a world and pixels of a format. toWorld: the direction.
void copyPixels(host::World& world, Pixels& pixels, const Format& format, bool toWorld) {
  const auto channelBytes = static_cast<std::size_t>(format.depth / 8);
  for (int y = 0; y < world.height(); ++y) {
    auto* inWorld = reinterpret_cast<std::uint8_t*>(world.row(y));
    std::uint8_t* row =
        pixels.bytes.data() + static_cast<std::ptrdiff_t>(y * pixels.image.row_bytes);
    for (int x = 0; x < world.width(); ++x) {
      for (std::size_t channel = 0; channel < 4; ++channel) {
        std::uint8_t* a = inWorld + (static_cast<std::size_t>(x) * 4 + channel) * channelBytes;
        std::uint8_t* b = row + (static_cast<std::size_t>(x) * 4 +
                                 static_cast<std::size_t>(format.order[channel])) *
                                    channelBytes;
        std::memcpy(toWorld ? a : b, toWorld ? b : a, channelBytes);
      }
    }
  }
}

TEST(Golden, TheLibraryDrawsTheBlessedFramesInEveryFormat) {
  lomix_context* made = nullptr;
  ASSERT_EQ(lomix_context_create(kHasThreads ? 2 : 1, &made, nullptr), LOMIX_OK);
  const std::unique_ptr<lomix_context, void (*)(lomix_context*)> context(made,
                                                                         lomix_context_destroy);
  const auto blessed = blessedHashes(LOMIX_GOLDEN_FILE);
  ASSERT_EQ(blessed.size(), frames().size());
  int drawn = 0;
  for (std::size_t i = 0; i < frames().size(); ++i) {
    const Frame& frame = frames()[i];
    for (const Format& format : kFormats) {
      if (format.depth != frame.depth) continue;
      host::World input = inputOf(frame);
      host::World output(frame.output.width, frame.output.height, frame.depth);
      Pixels source(frame.input, format);
      Pixels target(frame.output, format);
      copyPixels(input, source, format, false);
      lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
      settings.values = frame.values.data();
      settings.value_count = static_cast<std::int32_t>(frame.values.size());
      settings.time_numerator = frame.settings.currentTime;
      settings.time_denominator = frame.settings.timeScale;
      settings.scale_x = quotientOf(frame.settings.downsampleX);
      settings.scale_y = quotientOf(frame.settings.downsampleY);
      lomix_error error = LOMIX_ERROR_INIT;
      ASSERT_EQ(lomix_context_render(context.get(), &settings, &source.image, &target.image,
                                     nullptr, nullptr, &error),
                LOMIX_OK)
          << frame.name << ": " << error.message;
      copyPixels(output, target, format, true);
      EXPECT_EQ(blessed[i], std::pair(std::string(frame.name), hashText(output)))
          << "in " << format.name;
      ++drawn;
    }
  }
  EXPECT_GT(drawn, static_cast<int>(2 * frames().size()));
}

}  // namespace
}  // namespace lomix::golden
