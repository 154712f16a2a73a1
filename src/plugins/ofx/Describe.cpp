#include "plugins/ofx/Describe.h"

#include <cmath>
#include <string_view>

#include "plugins/Parameters.h"

namespace lomix::ofx {
namespace {

using plugins::effectParameters;

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

/// Defines a parameter and sets what all have in common.
Properties define(const Suites& suites, ParamSet parameters, const char* type, const char* name,
                  const char* label, const char* hint) {
  PropertySet set = nullptr;
  require(suites.parameter->define(parameters, type, name, &set), name);
  const Properties properties(suites, set);
  setLabels(properties, label);
  properties.set(prop::kScriptName, name);
  properties.set(prop::kHint, hint);
  return properties;
}

void defineEffect(const Suites& suites, ParamSet parameters, const lomix_parameter_info& info) {
  const bool choice = info.kind == LOMIX_CHOICE;
  const Properties properties = define(suites, parameters, choice ? kParamChoice : kParamDouble,
                                       info.key, info.name, info.help);
  bool animates = (info.flags & LOMIX_PARAMETER_CONSTANT) == 0;
  if (choice) {
    for (int i = 0; i < info.choice_count; ++i) {
      properties.require(prop::kChoiceOption, info.choices[i], i);
    }
    properties.require(prop::kDefault, static_cast<int>(info.default_value) - 1);
    const Properties host(suites, suites.host->host);
    animates = animates && host.get(prop::kChoiceAnimation, 0) != 0;
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
  properties.set(prop::kAnimates, animates ? 1 : 0);
  properties.set(prop::kCacheInvalidation, kInvalidateValueChange);
}

// Choosing one sets the other parameters; projects do not store which one it was.
void definePresets(const Suites& suites, ParamSet parameters) {
  const Properties properties =
      define(suites, parameters, kParamChoice, kPresetParameter, "Preset",
             "Sets all parameters, with keys where the preset has them; undone in one step");
  properties.require(prop::kChoiceOption, "Choose a preset");
  for (int i = 0; i < lomix_preset_count(); ++i) {
    lomix_preset_info info = LOMIX_PRESET_INFO_INIT;
    lomix_preset_get(i, &info, nullptr);
    properties.require(prop::kChoiceOption, info.name, i + 1);
  }
  properties.require(prop::kDefault, 0);
  for (const char* no : {prop::kAnimates, prop::kPersistent, prop::kEvaluateOnChange}) {
    properties.set(no, 0);
  }
}

// For hosts that lay parameters out in pages; others ignore or refuse it.
void definePage(const Suites& suites, ParamSet parameters) {
  PropertySet set = nullptr;
  if (suites.parameter->define(parameters, kParamPage, "page", &set) != kOk) return;
  const Properties properties(suites, set);
  setLabels(properties, lomix_effect_name());
  std::vector<const char*> children{kPresetParameter};
  for (const lomix_parameter_info& info : effectParameters()) children.push_back(info.key);
  properties.setAll(prop::kPageChild, children);
}

}  // namespace

void describe(const Suites& suites, EffectHandle descriptor) {
  PropertySet set = nullptr;
  require(suites.effect->getPropertySet(descriptor, &set), "effect");
  const Properties properties(suites, set);
  setLabels(properties, lomix_effect_name());
  properties.set(prop::kGrouping, lomix_effect_category());
  properties.set(prop::kDescription, lomix_effect_description());
  properties.setAll<int>(prop::kVersion,
                         {LOMIX_VERSION_MAJOR, LOMIX_VERSION_MINOR, LOMIX_VERSION_PATCH});
  properties.set(prop::kVersionLabel, lomix_version_text());
  properties.require(prop::kContexts, kContextFilter);
  properties.require(prop::kContexts, kContextGeneral, 1);
  properties.require(prop::kPixelDepths, kDepthByte);
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
  definePresets(suites, set);
  for (const lomix_parameter_info& info : effectParameters()) defineEffect(suites, set, info);
  definePage(suites, set);
}

}  // namespace lomix::ofx
