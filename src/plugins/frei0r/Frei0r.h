// What a frei0r 1.2 plug-in and its host share: records, constants and the functions that the
// plug-in exports. https://frei0r.dyne.org
#pragma once

#include <cstddef>
#include <cstdint>

#include "plugins/Export.h"

extern "C" {

using f0r_instance_t = void*;
/// A parameter's value: a double, or a char* for a string.
using f0r_param_t = void*;

struct f0r_plugin_info_t {
  const char* name;
  const char* author;
  int plugin_type;
  int color_model;
  int frei0r_version;
  int major_version;
  int minor_version;
  int num_params;
  const char* explanation;
};

struct f0r_param_info_t {
  const char* name;
  int type;
  const char* explanation;
};
}

static_assert(sizeof(f0r_plugin_info_t) == 48 && offsetof(f0r_plugin_info_t, plugin_type) == 16 &&
              offsetof(f0r_plugin_info_t, num_params) == 36 &&
              offsetof(f0r_plugin_info_t, explanation) == 40);
static_assert(sizeof(f0r_param_info_t) == 24 && offsetof(f0r_param_info_t, type) == 8 &&
              offsetof(f0r_param_info_t, explanation) == 16);

namespace lomix::frei0r {

inline constexpr int kVersion = 1;
inline constexpr int kFilter = 0;
inline constexpr int kRgba8888 = 1;  ///< Bytes in this order; rows top first, without padding.

inline constexpr int kBool = 0;    ///< A double, true from 0.5.
inline constexpr int kDouble = 1;  ///< From 0 to 1.
inline constexpr int kString = 4;

}  // namespace lomix::frei0r

// Construct, destruct and the two info functions may be called at once; set, get and update by one
// thread for each instance.
LOMIX_PLUGIN_EXPORT int f0r_init();
LOMIX_PLUGIN_EXPORT void f0r_deinit();
LOMIX_PLUGIN_EXPORT void f0r_get_plugin_info(f0r_plugin_info_t* info);
LOMIX_PLUGIN_EXPORT void f0r_get_param_info(f0r_param_info_t* info, int index);
LOMIX_PLUGIN_EXPORT f0r_instance_t f0r_construct(unsigned width, unsigned height);
LOMIX_PLUGIN_EXPORT void f0r_destruct(f0r_instance_t instance);
LOMIX_PLUGIN_EXPORT void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index);
LOMIX_PLUGIN_EXPORT void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index);
LOMIX_PLUGIN_EXPORT void f0r_update(f0r_instance_t instance, double time, const std::uint32_t* in,
                                    std::uint32_t* out);
