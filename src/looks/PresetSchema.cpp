#include "looks/PresetSchema.h"

#include <limits>

#include "looks/Preset.h"

namespace lomix::looks {
namespace {

using nlohmann::ordered_json;

ordered_json object(ordered_json properties, ordered_json required) {
  return {{"type", "object"},
          {"properties", std::move(properties)},
          {"required", std::move(required)},
          {"additionalProperties", false}};
}

ordered_json line(const char* purpose) {
  return {{"description", purpose},
          {"type", "string"},
          {"minLength", 1},
          {"maxLength", kMaxPresetLine},
          {"pattern", "^[^\\n\\r]*$"}};
}

ordered_json valueOf(const Parameter& parameter) {
  if (parameter.isChoice) return {{"enum", parameter.choices}};
  ordered_json value{{"type", "number"}, {"minimum", parameter.minimum}};
  if (parameter.maximum < std::numeric_limits<float>::max()) {
    value["maximum"] = parameter.maximum;
  }
  return value;
}

ordered_json keysOf(const Parameter& parameter) {
  ordered_json interpolations{nameOf(Interpolation::Hold)};
  if (!parameter.isChoice) {
    interpolations.push_back(nameOf(Interpolation::Linear));
    interpolations.push_back(nameOf(Interpolation::Ease));
  }
  const ordered_json key = object(
      {{"seconds", {{"type", "number"}}},
       {"value", valueOf(parameter)},
       {"interpolation",
        {{"description", "From this key to the next"}, {"enum", std::move(interpolations)}}}},
      {"seconds", "value"});
  return {{"description", "In order of time"}, {"type", "array"}, {"minItems", 1}, {"items", key}};
}

}  // namespace

ordered_json presetSchema(const ParameterTable& table) {
  ordered_json values = ordered_json::object();
  ordered_json curves = ordered_json::object();
  for (const Parameter& parameter : table.all()) {
    values[parameter.name] = valueOf(parameter);
    if (parameter.canChangeOverTime) curves[parameter.name] = keysOf(parameter);
  }
  ordered_json schema{{"$schema", "http://json-schema.org/draft-07/schema#"},
                      {"title", "Lomix preset"}};
  schema.update(
      object({{"$schema", {{"type", "string"}}},
              {"format", {{"description", "The form of this file"}, {"const", kPresetFormat}}},
              {"name", line("For people")},
              {"description", line("What the picture looks like")},
              {"parameters", object(std::move(values), ordered_json::array())},
              {"keys", object(std::move(curves), ordered_json::array())}},
             {"format", "name", "description"}));
  return schema;
}

}  // namespace lomix::looks
