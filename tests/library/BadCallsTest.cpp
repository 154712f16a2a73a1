// Calls as careless programs make them: a status, a message, nothing written, no crash.
#include <gmock/gmock.h>

#include <array>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>

#include "HasThreads.h"
#include "library/ImageBuffer.h"

namespace lomix::library_test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Sound arguments of a frame, to be spoilt one by one.
struct Arguments {
  ImageBuffer sourceBuffer{6, 5, LOMIX_ARGB8};
  ImageBuffer outputBuffer{6, 5, LOMIX_ARGB8};
  lomix_image source = sourceBuffer.image;
  lomix_image output = outputBuffer.image;
  std::array<double, 13> values{1, 0, 2, 10, 10, 5, 5, 10, 10, 10, 1, 1, 10};
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;

  Arguments() {
    settings.values = values.data();
    settings.value_count = 13;
  }
};

struct BadFrame {
  const char* name;
  lomix_status status;
  void (*spoil)(Arguments&);
};

const BadFrame kBadFrames[] = {
    {"no source pixels", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.source.data = nullptr; }},
    {"no output pixels", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.data = nullptr; }},
    {"width 0", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.source.width = 0; }},
    {"height -1", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.height = -1; }},
    {"least height", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.height = INT_MIN; }},
    {"enormous height", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.height = INT_MAX; }},
    {"format 0", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.source.format = 0; }},
    {"format 99", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.format = 99; }},
    {"two formats", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.format = LOMIX_RGBA8; }},
    {"short rows", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.source.row_bytes = 23; }},
    {"short rows bottom-up", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.row_bytes = -23; }},
    {"row bytes 0", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.row_bytes = 0; }},
    {"enormous rows", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) { a.source.row_bytes = std::int64_t{1} << 40; }},
    {"least row bytes", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) { a.source.row_bytes = std::numeric_limits<std::int64_t>::min(); }},
    {"enormous width", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) {
       a.source.width = INT_MAX;
       a.source.row_bytes = INT_MAX;
     }},
    {"alpha -1", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.source.alpha = -1; }},
    {"alpha 3", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.alpha = 3; }},
    {"two depths", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) {
       a.source.width = a.output.width = 1;
       a.source.format = LOMIX_BGRA8;
       a.output.format = LOMIX_BGRA32F;
     }},
    {"a place in no picture", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.source.left = 1; }},
    {"a picture without rows", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) { a.source.picture_width = 9; }},
    {"a picture of -1 columns", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) {
       a.source.picture_width = -1;
       a.source.picture_height = 9;
     }},
    {"an enormous picture", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) { a.source.picture_width = a.source.picture_height = INT_MAX; }},
    {"no pixels of an output", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) {
       a.output.width = a.output.height = 0;
       a.output.data = nullptr;
     }},
    {"no data of a part", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) {
       a.source.picture_width = a.source.picture_height = 9;
       a.source.data = nullptr;
     }},
    {"a part of an output", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) { a.output.picture_width = a.output.picture_height = 9; }},
    {"in place", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.output.data = a.source.data; }},
    {"overlap by one row", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) {
       a.source.height = a.output.height = 3;
       a.output.data = static_cast<char*>(a.source.data) + 2 * a.source.row_bytes;
     }},
    {"overlap bottom-up", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) {
       a.output.data = static_cast<char*>(a.source.data) + 4 * a.source.row_bytes;
       a.output.row_bytes = -a.source.row_bytes;
     }},
    {"struct_size 0", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.source.struct_size = 0; }},
    {"settings of size 0", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.settings.struct_size = 0; }},
    {"count without values", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.settings.values = nullptr; }},
    {"count -1", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.settings.value_count = -1; }},
    {"a value of NaN", LOMIX_OUT_OF_RANGE, [](Arguments& a) { a.values[8] = kNan; }},
    {"an infinite value", LOMIX_OUT_OF_RANGE, [](Arguments& a) { a.values[1] = kInfinity; }},
    {"a percentage of 101", LOMIX_OUT_OF_RANGE, [](Arguments& a) { a.values[4] = 101; }},
    {"a choice of 3", LOMIX_OUT_OF_RANGE, [](Arguments& a) { a.values[2] = 3; }},
    {"a choice of 1.5", LOMIX_OUT_OF_RANGE, [](Arguments& a) { a.values[0] = 1.5; }},
    {"time NaN", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.settings.time_seconds = kNan; }},
    {"time beyond floats", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) { a.settings.time_seconds = 1e300; }},
    {"denominator -1", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.settings.time_denominator = -1; }},
    {"scale -1", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.settings.scale_x = -1; }},
    {"scale 2", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.settings.scale_y = 2; }},
    {"scale NaN", LOMIX_BAD_ARGUMENT, [](Arguments& a) { a.settings.scale_x = kNan; }},
    {"scale next to nothing", LOMIX_BAD_ARGUMENT,
     [](Arguments& a) { a.settings.scale_x = 5e-324; }},
};

void expectOneLine(const lomix_error& error, lomix_status status, const char* name) {
  EXPECT_EQ(error.status, status) << name;
  EXPECT_THAT(error.message, testing::MatchesRegex("[^\n]+: [^\n]+ \\([^\n]+\\)")) << name;
}

TEST(BadCalls, AFrameIsRefusedWithoutAPixelWritten) {
  lomix_context* context = nullptr;
  ASSERT_EQ(lomix_context_create(kHasThreads ? 2 : 1, &context, nullptr), LOMIX_OK);
  for (const BadFrame& bad : kBadFrames) {
    Arguments a;
    bad.spoil(a);
    const auto before = a.outputBuffer.bytes();
    const auto sourceBefore = a.sourceBuffer.bytes();
    lomix_error error = LOMIX_ERROR_INIT;
    auto* frame = reinterpret_cast<lomix_frame*>(1);
    EXPECT_EQ(lomix_frame_create(&a.settings, &a.source, &a.output, &frame, &error), bad.status)
        << bad.name;
    EXPECT_EQ(frame, nullptr) << bad.name;
    expectOneLine(error, bad.status, bad.name);
    EXPECT_EQ(
        lomix_context_render(context, &a.settings, &a.source, &a.output, nullptr, nullptr, nullptr),
        bad.status)
        << bad.name;
    EXPECT_EQ(a.outputBuffer.bytes(), before) << bad.name;
    EXPECT_EQ(a.sourceBuffer.bytes(), sourceBefore) << bad.name;
  }
  lomix_context_destroy(context);
}

TEST(BadCalls, RowsBeyondTheFrame) {
  Arguments a;
  lomix_frame* frame = nullptr;
  ASSERT_EQ(lomix_frame_create(&a.settings, &a.source, &a.output, &frame, nullptr), LOMIX_OK);
  const auto before = a.outputBuffer.bytes();
  const std::pair<int, int> cases[] = {{-1, 2},           {0, 6}, {3, 2}, {6, 6}, {5, 6}, {0, -1},
                                       {INT_MIN, INT_MAX}};
  float values[5];
  for (const auto& [first, last] : cases) {
    lomix_error error = LOMIX_ERROR_INIT;
    EXPECT_EQ(lomix_frame_draw_rows(frame, first, last, &error), LOMIX_BAD_ARGUMENT);
    expectOneLine(error, LOMIX_BAD_ARGUMENT, "rows");
  }
  for (const auto& [first, count] :
       {std::pair(-1, 2), {0, 6}, {3, -1}, {5, 1}, {INT_MAX, INT_MAX}}) {
    EXPECT_EQ(lomix_frame_get_profile(frame, LOMIX_BARS_PROFILE, first, count, values, nullptr),
              LOMIX_BAD_ARGUMENT)
        << first << ", " << count;
  }
  EXPECT_EQ(lomix_frame_draw_rows(frame, 3, 3, nullptr), LOMIX_OK) << "no rows at all";
  EXPECT_EQ(a.outputBuffer.bytes(), before);
  EXPECT_EQ(lomix_frame_get_profile(frame, 4, 0, 5, values, nullptr), LOMIX_BAD_ARGUMENT);
  EXPECT_EQ(lomix_frame_get_profile(frame, 1, 0, 5, nullptr, nullptr), LOMIX_BAD_ARGUMENT);
  lomix_frame_destroy(frame);
}

TEST(BadCalls, WindowsOfOtherKinds) {
  Arguments a;
  lomix_frame* frame = nullptr;
  ASSERT_EQ(lomix_frame_create_for_windows(&a.settings, &a.source, 6, 5, &frame, nullptr),
            LOMIX_OK);
  const auto before = a.outputBuffer.bytes();
  const auto refused = [&](const char* name, int left, int top, const lomix_image* window) {
    lomix_error error = LOMIX_ERROR_INIT;
    EXPECT_EQ(lomix_frame_draw_window(frame, left, top, window, &error), LOMIX_BAD_ARGUMENT)
        << name;
    expectOneLine(error, LOMIX_BAD_ARGUMENT, name);
  };
  lomix_image part = a.output;
  part.width = 2;
  part.height = 2;
  lomix_image other = part;
  other.format = a.source.format == LOMIX_ARGB8 ? LOMIX_RGBA8 : LOMIX_ARGB8;
  refused("another format", 0, 0, &other);
  lomix_image same = part;
  same.data = a.source.data;
  refused("the source's memory", 0, 0, &same);
  lomix_image placed = part;
  placed.left = 1;
  refused("a part of a picture", 0, 0, &placed);
  refused("null", 0, 0, nullptr);
  EXPECT_EQ(lomix_frame_draw_rows(frame, 0, 1, nullptr), LOMIX_BAD_ARGUMENT) << "no output";
  EXPECT_EQ(a.outputBuffer.bytes(), before);
  EXPECT_EQ(lomix_frame_draw_window(frame, 4, 3, &part, nullptr), LOMIX_OK) << "the last corner";
  EXPECT_NE(a.outputBuffer.bytes(), before);
  lomix_frame_destroy(frame);
  for (const auto& [width, height] : {std::pair(0, 5), {6, -1}, {INT_MAX, 5}}) {
    EXPECT_EQ(
        lomix_frame_create_for_windows(&a.settings, &a.source, width, height, &frame, nullptr),
        LOMIX_BAD_ARGUMENT);
    EXPECT_EQ(frame, nullptr);
  }
}

TEST(BadCalls, NullsAndNonsense) {
  Arguments a;
  lomix_look* look = nullptr;
  ASSERT_EQ(lomix_look_create(&look, nullptr), LOMIX_OK);
  lomix_look* made = nullptr;
  lomix_frame* frame = nullptr;
  lomix_context* context = nullptr;
  lomix_parameter_info parameter = LOMIX_PARAMETER_INFO_INIT;
  lomix_preset_info preset = LOMIX_PRESET_INFO_INIT;
  const lomix_key key{sizeof(lomix_key), 0, 0, 5};
  const lomix_key backwards[] = {{sizeof(lomix_key), 0, 1, 5}, {sizeof(lomix_key), 0, 0, 6}};
  const lomix_key unset{0, 0, 1, 5};
  const lomix_key odd[] = {{20, 0, 1, 5}, {20, 0, 2, 5}};
  double values[13];
  std::int32_t number = 0;
  std::int64_t first = 0;
  std::size_t length = 0;
  char text[8] = "intact!";
  using Call = std::function<lomix_status(lomix_error*)>;
  const std::pair<lomix_status, Call> cases[] = {
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_parameter_get(-1, &parameter, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_parameter_get(13, &parameter, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_parameter_get(0, nullptr, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_parameter_find(nullptr, &number, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_parameter_find("noise", nullptr, e); }},
      {LOMIX_UNKNOWN_NAME, [&](auto* e) { return lomix_parameter_find("", &number, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_preset_get(1000, &preset, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_preset_get(0, nullptr, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_create(nullptr, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_create_from_json(nullptr, 5, "x", &made, e); }},
      {LOMIX_BAD_PRESET,
       [&](auto* e) { return lomix_look_create_from_json("{}", 0, nullptr, &made, e); }},
      {LOMIX_BAD_PRESET,
       [&](auto* e) {
         return lomix_look_create_from_json("", std::size_t{1} << 31, "x", &made, e);
       }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_create_from_preset(nullptr, &made, e); }},
      {LOMIX_UNKNOWN_NAME, [&](auto* e) { return lomix_look_create_from_preset("", &made, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_copy(nullptr, &made, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_copy(look, nullptr, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_set_number(nullptr, "noise", 1, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_set_number(look, nullptr, 1, e); }},
      {LOMIX_UNKNOWN_NAME, [&](auto* e) { return lomix_look_set_number(look, "hiss", 1, e); }},
      {LOMIX_OUT_OF_RANGE, [&](auto* e) { return lomix_look_set_number(look, "noise", kNan, e); }},
      {LOMIX_OUT_OF_RANGE, [&](auto* e) { return lomix_look_set_number(look, "time", -1, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_set_text(look, "noise", nullptr, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_set_text(look, "noise", "loud", e); }},
      {LOMIX_OUT_OF_RANGE, [&](auto* e) { return lomix_look_set_text(look, "noise", "101 %", e); }},
      {LOMIX_OUT_OF_RANGE,
       [&](auto* e) { return lomix_look_set_text(look, "distortion_mode", "Fold", e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_set_keys(look, "noise", &key, 0, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_set_keys(look, "noise", nullptr, 1, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_set_keys(look, "noise", backwards, 2, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_set_keys(look, "noise", &unset, 1, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_set_keys(look, "noise", odd, 2, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_add_key(look, "noise", &unset, e); }},
      {LOMIX_OUT_OF_RANGE,
       [&](auto* e) { return lomix_look_set_keys(look, "distortion_mode", &key, 1, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_set_keys_text(look, "noise", "5", e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_set_keys_text(look, "time_control", "0:1,1:2", e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_add_key(look, "noise", nullptr, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_reset(nullptr, "noise", e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_get_keys(look, "noise", nullptr, 1, &number, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_look_get_keys(look, "noise", nullptr, 0, nullptr, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) {
         return lomix_look_get_frames(look, "noise", 24, &first, nullptr, 1, &number, e);
       }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) {
         return lomix_look_get_frames(look, "noise", 24, nullptr, nullptr, 0, &number, e);
       }},
      {LOMIX_UNKNOWN_NAME,
       [&](auto* e) {
         return lomix_look_get_frames(look, "hiss", 24, &first, nullptr, 0, &number, e);
       }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_values(look, kNan, values, 13, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_values(look, 0, nullptr, 13, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_look_values(look, 0, values, -1, e); }},
      {LOMIX_BUFFER_TOO_SMALL,
       [&](auto* e) {
         return lomix_look_write_json(look, nullptr, nullptr, text, sizeof text, &length, e);
       }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) {
         return lomix_look_write_json(look, "two\nlines", nullptr, text, sizeof text, &length, e);
       }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) {
         return lomix_look_write_json(look, nullptr, nullptr, nullptr, 5, &length, e);
       }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_frame_create(nullptr, &a.source, &a.output, &frame, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_frame_create(&a.settings, nullptr, &a.output, &frame, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_frame_create(&a.settings, &a.source, nullptr, &frame, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_frame_create(&a.settings, &a.source, &a.output, nullptr, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_frame_draw_rows(nullptr, 0, 1, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_settings_are_identity(nullptr, LOMIX_ARGB8, 0, &number, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) { return lomix_settings_are_identity(&a.settings, 0, 0, &number, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) {
         return lomix_settings_are_identity(&a.settings, LOMIX_ARGB8, 3, &number, e);
       }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) {
         return lomix_settings_are_identity(&a.settings, LOMIX_ARGB8, 0, nullptr, e);
       }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_context_create(-1, &context, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_context_create(257, &context, e); }},
      {LOMIX_BAD_ARGUMENT, [&](auto* e) { return lomix_context_create(1, nullptr, e); }},
      {LOMIX_BAD_ARGUMENT,
       [&](auto* e) {
         return lomix_context_render(nullptr, &a.settings, &a.source, &a.output, nullptr, nullptr,
                                     e);
       }},
  };
  int number_of_case = 0;
  for (const auto& [status, call] : cases) {
    const std::string name = "case " + std::to_string(number_of_case++);
    lomix_error error = LOMIX_ERROR_INIT;
    EXPECT_EQ(call(&error), status) << name << ": " << error.message;
    EXPECT_EQ(error.status, status) << name;
    EXPECT_THAT(error.message, testing::MatchesRegex("[^\n]+ \\([^\n]+\\)")) << name;
    EXPECT_EQ(call(nullptr), status) << name;
    EXPECT_EQ(made, nullptr) << name;
    EXPECT_EQ(frame, nullptr) << name;
    EXPECT_EQ(context, nullptr) << name;
  }
  EXPECT_STREQ(text, "intact!");
  lomix_look_destroy(look);
  lomix_look_destroy(nullptr);
  lomix_frame_destroy(nullptr);
  lomix_context_destroy(nullptr);
  EXPECT_EQ(lomix_context_threads(nullptr), 0);
}

}  // namespace
}  // namespace lomix::library_test
