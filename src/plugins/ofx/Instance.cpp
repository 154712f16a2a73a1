#include "plugins/ofx/Instance.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "plugins/Handles.h"
#include "plugins/Parameters.h"
#include "plugins/ofx/Describe.h"

namespace lomix::ofx {
namespace {

using plugins::effectParameters;
using plugins::LookPtr;

std::size_t indexOf(std::string_view key) {
  const auto& all = effectParameters();
  const auto found = std::ranges::find(all, key, &lomix_parameter_info::key);
  return static_cast<std::size_t>(found - all.begin());
}

bool isChoice(std::size_t index) { return effectParameters()[index].kind == LOMIX_CHOICE; }

/// Of the choices of "Time Control".
constexpr double kManual = 2.0;

/// One undo step of the host.
class Edit {
 public:
  Edit(const ParameterSuite* suite, ParamSet set, const char* name) : suite_(suite), set_(set) {
    begun_ = suite->editBegin(set, name) == kOk;
  }
  ~Edit() {
    if (begun_) suite_->editEnd(set_);
  }
  Edit(const Edit&) = delete;
  Edit& operator=(const Edit&) = delete;

 private:
  const ParameterSuite* suite_;
  ParamSet set_;
  bool begun_;
};

}  // namespace

Instance::Instance(const Suites& suites, EffectHandle effect) : suites_(suites), effect_(effect) {
  require(suites.effect->getPropertySet(effect, &properties_), "effect");
  require(suites.effect->clipGetHandle(effect, kSourceClip, &source_, nullptr), kSourceClip);
  require(suites.effect->clipGetHandle(effect, kOutputClip, &output_, nullptr), kOutputClip);
  require(suites.effect->getParamSet(effect, &parameterSet_), "parameters");
  const auto handleOf = [this](const char* name) {
    ParamHandle handle = nullptr;
    require(suites_.parameter->getHandle(parameterSet_, name, &handle, nullptr), name);
    return handle;
  };
  preset_ = handleOf(kPresetParameter);
  for (const lomix_parameter_info& info : effectParameters()) {
    parameters_.push_back(handleOf(info.key));
  }
}

Properties Instance::clipProperties(ClipHandle clip) const {
  PropertySet set = nullptr;
  require(suites_.effect->clipGetPropertySet(clip, &set), "clip");
  return {suites_, set};
}

double Instance::framesPerSecond() const {
  const auto usable = [](double rate) { return rate > 0.0 && std::isfinite(rate); };
  double rate = Properties(suites_, properties_).get(prop::kFrameRate, 0, 0.0);
  for (const ClipHandle clip : {output_, source_}) {
    PropertySet set = nullptr;
    if (usable(rate) || suites_.effect->clipGetPropertySet(clip, &set) != kOk) continue;
    rate = Properties(suites_, set).get(prop::kFrameRate, 0, 0.0);
  }
  return rate;
}

double Instance::seconds(OfxTime time) const {
  return lomix_time_of_frame(time, framesPerSecond());
}

double Instance::valueAt(std::size_t index, OfxTime time) const {
  const lomix_parameter_info& info = effectParameters()[index];
  double value = info.default_value;
  if (isChoice(index)) {
    int choice = 0;
    require(suites_.parameter->getValueAtTime(parameters_[index], time, &choice), info.key);
    value = 1.0 + choice;
  } else {
    require(suites_.parameter->getValueAtTime(parameters_[index], time, &value), info.key);
  }
  // Scripts and expressions set anything.
  if (std::isnan(value)) return info.default_value;
  return std::clamp(value, info.minimum, info.maximum);
}

std::vector<double> Instance::valuesAt(OfxTime time) const {
  std::vector<double> values;
  for (std::size_t i = 0; i < parameters_.size(); ++i) values.push_back(valueAt(i, time));
  return values;
}

bool Instance::changesByItself() const {
  if (valueAt(indexOf(kTimeControl), 0.0) != kManual) return true;
  return std::ranges::any_of(parameters_, [this](ParamHandle parameter) {
    unsigned keys = 0;
    return suites_.parameter->getNumKeys(parameter, &keys) == kOk && keys > 0;
  });
}

bool Instance::isIdentity(OfxTime time) const {
  const std::vector<double> values = valuesAt(time);
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = static_cast<std::int32_t>(values.size());
  const Properties clip = clipProperties(source_);
  const bool isFloat = clip.get(prop::kPixelDepth, "") == kDepthFloat;
  const bool opaque = clip.get(prop::kPremultiplication, "") == kOpaque;
  std::int32_t identity = 0;
  lomix_error error = LOMIX_ERROR_INIT;
  lomix_settings_are_identity(&settings, isFloat ? LOMIX_RGBA32F : LOMIX_RGBA8,
                              opaque ? LOMIX_OPAQUE : LOMIX_STRAIGHT, &identity, &error);
  check(error);
  return identity != 0;
}

void Instance::enableTime() const {
  PropertySet set = nullptr;
  require(suites_.parameter->getPropertySet(parameters_[indexOf(kTime)], &set), kTime);
  const bool manual = valueAt(indexOf(kTimeControl), 0.0) == kManual;
  Properties(suites_, set).set(prop::kEnabled, manual ? 1 : 0);
}

void Instance::applyPreset(OfxTime time) const {
  int choice = 0;
  require(suites_.parameter->getValueAtTime(preset_, time, &choice), kPresetParameter);
  if (choice < 1) return;
  lomix_preset_info preset = LOMIX_PRESET_INFO_INIT;
  lomix_look* made = nullptr;
  lomix_error error = LOMIX_ERROR_INIT;
  if (lomix_preset_get(choice - 1, &preset, &error) == LOMIX_OK) {
    lomix_look_create_from_preset(preset.id, &made, &error);
  }
  check(error);
  const LookPtr look(made);
  const Edit edit(suites_.parameter, parameterSet_, preset.name);
  std::vector<double> values(parameters_.size());
  lomix_look_values(made, seconds(time), values.data(), static_cast<int>(values.size()), nullptr);
  // Sets what can be set, and fails in the end where something could not.
  OfxStatus status = kOk;
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    suites_.parameter->deleteAllKeys(parameters_[i]);
    if (setKeys(made, i)) continue;
    const OfxStatus set = setValue(i, values[i]);
    if (status == kOk) status = set;
  }
  require(status, "preset");
}

/// key: the frame of a key; nothing for a value at all times.
OfxStatus Instance::setValue(std::size_t index, double value, std::optional<OfxTime> key) const {
  const ParameterSuite& suite = *suites_.parameter;
  const ParamHandle handle = parameters_[index];
  const auto set = [&](auto argument) {
    return key ? suite.setValueAtTime(handle, *key, argument) : suite.setValue(handle, argument);
  };
  return isChoice(index) ? set(static_cast<int>(value) - 1) : set(value);
}

// One key on every frame between the preset's first and last key: hosts interpolate in ways of
// their own, and the interface cannot choose one. Returns whether the parameter has keys now.
bool Instance::setKeys(const lomix_look* look, std::size_t index) const {
  const char* const name = effectParameters()[index].key;
  std::int32_t count = 0;
  lomix_look_get_keys(look, name, nullptr, 0, &count, nullptr);
  if (count < 2) return false;
  std::vector<lomix_key> keys(static_cast<std::size_t>(count), LOMIX_KEY_INIT);
  lomix_look_get_keys(look, name, keys.data(), count, &count, nullptr);
  const double frameSeconds = lomix_time_of_frame(1.0, framesPerSecond());
  const double last = std::ceil(keys.back().seconds / frameSeconds);
  std::vector<double> values(parameters_.size());
  for (double frame = std::floor(keys.front().seconds / frameSeconds); frame <= last; ++frame) {
    lomix_look_values(look, seconds(frame), values.data(), static_cast<int>(values.size()),
                      nullptr);
    if (setValue(index, values[index], frame) != kOk) return false;
  }
  return true;
}

}  // namespace lomix::ofx
