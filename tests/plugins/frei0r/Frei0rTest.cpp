// lomix.so as a frei0r host drives it, against frames of the library.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <map>
#include <thread>
#include <vector>

#include "plugins/Handles.h"
#include "plugins/frei0r/Frei0r.h"
#include "support/ScratchFolder.h"

namespace lomix::frei0r {
namespace {

using plugins::LookPtr;
using testing::HasSubstr;
using Pixels = std::vector<std::uint32_t>;

constexpr int kCount = 15;

/// The plug-in's functions, as a host finds them.
struct Plugin {
  decltype(&f0r_init) init;
  decltype(&f0r_deinit) deinit;
  decltype(&f0r_get_plugin_info) pluginInfo;
  decltype(&f0r_get_param_info) paramInfo;
  decltype(&f0r_construct) construct;
  decltype(&f0r_destruct) destruct;
  decltype(&f0r_set_param_value) set;
  decltype(&f0r_get_param_value) get;
  decltype(&f0r_update) update;

  Plugin() {
    void* const file = dlopen(LOMIX_FREI0R_FILE, RTLD_NOW | RTLD_LOCAL);
    if (file == nullptr) throw std::runtime_error(dlerror());
    const auto find = [file](auto& function, const char* name) {
      function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(file, name));
      if (function == nullptr) throw std::runtime_error(name);
    };
    find(init, "f0r_init");
    find(deinit, "f0r_deinit");
    find(pluginInfo, "f0r_get_plugin_info");
    find(paramInfo, "f0r_get_param_info");
    find(construct, "f0r_construct");
    find(destruct, "f0r_destruct");
    find(set, "f0r_set_param_value");
    find(get, "f0r_get_param_value");
    find(update, "f0r_update");
  }
};

const Plugin& plugin() {
  static const Plugin instance;
  return instance;
}

class Instance {
 public:
  Instance(unsigned width, unsigned height) : handle_(plugin().construct(width, height)) {}
  ~Instance() { plugin().destruct(handle_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  void set(int index, double value) const { plugin().set(handle_, &value, index); }
  void set(int index, const char* text) const { plugin().set(handle_, &text, index); }
  double get(int index) const {
    double value = std::nan("");
    plugin().get(handle_, &value, index);
    return value;
  }
  std::string text(int index) const {
    const char* text = nullptr;
    plugin().get(handle_, &text, index);
    return text;
  }
  /// Draws between guards. shift: bytes that the pictures are off a pixel's alignment.
  Pixels draw(double time, const Pixels& source, std::size_t shift = 0) const {
    constexpr std::size_t kGuardBytes = 64;
    const std::size_t bytes = source.size() * 4;
    std::vector<unsigned char> in(bytes + shift), out(bytes + 2 * kGuardBytes + shift, 0xA5);
    std::memcpy(in.data() + shift, source.data(), bytes);
    unsigned char* const first = out.data() + kGuardBytes + shift;
    plugin().update(handle_, time, reinterpret_cast<std::uint32_t*>(in.data() + shift),
                    reinterpret_cast<std::uint32_t*>(first));
    EXPECT_TRUE(std::all_of(out.data(), first, [](auto byte) { return byte == 0xA5; }));
    EXPECT_TRUE(std::all_of(first + bytes, out.data() + out.size(),
                            [](auto byte) { return byte == 0xA5; }));
    EXPECT_EQ(std::memcmp(in.data() + shift, source.data(), bytes), 0) << "the source was changed";
    Pixels result(source.size());
    std::memcpy(result.data(), first, bytes);
    return result;
  }

 private:
  f0r_instance_t handle_;
};

/// A picture without symmetry and with alpha of every kind.
Pixels card(unsigned width, unsigned height) {
  Pixels pixels(std::size_t{width} * height);
  std::uint32_t state = width * 31 + height;
  for (std::uint32_t& pixel : pixels) {
    state = state * 1664525 + 1013904223;
    pixel = state ^ (state >> 13);
    if (state % 3 == 0) pixel |= 0xFF000000;
  }
  return pixels;
}

/// The library's frame of a look.
Pixels expected(const lomix_look* look, std::int64_t numerator, std::int64_t denominator,
                const Pixels& source, unsigned width, unsigned height) {
  std::array<double, 13> values;
  const double seconds = static_cast<double>(numerator) / static_cast<double>(denominator);
  EXPECT_EQ(lomix_look_values(look, seconds, values.data(), 13, nullptr), LOMIX_OK);
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = 13;
  settings.time_numerator = numerator;
  settings.time_denominator = denominator;
  Pixels in = source, out(source.size());
  const auto image = [&](Pixels& pixels) {
    lomix_image result = LOMIX_IMAGE_INIT;
    result.format = LOMIX_RGBA8;
    result.width = static_cast<int>(width);
    result.height = static_cast<int>(height);
    result.row_bytes = std::int64_t{width} * 4;
    result.data = pixels.data();
    return result;
  };
  const lomix_image from = image(in), to = image(out);
  lomix_frame* frame = nullptr;
  lomix_error error = LOMIX_ERROR_INIT;
  EXPECT_EQ(lomix_frame_create(&settings, &from, &to, &frame, &error), LOMIX_OK) << error.message;
  EXPECT_EQ(lomix_frame_draw_rows(frame, 0, to.height, nullptr), LOMIX_OK);
  lomix_frame_destroy(frame);
  return out;
}

LookPtr preset(const char* id) {
  lomix_look* look = nullptr;
  EXPECT_EQ(lomix_look_create_from_preset(id, &look, nullptr), LOMIX_OK) << id;
  return LookPtr(look);
}

LookPtr lookOf(const std::map<std::string, double>& values) {
  lomix_look* look = nullptr;
  EXPECT_EQ(lomix_look_create(&look, nullptr), LOMIX_OK);
  for (const auto& [name, value] : values) {
    EXPECT_EQ(lomix_look_set_number(look, name.c_str(), value, nullptr), LOMIX_OK) << name;
  }
  return LookPtr(look);
}

// Saved projects and command lines count the parameters: this list only ever grows at its end.
TEST(Frei0r, DescribesItself) {
  f0r_plugin_info_t info{};
  plugin().pluginInfo(&info);
  EXPECT_STREQ(info.name, "Lomix");
  EXPECT_EQ(info.plugin_type, 0);
  EXPECT_EQ(info.color_model, 1);
  EXPECT_EQ(info.frei0r_version, 1);
  EXPECT_EQ(info.num_params, kCount);
  struct Expected {
    const char* name;
    int type;
    double position;
  };
  const Expected list[kCount] = {
      {"Look", 4, 0},
      {"Time in Milliseconds", 0, 0},
      {"Time Control", 1, 0},
      {"Time", 1, 0},
      {"Distortion Mode", 1, 1},
      {"Signal Distortion", 1, 0},
      {"Scan Distortion", 1, 0},
      {"Horizontal Sync", 1, 0},
      {"Vertical Sync", 1, 0},
      {"Bars Overlay", 1, 0},
      {"Noise", 1, 0},
      {"Scanline Overlay", 1, 0},
      {"Scanline Speed", 1, 0.01},
      {"Scanline Thickness", 1, 0},
      {"Blend w/Original", 1, 0},
  };
  const Instance instance(720, 576);
  for (int i = 0; i < kCount; ++i) {
    f0r_param_info_t parameter{};
    plugin().paramInfo(&parameter, i);
    EXPECT_STREQ(parameter.name, list[i].name);
    EXPECT_EQ(parameter.type, list[i].type) << parameter.name;
    EXPECT_GT(std::strlen(parameter.explanation), 10U) << parameter.name;
    if (i > 0) {
      EXPECT_DOUBLE_EQ(instance.get(i), list[i].position) << parameter.name;
    }
  }
  EXPECT_EQ(instance.text(0), "");
  f0r_param_info_t beyond{nullptr, -1, nullptr};
  plugin().paramInfo(&beyond, kCount);
  plugin().paramInfo(&beyond, -1);
  EXPECT_EQ(beyond.type, -1);
}

TEST(Frei0r, PositionsAreThoseOfTheSliders) {
  const Pixels source = card(64, 48);
  const Instance instance(64, 48);
  const auto draw = [&] { return instance.draw(1.5, source); };
  const auto library = [&](const std::map<std::string, double>& values) {
    return expected(lookOf(values).get(), 3, 2, source, 64, 48);
  };
  EXPECT_EQ(draw(), library({})) << "defaults";
  instance.set(10, 0.3);
  instance.set(6, 0.2);
  EXPECT_EQ(draw(), library({{"Noise", 30}, {"Scan Distortion", 20}}));
  instance.set(4, 0.49);
  instance.set(11, 0.5);
  instance.set(12, 0.07);
  instance.set(13, 0.1);
  const std::map<std::string, double> tiled{
      {"Noise", 30},          {"Scan Distortion", 20},
      {"Distortion Mode", 1}, {"Scanline Overlay", 50},
      {"Scanline Speed", 7},  {"Scanline Thickness", 1 + 0.1 * 99}};
  EXPECT_EQ(draw(), library(tiled));
  instance.set(10, 7.0);
  instance.set(6, -3.0);
  instance.set(4, 0.51);
  instance.set(11, std::numeric_limits<double>::infinity());
  instance.set(12, 0.0);
  instance.set(13, 0.0);
  const std::map<std::string, double> clamped{
      {"Noise", 100}, {"Scanline Overlay", 100}, {"Scanline Speed", 0}};
  EXPECT_EQ(draw(), library(clamped));
  instance.set(10, std::nan(""));
  instance.set(kCount, 1.0);
  instance.set(-1, 1.0);
  EXPECT_EQ(draw(), library(clamped)) << "NaN and parameters that do not exist change nothing";
}

using Frei0rFiles = ScratchFolder;

TEST_F(Frei0rFiles, ALookCountsAlone) {
  const Pixels source = card(50, 40);
  const Instance instance(50, 40);
  instance.set(10, 0.9);
  instance.set(0, "weak-aerial");
  const Pixels aerial = expected(preset("weak-aerial").get(), 7, 25, source, 50, 40);
  EXPECT_EQ(instance.draw(0.28, source), aerial);
  EXPECT_EQ(instance.text(0), "weak-aerial");
  instance.set(0, " Weak Aerial ");
  EXPECT_EQ(instance.draw(0.28, source), aerial);
  const Pixels listed =
      expected(lookOf({{"Noise", 30}, {"Scan Distortion", 20}}).get(), 7, 25, source, 50, 40);
  for (const char* list : {"Noise=30, Scan Distortion=20", "scan_distortion=20 %,noise=30,",
                           " Noise = 30 ,, scan-distortion = 20"}) {
    instance.set(0, list);
    EXPECT_EQ(instance.draw(0.28, source), listed) << list;
  }
  const std::string file = path("my=look, mine.json").string();
  std::ofstream(file) << R"({"format": 1, "name": "Mine", "description": "Test",
                             "parameters": {"Noise": 30, "Scan Distortion": 20}})";
  instance.set(0, file.c_str());
  EXPECT_EQ(instance.draw(0.28, source), listed) << "a preset file";
  instance.set(0, "");
  EXPECT_EQ(instance.draw(0.28, source),
            expected(lookOf({{"Noise", 90}}).get(), 7, 25, source, 50, 40));
}

TEST_F(Frei0rFiles, AFaultyLookIsNamedOnceAndDrawsTheSource) {
  const Pixels source = card(20, 10);
  const Instance instance(20, 10);
  instance.set(10, 0.5);
  const std::string file = path("bad.json").string();
  std::ofstream(file) << "{\"format\": 1,\n\"parameters\": {\"Noise\": 300}}";
  struct Case {
    std::string look, message;
  };
  for (const Case& c : {Case{"weak-areal", "did you mean 'weak-aerial'?"},
                        {"Noize=30", "Noise"},
                        {"Noise=300", "100"},
                        {"Noise=", "Noise"},
                        {"=30", "("},
                        {file, "bad.json"},
                        {path("").string(), "no preset"}}) {
    testing::internal::CaptureStderr();
    instance.set(0, c.look.c_str());
    instance.set(0, c.look.c_str());
    EXPECT_EQ(instance.draw(0.5, source), source) << c.look;
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_THAT(printed, testing::StartsWith("lomix: Look: ")) << c.look;
    EXPECT_THAT(printed, HasSubstr(c.message)) << c.look;
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1) << printed;
  }
}

TEST(Frei0r, TimesOfEveryHost) {
  const unsigned width = 33, height = 21;
  const Pixels source = card(width, height);
  const Instance instance(width, height);
  instance.set(0, "slipping-hold");
  const LookPtr look = preset("slipping-hold");
  const auto at = [&](std::int64_t numerator, std::int64_t denominator) {
    return expected(look.get(), numerator, denominator, source, width, height);
  };
  // Keys hold until exactly 1, 2, 3 and 3.5 s: a time below by an ulp would draw the value before.
  for (const std::int64_t frame : {0, 1, 23, 24, 25, 33, 48, 72, 84, 1000}) {
    const auto number = static_cast<double>(frame);
    instance.set(1, 0.0);
    EXPECT_EQ(instance.draw(number / 24.0, source), at(frame, 24)) << frame;
    EXPECT_EQ(instance.draw(number / (24000.0 / 1001.0), source), at(frame * 1001, 24000)) << frame;
    instance.set(1, 1.0);
    EXPECT_EQ(instance.draw(number * (1.0 / 24.0) * 1000.0, source), at(frame, 24)) << frame;
    EXPECT_EQ(instance.draw(number * 1001 * (1.0 / 24000.0) * 1000.0, source),
              at(frame * 1001, 24000))
        << frame;
  }
  instance.set(1, 0.0);
  EXPECT_EQ(instance.draw(-2.5, source), at(-5, 2)) << "before the start";
  for (const double missing : {-3e20, 3e20, std::nan(""), HUGE_VAL}) {
    EXPECT_EQ(instance.draw(missing, source), at(0, 1)) << missing;
  }
}

TEST(Frei0r, EverySizeAndAlignment) {
  const LookPtr look = preset("late-night-channel");
  struct Size {
    unsigned width, height;
  };
  for (const Size& size : {Size{1, 1}, {1, 9}, {9, 1}, {51, 37}, {333, 5}, {2049, 3}}) {
    const Pixels source = card(size.width, size.height);
    const Instance instance(size.width, size.height);
    instance.set(0, "late-night-channel");
    const Pixels frame = expected(look.get(), 3, 2, source, size.width, size.height);
    for (const std::size_t shift : {0U, 1U, 3U}) {
      EXPECT_EQ(instance.draw(1.5, source, shift), frame) << size.width << " x " << size.height;
    }
  }
}

TEST(Frei0r, InstancesDrawAtOnce) {
  const Pixels source = card(80, 60);
  const char* const looks[] = {"weak-aerial", "snow", "dying-tape", "hum-bars"};
  std::vector<Pixels> frames;
  for (const char* look : looks) {
    frames.push_back(expected(preset(look).get(), 5, 4, source, 80, 60));
  }
  std::vector<std::thread> threads;
  std::array<int, 4> wrong{};
  for (std::size_t i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 20; ++round) {
        const Instance instance(80, 60);
        for (int j = 2; j < kCount; ++j) instance.set(j, 0.25);
        instance.set(0, looks[i]);
        if (instance.draw(1.25, source) != frames[i]) ++wrong[i];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(wrong, testing::Each(0));
}

}  // namespace
}  // namespace lomix::frei0r
