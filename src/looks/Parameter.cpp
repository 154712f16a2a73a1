#include "looks/Parameter.h"

#include "effect/shell/Parameters.h"

namespace lomix::looks {
namespace {

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (;;) {
    const std::size_t at = text.find(separator);
    parts.emplace_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + 1);
  }
}

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
  if (parameter.isChoice) parameter.choices = split(spec.choices, '|');
  return parameter;
}

}  // namespace

std::vector<Parameter> effectParameters() {
  std::vector<Parameter> parameters;
  for (const ParameterSpec& spec : kParameters) {
    parameters.push_back(parameterOf(spec, static_cast<int>(parameters.size())));
  }
  return parameters;
}

int effectParameterCount() noexcept { return static_cast<int>(kParameters.size()); }

}  // namespace lomix::looks
