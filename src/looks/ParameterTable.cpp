#include "looks/ParameterTable.h"

#include <algorithm>
#include <cmath>

#include "looks/LookErrors.h"
#include "support/Text.h"

namespace lomix::looks {
namespace {

/// Returns the way out of messages about values, such as "(use 0 % to 100 %)".
std::string acceptedValues(const Parameter& parameter) {
  if (!parameter.isChoice) {
    return "(use " + valueText(parameter, parameter.minimum) + " to " +
           valueText(parameter, parameter.maximum) + ")";
  }
  return "(use " + joined(parameter.choices, " or ") + ", or a number from 1 to " +
         std::to_string(parameter.choices.size()) + ")";
}

bool takes(const Parameter& parameter, double value) {
  const bool inRange = value >= parameter.minimum && value <= parameter.maximum;
  return inRange && (!parameter.isChoice || value == std::floor(value));
}

[[noreturn]] void failOutOfRange(const Parameter& parameter, std::string_view value) {
  const std::string cause = parameter.isChoice ? quoted(value) + " is not one of its choices "
                                               : std::string(value) + " is out of range ";
  throw ValueOutOfRange(parameter.name + ": " + cause + acceptedValues(parameter));
}

double parseChoice(const Parameter& parameter, std::string_view text) {
  for (std::size_t i = 0; i < parameter.choices.size(); ++i) {
    if (normalisedName(parameter.choices[i]) == normalisedName(text)) {
      return static_cast<double>(i + 1);
    }
  }
  const auto number = parseWhole(text);
  if (!number || !takes(parameter, static_cast<double>(*number))) failOutOfRange(parameter, text);
  return static_cast<double>(*number);
}

double parseSliderValue(const Parameter& parameter, std::string_view text) {
  std::string_view digits = text;
  if (parameter.isPercent() && digits.ends_with('%')) {
    digits = trimmed(digits.substr(0, digits.size() - 1));
  }
  const auto number = parseNumber(digits);
  if (!number) {
    throw UsageError(parameter.name + ": " + quoted(text) + " is not a number " +
                     acceptedValues(parameter));
  }
  if (!takes(parameter, *number)) failOutOfRange(parameter, text);
  return *number;
}

}  // namespace

std::string normalisedName(std::string_view name) {
  std::string normalised;
  bool gap = false;
  for (const char c : name) {
    if (std::string_view(" \t-_/").find(c) != std::string_view::npos) {
      gap = !normalised.empty();
      continue;
    }
    if (gap) normalised += '-';
    gap = false;
    normalised += lowerCase(c);
  }
  return normalised;
}

const Parameter* ParameterTable::find(std::string_view name) const {
  const std::string wanted = normalisedName(name);
  if (wanted.empty()) return nullptr;
  const auto found = std::ranges::find_if(parameters_, [&](const Parameter& p) {
    return normalisedName(p.name) == wanted || normalisedName(p.key) == wanted;
  });
  return found == parameters_.end() ? nullptr : &*found;
}

const Parameter& ParameterTable::get(std::string_view name, std::string_view subject) const {
  if (const Parameter* parameter = find(name)) return *parameter;
  std::vector<std::string> names;
  for (const Parameter& parameter : parameters_) names.push_back(normalisedName(parameter.name));
  const Parameter* nearest = find(nearestName(normalisedName(name), names));
  std::string message = name.empty() ? "the name of the parameter is missing"
                                     : "there is no parameter '" + shortened(name) + "'";
  if (!subject.empty()) message = std::string(subject) + ": " + message;
  throw UnknownName(message, nearest == nullptr ? "" : nearest->name);
}

double parseValue(const Parameter& parameter, std::string_view text) {
  return parameter.isChoice ? parseChoice(parameter, text) : parseSliderValue(parameter, text);
}

const ParameterTable& effectTable() {
  static const ParameterTable table(effectParameters());
  return table;
}

void requireInRange(const Parameter& parameter, double value) {
  if (!takes(parameter, value)) failOutOfRange(parameter, shortest(value));
}

std::string valueText(const Parameter& parameter, double value) {
  if (parameter.isChoice) {
    const auto choice = static_cast<std::size_t>(value) - 1;
    return choice < parameter.choices.size() ? parameter.choices[choice] : shortest(value);
  }
  return shortest(value) + (parameter.isPercent() ? " %" : "");
}

std::string valueWithUnit(const Parameter& parameter, double value) {
  const std::string text = valueText(parameter, value);
  if (parameter.isChoice || parameter.isPercent() || parameter.unit.empty()) return text;
  const bool oneRow = value == 1.0 && parameter.unit.starts_with("rows");
  return text + " " + (oneRow ? "row" + parameter.unit.substr(4) : parameter.unit);
}

}  // namespace lomix::looks
