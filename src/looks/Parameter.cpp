#include "looks/Parameter.h"

#include "effect/shell/EffectInfo.h"
#include "effect/shell/Parameters.h"
#include "support/Text.h"

namespace lomix::looks {
namespace {

Parameter parameterOf(const ParameterSpec& spec, int index) {
  Parameter parameter;
  parameter.index = index;
  parameter.key = spec.key;
  parameter.name = spec.name;
  parameter.unit = spec.unit;
  parameter.help = spec.help;
  parameter.id = spec.id;
  parameter.flags = spec.flags;
  parameter.isChoice = spec.type == PF_Param_POPUP;
  parameter.canChangeOverTime = (spec.flags & PF_ParamFlag_CANNOT_TIME_VARY) == 0;
  parameter.minimum = parameter.isChoice ? 1 : spec.validMin;
  parameter.maximum = parameter.isChoice ? spec.choiceCount : spec.validMax;
  parameter.sliderMinimum = parameter.isChoice ? 1 : spec.sliderMin;
  parameter.sliderMaximum = parameter.isChoice ? spec.choiceCount : spec.sliderMax;
  parameter.defaultValue = spec.defaultValue;
  parameter.decimals = spec.precision;
  if (parameter.isChoice) {
    for (const std::string_view choice : split(spec.choices, '|')) {
      parameter.choices.emplace_back(choice);
    }
  }
  return parameter;
}

}  // namespace

EffectTexts effectTexts() noexcept { return {kEffectName, kEffectCategory, kEffectDescription}; }

std::vector<Parameter> effectParameters() {
  std::vector<Parameter> parameters;
  for (const ParameterSpec& spec : kParameters) {
    parameters.push_back(parameterOf(spec, static_cast<int>(parameters.size())));
  }
  return parameters;
}

int effectParameterCount() noexcept { return static_cast<int>(kParameters.size()); }

}  // namespace lomix::looks
