// Lomix as a frei0r filter.

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "plugins/Handles.h"
#include "plugins/Parameters.h"
#include "plugins/frei0r/Frei0r.h"
#include "plugins/frei0r/LookText.h"
#include "plugins/frei0r/Parameters.h"

namespace lomix::frei0r {
namespace {

using plugins::effectParameters;
using plugins::FramePtr;
using plugins::LookPtr;

/// One instance: a size, the values that the host set, and the look that they name.
class Filter {
 public:
  Filter(unsigned width, unsigned height) : width_(width), height_(height) {
    for (const auto& info : effectParameters()) positions_.push_back(defaultPosition(info));
  }

  // Hosts set all parameters before every frame, so nothing is done for a value that is there
  // already.
  void set(int index, const void* value) {
    if (index == kLook) {
      const char* text = *static_cast<const char* const*>(value);
      if (text == nullptr) text = "";
      if (lookText_ != text) setLook(text);
    } else if (double* number = numberAt(index)) {
      const double position = *static_cast<const double*>(value);
      if (!std::isnan(position)) *number = position;
    }
  }

  void get(int index, void* value) {
    if (index == kLook) {
      *static_cast<char**>(value) = lookText_.data();
    } else if (const double* number = numberAt(index)) {
      *static_cast<double*>(value) = *number;
    }
  }

  /// Returns whether the picture was drawn; if not, the output is undefined.
  bool draw(double hostTime, const std::uint32_t* in, std::uint32_t* out) const {
    if (!lookText_.empty() && !look_) return false;
    const double seconds = secondsOf(hostTime);
    const std::vector<double> values = valuesAt(seconds);
    lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
    settings.values = values.data();
    settings.value_count = static_cast<std::int32_t>(values.size());
    settings.time_seconds = seconds;
    // The library reads the source and writes the output only.
    const lomix_image source = imageOf(const_cast<std::uint32_t*>(in));
    const lomix_image output = imageOf(out);
    lomix_frame* made = nullptr;
    lomix_error error = LOMIX_ERROR_INIT;
    lomix_frame_create(&settings, &source, &output, &made, &error);
    const FramePtr frame(made);
    if (frame && lomix_frame_draw_rows(made, 0, output.height, &error) == LOMIX_OK) return true;
    std::fprintf(stderr, "lomix: %s\n", error.message);
    return false;
  }

  std::size_t pictureBytes() const { return std::size_t{width_} * height_ * 4; }

 private:
  void setLook(const char* text) {
    lookText_ = text;
    look_.reset();
    if (lookText_.empty()) return;
    std::string message;
    look_ = readLook(lookText_, message);
    // frei0r has no errors; hosts show what plug-ins print.
    if (!look_) std::fprintf(stderr, "lomix: Look: %s\n", message.c_str());
  }

  double* numberAt(int index) {
    if (index == kMilliseconds) return &milliseconds_;
    const auto i = static_cast<std::size_t>(index - kFirstOfEffect);
    return i < positions_.size() ? &positions_[i] : nullptr;
  }

  // Frames without a time stamp come with enormous times of either sign.
  double secondsOf(double hostTime) const {
    constexpr double kMostSeconds = 1e9;
    const double seconds = milliseconds_ >= 0.5 ? hostTime / 1000.0 : hostTime;
    return std::abs(seconds) < kMostSeconds ? lomix_time_of_seconds(seconds) : 0.0;
  }

  std::vector<double> valuesAt(double seconds) const {
    std::vector<double> values(positions_.size());
    if (look_) {
      lomix_look_values(look_.get(), seconds, values.data(), static_cast<int>(values.size()),
                        nullptr);
    } else {
      for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = valueAt(effectParameters()[i], positions_[i]);
      }
    }
    return values;
  }

  lomix_image imageOf(std::uint32_t* pixels) const {
    lomix_image image = LOMIX_IMAGE_INIT;
    image.format = LOMIX_RGBA8;
    image.width = static_cast<std::int32_t>(width_);
    image.height = static_cast<std::int32_t>(height_);
    image.row_bytes = std::int64_t{width_} * 4;
    image.data = pixels;
    return image;
  }

  unsigned width_, height_;
  std::string lookText_;
  LookPtr look_;  ///< Null for an empty or faulty text.
  double milliseconds_ = 0.0;
  std::vector<double> positions_;  ///< Of the effect's parameters, as the host set them.
};

}  // namespace
}  // namespace lomix::frei0r

using lomix::frei0r::Filter;

int f0r_init() { return 1; }
void f0r_deinit() {}

void f0r_get_plugin_info(f0r_plugin_info_t* info) {
  using namespace lomix::frei0r;
  *info = {lomix_effect_name(),
           "Lomix maintainers",
           kFilter,
           kRgba8888,
           kVersion,
           LOMIX_VERSION_MAJOR,
           LOMIX_VERSION_MINOR,
           kFirstOfEffect + lomix_parameter_count(),
           lomix_effect_description()};
}

void f0r_get_param_info(f0r_param_info_t* info, int index) {
  using namespace lomix::frei0r;
  constexpr f0r_param_info_t kOwn[kFirstOfEffect] = {
      {"Look", kString,
       "A preset's name, a preset file, or values: Noise=30, Scan Distortion=20. When it is not "
       "empty, the parameters below do not count"},
      {"Time in Milliseconds", kBool, "On for FFmpeg, which passes milliseconds; off for MLT"},
  };
  const auto& effect = lomix::plugins::effectParameters();
  const auto i = static_cast<std::size_t>(index - kFirstOfEffect);
  if (index >= 0 && index < kFirstOfEffect) {
    *info = kOwn[index];
  } else if (i < effect.size()) {
    *info = {effect[i].name, kDouble, explanation(i).c_str()};
  }
}

f0r_instance_t f0r_construct(unsigned width, unsigned height) {
  try {
    return new Filter(width, height);
  } catch (...) {
    return nullptr;
  }
}

void f0r_destruct(f0r_instance_t instance) { delete static_cast<Filter*>(instance); }

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  try {
    static_cast<Filter*>(instance)->set(index, value);
  } catch (...) {
    std::fputs("lomix: Look: memory does not suffice (free some)\n", stderr);
  }
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  static_cast<Filter*>(instance)->get(index, value);
}

void f0r_update(f0r_instance_t instance, double time, const std::uint32_t* in, std::uint32_t* out) {
  const Filter& filter = *static_cast<const Filter*>(instance);
  try {
    if (filter.draw(time, in, out)) return;
  } catch (...) {
    std::fputs("lomix: memory does not suffice (free some)\n", stderr);
  }
  std::memmove(out, in, filter.pictureBytes());
}
