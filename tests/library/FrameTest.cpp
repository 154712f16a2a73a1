// Frames through the C API against the reference path, byte for byte.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "HasThreads.h"
#include "effect/UnitSupport.h"
#include "effect/kernel/Lomix.h"
#include "effect/signal/DrawFrame.h"
#include "effect/signal/FrameRecord.h"
#include "engine/Random.h"
#include "library/ImageBuffer.h"

namespace lomix::library_test {
namespace {

using differential::Random;

constexpr std::array kFormats{LOMIX_ARGB8,   LOMIX_RGBA8,   LOMIX_BGRA8,
                              LOMIX_ARGB32F, LOMIX_RGBA32F, LOMIX_BGRA32F};

struct Settings {
  ParameterValues values;
  std::int32_t time;
  std::uint32_t timeScale;
  int downX, downY;  ///< Rendered at 1/downX by 1/downY of full resolution.

  lomix_frame_settings toLibrary() const {
    lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
    settings.values = values.data();
    settings.value_count = static_cast<std::int32_t>(values.size());
    settings.time_numerator = time;
    settings.time_denominator = timeScale;
    settings.scale_x = 1.0 / downX;
    settings.scale_y = 1.0 / downY;
    return settings;
  }
};

Settings randomSettings(Random& random) {
  Settings settings{};
  for (std::size_t i = 0; i < kParameters.size(); ++i) {
    const ParameterSpec& spec = kParameters[i];
    double& value = settings.values[i];
    if (spec.type == PF_Param_POPUP) {
      value = random.between(1, spec.choiceCount);
    } else if (random.oneIn(3)) {
      value = spec.defaultValue;
    } else {
      value = spec.sliderMin + (spec.sliderMax - spec.sliderMin) * random.unit();
      if (spec.validMin < 0 && random.oneIn(2)) value = -value;
    }
  }
  settings.time = random.between(-500, 5000);
  settings.timeScale = static_cast<std::uint32_t>(random.between(1, 60));
  settings.downX = random.oneIn(3) ? random.between(2, 4) : 1;
  settings.downY = random.oneIn(3) ? random.between(2, 4) : 1;
  return settings;
}

/// Fills with colours and alphas of every kind: opaque, transparent and between.
void fill(ImageBuffer& buffer, Random random) {
  for (int y = 0; y < buffer.image.height; ++y) {
    for (int x = 0; x < buffer.image.width; ++x) {
      const int kind = random.below(4);
      for (int channel = 0; channel < 4; ++channel) {
        int level = random.below(256);
        if (channel == 0 && kind < 3) level = kind == 0 ? 0 : 255;
        if (isFloat(buffer.image.format)) {
          buffer.set(x, y, channel, static_cast<float>(level) / 255.0f * 1.25f - 0.125f);
        } else {
          buffer.set(x, y, channel, static_cast<std::uint8_t>(level));
        }
      }
    }
  }
}

/// Copies the pixels to a place in an image of any format of that depth.
void convert(const ImageBuffer& from, ImageBuffer& to, int left = 0, int top = 0) {
  for (int y = 0; y < from.image.height; ++y) {
    for (int x = 0; x < from.image.width; ++x) {
      for (int channel = 0; channel < 4; ++channel) {
        if (isFloat(from.image.format)) {
          to.set(left + x, top + y, channel, from.get<float>(x, y, channel));
        } else {
          to.set(left + x, top + y, channel, from.get<std::uint8_t>(x, y, channel));
        }
      }
    }
  }
}

PF_LayerDef worldOf(const ImageBuffer& buffer) {
  PF_LayerDef world{};
  world.data = static_cast<PF_Pixel*>(buffer.image.data);
  world.width = buffer.image.width;
  world.height = buffer.image.height;
  world.rowbytes = static_cast<A_long>(buffer.image.row_bytes);
  return world;
}

/// Draws by the reference path; source and output in ARGB order.
void drawByReference(const Settings& settings, const ImageBuffer& source, ImageBuffer& output) {
  unit::HostCall call(isFloat(source.image.format) ? 32 : 8);
  call.in.downsample_x = {1, static_cast<A_u_long>(settings.downX)};
  call.in.downsample_y = {1, static_cast<A_u_long>(settings.downY)};
  Lomix effect(&call.in, &call.out, &call.extra);
  const double seconds = static_cast<double>(settings.time) / settings.timeScale;
  LomixStruct record =
      frameRecord(settings.values, seconds, {effect.GetYDown(), effect.GetYDown()});
  PF_LayerDef input = worldOf(source);
  PF_LayerDef target = worldOf(output);
  drawFrameByReference(effect, &input, &target, record);
}

/// The first difference of two images of one size and depth, in words; empty for none.
std::string difference(const ImageBuffer& expected, const ImageBuffer& drawn) {
  for (int y = 0; y < drawn.image.height; ++y) {
    for (int x = 0; x < drawn.image.width; ++x) {
      for (int channel = 0; channel < 4; ++channel) {
        const std::string place = "channel " + std::to_string(channel) + " of (" +
                                  std::to_string(x) + ", " + std::to_string(y) + "): ";
        if (isFloat(drawn.image.format)) {
          const float a = expected.get<float>(x, y, channel);
          const float b = drawn.get<float>(x, y, channel);
          const bool same = std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
          if (!same && !(std::isnan(a) && std::isnan(b))) {
            return place + std::to_string(a) + " expected, " + std::to_string(b) + " drawn";
          }
        } else {
          const int a = expected.get<std::uint8_t>(x, y, channel);
          const int b = drawn.get<std::uint8_t>(x, y, channel);
          if (a != b)
            return place + std::to_string(a) + " expected, " + std::to_string(b) + " drawn";
        }
      }
    }
  }
  return {};
}

struct DestroyFrame {
  void operator()(lomix_frame* frame) const { lomix_frame_destroy(frame); }
};
using FramePtr = std::unique_ptr<lomix_frame, DestroyFrame>;

FramePtr createFrame(const lomix_frame_settings& settings, const lomix_image& source,
                     const lomix_image& output) {
  lomix_frame* frame = nullptr;
  lomix_error error = LOMIX_ERROR_INIT;
  EXPECT_EQ(lomix_frame_create(&settings, &source, &output, &frame, &error), LOMIX_OK)
      << error.message;
  return FramePtr(frame);
}

/// Draws bands of random heights in random order on several threads.
void drawInDisorder(const lomix_frame* frame, int height, Random& random, int threadCount) {
  std::vector<std::pair<int, int>> bands;
  for (int y = 0; y < height;) {
    const int end = std::min(height, y + random.between(1, 7));
    bands.insert(bands.begin() + random.below(static_cast<int>(bands.size()) + 1), {y, end});
    y = end;
  }
  std::atomic<std::size_t> next = 0;
  std::atomic<int> failures = 0;
  const auto work = [&] {
    for (std::size_t i = next++; i < bands.size(); i = next++) {
      if (lomix_frame_draw_rows(frame, bands[i].first, bands[i].second, nullptr) != LOMIX_OK) {
        ++failures;
      }
    }
  };
  std::vector<std::thread> threads;
  for (int i = 1; kHasThreads && i < threadCount; ++i) threads.emplace_back(work);
  work();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

/// Cuts a length into parts of random lengths, and returns where they begin and the length itself.
std::vector<int> randomCuts(Random& random, int length) {
  std::vector<int> cuts{0};
  while (cuts.back() < length) {
    cuts.push_back(std::min(length, cuts.back() + random.between(1, 40)));
  }
  return cuts;
}

/// Draws windows that cover the output, each into guarded memory of its own, and puts them
/// together.
void drawInWindows(const lomix_frame* frame, Random& random, ImageBuffer& output) {
  const std::int32_t format = output.image.format;
  const std::vector<int> columns = randomCuts(random, output.image.width);
  const std::vector<int> rows = randomCuts(random, output.image.height);
  for (std::size_t i = 0; i + 1 < rows.size(); ++i) {
    for (std::size_t j = 0; j + 1 < columns.size(); ++j) {
      const int unit = isFloat(format) && !random.oneIn(4) ? 4 : 1;
      ImageBuffer window(columns[j + 1] - columns[j], rows[i + 1] - rows[i], format,
                         {random.below(5) * unit, random.oneIn(2), random.below(7) * unit});
      lomix_error error = LOMIX_ERROR_INIT;
      EXPECT_EQ(lomix_frame_draw_window(frame, columns[j], rows[i], &window.image, &error),
                LOMIX_OK)
          << error.message;
      EXPECT_TRUE(window.surroundingsIntact());
      convert(window, output, columns[j], rows[i]);
    }
  }
}

class Frames : public testing::TestWithParam<int> {};

TEST_P(Frames, EqualTheReferencePathInEveryFormat) {
  lomix_context* context = nullptr;
  ASSERT_EQ(lomix_context_create(kHasThreads ? 3 : 1, &context, nullptr), LOMIX_OK);
  const std::unique_ptr<lomix_context, void (*)(lomix_context*)> owner(context,
                                                                       lomix_context_destroy);
  for (int number = 0; number < 12; ++number) {
    Random random(static_cast<std::uint64_t>(GetParam()), static_cast<std::uint64_t>(number));
    const Settings settings = randomSettings(random);
    const int width = random.between(1, 90);
    const int height = random.between(1, 60);
    const bool otherSize = random.oneIn(3);
    const int outputWidth = otherSize ? random.between(1, 100) : width;
    const int outputHeight = otherSize ? random.between(1, 70) : height;
    for (const std::int32_t format : kFormats) {
      const std::int32_t argb = isFloat(format) ? LOMIX_ARGB32F : LOMIX_ARGB8;
      ImageBuffer plain(width, height, argb);
      fill(plain, Random(7, static_cast<std::uint64_t>(number)));
      ImageBuffer expected(outputWidth, outputHeight, argb);
      drawByReference(settings, plain, expected);

      const auto layout = [&random, format] {
        const int unit = isFloat(format) && !random.oneIn(4) ? 4 : 1;
        return Layout{random.below(5) * unit, random.oneIn(2), random.below(7) * unit};
      };
      ImageBuffer source(width, height, format, layout());
      convert(plain, source);
      const std::vector<std::uint8_t> before = source.bytes();
      ImageBuffer byRows(outputWidth, outputHeight, format, layout());
      ImageBuffer whole(outputWidth, outputHeight, format, layout());
      const std::string name = "frame " + std::to_string(number) + ", format " +
                               std::to_string(format) + ", " + std::to_string(width) + " x " +
                               std::to_string(height);
      const lomix_frame_settings given = settings.toLibrary();
      const FramePtr frame = createFrame(given, source.image, byRows.image);
      ASSERT_NE(frame, nullptr) << name;
      drawInDisorder(frame.get(), outputHeight, random, 1 + random.below(4));
      lomix_error error = LOMIX_ERROR_INIT;
      ASSERT_EQ(lomix_context_render(context, &given, &source.image, &whole.image, nullptr, nullptr,
                                     &error),
                LOMIX_OK)
          << name << ": " << error.message;
      lomix_frame* windowed = nullptr;
      ASSERT_EQ(lomix_frame_create_for_windows(&given, &source.image, outputWidth, outputHeight,
                                               &windowed, &error),
                LOMIX_OK)
          << name << ": " << error.message;
      ImageBuffer byWindows(outputWidth, outputHeight, format);
      drawInWindows(FramePtr(windowed).get(), random, byWindows);
      EXPECT_EQ(difference(expected, byWindows), "") << name << ", by windows";
      EXPECT_EQ(difference(expected, byRows), "") << name << ", by rows";
      EXPECT_EQ(difference(expected, whole), "") << name << ", whole";
      EXPECT_TRUE(byRows.surroundingsIntact() && whole.surroundingsIntact()) << name;
      EXPECT_EQ(source.bytes(), before) << name;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Frames, testing::Range(1, 5));

/// Changes every colour of an image: change(colour, alpha), 8 bits as 0 to 255.
void changeColours(ImageBuffer& buffer, const std::function<double(double, double)>& change) {
  const auto apply = [&]<typename Value>(Value) {
    for (int y = 0; y < buffer.image.height; ++y) {
      for (int x = 0; x < buffer.image.width; ++x) {
        for (int channel = 1; channel < 4; ++channel) {
          const auto alpha = buffer.get<Value>(x, y, 0);
          const double colour = change(buffer.get<Value>(x, y, channel), alpha);
          buffer.set(x, y, channel, static_cast<Value>(colour));
        }
      }
    }
  };
  isFloat(buffer.image.format) ? apply(0.0f) : apply(std::uint8_t{0});
}

/// Makes an image transparent black.
void makeBlack(ImageBuffer& buffer) {
  changeColours(buffer, [](double, double) { return 0; });
  for (int y = 0; y < buffer.image.height; ++y) {
    for (int x = 0; x < buffer.image.width; ++x) {
      isFloat(buffer.image.format) ? buffer.set(x, y, 0, 0.0f)
                                   : buffer.set(x, y, 0, std::uint8_t{0});
    }
  }
}

/// What the header says of premultiplied colours.
double straight(double colour, double alpha, bool isFloat) {
  if (alpha == 0) return colour;
  if (isFloat) return static_cast<float>(colour) / static_cast<float>(alpha);
  return std::min(255.0, std::floor(colour * 255 / alpha + 0.5));
}
double premultiplied(double colour, double alpha, bool isFloat, bool keepUnderZero) {
  if (alpha == 0) return keepUnderZero ? colour : 0;
  return isFloat ? static_cast<float>(colour) * static_cast<float>(alpha)
                 : std::floor(colour * alpha / 255 + 0.5);
}

struct Conversion {
  const char* name;
  std::int32_t source, output;  ///< Formats.
  std::int32_t sourceAlpha, outputAlpha;
  int left, top;  ///< Of the source in its picture; its size is 40 x 30.
  int width, height;
  int windowMargin;  ///< Of the window around the output.
};

// What a frame of converted images is: the frame of images that were converted before and after.
TEST(Frames, ImagesOfEveryKindAreConverted) {
  const Conversion conversions[] = {
      {"straight", LOMIX_RGBA8, LOMIX_RGBA8, LOMIX_STRAIGHT, LOMIX_OPAQUE, 0, 0, 40, 30, 0},
      {"premultiplied source", LOMIX_RGBA8, LOMIX_RGBA8, LOMIX_PREMULTIPLIED, LOMIX_STRAIGHT, 0, 0,
       40, 30, 0},
      {"premultiplied output", LOMIX_BGRA8, LOMIX_BGRA8, LOMIX_STRAIGHT, LOMIX_PREMULTIPLIED, 0, 0,
       40, 30, 3},
      {"both", LOMIX_ARGB8, LOMIX_ARGB8, LOMIX_PREMULTIPLIED, LOMIX_PREMULTIPLIED, 0, 0, 40, 30, 1},
      {"both, float", LOMIX_ARGB32F, LOMIX_ARGB32F, LOMIX_PREMULTIPLIED, LOMIX_PREMULTIPLIED, 0, 0,
       40, 30, 0},
      {"red and blue", LOMIX_BGRA8, LOMIX_RGBA8, LOMIX_STRAIGHT, LOMIX_STRAIGHT, 0, 0, 40, 30, 0},
      {"red and blue, float", LOMIX_RGBA32F, LOMIX_BGRA32F, LOMIX_PREMULTIPLIED, LOMIX_STRAIGHT, 0,
       0, 40, 30, 5},
      {"a part", LOMIX_RGBA8, LOMIX_RGBA8, LOMIX_STRAIGHT, LOMIX_STRAIGHT, 4, 3, 33, 20, 0},
      {"a part, float", LOMIX_RGBA32F, LOMIX_BGRA32F, LOMIX_PREMULTIPLIED, LOMIX_PREMULTIPLIED, -2,
       9, 33, 40, 2},
      {"more than the picture", LOMIX_RGBA32F, LOMIX_RGBA32F, LOMIX_STRAIGHT, LOMIX_STRAIGHT, -3,
       -2, 50, 34, 0},
      {"beside the picture", LOMIX_BGRA8, LOMIX_BGRA8, LOMIX_STRAIGHT, LOMIX_PREMULTIPLIED, 40, 0,
       9, 30, 1},
  };
  lomix_context* context = nullptr;
  ASSERT_EQ(lomix_context_create(kHasThreads ? 3 : 1, &context, nullptr), LOMIX_OK);
  constexpr int kWidth = 40, kHeight = 30;
  for (const Conversion& c : conversions) {
    for (const double blend : {10.0, 100.0}) {
      SCOPED_TRACE(testing::Message() << c.name << ", blend " << blend);
      const bool isFloats = isFloat(c.source);
      const std::array<double, 13> values{1, 0, 1, 20, 30, 3, -7, 40, 35, 25, 3, 2, blend};
      lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
      settings.values = values.data();
      settings.value_count = 13;
      settings.time_seconds = 1.5;

      ImageBuffer source(c.width, c.height, c.source, {4, true, 8});
      fill(source, Random(11));
      if (c.sourceAlpha == LOMIX_PREMULTIPLIED) {
        changeColours(source, [&](double colour, double alpha) {
          return premultiplied(colour, alpha, isFloats, true);
        });
      }
      source.image.alpha = c.sourceAlpha;
      ImageBuffer picture(kWidth, kHeight, c.source);
      makeBlack(picture);
      for (int y = 0; y < c.height; ++y) {
        for (int x = 0; x < c.width; ++x) {
          const int toX = c.left + x, toY = c.top + y;
          if (toX < 0 || toY < 0 || toX >= kWidth || toY >= kHeight) continue;
          for (int channel = 0; channel < 4; ++channel) {
            isFloats ? picture.set(toX, toY, channel, source.get<float>(x, y, channel))
                     : picture.set(toX, toY, channel, source.get<std::uint8_t>(x, y, channel));
          }
        }
      }
      if (c.width != kWidth || c.height != kHeight) {
        source.image.picture_width = kWidth;
        source.image.picture_height = kHeight;
        source.image.left = c.left;
        source.image.top = c.top;
      }

      const bool copies = blend == 100 && (c.sourceAlpha == LOMIX_PREMULTIPLIED) ==
                                              (c.outputAlpha == LOMIX_PREMULTIPLIED);
      if (c.sourceAlpha == LOMIX_PREMULTIPLIED && !copies) {
        changeColours(picture, [&](double colour, double alpha) {
          return straight(colour, alpha, isFloats);
        });
      }
      ImageBuffer drawn(kWidth, kHeight, c.source);
      const FramePtr plain = createFrame(settings, picture.image, drawn.image);
      ASSERT_EQ(lomix_frame_draw_rows(plain.get(), 0, kHeight, nullptr), LOMIX_OK);
      if (c.outputAlpha == LOMIX_PREMULTIPLIED && !copies) {
        changeColours(drawn, [&](double colour, double alpha) {
          return premultiplied(colour, alpha, isFloats, c.sourceAlpha == LOMIX_PREMULTIPLIED);
        });
      }
      ImageBuffer expected(kWidth, kHeight, c.output);
      convert(drawn, expected);

      ImageBuffer output(kWidth, kHeight, c.output, {3, false, 1});
      output.image.alpha = c.outputAlpha;
      const FramePtr frame = createFrame(settings, source.image, output.image);
      ASSERT_NE(frame, nullptr);
      Random random(3);
      drawInDisorder(frame.get(), kHeight, random, 3);
      EXPECT_EQ(difference(expected, output), "") << "by rows";
      EXPECT_TRUE(output.surroundingsIntact());

      ImageBuffer whole(kWidth, kHeight, c.output, {0, true, 0});
      whole.image.alpha = c.outputAlpha;
      ASSERT_EQ(lomix_context_render(context, &settings, &source.image, &whole.image, nullptr,
                                     nullptr, nullptr),
                LOMIX_OK);
      EXPECT_EQ(difference(expected, whole), "") << "whole";

      const int m = c.windowMargin;
      ImageBuffer window(kWidth + 2 * m, kHeight + 2 * m, c.output, {5, true, 2});
      window.image.alpha = c.outputAlpha;
      ASSERT_EQ(lomix_frame_draw_window(frame.get(), -m, -m, &window.image, nullptr), LOMIX_OK);
      ImageBuffer around(kWidth + 2 * m, kHeight + 2 * m, c.output);
      makeBlack(around);
      convert(expected, around, m, m);
      EXPECT_EQ(difference(around, window), "") << "in a window";
      EXPECT_TRUE(window.surroundingsIntact());
    }
  }
  lomix_context_destroy(context);
}

// Divided and multiplied, 8-bit colours up to alpha are themselves again.
TEST(Frames, PremultipliedBytesSurviveTheirConversion) {
  ImageBuffer source(256, 256, LOMIX_RGBA8);
  for (int alpha = 0; alpha < 256; ++alpha) {
    for (int colour = 0; colour < 256; ++colour) {
      for (int channel = 0; channel < 4; ++channel) {
        source.set(colour, alpha, channel,
                   static_cast<std::uint8_t>(channel == 0 ? alpha : colour));
      }
    }
  }
  const std::array<double, 13> values{1, 0, 2, 0, 0, 0, 0, 0, 0, 0, 1, 1, 100};
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = 13;
  ImageBuffer between(256, 256, LOMIX_RGBA8), output(256, 256, LOMIX_RGBA8);
  source.image.alpha = output.image.alpha = LOMIX_PREMULTIPLIED;
  for (const auto& [from, to] : {std::pair(&source, &between), {&between, &output}}) {
    const FramePtr frame = createFrame(settings, from->image, to->image);
    ASSERT_EQ(lomix_frame_draw_rows(frame.get(), 0, 256, nullptr), LOMIX_OK);
  }
  for (int alpha = 0; alpha < 256; ++alpha) {
    for (int colour = 0; colour < 256; ++colour) {
      ASSERT_EQ(between.get<std::uint8_t>(colour, alpha, 1), straight(colour, alpha, false));
      ASSERT_EQ(output.get<std::uint8_t>(colour, alpha, 2), std::min(colour, alpha));
    }
  }
}

TEST(Frames, IdentityIsClaimedOnlyWhereItIsExact) {
  for (const std::int32_t format : kFormats) {
    for (const std::int32_t alpha : {LOMIX_STRAIGHT, LOMIX_PREMULTIPLIED, LOMIX_OPAQUE}) {
      for (int changed = -1; changed < 13; ++changed) {
        std::array<double, 13> values{1, 0, 2, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0};
        if (changed >= 0) values[static_cast<std::size_t>(changed)] = changed == 2 ? 1 : 2;
        if (changed == 12) values = {1, 0, 1, 20, 30, 3, -7, 40, 35, 25, 3, 2, 100};
        lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
        settings.values = values.data();
        settings.value_count = 13;
        settings.time_seconds = 1.5;
        ImageBuffer source(40, 30, format), output(40, 30, format);
        fill(source, Random(9));
        for (int i = 0; alpha == LOMIX_OPAQUE && i < 40 * 30; ++i) {
          isFloat(format) ? source.set(i % 40, i / 40, 0, 1.0f)
                          : source.set(i % 40, i / 40, 0, std::uint8_t{255});
        }
        source.image.alpha = output.image.alpha = alpha;
        const FramePtr frame = createFrame(settings, source.image, output.image);
        ASSERT_EQ(lomix_frame_draw_rows(frame.get(), 0, 30, nullptr), LOMIX_OK);
        std::int32_t identity = -1;
        ASSERT_EQ(lomix_settings_are_identity(&settings, format, alpha, &identity, nullptr),
                  LOMIX_OK);
        EXPECT_EQ(identity == 1, difference(source, output).empty())
            << "format " << format << ", alpha " << alpha << ", parameter " << changed;
      }
    }
  }
}

TEST(Frames, AnAbsentSourceIsTransparentBlack) {
  const std::array<double, 13> values{1, 0, 1, 20, 30, 3, -7, 40, 35, 25, 3, 2, 10};
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = 13;
  for (const std::int32_t format : kFormats) {
    ImageBuffer black(40, 30, format), expected(40, 30, format), output(40, 30, format);
    makeBlack(black);
    const FramePtr frame = createFrame(settings, black.image, expected.image);
    ASSERT_EQ(lomix_frame_draw_rows(frame.get(), 0, 30, nullptr), LOMIX_OK);
    lomix_image absent = LOMIX_IMAGE_INIT;
    absent.format = format;
    absent.picture_width = 40;
    absent.picture_height = 30;
    const FramePtr drawn = createFrame(settings, absent, output.image);
    ASSERT_EQ(lomix_frame_draw_rows(drawn.get(), 0, 30, nullptr), LOMIX_OK);
    EXPECT_EQ(difference(expected, output), "") << format;
  }
}

TEST(Frames, WindowsFarFromTheOutputAreTransparentBlack) {
  ImageBuffer source(6, 5, LOMIX_ARGB8), window(6, 5, LOMIX_ARGB8);
  fill(source, Random(2));
  const lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  const FramePtr frame = createFrame(settings, source.image, ImageBuffer(6, 5, LOMIX_ARGB8).image);
  constexpr int kLeast = std::numeric_limits<int>::min(), kMost = std::numeric_limits<int>::max();
  for (const auto& [left, top] :
       {std::pair(6, 0), {-6, 0}, {0, 5}, {0, -5}, {kMost, kLeast}, {kLeast, kMost}}) {
    fill(window, Random(8));
    ASSERT_EQ(lomix_frame_draw_window(frame.get(), left, top, &window.image, nullptr), LOMIX_OK);
    for (int i = 0; i < 6 * 5 * 4; ++i) {
      ASSERT_EQ(window.get<std::uint8_t>(i / 4 % 6, i / 24, i % 4), 0) << left << ", " << top;
    }
    EXPECT_TRUE(window.surroundingsIntact());
  }
}

// Without this, a comparison that sees nothing would go unnoticed.
TEST(Frames, TheComparisonSeesTheSmallestChange) {
  for (const std::int32_t format : {LOMIX_ARGB8, LOMIX_RGBA32F}) {
    ImageBuffer a(3, 2, format);
    ImageBuffer b(3, 2, format);
    fill(a, Random(1));
    fill(b, Random(1));
    EXPECT_EQ(difference(a, b), "");
    if (isFloat(format)) {
      b.set(2, 1, 3, std::nextafterf(b.get<float>(2, 1, 3), 9.0f));
    } else {
      b.set(2, 1, 3, static_cast<std::uint8_t>(b.get<std::uint8_t>(2, 1, 3) ^ 1));
    }
    EXPECT_NE(difference(a, b), "");
  }
}

TEST(Frames, TimeAsFractionAndSecondsIsTheSame) {
  ImageBuffer source(40, 30, LOMIX_RGBA8);
  fill(source, Random(3));
  ImageBuffer fraction(40, 30, LOMIX_RGBA8);
  ImageBuffer seconds(40, 30, LOMIX_RGBA8);
  ImageBuffer later(40, 30, LOMIX_RGBA8);
  std::array<double, 13> values;
  lomix_look* look = nullptr;
  ASSERT_EQ(lomix_look_create_from_preset("weak-aerial", &look, nullptr), LOMIX_OK);
  ASSERT_EQ(lomix_look_values(look, 1.5, values.data(), 13, nullptr), LOMIX_OK);
  lomix_look_destroy(look);
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = 13;
  const auto draw = [&](ImageBuffer& output) {
    const FramePtr frame = createFrame(settings, source.image, output.image);
    EXPECT_EQ(lomix_frame_draw_rows(frame.get(), 0, 30, nullptr), LOMIX_OK);
  };
  settings.time_numerator = 45;
  settings.time_denominator = 30;
  settings.time_seconds = 99.0;
  draw(fraction);
  settings.time_denominator = 0;
  settings.time_seconds = 1.5;
  draw(seconds);
  settings.time_seconds = 1.6;
  draw(later);
  EXPECT_EQ(difference(fraction, seconds), "");
  EXPECT_NE(difference(fraction, later), "");
}

// A program of an older or newer library passes structs of another size.
TEST(Frames, MissingFieldsHaveTheirDefaults) {
  ImageBuffer source(20, 10, LOMIX_ARGB8);
  fill(source, Random(4));
  ImageBuffer plain(20, 10, LOMIX_ARGB8);
  ImageBuffer shortened(20, 10, LOMIX_ARGB8);
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  const FramePtr whole = createFrame(settings, source.image, plain.image);
  ASSERT_EQ(lomix_frame_draw_rows(whole.get(), 0, 10, nullptr), LOMIX_OK);
  // What follows the time is beyond the caller's struct.
  settings.struct_size = offsetof(lomix_frame_settings, scale_x);
  settings.scale_x = -5.0;
  settings.scale_y = std::nan("");
  const FramePtr part = createFrame(settings, source.image, shortened.image);
  ASSERT_EQ(lomix_frame_draw_rows(part.get(), 0, 10, nullptr), LOMIX_OK);
  EXPECT_EQ(difference(plain, shortened), "");
}

TEST(Frames, ProfilesAreThoseOfTheFrame) {
  ImageBuffer source(8, 8, LOMIX_ARGB8);
  ImageBuffer output(8, 25, LOMIX_ARGB8);
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.time_seconds = 1.25;
  const FramePtr frame = createFrame(settings, source.image, output.image);
  unit::HostCall call;
  Lomix effect(&call.in, &call.out, &call.extra);
  LomixStruct record{};
  PF_LayerDef world = worldOf(output);
  effect.CreateDisplacementImage(&world, -1.25f, &record);
  struct Case {
    int profile;
    const std::vector<float>& values;
  };
  for (const Case& c : {Case{LOMIX_SCAN_PROFILE, record.scanProfile},
                        {LOMIX_BARS_PROFILE, record.barsProfile},
                        {LOMIX_SIGNAL_PROFILE, record.signalProfile}}) {
    std::vector<float> values(20);
    ASSERT_EQ(lomix_frame_get_profile(frame.get(), c.profile, 5, 20, values.data(), nullptr),
              LOMIX_OK);
    EXPECT_TRUE(std::equal(values.begin(), values.end(), c.values.begin() + 5)) << c.profile;
  }
}

// Progress of a frame, and when to end it.
struct Watch {
  int abortAt = 1 << 30;
  std::vector<int> reports = {};
  std::thread::id thread = std::this_thread::get_id();

  static std::int32_t report(void* user, std::int32_t done, std::int32_t count) {
    Watch& watch = *static_cast<Watch*>(user);
    EXPECT_EQ(std::this_thread::get_id(), watch.thread);
    EXPECT_EQ(count, 300);
    watch.reports.push_back(done);
    return done >= watch.abortAt ? 1 : 0;
  }
};

TEST(Context, ReportsProgressAndEndsWhenAsked) {
  ImageBuffer source(13, 300, LOMIX_BGRA8);
  fill(source, Random(5));
  ImageBuffer expected(13, 300, LOMIX_BGRA8);
  const lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  const FramePtr frame = createFrame(settings, source.image, expected.image);
  ASSERT_EQ(lomix_frame_draw_rows(frame.get(), 0, 300, nullptr), LOMIX_OK);
  for (const int threads : {1, 2, 5}) {
    lomix_context* context = nullptr;
    ASSERT_EQ(lomix_context_create(threads, &context, nullptr), LOMIX_OK);
    EXPECT_EQ(lomix_context_threads(context), threads);
    const auto render = [&](ImageBuffer& output, Watch& watch) {
      return lomix_context_render(context, &settings, &source.image, &output.image, Watch::report,
                                  &watch, nullptr);
    };
    // The same context serves frame after frame, also after one that was ended.
    for (int round = 0; round < 20; ++round) {
      ImageBuffer output(13, 300, LOMIX_BGRA8);
      Watch watch;
      EXPECT_EQ(render(output, watch), LOMIX_OK);
      EXPECT_EQ(difference(expected, output), "");
      ASSERT_FALSE(watch.reports.empty());
      EXPECT_EQ(watch.reports.back(), 300);
      EXPECT_TRUE(std::ranges::is_sorted(watch.reports));
      if (threads == 1) {
        int last = 0;
        for (const int done : watch.reports) {
          EXPECT_LE(done - last, 16);
          last = done;
        }
      }
      ImageBuffer aborted(13, 300, LOMIX_BGRA8);
      Watch impatient{.abortAt = 100};
      EXPECT_EQ(render(aborted, impatient), LOMIX_ABORTED);
      EXPECT_TRUE(aborted.surroundingsIntact());
      EXPECT_GE(impatient.reports.back(), 100);
      if (threads == 1) {
        EXPECT_LT(impatient.reports.back(), 100 + 16);
      }
    }
    lomix_context_destroy(context);
  }
}

TEST(Context, ACallbackThatThrowsEndsTheFrame) {
  ImageBuffer source(50, 300, LOMIX_ARGB8);
  ImageBuffer output(50, 300, LOMIX_ARGB8);
  const lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  lomix_context* context = nullptr;
  ASSERT_EQ(lomix_context_create(3, &context, nullptr), LOMIX_OK);
  const lomix_progress thrower = [](void*, std::int32_t, std::int32_t) -> std::int32_t {
    throw std::runtime_error("not a C function");
  };
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(lomix_context_render(context, &settings, &source.image, &output.image, thrower,
                                   nullptr, nullptr),
              LOMIX_ABORTED);
  }
  lomix_context_destroy(context);
}

TEST(Context, ManyContextsWorkAtOnce) {
  ImageBuffer source(64, 64, LOMIX_ARGB32F);
  fill(source, Random(6));
  ImageBuffer expected(64, 64, LOMIX_ARGB32F);
  const lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  const FramePtr frame = createFrame(settings, source.image, expected.image);
  ASSERT_EQ(lomix_frame_draw_rows(frame.get(), 0, 64, nullptr), LOMIX_OK);
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      lomix_context* context = nullptr;
      if (lomix_context_create(2, &context, nullptr) != LOMIX_OK) ++wrong;
      for (int round = 0; round < 30; ++round) {
        ImageBuffer output(64, 64, LOMIX_ARGB32F);
        if (lomix_context_render(context, &settings, &source.image, &output.image, nullptr, nullptr,
                                 nullptr) != LOMIX_OK ||
            !difference(expected, output).empty()) {
          ++wrong;
        }
      }
      lomix_context_destroy(context);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace lomix::library_test
