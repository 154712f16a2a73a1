#include "plugins/ofx/Instance.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "plugins/Handles.h"

namespace lomix::ofx {
namespace {

using plugins::Fraction;
using plugins::LookPtr;

std::size_t indexOf(std::string_view key) {
  const auto& all = effectParameters();
  const auto found = std::ranges::find(all, key, &lomix_parameter_info::key);
  return static_cast<std::size_t>(found - all.begin());
}

bool isChoice(std::size_t index) { return effectParameters()[index].kind == LOMIX_CHOICE; }

/// Of the choices of "Time Control".
constexpr double kManual = 2.0;

/// What the library says of a failed call.
[[noreturn]] void fail(const lomix_error& error) {
  throw Failure(error.status == LOMIX_OUT_OF_MEMORY ? kMemory : kFailed, error.message);
}

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

Fraction Instance::rate() const {
  const auto usable = [](double rate) { return rate > 0.0 && std::isfinite(rate); };
  double rate = Properties(suites_, properties_).get(prop::kFrameRate, 0, 0.0);
  for (const ClipHandle clip : {output_, source_}) {
    PropertySet set = nullptr;
    if (usable(rate) || suites_.effect->clipGetPropertySet(clip, &set) != kOk) continue;
    rate = Properties(suites_, set).get(prop::kFrameRate, 0, 0.0);
  }
  return plugins::frameRate(rate);
}

double Instance::seconds(OfxTime time) const {
  const Fraction fps = rate();
  // The product of a whole frame is exact, so that the quotient is the one of the whole numbers.
  const double seconds =
      time * static_cast<double>(fps.denominator) / static_cast<double>(fps.numerator);
  return std::isfinite(static_cast<float>(seconds)) ? seconds : 0.0;
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
  const auto at = [&values](const char* key) { return values[indexOf(key)]; };
  if (at("blend_with_original") == 100.0) return true;
  // Every pixel is premultiplied and divided again. That is exact for opaque float pixels alone.
  const Properties clip = clipProperties(source_);
  return clip.get(prop::kPixelDepth, "") == kDepthFloat &&
         clip.get(prop::kPremultiplication, "") == kOpaque &&
         std::ranges::all_of(
             std::initializer_list<const char*>{"signal_distortion", "scan_distortion",
                                                "horizontal_sync", "vertical_sync", "bars_overlay",
                                                "noise", "scanline_overlay"},
             [&at](const char* key) { return at(key) == 0.0; });
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
  if (lomix_preset_get(choice - 1, &preset, &error) != LOMIX_OK ||
      lomix_look_create_from_preset(preset.id, &made, &error) != LOMIX_OK) {
    fail(error);
  }
  const LookPtr look(made);
  const Edit edit(suites_.parameter, parameterSet_, preset.name);
  setValues(look.get(), time);
}

// Sets what can be set, and fails in the end where something could not.
void Instance::setValues(const lomix_look* look, OfxTime now) const {
  std::vector<double> values(parameters_.size());
  lomix_look_values(look, seconds(now), values.data(), static_cast<int>(values.size()), nullptr);
  OfxStatus status = kOk;
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    suites_.parameter->deleteAllKeys(parameters_[i]);
    if (setKeys(look, i)) continue;
    const OfxStatus set =
        isChoice(i) ? suites_.parameter->setValue(parameters_[i], static_cast<int>(values[i]) - 1)
                    : suites_.parameter->setValue(parameters_[i], values[i]);
    if (status == kOk) status = set;
  }
  require(status, "preset");
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
  const Fraction fps = rate();
  const double perSecond =
      static_cast<double>(fps.numerator) / static_cast<double>(fps.denominator);
  const double last = std::ceil(keys.back().seconds * perSecond);
  std::vector<double> values(parameters_.size());
  for (double frame = std::floor(keys.front().seconds * perSecond); frame <= last; ++frame) {
    lomix_look_values(look, seconds(frame), values.data(), static_cast<int>(values.size()),
                      nullptr);
    const double value = values[index];
    const OfxStatus status =
        isChoice(index) ? suites_.parameter->setValueAtTime(parameters_[index], frame,
                                                            static_cast<int>(value) - 1)
                        : suites_.parameter->setValueAtTime(parameters_[index], frame, value);
    if (status != kOk) return false;
  }
  return true;
}

}  // namespace lomix::ofx
