#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/Host.h"

namespace lomix::cli {

/// A parameter's name for comparing: lower case, spaces, dashes, underscores and slashes as single
/// dashes. "Blend w/Original" gives "blend-w-original".
std::string normalisedName(std::string_view name);

/// The text without blanks at its ends.
std::string_view trimmed(std::string_view text);

/// How many letters must be put in, taken out or changed to make one text the other.
std::size_t editDistance(std::string_view a, std::string_view b);

/// One "Name=Value" of the command line, understood.
struct Assignment {
  int index;  ///< Of the parameter.
  double value;
};

/// The parameters that a module declared, without the input layer.
class ParameterTable {
 public:
  explicit ParameterTable(const std::vector<host::Parameter>& declared);

  const std::vector<host::Parameter>& all() const { return parameters_; }

  /// Null when there is none of that name.
  const host::Parameter* find(std::string_view name) const;

  /// The parameter of that name. Throws UsageError about the subject when there is none, and names
  /// the nearest one.
  const host::Parameter& get(std::string_view name, std::string_view subject) const;

  struct Setting {
    const host::Parameter& parameter;
    std::string_view value;  ///< What stands behind the equals sign, a view into the text.
  };
  /// Takes "Name=..." apart. option: the option that text was given to; form: what the user should
  /// have written. Throws UsageError.
  Setting split(std::string_view text, const std::string& option, const std::string& form) const;

  /// Reads "Name=Value". Throws UsageError for an unknown name and for a value that the parameter
  /// does not take.
  Assignment parse(std::string_view text) const;

 private:
  std::vector<host::Parameter> parameters_;
};

/// Reads a value as in the panel. Throws UsageError, whose subject is the parameter, for one that
/// the parameter does not take.
double parseValue(const host::Parameter& parameter, std::string_view text);

/// Whether a slider's values are percents.
bool isPercent(const host::Parameter& parameter);

/// Whether the module allows keys on it.
bool canChangeOverTime(const host::Parameter& parameter);

/// A value as the panel shows it: a number, a percentage or a choice.
std::string valueText(const host::Parameter& parameter, double value);

}  // namespace lomix::cli
