#include "plugins/ofx/Instance.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string_view>

#include "plugins/Handles.h"
#include "plugins/Parameters.h"
#include "plugins/ofx/Describe.h"

namespace lomix::ofx {
namespace {

using plugins::effectParameters;

std::size_t indexOf(std::string_view key) {
  const auto& all = effectParameters();
  const auto found = std::ranges::find(all, key, &lomix_parameter_info::key);
  return static_cast<std::size_t>(found - all.begin());
}

bool isChoice(std::size_t index) { return effectParameters()[index].kind == LOMIX_CHOICE; }

/// Ends an undo step of the host.
struct EndEdit {
  const ParameterSuite* suite;
  void operator()(ParamSet set) const { suite->editEnd(set); }
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
  for (const auto& info : effectParameters()) parameters_.push_back(handleOf(info.key));
  enableTime();
}

Properties Instance::clipProperties(ClipHandle clip) const {
  PropertySet set = nullptr;
  require(suites_.effect->clipGetPropertySet(clip, &set), "clip");
  return {suites_, set};
}

double Instance::framesPerSecond() const {
  double rate = Properties(suites_, properties_).get(prop::kFrameRate, 0.0);
  for (const ClipHandle clip : {output_, source_}) {
    PropertySet set = nullptr;
    const bool usable = rate > 0.0 && std::isfinite(rate);
    if (usable || suites_.effect->clipGetPropertySet(clip, &set) != kOk) continue;
    rate = Properties(suites_, set).get(prop::kFrameRate, 0.0);
  }
  return rate;
}

double Instance::valueAt(std::size_t index, OfxTime time) const {
  const lomix_parameter_info& info = effectParameters()[index];
  const auto get = suites_.parameter->getValueAtTime;
  double value = 0.0;
  int choice = 0;
  require(isChoice(index) ? get(parameters_[index], time, &choice)
                          : get(parameters_[index], time, &value),
          info.key);
  if (isChoice(index)) value = 1.0 + choice;
  // Scripts and expressions set anything.
  return std::isnan(value) ? info.default_value : std::clamp(value, info.minimum, info.maximum);
}

lomix_frame_settings Instance::settingsAt(OfxTime time, std::vector<double>& values) const {
  for (std::size_t i = 0; i < parameters_.size(); ++i) values.push_back(valueAt(i, time));
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = static_cast<std::int32_t>(values.size());
  settings.time_seconds = lomix_time_of_frame(time, framesPerSecond());
  return settings;
}

OfxStatus Instance::regionsOfInterest(const Properties& in, const Properties& out) const {
  OfxRectD whole{};
  const auto time = in.need<double>(prop::kTime);
  if (suites_.effect->clipGetRegionOfDefinition(source_, time, &whole) != kOk) return kReplyDefault;
  for (int i = 0; const double side : {whole.x1, whole.y1, whole.x2, whole.y2}) {
    out.require(prop::kSourceRegionOfInterest, side, i++);
  }
  return kOk;
}

bool Instance::timeIsManual() const {
  constexpr double kManual = 2.0;  // Of the choices of "Time Control".
  return valueAt(indexOf(kTimeControl), 0.0) == kManual;
}

OfxStatus Instance::clipPreferences(const Properties&, const Properties& out) const {
  const auto hasKeys = [this](ParamHandle parameter) {
    unsigned keys = 0;
    return suites_.parameter->getNumKeys(parameter, &keys) == kOk && keys > 0;
  };
  const int varying = !timeIsManual() || std::ranges::any_of(parameters_, hasKeys) ? 1 : 0;
  out.require(prop::kFrameVarying, varying);
  out.set(prop::kContinuousSamples, varying);
  return kOk;
}

OfxStatus Instance::identity(const Properties& in, const Properties& out) const {
  std::vector<double> values;
  const lomix_frame_settings settings = settingsAt(in.need<double>(prop::kTime), values);
  const Properties clip = clipProperties(source_);
  const bool isFloat = clip.get(prop::kPixelDepth) == kDepthFloat;
  const bool opaque = clip.get(prop::kPremultiplication) == kOpaque;
  std::int32_t identity = 0;
  lomix_error error = LOMIX_ERROR_INIT;
  lomix_settings_are_identity(&settings, isFloat ? LOMIX_RGBA32F : LOMIX_RGBA8,
                              opaque ? LOMIX_OPAQUE : LOMIX_STRAIGHT, &identity, &error);
  check(error);
  if (identity == 0) return kReplyDefault;
  out.require(prop::kName, kSourceClip);
  return kOk;
}

OfxStatus Instance::changed(const Properties& in, const Properties&) const {
  const std::string name = in.get(prop::kName);
  const bool byTime = in.get(prop::kChangeReason) == kChangedByTime;
  const bool preset = name == kPresetParameter && !byTime;
  if (in.get(prop::kType) != kTypeParameter || (!preset && name != kTimeControl)) {
    return kReplyDefault;
  }
  if (preset) applyPreset(in.get(prop::kTime, 0.0));
  enableTime();
  return kOk;
}

void Instance::enableTime() const {
  PropertySet set = nullptr;
  require(suites_.parameter->getPropertySet(parameters_[indexOf(kTime)], &set), kTime);
  Properties(suites_, set).set(prop::kEnabled, timeIsManual() ? 1 : 0);
}

// Sets what can be set, and fails in the end where something could not.
void Instance::applyPreset(OfxTime now) const {
  int choice = 0;
  require(suites_.parameter->getValueAtTime(preset_, now, &choice), kPresetParameter);
  if (choice < 1) return;
  lomix_preset_info preset = LOMIX_PRESET_INFO_INIT;
  lomix_look* made = nullptr;
  lomix_error error = LOMIX_ERROR_INIT;
  if (lomix_preset_get(choice - 1, &preset, &error) == LOMIX_OK) {
    lomix_look_create_from_preset(preset.id, &made, &error);
  }
  check(error);
  const plugins::LookPtr look(made);
  const bool begun = suites_.parameter->editBegin(parameterSet_, preset.name) == kOk;
  const std::unique_ptr<OfxParamSetStruct, EndEdit> step(begun ? parameterSet_ : nullptr,
                                                         EndEdit{suites_.parameter});
  std::vector<double> values(parameters_.size());
  lomix_look_values(made, lomix_time_of_frame(now, framesPerSecond()), values.data(),
                    static_cast<int>(values.size()), nullptr);
  OfxStatus status = kOk;
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    suites_.parameter->deleteAllKeys(parameters_[i]);
    const OfxStatus set = setKeys(made, i) ? kOk : setValue(i, values[i]);
    if (status == kOk) status = set;
  }
  require(status, "preset");
}

/// key: the frame of a key; nothing for a value at all times.
OfxStatus Instance::setValue(std::size_t index, double value, std::optional<OfxTime> key) const {
  const auto set = [&](auto argument) {
    return key ? suites_.parameter->setValueAtTime(parameters_[index], *key, argument)
               : suites_.parameter->setValue(parameters_[index], argument);
  };
  return isChoice(index) ? set(static_cast<int>(value) - 1) : set(value);
}

// One key on every frame between the preset's first and last key: hosts interpolate in ways of
// their own, and the interface cannot choose one. Returns whether the parameter has keys now.
bool Instance::setKeys(const lomix_look* look, std::size_t index) const {
  const char* const name = effectParameters()[index].key;
  const double rate = framesPerSecond();
  std::int64_t first = 0;
  std::int32_t count = 0;
  lomix_look_get_frames(look, name, rate, &first, nullptr, 0, &count, nullptr);
  std::vector<double> values(static_cast<std::size_t>(count));
  lomix_look_get_frames(look, name, rate, &first, values.data(), count, &count, nullptr);
  auto frame = static_cast<OfxTime>(first);
  const auto set = [&](double value) { return setValue(index, value, frame++) == kOk; };
  return count > 0 && std::ranges::all_of(values, set);
}

}  // namespace lomix::ofx
