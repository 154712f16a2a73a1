// Finds parameters by name and reads their values as people type them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "looks/Parameter.h"

namespace lomix::looks {

/// Returns a parameter's name for comparing: lower case, with spaces, dashes, underscores and
/// slashes as single dashes. "Blend w/Original" gives "blend-w-original".
std::string normalisedName(std::string_view name);

/// A list of parameters, in panel order: entry i has index i.
class ParameterTable {
 public:
  explicit ParameterTable(std::vector<Parameter> parameters) : parameters_(std::move(parameters)) {}

  const std::vector<Parameter>& all() const { return parameters_; }

  /// Finds a parameter by its key or panel name. Returns null when there is none of that name.
  const Parameter* find(std::string_view name) const;

  /// Returns the parameter of that name. subject: begins the error message, such as "--set"; empty
  /// for none. Throws UnknownName, which names the most similar parameter.
  const Parameter& get(std::string_view name, std::string_view subject) const;

 private:
  std::vector<Parameter> parameters_;
};

/// Returns the table of the effect's own parameters, which lives as long as the program.
const ParameterTable& effectTable();

/// Reads a value as in the panel: a number, with or without "%" where the unit is percent; a choice
/// by its text or its number. Throws UsageError for a text that is not a value, ValueOutOfRange for
/// a value outside the valid range; both name the parameter.
double parseValue(const Parameter& parameter, std::string_view text);

/// Throws ValueOutOfRange unless the parameter takes the value; NaN is out of every range.
void requireInRange(const Parameter& parameter, double value);

/// Returns a value as the panel shows it: a number, a percentage or a choice.
std::string valueText(const Parameter& parameter, double value);

/// Returns a value with its unit, for people: "1.5 s", "20 %", "1 row", "Tile".
std::string valueWithUnit(const Parameter& parameter, double value);

}  // namespace lomix::looks
