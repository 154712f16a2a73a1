// Looks: parameters over time.
#include "looks/Look.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "library/Guard.h"
#include "looks/LookErrors.h"
#include "looks/ParameterTable.h"
#include "looks/Preset.h"
#include "looks/PresetStore.h"

namespace looks = lomix::looks;
using lomix::library::Failure;
using lomix::library::guarded;
using lomix::library::readStruct;
using lomix::library::require;

struct lomix_look {
  looks::Look look;
};

namespace {

void requireLook(const lomix_look* look) {
  require(look != nullptr, "look: it is null (create one first)");
}

const looks::Parameter& parameterNamed(const char* name) {
  require(name != nullptr, "name: it is null (pass a parameter's key or name)");
  return looks::effectTable().get(name, "");
}

/// Returns an element of the caller's array, whose elements may be larger or smaller than ours.
const lomix_key* elementOf(const lomix_key* keys, std::size_t size, std::int32_t i) {
  const auto* first = reinterpret_cast<const unsigned char*>(keys);
  return reinterpret_cast<const lomix_key*>(first + static_cast<std::size_t>(i) * size);
}

/// Returns the distance of the caller's elements. Throws LOMIX_BAD_ARGUMENT where it cannot be one.
std::size_t elementSize(const lomix_key* keys) {
  const lomix_key first = readStruct(keys, "keys");
  require(first.struct_size % alignof(lomix_key) == 0,
          "keys: struct_size is not a multiple of 8 (use LOMIX_KEY_INIT)");
  return first.struct_size;
}

looks::Key keyOf(const looks::Parameter& parameter, const lomix_key& key) {
  looks::Key result{key.seconds, key.value, looks::usualInterpolation(parameter)};
  require(std::isfinite(key.seconds), "key: its time is not a finite number (use seconds)");
  looks::requireInRange(parameter, key.value);
  switch (key.interpolation) {
    case 0:
      break;
    case LOMIX_HOLD:
      result.interpolation = looks::Interpolation::Hold;
      break;
    case LOMIX_LINEAR:
      result.interpolation = looks::Interpolation::Linear;
      break;
    case LOMIX_EASE:
      result.interpolation = looks::Interpolation::Ease;
      break;
    default:
      throw Failure(LOMIX_BAD_ARGUMENT, parameter.name +
                                            ": a key has no such interpolation (use LOMIX_HOLD, "
                                            "LOMIX_LINEAR or LOMIX_EASE)");
  }
  return result;
}

int32_t numberOf(looks::Interpolation interpolation) {
  switch (interpolation) {
    case looks::Interpolation::Hold:
      return LOMIX_HOLD;
    case looks::Interpolation::Linear:
      return LOMIX_LINEAR;
    case looks::Interpolation::Ease:
      break;
  }
  return LOMIX_EASE;
}

looks::Curve curveOf(const looks::Parameter& parameter, const std::vector<looks::Key>& keys) {
  looks::Curve::Builder builder(parameter);
  for (const looks::Key& key : keys) builder.add(key.seconds, key.value, key.interpolation);
  return std::move(builder).finish();
}

/// Gives the caller a new look, or null where making it fails.
template <typename Make>
lomix_status createLook(lomix_look** look, lomix_error* error, const Make& make) {
  if (look != nullptr) *look = nullptr;
  return guarded(error, [&] {
    require(look != nullptr, "look: it is null (pass the address of a pointer)");
    *look = new lomix_look{make()};
  });
}

}  // namespace

lomix_status lomix_look_create(lomix_look** look, lomix_error* error) {
  return createLook(look, error, [] { return looks::Look(); });
}

lomix_status lomix_look_create_from_json(const char* text, size_t length, const char* source,
                                         lomix_look** look, lomix_error* error) {
  return createLook(look, error, [&] {
    require(text != nullptr, "text: it is null (pass a preset's JSON)");
    const std::string name = source != nullptr ? source : "preset";
    if (length > looks::kMaxPresetBytes) {
      throw Failure(LOMIX_BAD_PRESET, name + ": it is longer than " +
                                          std::to_string(looks::kMaxPresetBytes) +
                                          " bytes (is it a preset?)");
    }
    return looks::parsePreset(std::string(text, length), name, looks::effectTable()).look;
  });
}

lomix_status lomix_look_create_from_preset(const char* id, lomix_look** look, lomix_error* error) {
  return createLook(look, error, [&] {
    require(id != nullptr, "id: it is null (pass a preset's id)");
    const looks::BuiltInPreset& preset = looks::builtInPreset(id);
    return looks::parsePreset(preset.text, preset.id, looks::effectTable()).look;
  });
}

lomix_status lomix_look_copy(const lomix_look* look, lomix_look** copy, lomix_error* error) {
  return createLook(copy, error, [&] {
    requireLook(look);
    return look->look;
  });
}

void lomix_look_destroy(lomix_look* look) { delete look; }

lomix_status lomix_look_set_number(lomix_look* look, const char* name, double value,
                                   lomix_error* error) {
  return guarded(error, [&] {
    requireLook(look);
    const looks::Parameter& parameter = parameterNamed(name);
    looks::requireInRange(parameter, value);
    look->look.set(parameter.index, value);
  });
}

lomix_status lomix_look_set_text(lomix_look* look, const char* name, const char* text,
                                 lomix_error* error) {
  return guarded(error, [&] {
    requireLook(look);
    const looks::Parameter& parameter = parameterNamed(name);
    require(text != nullptr, "text: it is null (pass a value)");
    look->look.set(parameter.index, looks::parseValue(parameter, text));
  });
}

lomix_status lomix_look_set_keys(lomix_look* look, const char* name, const lomix_key* keys,
                                 int32_t count, lomix_error* error) {
  return guarded(error, [&] {
    requireLook(look);
    const looks::Parameter& parameter = parameterNamed(name);
    require(keys != nullptr && count >= 1, "keys: there are none (pass at least one)");
    std::vector<looks::Key> list;
    const std::size_t size = elementSize(keys);
    for (int32_t i = 0; i < count; ++i) {
      lomix_key key{};
      std::memcpy(&key, elementOf(keys, size, i), std::min(size, sizeof key));
      list.push_back(keyOf(parameter, key));
    }
    look->look.set(parameter.index, curveOf(parameter, list));
  });
}

lomix_status lomix_look_set_keys_text(lomix_look* look, const char* name, const char* text,
                                      lomix_error* error) {
  return guarded(error, [&] {
    requireLook(look);
    const looks::Parameter& parameter = parameterNamed(name);
    require(text != nullptr, "text: it is null (pass keys)");
    look->look.set(parameter.index, looks::parseCurve(parameter, text));
  });
}

lomix_status lomix_look_add_key(lomix_look* look, const char* name, const lomix_key* key,
                                lomix_error* error) {
  return guarded(error, [&] {
    requireLook(look);
    const looks::Parameter& parameter = parameterNamed(name);
    const looks::Key added = keyOf(parameter, readStruct(key, "key"));
    std::vector<looks::Key> list;
    const auto& curves = look->look.curves();
    if (const auto found = curves.find(parameter.index);
        found != curves.end() && found->second.hasKeys()) {
      list = found->second.keys();
    }
    const auto place = std::ranges::lower_bound(list, added.seconds, {}, &looks::Key::seconds);
    if (place != list.end() && place->seconds == added.seconds) {
      *place = added;
    } else {
      list.insert(place, added);
    }
    look->look.set(parameter.index, curveOf(parameter, list));
  });
}

lomix_status lomix_look_reset(lomix_look* look, const char* name, lomix_error* error) {
  return guarded(error, [&] {
    requireLook(look);
    look->look.reset(parameterNamed(name).index);
  });
}

lomix_status lomix_look_get_keys(const lomix_look* look, const char* name, lomix_key* keys,
                                 int32_t capacity, int32_t* count, lomix_error* error) {
  if (count != nullptr) *count = 0;
  return guarded(error, [&] {
    requireLook(look);
    const looks::Parameter& parameter = parameterNamed(name);
    require(count != nullptr, "count: it is null (pass the address of a number)");
    require(capacity >= 0 && (capacity == 0 || keys != nullptr),
            "keys: they do not fit the capacity (pass an array of at least that size)");
    const auto found = look->look.curves().find(parameter.index);
    if (found == look->look.curves().end() || !found->second.hasKeys()) return;
    const std::vector<looks::Key>& all = found->second.keys();
    const std::size_t size = capacity > 0 ? elementSize(keys) : 0;
    *count = static_cast<int32_t>(all.size());
    for (int32_t i = 0; i < std::min(capacity, *count); ++i) {
      const looks::Key& key = all[static_cast<std::size_t>(i)];
      const lomix_key written{static_cast<std::uint32_t>(size), numberOf(key.interpolation),
                              key.seconds, key.value};
      std::memcpy(const_cast<lomix_key*>(elementOf(keys, size, i)), &written,
                  std::min(size, sizeof written));
    }
  });
}

lomix_status lomix_look_get_frames(const lomix_look* look, const char* name,
                                   double frames_per_second, int64_t* first, double* values,
                                   int32_t capacity, int32_t* count, lomix_error* error) {
  if (first != nullptr) *first = 0;
  if (count != nullptr) *count = 0;
  return guarded(error, [&] {
    requireLook(look);
    const looks::Parameter& parameter = parameterNamed(name);
    require(first != nullptr && count != nullptr,
            "first, count: one is null (pass the addresses of two numbers)");
    require(capacity >= 0 && (capacity == 0 || values != nullptr),
            "values: they do not fit the capacity (pass an array of at least that size)");
    const auto found = look->look.curves().find(parameter.index);
    if (found == look->look.curves().end() || found->second.keys().size() < 2) return;
    const std::vector<looks::Key>& keys = found->second.keys();
    // The quotient may miss the whole number of a key's frame by a rounding error.
    const auto frameOf = [frames_per_second](double seconds) {
      const double frame = seconds / lomix_time_of_frame(1.0, frames_per_second);
      const double whole = std::round(frame);
      return lomix_time_of_frame(whole, frames_per_second) == seconds ? whole : frame;
    };
    const double begin = std::floor(frameOf(keys.front().seconds));
    const double end = std::ceil(frameOf(keys.back().seconds)) + 1.0;
    constexpr double kMostFrames = 0x1p24, kMostNumber = 0x1p53;
    require(end - begin <= kMostFrames && std::abs(begin) < kMostNumber,
            "keys: they span too many frames (use at most 16777216)");
    *first = static_cast<std::int64_t>(begin);
    *count = static_cast<std::int32_t>(end - begin);
    for (std::int32_t i = 0; i < std::min(capacity, *count); ++i) {
      values[i] = look->look.valueAt(parameter, lomix_time_of_frame(begin + i, frames_per_second));
    }
  });
}

lomix_status lomix_look_values(const lomix_look* look, double seconds, double* values,
                               int32_t count, lomix_error* error) {
  return guarded(error, [&] {
    requireLook(look);
    require(std::isfinite(seconds), "seconds: it is not a finite number (use seconds)");
    require(values != nullptr && count >= 0,
            "values: they do not fit the count (pass an array of that size)");
    for (const looks::Parameter& parameter : looks::effectTable().all()) {
      if (parameter.index < count) {
        values[parameter.index] = look->look.valueAt(parameter, seconds);
      }
    }
  });
}

lomix_status lomix_look_write_json(const lomix_look* look, const char* name,
                                   const char* description, char* buffer, size_t size,
                                   size_t* length, lomix_error* error) {
  if (length != nullptr) *length = 0;
  return guarded(error, [&] {
    requireLook(look);
    require(buffer != nullptr || size == 0, "buffer: it is null (pass size 0 with it)");
    const looks::ParameterTable& table = looks::effectTable();
    const std::string text = looks::presetText(
        {name != nullptr ? name : "Look",
         description != nullptr ? description : looks::describe(look->look, table), look->look},
        table);
    if (length != nullptr) *length = text.size();
    if (text.size() + 1 > size) {
      throw Failure(LOMIX_BUFFER_TOO_SMALL, "buffer: the preset takes " +
                                                std::to_string(text.size() + 1) +
                                                " bytes (pass a larger one)");
    }
    std::copy_n(text.c_str(), text.size() + 1, buffer);
  });
}
