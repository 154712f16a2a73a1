// The functions that a script calls: lomix.h with numbers and texts in place of structs,
// whose layout a script would have to know.
//
// A text that a function returns is valid until the next call of the same function. One thread at a
// time may call: the page gives each worker a module of its own.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lomix/lomix.h"

#define LOMIX_WEB extern "C" __attribute__((visibility("default"), used))

namespace {

lomix_error lastError = LOMIX_ERROR_INIT;

/// Describes a parameter; one without texts where index is not valid.
lomix_parameter_info parameter(std::int32_t index) {
  lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
  lomix_parameter_get(index, &info, &lastError);
  return info;
}

lomix_image image(std::uint8_t* data, std::int32_t width, std::int32_t height) {
  lomix_image result = LOMIX_IMAGE_INIT;
  result.format = LOMIX_RGBA8;
  result.width = width;
  result.height = height;
  result.row_bytes = std::int64_t{width} * 4;
  result.data = data;
  return result;
}

}  // namespace

/// Returns the message of the last call that failed.
LOMIX_WEB const char* web_error() { return lastError.message; }

/// Returns memory for the caller to fill, null where there is none. web_free() takes it back.
LOMIX_WEB void* web_allocate(std::size_t bytes) { return std::malloc(bytes); }
LOMIX_WEB void web_free(void* memory) { std::free(memory); }

LOMIX_WEB const char* web_version() { return lomix_version_text(); }
LOMIX_WEB const char* web_instruction_set() { return lomix_instruction_set(); }

LOMIX_WEB std::int32_t web_parameter_count() { return lomix_parameter_count(); }

/// Returns a text of a parameter. field: 0 for the key, 1 name, 2 unit, 3 help, 4 and more its
/// choices. Null where it has none.
LOMIX_WEB const char* web_parameter_text(std::int32_t index, std::int32_t field) {
  const lomix_parameter_info info = parameter(index);
  const char* const texts[] = {info.key, info.name, info.unit, info.help};
  if (field >= 0 && field < 4) return texts[field];
  return field >= 4 && field < 4 + info.choice_count ? info.choices[field - 4] : nullptr;
}

/// Returns a number of a parameter. field: 0 for the minimum, 1 maximum, 2 slider's minimum, 3
/// slider's maximum, 4 default, 5 decimals, 6 flags. 0 for others.
LOMIX_WEB double web_parameter_number(std::int32_t index, std::int32_t field) {
  const lomix_parameter_info info = parameter(index);
  const double numbers[] = {info.minimum,
                            info.maximum,
                            info.slider_minimum,
                            info.slider_maximum,
                            info.default_value,
                            static_cast<double>(info.decimals),
                            static_cast<double>(info.flags)};
  return field >= 0 && field < 7 ? numbers[field] : 0.0;
}

LOMIX_WEB std::int32_t web_preset_count() { return lomix_preset_count(); }

/// Returns a text of a built-in preset. field: 0 for the id, 1 name, 2 description, 3 JSON. Null
/// for others.
LOMIX_WEB const char* web_preset_text(std::int32_t index, std::int32_t field) {
  lomix_preset_info info = LOMIX_PRESET_INFO_INIT;
  lomix_preset_get(index, &info, &lastError);
  const char* const texts[] = {info.id, info.name, info.description, info.json};
  return field >= 0 && field < 4 ? texts[field] : nullptr;
}

/// Makes a look from a preset's JSON of `length` bytes, or with length 0 one in which nothing is
/// set. Returns null on failure. web_look_destroy() takes it back.
LOMIX_WEB lomix_look* web_look_create(const char* json, std::size_t length) {
  lomix_look* look = nullptr;
  if (length == 0) {
    lomix_look_create(&look, &lastError);
  } else {
    lomix_look_create_from_json(json, length, nullptr, &look, &lastError);
  }
  return look;
}

LOMIX_WEB void web_look_destroy(lomix_look* look) { lomix_look_destroy(look); }

/// Sets a parameter to a value as people type it, "30" or "Tile", or to keys, "0:0,2.5:60@ease".
/// Returns a status.
LOMIX_WEB lomix_status web_look_set(lomix_look* look, const char* parameter, const char* text) {
  return std::strchr(text, ':') == nullptr
             ? lomix_look_set_text(look, parameter, text, &lastError)
             : lomix_look_set_keys_text(look, parameter, text, &lastError);
}

/// Computes the values of all parameters at a time. values: receives them, by index. Returns a
/// status.
LOMIX_WEB lomix_status web_look_values(const lomix_look* look, double seconds, double* values) {
  return lomix_look_values(look, seconds, values, lomix_parameter_count(), &lastError);
}

/// Returns how many keys a parameter has, -1 on failure. keys: receives seconds, value and
/// interpolation (LOMIX_HOLD, ...) of the first `capacity`.
LOMIX_WEB std::int32_t web_look_keys(const lomix_look* look, std::int32_t index, double* keys,
                                     std::int32_t capacity) {
  const char* const name = parameter(index).key;
  std::int32_t count = 0;
  if (lomix_look_get_keys(look, name, nullptr, 0, &count, &lastError) != LOMIX_OK) return -1;
  std::vector<lomix_key> all(static_cast<std::size_t>(count), lomix_key LOMIX_KEY_INIT);
  if (count == 0 || capacity == 0) return count;
  if (lomix_look_get_keys(look, name, all.data(), count, &count, &lastError) != LOMIX_OK) return -1;
  for (std::int32_t i = 0; i < std::min(count, capacity); ++i) {
    const lomix_key& key = all[static_cast<std::size_t>(i)];
    *keys++ = key.seconds;
    *keys++ = key.value;
    *keys++ = key.interpolation;
  }
  return count;
}

/// Returns the look as a preset's JSON, null on failure. name, description: empty for the library's
/// own.
LOMIX_WEB const char* web_look_json(const lomix_look* look, const char* name,
                                    const char* description) {
  static std::string text;
  const auto unlessEmpty = [](const char* line) { return *line == '\0' ? nullptr : line; };
  const auto write = [&](char* buffer, std::size_t size, std::size_t& length) {
    return lomix_look_write_json(look, unlessEmpty(name), unlessEmpty(description), buffer, size,
                                 &length, &lastError);
  };
  std::size_t length = 0;
  if (write(nullptr, 0, length) != LOMIX_BUFFER_TOO_SMALL) return nullptr;
  text.resize(length + 1);
  if (write(text.data(), text.size(), length) != LOMIX_OK) return nullptr;
  text.resize(length);
  return text.c_str();
}

/// Draws a frame of RGBA pixels of 8 bits, straight alpha, without padding between rows.
/// The time is timeNumerator / timeDenominator seconds; both are integers, the latter from 1.
/// scaleX, scaleY: as in lomix_frame_settings. values: receives the value of each parameter.
/// profiles: null, or receives the scan, bars and signal profiles, `height` floats each. Returns a
/// status.
LOMIX_WEB lomix_status web_draw(const lomix_look* look, double timeNumerator,
                                double timeDenominator, double scaleX, double scaleY,
                                std::uint8_t* source, std::uint8_t* output, std::int32_t width,
                                std::int32_t height, double* values, float* profiles) {
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.value_count = lomix_parameter_count();
  settings.values = values;
  settings.time_numerator = std::llrint(timeNumerator);
  settings.time_denominator = std::llrint(timeDenominator);
  settings.scale_x = scaleX;
  settings.scale_y = scaleY;
  const lomix_image from = image(source, width, height);
  const lomix_image to = image(output, width, height);
  lomix_status status = lomix_look_values(look, timeNumerator / timeDenominator, values,
                                          settings.value_count, &lastError);
  lomix_frame* frame = nullptr;
  if (status == LOMIX_OK) status = lomix_frame_create(&settings, &from, &to, &frame, &lastError);
  if (status == LOMIX_OK) status = lomix_frame_draw_rows(frame, 0, height, &lastError);
  for (std::int32_t profile = LOMIX_SCAN_PROFILE;
       profiles != nullptr && status == LOMIX_OK && profile <= LOMIX_SIGNAL_PROFILE; ++profile) {
    float* const rows = profiles + std::ptrdiff_t{profile - LOMIX_SCAN_PROFILE} * height;
    status = lomix_frame_get_profile(frame, profile, 0, height, rows, &lastError);
  }
  lomix_frame_destroy(frame);
  return status;
}
