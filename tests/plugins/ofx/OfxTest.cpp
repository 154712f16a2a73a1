// The OpenFX plug-in in a strict host, against frames of the library and of the command.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <thread>

#include "lomix/lomix.h"
#include "plugins/Handles.h"
#include "plugins/ofx/TestHost.h"
#if defined(LOMIX_COMMAND_FILE)
#include "media/picture/PictureFile.h"
#include "support/ScratchFolder.h"
#endif

namespace lomix::ofx_test {
namespace {

using plugins::LookPtr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kCount = 13;
using Values = std::array<double, kCount>;

/// The memory layout of a test's images.
struct Layout {
  bool isFloat = false;
  OfxRectI region{0, 0, 64, 48};
  int sourceMargin =
      0;  ///< Pixels of the source's bounds around its region; negative: missing ones.
  int outputMargin = 0;
  bool topDown = false;
  int padding = 0;
  int shift = 0;
};

OfxRectI grown(const OfxRectI& rect, int margin) {
  return {rect.x1 - margin, rect.y1 - margin, rect.x2 + margin, rect.y2 + margin};
}

bool inside(const OfxRectI& rect, int x, int y) {
  return x >= rect.x1 && x < rect.x2 && y >= rect.y1 && y < rect.y2;
}

/// Writes random pixels of every kind of alpha, also around the region, where the effect must not
/// look.
void fill(Plane& plane, bool premultiplied = false) {
  std::mt19937 random(42);
  const OfxRectI& bounds = plane.bounds();
  for (int y = bounds.y1; y < bounds.y2; ++y) {
    for (int x = bounds.x1; x < bounds.x2; ++x) {
      const auto kind = random() % 3;
      const auto alpha = kind == 0 ? 255 : kind == 1 ? random() % 256 : random() % 2 * 255;
      for (int c = 0; c < 4; ++c) {
        auto level = c == 3 ? alpha : random() % 256;
        if (c < 3 && premultiplied) level = level * alpha / 255;
        if (plane.pixelBytes() == 4) {
          plane.at(x, y)[c] = static_cast<std::uint8_t>(level);
        } else {
          const float value = static_cast<float>(level) / 255.0f * (c < 3 ? 1.25f : 1.0f);
          std::memcpy(plane.at(x, y) + 4 * c, &value, 4);
        }
      }
    }
  }
}

void setImages(Effect& effect, const Layout& layout) {
  const int bytes = layout.isFloat ? 16 : 4;
  const auto plane = [&](int margin) {
    return std::make_shared<Plane>(grown(layout.region, margin), bytes, layout.topDown,
                                   layout.padding, layout.shift);
  };
  for (auto& [name, clip] : effect.clips) {
    clip.plane = plane(name == kSourceClip ? layout.sourceMargin : layout.outputMargin);
    clip.region = layout.region;
    clip.canonicalRegion = {layout.region.x1 * 2.0, layout.region.y1 * 2.0, layout.region.x2 * 2.0,
                            layout.region.y2 * 2.0};
  }
  fill(*effect.clips.at(kSourceClip).plane);
  fill(*effect.clips.at(kOutputClip).plane);
}

Values defaults() {
  Values values;
  for (int i = 0; i < kCount; ++i) {
    lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
    EXPECT_EQ(lomix_parameter_get(i, &info, nullptr), LOMIX_OK);
    values[static_cast<std::size_t>(i)] = info.default_value;
  }
  return values;
}

/// A value of every parameter, so that each of them shows. Index by index as in the panel.
Values strong() { return {1, 0, 1, 20, 30, 3, -7, 40, 35, 25, 3, 2, 10}; }

void setValues(Effect& effect, const Values& values) {
  for (int i = 0; i < kCount; ++i) {
    lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
    lomix_parameter_get(i, &info, nullptr);
    const double value = values[static_cast<std::size_t>(i)];
    effect.parameters.at(info.key).value = info.kind == LOMIX_CHOICE ? value - 1 : value;
  }
}

struct Time {
  std::int64_t numerator = 3, denominator = 2;
};

/// The library's frame of a region of the source, top row first. Pixels that are not in memory are
/// transparent black.
std::vector<std::uint8_t> libraryFrame(Plane& source, const OfxRectI& region, const Values& values,
                                       const Time& time, double scaleX = 1, double scaleY = 1) {
  const int bytes = source.pixelBytes();
  const int width = region.x2 - region.x1, height = region.y2 - region.y1;
  const auto size = static_cast<std::size_t>(width * height * bytes);
  std::vector<std::uint8_t> in(size, 0), out(size);
  for (int y = region.y1; y < region.y2; ++y) {
    for (int x = region.x1; x < region.x2; ++x) {
      if (!inside(source.bounds(), x, y)) continue;
      std::memcpy(
          &in[static_cast<std::size_t>(((region.y2 - 1 - y) * width + x - region.x1) * bytes)],
          source.at(x, y), static_cast<std::size_t>(bytes));
    }
  }
  const auto image = [&](std::vector<std::uint8_t>& pixels) {
    lomix_image result = LOMIX_IMAGE_INIT;
    result.format = bytes == 16 ? LOMIX_RGBA32F : LOMIX_RGBA8;
    result.width = width;
    result.height = height;
    result.row_bytes = width * bytes;
    result.data = pixels.data();
    return result;
  };
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = kCount;
  settings.time_numerator = time.numerator;
  settings.time_denominator = time.denominator;
  settings.scale_x = scaleX;
  settings.scale_y = scaleY;
  const lomix_image from = image(in), to = image(out);
  lomix_frame* frame = nullptr;
  lomix_error error = LOMIX_ERROR_INIT;
  EXPECT_EQ(lomix_frame_create(&settings, &from, &to, &frame, &error), LOMIX_OK) << error.message;
  EXPECT_EQ(lomix_frame_draw_rows(frame, 0, height, nullptr), LOMIX_OK);
  lomix_frame_destroy(frame);
  return out;
}

/// Says where the output differs from an expected frame of a region, and from transparent black
/// around it; empty where nothing does.
std::string difference(Plane& output, const OfxRectI& region,
                       const std::vector<std::uint8_t>& expected) {
  const int bytes = output.pixelBytes();
  const int width = region.x2 - region.x1;
  const std::vector<std::uint8_t> black(16, 0);
  for (int y = output.bounds().y1; y < output.bounds().y2; ++y) {
    for (int x = output.bounds().x1; x < output.bounds().x2; ++x) {
      const std::uint8_t* const wanted =
          inside(region, x, y) ? &expected[static_cast<std::size_t>(
                                     ((region.y2 - 1 - y) * width + x - region.x1) * bytes)]
                               : black.data();
      if (std::memcmp(wanted, output.at(x, y), static_cast<std::size_t>(bytes)) != 0) {
        return "(" + std::to_string(x) + ", " + std::to_string(y) + ") differs";
      }
    }
  }
  return output.guardsIntact() ? "" : "bytes around the output were written";
}

/// Renders the whole output in columns x rows windows of about one size, in an odd order.
OfxStatus renderTiled(TestHost& host, Effect& effect, double frame, int columns, int rows,
                      double scaleX = 1, double scaleY = 1) {
  const OfxRectI bounds = effect.clips.at(kOutputClip).plane->bounds();
  const auto cut = [](int first, int last, int part, int parts) {
    return first + (last - first) * part / parts;
  };
  for (int i = columns * rows - 1; i >= 0; --i) {
    const int column = i % columns, row = i / columns;
    const OfxRectI window{
        cut(bounds.x1, bounds.x2, column, columns), cut(bounds.y1, bounds.y2, row, rows),
        cut(bounds.x1, bounds.x2, column + 1, columns), cut(bounds.y1, bounds.y2, row + 1, rows)};
    const OfxStatus status = host.render(effect, frame, window, scaleX, scaleY);
    if (status != kOk) return status;
  }
  return kOk;
}

/// Draws a frame of 24 a second with everything on, and expects the library's bytes.
void expectLibraryFrame(TestHost& host, Effect& effect, const Layout& layout, int columns, int rows,
                        double scaleX = 1, double scaleY = 1) {
  setImages(effect, layout);
  setValues(effect, strong());
  ASSERT_EQ(renderTiled(host, effect, 36, columns, rows, scaleX, scaleY), kOk)
      << testing::PrintToString(host.messages);
  Plane& source = *effect.clips.at(kSourceClip).plane;
  EXPECT_EQ(difference(*effect.clips.at(kOutputClip).plane, layout.region,
                       libraryFrame(source, layout.region, strong(), {3, 2}, scaleX, scaleY)),
            "");
  EXPECT_TRUE(source.guardsIntact());
}

class Ofx : public testing::Test {
 protected:
  void start(Habits habits = {}, double framesPerSecond = 24.0) {
    host_ = std::make_unique<TestHost>(std::move(habits));
    ASSERT_EQ(host_->load(), kOk);
    effect_ = host_->create(framesPerSecond);
    ASSERT_NE(effect_, nullptr);
  }
  /// Ends what start() began, so that a test can start again.
  void stop() {
    if (effect_) {
      EXPECT_EQ(host_->destroy(*effect_), kOk);
    }
    if (!host_) return;
    EXPECT_EQ(host_->unload(), kOk);
    EXPECT_EQ(host_->unload(), kOk) << "some hosts unload twice";
    EXPECT_THAT(host_->violations, IsEmpty());
    effect_.reset();
    host_.reset();
  }
  void TearDown() override { stop(); }

  std::unique_ptr<TestHost> host_;
  std::unique_ptr<Effect> effect_;
};

TEST_F(Ofx, DescribesItself) {
  start();
  const OfxPlugin& plugin = *loadedPlugin();
  EXPECT_STREQ(plugin.pluginApi, "OfxImageEffectPluginAPI");
  EXPECT_EQ(plugin.apiVersion, 1);
  EXPECT_STREQ(plugin.pluginIdentifier, "lomix.effect.lomix");
  EXPECT_EQ(plugin.pluginVersionMajor, unsigned{LOMIX_VERSION_MAJOR});
  EXPECT_EQ(plugin.pluginVersionMinor, unsigned{LOMIX_VERSION_MINOR});
  const Set& set = host_->descriptor().properties;
  EXPECT_EQ(set.get<std::string>("OfxPropLabel"), "Lomix");
  EXPECT_EQ(set.get<std::string>("OfxImageEffectPluginPropGrouping"), "Distort");
  EXPECT_EQ(set.get<std::string>("OfxPropVersionLabel"), lomix_version_text());
  EXPECT_THAT(set.get<std::string>("OfxPropPluginDescription"), HasSubstr("Distortion"));
  EXPECT_THAT(set.strings("OfxImageEffectPropSupportedContexts"),
              ElementsAre("OfxImageEffectContextFilter", "OfxImageEffectContextGeneral"));
  EXPECT_THAT(set.strings("OfxImageEffectPropSupportedPixelDepths"),
              ElementsAre("OfxBitDepthByte", "OfxBitDepthFloat"));
  EXPECT_EQ(set.get<std::string>("OfxImageEffectPluginRenderThreadSafety"),
            "OfxImageEffectRenderFullySafe");
  EXPECT_THAT(host_->context().clipOrder, ElementsAre("Source", "Output"));
  for (const auto& [name, clip] : host_->context().clips) {
    EXPECT_THAT(clip.properties.strings("OfxImageEffectPropSupportedComponents"),
                ElementsAre("OfxImageComponentRGBA"));
    EXPECT_EQ(clip.properties.get<int>("OfxImageEffectPropSupportsTiles"), name == "Output");
  }
  for (const char* yes :
       {"OfxImageEffectPropSupportsTiles", "OfxImageEffectPropSupportsMultiResolution",
        "OfxImageEffectPluginPropHostFrameThreading"}) {
    EXPECT_EQ(set.get<int>(yes), 1) << yes;
  }
  for (const char* no :
       {"OfxImageEffectPropTemporalClipAccess", "OfxImageEffectPropMultipleClipDepths",
        "OfxImageEffectInstancePropSequentialRender", "OfxImageEffectPluginPropSingleInstance"}) {
    EXPECT_EQ(set.get<int>(no), 0) << no;
  }
}

// Projects store these names and the numbers of the choices: the list only ever grows at its end.
TEST_F(Ofx, ParametersAreThoseOfTheTable) {
  start();
  const Effect& context = host_->context();
  EXPECT_THAT(context.parameterOrder,
              ElementsAre("preset", "time_control", "time", "distortion_mode", "signal_distortion",
                          "scan_distortion", "horizontal_sync", "vertical_sync", "bars_overlay",
                          "noise", "scanline_overlay", "scanline_speed", "scanline_thickness",
                          "blend_with_original", "page"));
  EXPECT_THAT(context.parameters.at("time_control").properties.strings("OfxParamPropChoiceOption"),
              ElementsAre("Automatic", "Manual"));
  EXPECT_THAT(
      context.parameters.at("distortion_mode").properties.strings("OfxParamPropChoiceOption"),
      ElementsAre("Tile", "Stretch"));
  for (int i = 0; i < kCount; ++i) {
    lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
    lomix_parameter_get(i, &info, nullptr);
    const Parameter& parameter = context.parameters.at(info.key);
    const Set& set = parameter.properties;
    EXPECT_EQ(set.get<std::string>("OfxPropLabel"), info.name);
    EXPECT_EQ(set.get<std::string>("OfxParamPropScriptName"), info.key);
    EXPECT_EQ(set.get<std::string>("OfxParamPropHint"), info.help);
    EXPECT_EQ(set.get<int>("OfxParamPropAnimates"), i != 0) << info.key;
    if (info.kind == LOMIX_CHOICE) {
      EXPECT_EQ(parameter.type, "OfxParamTypeChoice");
      EXPECT_EQ(set.get<int>("OfxParamPropDefault"), info.default_value - 1);
      continue;
    }
    EXPECT_EQ(parameter.type, "OfxParamTypeDouble");
    EXPECT_EQ(set.get<double>("OfxParamPropDefault"), info.default_value);
    EXPECT_EQ(set.get<double>("OfxParamPropMin"), info.minimum);
    EXPECT_EQ(set.get<double>("OfxParamPropMax"), info.maximum);
    EXPECT_EQ(set.get<double>("OfxParamPropDisplayMin"), info.slider_minimum);
    EXPECT_EQ(set.get<double>("OfxParamPropDisplayMax"), info.slider_maximum);
    EXPECT_EQ(set.get<int>("OfxParamPropDigits"), info.decimals);
  }
  EXPECT_EQ(context.parameters.at("preset").properties.strings("OfxParamPropChoiceOption").size(),
            1U + static_cast<unsigned>(lomix_preset_count()));
}

TEST_F(Ofx, EveryTilingAndLayoutGivesTheLibrarysBytes) {
  start();
  struct Tiling {
    int columns, rows;
  };
  const OfxRectI region{-13, 7, 76, 73};
  for (const bool isFloat : {false, true}) {
    const int unit = isFloat ? 4 : 1;
    const Layout layouts[] = {
        {isFloat, region, 0, 0, false, 0, 0},           {isFloat, region, 0, 0, true, 12, 0},
        {isFloat, region, 5, 3, false, 8 * unit, 0},    {isFloat, region, 3, 9, true, 4, 2 * unit},
        {isFloat, region, -4, 0, true, 0, 0},           {isFloat, region, 0, -6, false, 4, 0},
        {isFloat, {0, 0, 1, 1}, 0, 0, false, 0, 0},     {isFloat, {3, 3, 4, 40}, 0, 2, true, 0, 0},
        {isFloat, {-5, -3, 90, -2}, 0, 0, false, 0, 0}, {isFloat, region, 1, 1, true, 3, 1}};
    for (const Layout& layout : layouts) {
      for (const Tiling& tiling : {Tiling{1, 1}, {2, 1}, {1, 3}, {7, 5}}) {
        SCOPED_TRACE(testing::Message()
                     << (isFloat ? "float" : "byte") << ", layout " << &layout - layouts << ", "
                     << tiling.columns << " x " << tiling.rows);
        expectLibraryFrame(*host_, *effect_, layout, tiling.columns, tiling.rows);
      }
    }
  }
}

TEST_F(Ofx, ProxiesAreScaled) {
  start();
  struct Scale {
    double given, expectedX, expectedY;
  };
  for (const bool isFloat : {false, true}) {
    for (const Scale& scale : {Scale{0.5, 0.5, 0.5},
                               {1.0 / 3, 1.0 / 3, 1.0 / 3},
                               {0.333333, 1.0 / 3, 1.0 / 3},
                               {0.25, 0.25, 0.25}}) {
      const Layout layout{isFloat, {2, 1, 50, 41}, 0, 0, true, 0, 0};
      setImages(*effect_, layout);
      setValues(*effect_, strong());
      ASSERT_EQ(renderTiled(*host_, *effect_, 36, 2, 2, scale.given, scale.given), kOk);
      EXPECT_EQ(difference(*effect_->clips.at("Output").plane, layout.region,
                           libraryFrame(*effect_->clips.at("Source").plane, layout.region, strong(),
                                        {3, 2}, scale.expectedX, scale.expectedY)),
                "")
          << scale.given;
    }
  }
  expectLibraryFrame(*host_, *effect_, {}, 1, 2, 0.5, 1.0);
}

TEST_F(Ofx, NumbersOfThreadsDoNotMatter) {
  for (const Threads threads : {Threads::Real, Threads::None, Threads::NullSlots,
                                Threads::DoNothing, Threads::Fail, Threads::FailHalfway}) {
    for (unsigned cpus = 1; cpus <= (threads == Threads::Real ? 8 : 2); ++cpus) {
      Habits habits;
      habits.threads = threads;
      habits.cpus = cpus;
      start(habits);
      expectLibraryFrame(*host_, *effect_, {true, {0, 0, 70, 150}, 0, 0, false, 0, 0}, 1, 2);
      if (threads == Threads::Real && cpus > 1) {
        EXPECT_GT(host_->threadsUsed(), 1);
      }
      stop();
    }
  }
}

// Windows of one frame at once, as a host does where the effect allows it.
TEST_F(Ofx, WindowsDrawAtOnce) {
  Habits habits;
  habits.concurrent = true;
  start(habits);
  const Layout layout{false, {0, 0, 120, 97}, 0, 0, true, 4, 0};
  setImages(*effect_, layout);
  setValues(*effect_, strong());
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      EXPECT_EQ(host_->render(*effect_, 36, {30 * i, 0, 30 * i + 30, 97}), kOk);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(
      difference(*effect_->clips.at("Output").plane, layout.region,
                 libraryFrame(*effect_->clips.at("Source").plane, layout.region, strong(), {3, 2})),
      "");
}

// One host sets the host, loads, describes, creates, draws and unloads for every frame, on several
// threads at once.
TEST_F(Ofx, WholeLivesAtOnce) {
  Habits habits;
  habits.concurrent = true;
  start(habits);
  const Layout layout{false, {0, 0, 60, 50}, 0, 0, true, 0, 0};
  setImages(*effect_, layout);
  setValues(*effect_, strong());
  const std::vector<std::uint8_t> expected =
      libraryFrame(*effect_->clips.at("Source").plane, layout.region, strong(), {3, 2});
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 10; ++round) {
        loadedPlugin()->setHost(host_->record());
        Effect descriptor = host_->descriptor();
        Effect context;
        Effect instance = *effect_;
        instance.clips.at("Output").plane = std::make_shared<Plane>(layout.region, 4, true, 0);
        const bool fine = host_->send(action::kLoad, nullptr) == kOk &&
                          host_->send(action::kDescribe, &descriptor) == kOk &&
                          host_->send(action::kDescribeInContext, &context) == kOk &&
                          host_->send(action::kCreateInstance, &instance) == kOk &&
                          host_->render(instance, 36, layout.region) == kOk &&
                          host_->send(action::kDestroyInstance, &instance) == kOk &&
                          host_->unload() == kOk && host_->unload() == kOk;
        if (!fine ||
            !difference(*instance.clips.at("Output").plane, layout.region, expected).empty())
          ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(Ofx, TimeIsTheFrameOverTheRate) {
  struct Case {
    double rate, frame;
    Time time;
  };
  const Layout layout{false, {0, 0, 40, 30}, 0, 0, true, 0, 0};
  Values values = strong();
  for (const Case& c : {Case{23.976, 1001, {1001 * 1001, 24000}},
                        {23.976023976, 55, {55 * 1001, 24000}},
                        {24, 55, {55, 24}},
                        {29.97, 7, {7 * 1001, 30000}},
                        {59.94, 100001, {std::int64_t{100001} * 1001, 60000}},
                        {25, -10, {-10, 25}},
                        {30, 4.5, {9, 60}},
                        {29.97, 4.25, {17 * 1001, 120000}},
                        {12.5, 30, {60, 25}}}) {
    start({}, c.rate);
    setImages(*effect_, layout);
    setValues(*effect_, values);
    ASSERT_EQ(renderTiled(*host_, *effect_, c.frame, 1, 1), kOk);
    EXPECT_EQ(
        difference(*effect_->clips.at("Output").plane, layout.region,
                   libraryFrame(*effect_->clips.at("Source").plane, layout.region, values, c.time)),
        "")
        << c.rate << ", frame " << c.frame;
    stop();
  }
}

#if defined(LOMIX_COMMAND_FILE)
/// Calls visit(of the plane, of the picture) for each channel of every pixel. A picture's first row
/// is the top one, and its alpha comes first.
template <typename Value>
void forChannels(Plane& plane, media::Picture& picture,
                 const std::function<void(std::uint8_t*, Value&)>& visit) {
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      for (int c = 0; c < 4; ++c) {
        const auto place = static_cast<std::size_t>(x * 4 + (c + 1) % 4);
        std::uint8_t* const channel =
            plane.at(x, picture.height() - 1 - y) + static_cast<std::size_t>(c) * sizeof(Value);
        if constexpr (sizeof(Value) == 1) {
          visit(channel, picture.row8(y)[place]);
        } else {
          visit(channel, picture.row32(y)[place]);
        }
      }
    }
  }
}

using OfxFiles = ScratchFolder;

// Presets in both depths, at whole and NTSC rates: the files that "lomix render" writes.
TEST_F(OfxFiles, FramesAreThoseOfTheCommand) {
  struct Film {
    double rate;
    const char* option;
  };
  constexpr int kFrames[] = {0, 1, 47, 1000};
  const int width = 96, height = 54;
  TestHost host;
  ASSERT_EQ(host.load(), kOk);
  const auto compare = [&]<typename Value>(Value, const Film& film) {
    const bool isFloat = sizeof(Value) == 4;
    const std::string ending = isFloat ? ".exr" : ".png";
    const auto effect = host.create(film.rate);
    setImages(*effect, {isFloat, {0, 0, width, height}, 0, 0, true, 0, 0});
    Plane& source = *effect->clips.at("Source").plane;
    // OpenEXR files have premultiplied colours, which are not those of memory: that one is opaque.
    media::Picture card(width, height, isFloat ? 32 : 8);
    card.info.hasAlpha = !isFloat;
    card.info.storage = isFloat ? media::Storage::Float : media::Storage::UInt8;
    for (int i = 0; isFloat && i < width * height; ++i) {
      const float white = 1.0f;
      std::memcpy(source.at(i % width, i / width) + 12, &white, 4);
    }
    forChannels<Value>(source, card,
                       [](std::uint8_t* from, Value& to) { std::memcpy(&to, from, sizeof to); });
    media::writePicture(card, path("card" + ending), true);
    constexpr int kStep = 6;  // Starting the command takes long.
    for (int i = isFloat ? 1 : 0; i < lomix_preset_count(); i += kStep) {
      lomix_preset_info preset = LOMIX_PRESET_INFO_INIT;
      ASSERT_EQ(lomix_preset_get(i, &preset, nullptr), LOMIX_OK);
      const std::string command =
          std::string(LOMIX_COMMAND_FILE) + " render '" + path("card" + ending).string() + "' '" +
          path("drawn.####" + ending).string() + "' --preset " + preset.id + " --fps " +
          film.option + " --frames 0,1,47,1000 --overwrite --quiet";
      ASSERT_EQ(std::system(command.c_str()), 0) << command;
      ASSERT_EQ(host.change(*effect, "preset", i + 1), kOk);
      for (const int frame : kFrames) {
        Plane& output = *effect->clips.at("Output").plane;
        fill(output);
        ASSERT_EQ(renderTiled(host, *effect, frame, 1 + i % 7, 1 + i % 5), kOk);
        char name[20];
        std::snprintf(name, sizeof name, "drawn.%04d", frame);
        media::Picture drawn = media::readPicture(path(name + ending));
        ASSERT_TRUE(drawn.depth() == card.depth() && drawn.width() == width);
        int different = 0;
        forChannels<Value>(output, drawn, [&different](std::uint8_t* one, const Value& other) {
          different += std::memcmp(one, &other, sizeof other) != 0 ? 1 : 0;
        });
        EXPECT_EQ(different, 0) << preset.id << ", frame " << frame << " at " << film.option
                                << ending;
      }
    }
    EXPECT_EQ(host.destroy(*effect), kOk);
  };
  for (const Film& film : {Film{23.976, "24000/1001"}, {25.0, "25"}}) {
    compare(std::uint8_t{}, film);
    compare(float{}, film);
  }
  EXPECT_EQ(host.unload(), kOk);
  EXPECT_THAT(host.violations, IsEmpty());
}
#endif

TEST_F(Ofx, TheRateComesFromWhoeverKnowsIt) {
  start();
  const Layout layout{false, {0, 0, 40, 30}, 0, 0, true, 0, 0};
  setImages(*effect_, layout);
  setValues(*effect_, strong());
  const auto frameIsAt = [&](const Time& time) {
    ASSERT_EQ(renderTiled(*host_, *effect_, 30, 1, 1), kOk);
    EXPECT_EQ(
        difference(*effect_->clips.at("Output").plane, layout.region,
                   libraryFrame(*effect_->clips.at("Source").plane, layout.region, strong(), time)),
        "");
  };
  effect_->properties.values.erase(prop::kFrameRate);
  effect_->clips.at("Output").properties.declare(prop::kFrameRate, {50.0});
  frameIsAt({30, 50});
  effect_->clips.at("Output").properties.declare(prop::kFrameRate, {0.0});
  effect_->clips.at("Source").properties.declare(prop::kFrameRate, {60.0});
  frameIsAt({30, 60});
  effect_->clips.at("Source").properties.values.erase(prop::kFrameRate);
  frameIsAt({30, 24});
}

TEST_F(Ofx, ValuesOutOfRangeAreClamped) {
  start();
  const Layout layout{};
  setImages(*effect_, layout);
  setValues(*effect_, strong());
  effect_->parameters.at("noise").value = 700;
  effect_->parameters.at("scan_distortion").value = std::nan("");
  effect_->parameters.at("distortion_mode").value = 9;
  effect_->parameters.at("scanline_thickness").value = -std::numeric_limits<double>::infinity();
  Values clamped = strong();
  clamped[8] = 100;
  clamped[4] = 0;
  clamped[2] = 2;
  clamped[11] = 1;
  ASSERT_EQ(renderTiled(*host_, *effect_, 36, 1, 1), kOk);
  EXPECT_EQ(
      difference(*effect_->clips.at("Output").plane, layout.region,
                 libraryFrame(*effect_->clips.at("Source").plane, layout.region, clamped, {3, 2})),
      "");
  for (const double time : {std::nan(""), HUGE_VAL, -1e300}) {
    EXPECT_EQ(renderTiled(*host_, *effect_, time, 1, 1), kOk) << time;
  }
}

/// Applies to every pixel (colour, alpha) of a plane; 8 bits as 0 to 255.
void changeColours(Plane& plane, const std::function<double(double, double)>& change) {
  for (int y = plane.bounds().y1; y < plane.bounds().y2; ++y) {
    for (int x = plane.bounds().x1; x < plane.bounds().x2; ++x) {
      for (int c = 0; c < 3; ++c) {
        std::uint8_t* const pixel = plane.at(x, y);
        if (plane.pixelBytes() == 4) {
          pixel[c] = static_cast<std::uint8_t>(change(pixel[c], pixel[3]));
        } else {
          float channels[4];
          std::memcpy(channels, pixel, 16);
          channels[c] = static_cast<float>(change(channels[c], channels[3]));
          std::memcpy(pixel, channels, 16);
        }
      }
    }
  }
}

TEST_F(Ofx, PremultipliedPicturesAreDrawnStraight) {
  start();
  for (const bool isFloat : {false, true}) {
    for (const char* outputState : {kPremultiplied, kStraight, kOpaque}) {
      const Layout layout{isFloat, {0, 0, 61, 43}, 2, 0, true, 0, 0};
      setImages(*effect_, layout);
      setValues(*effect_, strong());
      Clip& source = effect_->clips.at("Source");
      Clip& output = effect_->clips.at("Output");
      fill(*source.plane, true);
      Plane straight = *source.plane;
      source.image[prop::kPremultiplication] = std::string(kPremultiplied);
      output.image[prop::kPremultiplication] = std::string(outputState);
      ASSERT_EQ(renderTiled(*host_, *effect_, 36, 3, 2), kOk);
      changeColours(straight, [isFloat](double colour, double alpha) {
        if (alpha == 0) return colour;
        if (isFloat)
          return static_cast<double>(static_cast<float>(colour) / static_cast<float>(alpha));
        return std::min(255.0, std::floor(colour * 255 / alpha + 0.5));
      });
      Plane expected(layout.region, isFloat ? 16 : 4, true, 0);
      const std::vector<std::uint8_t> frame =
          libraryFrame(straight, layout.region, strong(), {3, 2});
      for (int y = 0; y < 43; ++y) {
        std::memcpy(expected.at(0, 42 - y),
                    &frame[static_cast<std::size_t>(y * 61 * expected.pixelBytes())],
                    static_cast<std::size_t>(61 * expected.pixelBytes()));
      }
      if (outputState != kStraight) {
        changeColours(expected, [isFloat](double colour, double alpha) {
          if (alpha == 0) return colour;
          if (isFloat) {
            return static_cast<double>(static_cast<float>(colour) * static_cast<float>(alpha));
          }
          return std::floor(colour * alpha / 255 + 0.5);
        });
      }
      std::vector<std::uint8_t> bytes;
      for (int y = 42; y >= 0; --y) {
        bytes.insert(bytes.end(), expected.at(0, y),
                     expected.at(0, y) + 61 * expected.pixelBytes());
      }
      EXPECT_EQ(difference(*output.plane, layout.region, bytes), "") << isFloat << outputState;
    }
  }
}

TEST_F(Ofx, IdentityIsClaimedOnlyWhereItIsExact) {
  start();
  struct Case {
    const char* name;
    bool isFloat;
    const char* state;
    double blend;
    bool identity;
  };
  for (const Case& c : {Case{"full blend", false, kStraight, 100, true},
                        {"full blend, float", true, kStraight, 100, true},
                        {"full blend, premultiplied", false, kPremultiplied, 100, true},
                        {"full blend, premultiplied float", true, kPremultiplied, 100, true},
                        {"everything at 0", false, kOpaque, 0, false},
                        {"everything at 0, opaque float", true, kOpaque, 0, true},
                        {"everything at 0, straight float", true, kStraight, 0, false}}) {
    SCOPED_TRACE(c.name);
    const Layout layout{c.isFloat, {0, 0, 40, 30}, 0, 0, false, 0, 0};
    setImages(*effect_, layout);
    Values values = c.blend > 0 ? strong() : defaults();
    values[12] = c.blend;
    setValues(*effect_, values);
    for (auto& [name, clip] : effect_->clips) {
      clip.properties.declare(prop::kPixelDepth,
                              {std::string(c.isFloat ? kDepthFloat : kDepthByte)});
      clip.properties.declare(prop::kPremultiplication, {std::string(c.state)});
      clip.image[prop::kPremultiplication] = std::string(c.state);
    }
    Plane& source = *effect_->clips.at("Source").plane;
    if (c.state == kPremultiplied) fill(source, true);
    if (c.state == kOpaque) {
      const float white = 1.0f;
      for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x) {
          if (c.isFloat) std::memcpy(source.at(x, y) + 12, &white, 4);
          if (!c.isFloat) source.at(x, y)[3] = 255;
        }
      }
    }
    EXPECT_EQ(host_->identity(*effect_, 36), c.identity ? "Source" : "");
    ASSERT_EQ(renderTiled(*host_, *effect_, 36, 2, 2), kOk);
    Plane& output = *effect_->clips.at("Output").plane;
    bool same = true;
    for (int y = 0; y < 30; ++y) {
      same = same && std::memcmp(source.at(0, y), output.at(0, y),
                                 static_cast<std::size_t>(40 * output.pixelBytes())) == 0;
    }
    EXPECT_EQ(same, c.identity) << "the picture says otherwise";
  }
  setValues(*effect_, strong());
  EXPECT_EQ(host_->identity(*effect_, 36), "");
}

TEST_F(Ofx, FramesVaryUnlessTimeIsManualWithoutKeys) {
  start();
  const auto varies = [&] {
    const Set preferences = host_->preferences(*effect_);
    EXPECT_EQ(preferences.get<int>(prop::kContinuousSamples),
              preferences.get<int>(prop::kFrameVarying));
    return preferences.get<int>(prop::kFrameVarying) == 1;
  };
  const auto timeIsEnabled = [&] {
    return effect_->parameters.at("time").properties.get<int>(prop::kEnabled) == 1;
  };
  EXPECT_TRUE(varies());
  EXPECT_FALSE(timeIsEnabled());
  EXPECT_EQ(host_->change(*effect_, "time_control", 1), kOk);
  EXPECT_FALSE(varies());
  EXPECT_TRUE(timeIsEnabled());
  effect_->parameters.at("time").keys[3] = 5;
  EXPECT_TRUE(varies());
  EXPECT_EQ(host_->change(*effect_, "time_control", 0), kOk);
  EXPECT_FALSE(timeIsEnabled());
  EXPECT_EQ(host_->change(*effect_, "noise", 7), kReplyDefault);
  effect_->parameters.at("time_control").value = 1;
  auto copy = std::make_unique<Effect>(*effect_);
  EXPECT_EQ(host_->send(action::kCreateInstance, copy.get()), kOk);
  EXPECT_EQ(copy->parameters.at("time").properties.get<int>(prop::kEnabled), 1)
      << "a loaded project";
  EXPECT_EQ(host_->destroy(*copy), kOk);
}

TEST_F(Ofx, PresetsSetEverythingInOneStep) {
  start();
  const Layout layout{false, {0, 0, 48, 36}, 0, 0, true, 0, 0};
  setImages(*effect_, layout);
  for (int i = 0; i < lomix_preset_count(); ++i) {
    lomix_preset_info preset = LOMIX_PRESET_INFO_INIT;
    ASSERT_EQ(lomix_preset_get(i, &preset, nullptr), LOMIX_OK);
    SCOPED_TRACE(preset.id);
    setValues(*effect_, strong());
    host_->edits.clear();
    ASSERT_EQ(host_->change(*effect_, "preset", i + 1), kOk);
    EXPECT_THAT(host_->edits, ElementsAre(preset.name));
    lomix_look* made = nullptr;
    ASSERT_EQ(lomix_look_create_from_preset(preset.id, &made, nullptr), LOMIX_OK);
    const LookPtr look(made);
    // Frames between the preset's keys have its values too, however the host interpolates.
    for (const int frame : {0, 1, 9, 10, 24, 25, 33, 60, 61, 84, 200}) {
      Values values;
      ASSERT_EQ(lomix_look_values(made, frame / 24.0, values.data(), kCount, nullptr), LOMIX_OK);
      ASSERT_EQ(renderTiled(*host_, *effect_, frame, 1, 1), kOk);
      EXPECT_EQ(difference(*effect_->clips.at("Output").plane, layout.region,
                           libraryFrame(*effect_->clips.at("Source").plane, layout.region, values,
                                        {frame, 24})),
                "")
          << frame;
    }
    const bool manual = effect_->parameters.at("time_control").value == 1;
    EXPECT_EQ(effect_->parameters.at("time").properties.get<int>(prop::kEnabled), manual ? 1 : 0);
  }
  const auto before = effect_->parameters.at("noise").value;
  host_->edits.clear();
  EXPECT_EQ(host_->change(*effect_, "preset", 0), kOk);
  EXPECT_EQ(effect_->parameters.at("noise").value, before);
  EXPECT_THAT(host_->edits, IsEmpty());
}

// As the standard's own host library answers where a host does not implement them.
TEST_F(Ofx, AHostWithoutKeysAndUndoGetsThePresetsValues) {
  Habits habits;
  habits.plain = true;
  start(habits);
  const Layout layout{false, {0, 0, 48, 36}, 0, 0, true, 0, 0};
  setImages(*effect_, layout);
  for (int i = 0; i < lomix_preset_count(); ++i) {
    lomix_preset_info preset = LOMIX_PRESET_INFO_INIT;
    ASSERT_EQ(lomix_preset_get(i, &preset, nullptr), LOMIX_OK);
    setValues(*effect_, strong());
    EXPECT_EQ(host_->change(*effect_, "preset", i + 1, 60), kOk) << preset.id;
    lomix_look* made = nullptr;
    ASSERT_EQ(lomix_look_create_from_preset(preset.id, &made, nullptr), LOMIX_OK);
    const LookPtr look(made);
    Values values;
    ASSERT_EQ(lomix_look_values(made, 60 / 24.0, values.data(), kCount, nullptr), LOMIX_OK);
    ASSERT_EQ(renderTiled(*host_, *effect_, 36, 1, 1), kOk);
    EXPECT_EQ(
        difference(*effect_->clips.at("Output").plane, layout.region,
                   libraryFrame(*effect_->clips.at("Source").plane, layout.region, values, {3, 2})),
        "")
        << preset.id;
  }
  EXPECT_EQ(host_->preferences(*effect_).get<int>(prop::kFrameVarying), 1);
}

TEST_F(Ofx, RegionsOfInterestAreTheWholeSource) {
  start();
  setImages(*effect_, {});
  effect_->clips.at("Source").canonicalRegion = {-3.5, 2, 1000, 77.25};
  Set in, out;
  in.declare(prop::kTime, {7.0});
  out.declare(prop::kSourceRegionOfInterest, {0.0, 0.0, 1.0, 1.0});
  EXPECT_EQ(host_->send(action::kGetRegionsOfInterest, effect_.get(), &in, &out), kOk);
  const double expected[] = {-3.5, 2, 1000, 77.25};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(out.get<double>(prop::kSourceRegionOfInterest, i), expected[i]);
  }
  host_->failCall(2, false);  // The source's region: the host's default is all that is left.
  EXPECT_EQ(host_->send(action::kGetRegionsOfInterest, effect_.get(), &in, &out), kReplyDefault);
}

TEST_F(Ofx, OtherActionsHaveTheirDefaults) {
  start();
  for (const char* action :
       {"OfxActionPurgeCaches", "OfxActionSyncPrivateData", "OfxActionBeginInstanceEdit",
        "OfxActionEndInstanceEdit", "OfxActionBeginInstanceChanged", "OfxActionEndInstanceChanged",
        "OfxImageEffectActionGetRegionOfDefinition", "OfxImageEffectActionGetFramesNeeded",
        "OfxImageEffectActionGetTimeDomain", "OfxImageEffectActionBeginSequenceRender",
        "OfxImageEffectActionEndSequenceRender", "OfxActionOfTomorrow", ""}) {
    EXPECT_EQ(host_->send(action, effect_.get()), kReplyDefault) << action;
  }
  Effect stranger = *effect_;
  EXPECT_EQ(host_->render(stranger, 0, {0, 0, 1, 1}), kBadHandle);
  EXPECT_EQ(host_->destroy(stranger), kOk);
}

TEST_F(Ofx, ImagesThatItCannotDrawAreRefused) {
  start();
  struct Case {
    const char* name;
    std::function<void(Effect&)> spoil;
    const char* message;
  };
  const Case cases[] = {
      {"half",
       [](Effect& e) {
         e.clips.at("Source").image[prop::kPixelDepth] = std::string("OfxBitDepthHalf");
       },
       "OfxBitDepthHalf"},
      {"RGB",
       [](Effect& e) {
         e.clips.at("Output").image[prop::kComponents] = std::string("OfxImageComponentRGB");
       },
       "OfxImageComponentRGB"},
      {"no data",
       [](Effect& e) { e.clips.at("Source").image[prop::kData] = static_cast<void*>(nullptr); },
       "no pixels"},
      {"no output data",
       [](Effect& e) { e.clips.at("Output").image[prop::kData] = static_cast<void*>(nullptr); },
       "no pixels"},
      {"no output", [](Effect& e) { e.clips.at("Output").plane.reset(); }, "no image"},
      {"two depths",
       [](Effect& e) {
         e.clips.at("Output").plane = std::make_shared<Plane>(OfxRectI{0, 0, 64, 48}, 16, false, 0);
       },
       "format is not the source's"},
      {"short rows", [](Effect& e) { e.clips.at("Output").image[prop::kRowBytes] = 64 * 4 - 1; },
       "less than the 256 bytes of a row"},
  };
  for (const Case& c : cases) {
    Effect fresh = *effect_;
    setImages(*effect_, {});
    c.spoil(*effect_);
    host_->messages.clear();
    EXPECT_EQ(host_->render(*effect_, 1, {0, 0, 64, 48}), kFailed) << c.name;
    EXPECT_THAT(host_->messages, ElementsAre(HasSubstr(c.message))) << c.name;
    effect_->clips = fresh.clips;
  }
  setImages(*effect_, {});
  EXPECT_EQ(host_->render(*effect_, 1, {500, 500, 600, 600}), kOk) << "a window beside the output";
}

TEST_F(Ofx, AMissingSourceIsTransparentBlack) {
  start();
  for (const bool isFloat : {false, true}) {
    const Layout layout{isFloat, {1, 2, 64, 48}, 0, 3, false, 0, 0};
    setImages(*effect_, layout);
    setValues(*effect_, strong());
    Plane black(layout.region, isFloat ? 16 : 4, false, 0);
    changeColours(black, [](double, double) { return 0.0; });
    for (int y = 2; y < 48; ++y)
      std::memset(black.at(1, y), 0, static_cast<std::size_t>(63 * black.pixelBytes()));
    effect_->clips.at("Source").plane.reset();
    ASSERT_EQ(renderTiled(*host_, *effect_, 36, 2, 3), kOk);
    EXPECT_EQ(difference(*effect_->clips.at("Output").plane, layout.region,
                         libraryFrame(black, layout.region, strong(), {3, 2})),
              "");
  }
}

TEST_F(Ofx, BgraPicturesKeepTheirOrder) {
  start();
  const std::string depth = prop::kPixelDepth, order = prop::kPixelOrder;
  struct Case {
    bool isFloat;
    bool swapped;  ///< The output is RGBA.
    bool byDepth;
  };
  for (const Case& c : {Case{false, false, false},
                        {false, false, true},
                        {false, true, false},
                        {false, true, true},
                        {true, false, true},
                        {true, true, false},
                        {true, true, true}}) {
    const Layout layout{c.isFloat, {0, 0, 64, 48}, 0, 0, false, 0, 0};
    setImages(*effect_, layout);
    setValues(*effect_, strong());
    for (auto& [name, clip] : effect_->clips) {
      clip.image.clear();
      if (c.swapped && name == "Output") continue;
      if (c.byDepth) {
        clip.image[depth] = std::string(c.isFloat ? kDepthFloatBgra : kDepthByteBgra);
      } else {
        clip.image[order] = std::string(kOrderBgra);
      }
    }
    ASSERT_EQ(renderTiled(*host_, *effect_, 36, 2, 1), kOk);
    Plane source = *effect_->clips.at("Source").plane;
    for (int i = 0; c.swapped && i < 64 * 48; ++i) {
      std::uint8_t* const pixel = source.at(i % 64, i / 64);
      std::swap_ranges(pixel, pixel + source.pixelBytes() / 4, pixel + source.pixelBytes() / 2);
    }
    EXPECT_EQ(difference(*effect_->clips.at("Output").plane, layout.region,
                         libraryFrame(source, layout.region, strong(), {3, 2})),
              "")
        << c.isFloat << c.swapped << c.byDepth;
  }
}

TEST_F(Ofx, AFieldIsEveryOtherRow) {
  start();
  for (const int field : {0, 1}) {
    const Layout layout{};
    setImages(*effect_, layout);
    setValues(*effect_, strong());
    Plane& output = *effect_->clips.at("Output").plane;
    Plane before = output;
    ASSERT_EQ(
        host_->render(*effect_, 36, {0, 0, 64, 48}, 1, 1, field == 0 ? kFieldLower : kFieldUpper),
        kOk);
    const std::vector<std::uint8_t> frame =
        libraryFrame(*effect_->clips.at("Source").plane, layout.region, strong(), {3, 2});
    for (int y = 0; y < 48; ++y) {
      const void* const expected =
          y % 2 == field ? &frame[static_cast<std::size_t>((47 - y) * 64 * 4)] : before.at(0, y);
      EXPECT_EQ(std::memcmp(expected, output.at(0, y), 64 * 4), 0) << y;
    }
  }
}

TEST_F(Ofx, AbortEndsTheRender) {
  for (const unsigned cpus : {1U, 4U}) {
    Habits habits;
    habits.cpus = cpus;
    start(habits);
    setImages(*effect_, {false, {0, 0, 20, 160}, 0, 0, false, 0, 0});
    EXPECT_EQ(host_->render(*effect_, 1, {0, 0, 20, 160}), kOk);
    EXPECT_EQ(host_->aborts(), 10) << "once in 16 rows";
    for (const int nth : {1, 3}) {
      host_->abortAt(nth);
      Plane& output = *effect_->clips.at("Output").plane;
      fill(output);
      EXPECT_EQ(host_->render(*effect_, 1, {0, 0, 20, 160}), kOk);
      EXPECT_LE(host_->aborts(), nth + static_cast<int>(cpus));
      EXPECT_TRUE(output.guardsIntact());
    }
    stop();
  }
}

TEST_F(Ofx, OddHosts) {
  for (const char* suite : {"OfxPropertySuite", "OfxImageEffectSuite", "OfxParameterSuite"}) {
    Habits habits;
    habits.missingSuite = suite;
    TestHost host(habits);
    EXPECT_EQ(host.load(), kMissingHostFeature) << suite;
  }
  {
    TestHost host;
    loadedPlugin()->setHost(nullptr);
    EXPECT_EQ(host.send(action::kLoad, nullptr), kMissingHostFeature);
  }
  {
    const auto setHost = reinterpret_cast<OfxStatus (*)(const OfxHost*)>(exported("OfxSetHost"));
    ASSERT_NE(setHost, nullptr);
    TestHost host;
    EXPECT_EQ(setHost(nullptr), kFailed);
    EXPECT_EQ(host.send(action::kLoad, nullptr), kMissingHostFeature);
    EXPECT_EQ(setHost(host.record()), kOk);
    EXPECT_EQ(host.send(action::kLoad, nullptr), kOk) << "a host of version 1.5";
  }
  Habits old;
  old.old = true;
  old.noPages = true;
  Habits silent;
  for (const char* name : {prop::kTiles, prop::kHostFrameThreading, prop::kHint, prop::kScriptName,
                           prop::kEnabled, prop::kChoiceAnimation, prop::kPremultiplication,
                           prop::kRegionOfDefinition, prop::kRenderScale, prop::kField,
                           prop::kPersistent, prop::kName, prop::kContinuousSamples}) {
    silent.missingProperties.insert(name);
  }
  for (const Habits& habits : {old, silent}) {
    start(habits);
    expectLibraryFrame(*host_, *effect_, {}, 1, 1);
    stop();
  }
  Habits fusion;
  fusion.name = "com.blackmagicdesign.Fusion";
  start(fusion);
  const Layout layout{};
  setImages(*effect_, layout);
  setValues(*effect_, strong());
  ASSERT_EQ(renderTiled(*host_, *effect_, 36, 1, 1, 2.0, 2.0), kOk);
  EXPECT_EQ(difference(*effect_->clips.at("Output").plane, layout.region,
                       libraryFrame(*effect_->clips.at("Source").plane, layout.region, strong(),
                                    {3, 2}, 0.5, 0.5)),
            "");
}

// A whole life of the plug-in in which the nth call of the host fails, or all from there on.
TEST_F(Ofx, EveryFailureOfTheHostIsSurvived) {
  for (const bool allAfter : {false, true}) {
    for (int nth = 1;; ++nth) {
      Habits habits;
      habits.cpus = 2;
      TestHost host(habits);
      host.failCall(nth, allAfter);
      OfxStatus status = host.load();
      EXPECT_THAT(status, testing::AnyOf(kOk, kFailed, kMissingHostFeature)) << "call " << nth;
      std::unique_ptr<Effect> effect = status == kOk ? host.create() : nullptr;
      if (effect) {
        for (const char* state : {kStraight, kPremultiplied}) {
          setImages(*effect, {true, {0, 0, 9, 20}, 1, 0, false, 0, 0});
          effect->clips.at("Source").image[prop::kPremultiplication] = std::string(state);
          EXPECT_THAT(host.render(*effect, 3, {0, 0, 9, 20}), testing::AnyOf(kOk, kFailed, kMemory))
              << "call " << nth;
          EXPECT_TRUE(effect->clips.at("Output").plane->guardsIntact());
        }
        Set in = TestHost::renderArguments(1, {0, 0, 1, 1}, 1, 1), out;
        out.declare(prop::kName, {std::string()});
        out.declare(prop::kFrameVarying, {0});
        out.declare(prop::kSourceRegionOfInterest, {0.0, 0.0, 1.0, 1.0});
        for (const char* action :
             {action::kIsIdentity, action::kGetClipPreferences, action::kGetRegionsOfInterest}) {
          host.send(action, effect.get(), &in, &out);
        }
        host.change(*effect, "time_control", 1);
        host.change(*effect, "preset", 4);
        EXPECT_EQ(host.destroy(*effect), kOk);
      }
      EXPECT_EQ(host.unload(), kOk);
      EXPECT_THAT(host.violations, IsEmpty()) << "call " << nth;
      if (host.calls() < nth) {  // No call was left to fail.
        EXPECT_GT(nth, 300);
        break;
      }
    }
  }
}

}  // namespace
}  // namespace lomix::ofx_test
