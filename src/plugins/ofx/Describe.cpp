#include "plugins/ofx/Describe.h"

#include <cmath>
#include <string_view>

#include "plugins/Parameters.h"

namespace lomix::ofx {
namespace {

using plugins::effectParameters;

Properties propertiesOf(const Suites& suites, EffectHandle effect) {
  PropertySet set = nullptr;
  require(suites.effect->getPropertySet(effect, &set), "effect");
  return {suites, set};
}

void setLabels(const Properties& properties, const char* label) {
  for (const char* name : {prop::kLabel, prop::kShortLabel, prop::kLongLabel}) {
    properties.set(name, label);
  }
}

void defineClip(const Suites& suites, EffectHandle descriptor, const char* name) {
  PropertySet set = nullptr;
  require(suites.effect->clipDefine(descriptor, name, &set), name);
  const Properties clip(suites, set);
  clip.require(prop::kComponentsSupported, kRgba);
  // A pixel may come from anywhere of the source, so it has to be there as a whole.
  clip.set(prop::kTiles, std::string_view(name) == kOutputClip ? 1 : 0);
  clip.set(prop::kTemporalAccess, 0);
}

/// Defines parameters and sets what they have in common.
class Definer {
 public:
  Definer(const Suites& suites, ParamSet set)
      : suites_(suites),
        set_(set),
        choicesAnimate_(Properties(suites, suites.host->host).get(prop::kChoiceAnimation, 0, 0) !=
                        0) {}

  void effect(const lomix_parameter_info& info) const {
    const bool choice = info.kind == LOMIX_CHOICE;
    const bool constant = (info.flags & LOMIX_PARAMETER_CONSTANT) != 0;
    const Properties properties =
        define(choice ? kParamChoice : kParamDouble, info.key, info.name, info.help);
    if (choice) {
      for (int i = 0; i < info.choice_count; ++i) {
        properties.require(prop::kChoiceOption, info.choices[i], i);
      }
      properties.require(prop::kDefault, static_cast<int>(info.default_value) - 1);
    } else {
      // In this order: hosts set the slider's ends again when they get the limits.
      properties.require(prop::kDefault, info.default_value);
      properties.require(prop::kMinimum, info.minimum);
      properties.require(prop::kMaximum, info.maximum);
      properties.require(prop::kSliderMinimum, info.slider_minimum);
      properties.require(prop::kSliderMaximum, info.slider_maximum);
      properties.set(prop::kIncrement, std::pow(10.0, -info.decimals));
      properties.set(prop::kDigits, info.decimals);
      properties.set(prop::kDoubleType, kDoublePlain);
    }
    properties.set(prop::kAnimates, !constant && (!choice || choicesAnimate_) ? 1 : 0);
    properties.set(prop::kCacheInvalidation, kInvalidateValueChange);
  }

  // Choosing one sets the other parameters; projects do not store which one it was.
  void presets() const {
    const Properties properties =
        define(kParamChoice, kPresetParameter, "Preset",
               "Sets all parameters, with keys where the preset has them; undone in one step");
    properties.require(prop::kChoiceOption, "Choose a preset");
    for (int i = 0; i < lomix_preset_count(); ++i) {
      lomix_preset_info info = LOMIX_PRESET_INFO_INIT;
      lomix_preset_get(i, &info, nullptr);
      properties.require(prop::kChoiceOption, info.name, i + 1);
    }
    properties.require(prop::kDefault, 0);
    properties.set(prop::kAnimates, 0);
    properties.set(prop::kPersistent, 0);
    properties.set(prop::kEvaluateOnChange, 0);
  }

  // For hosts that lay parameters out in pages; others ignore or refuse it.
  void page() const {
    PropertySet set = nullptr;
    if (suites_.parameter->define(set_, kParamPage, "page", &set) != kOk) return;
    const Properties properties(suites_, set);
    setLabels(properties, lomix_effect_name());
    std::vector<const char*> children{kPresetParameter};
    for (const lomix_parameter_info& info : effectParameters()) children.push_back(info.key);
    properties.setAll(prop::kPageChild, children);
  }

 private:
  Properties define(const char* type, const char* name, const char* label, const char* hint) const {
    PropertySet set = nullptr;
    require(suites_.parameter->define(set_, type, name, &set), name);
    const Properties properties(suites_, set);
    setLabels(properties, label);
    properties.set(prop::kScriptName, name);
    properties.set(prop::kHint, hint);
    return properties;
  }

  const Suites& suites_;
  ParamSet set_;
  bool choicesAnimate_;
};

}  // namespace

void describe(const Suites& suites, EffectHandle descriptor) {
  const Properties properties = propertiesOf(suites, descriptor);
  setLabels(properties, lomix_effect_name());
  properties.set(prop::kGrouping, lomix_effect_category());
  properties.set(prop::kDescription, lomix_effect_description());
  properties.setAll<int>(prop::kVersion,
                         {LOMIX_VERSION_MAJOR, LOMIX_VERSION_MINOR, LOMIX_VERSION_PATCH});
  properties.set(prop::kVersionLabel, lomix_version_text());
  properties.require(prop::kContexts, kContextFilter, 0);
  properties.require(prop::kContexts, kContextGeneral, 1);
  properties.require(prop::kPixelDepths, kDepthByte, 0);
  properties.require(prop::kPixelDepths, kDepthFloat, 1);
  properties.set(prop::kThreadSafety, kRenderFullySafe);
  for (const char* yes : {prop::kHostFrameThreading, prop::kTiles, prop::kMultiResolution}) {
    properties.set(yes, 1);
  }
  for (const char* no :
       {prop::kSingleInstance, prop::kTemporalAccess, prop::kFieldRenderTwice,
        prop::kMultipleDepths, prop::kMultiplePixelAspects, prop::kSequentialRender}) {
    properties.set(no, 0);
  }
  // With it the host asks again whether the picture changes by itself.
  properties.setAll<const char*>(prop::kPreferencesParameters, {kTimeControl, kTime});
}

void describeInContext(const Suites& suites, EffectHandle descriptor) {
  defineClip(suites, descriptor, kSourceClip);
  defineClip(suites, descriptor, kOutputClip);
  ParamSet set = nullptr;
  require(suites.effect->getParamSet(descriptor, &set), "parameters");
  const Definer definer(suites, set);
  definer.presets();
  for (const lomix_parameter_info& info : effectParameters()) definer.effect(info);
  definer.page();
}

}  // namespace lomix::ofx
