#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/Host.h"

namespace lomix::cli {

/// A parameter's name for comparing: lower case, spaces, dashes, underscores and slashes as single
/// dashes. "Blend w/Original" gives "blend-w-original".
std::string normalisedName(std::string_view name);

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

  /// Reads "Name=Value". Throws UsageError for an unknown name, which it answers with the nearest
  /// one, and for a value that the parameter does not take.
  Assignment parse(std::string_view text) const;

 private:
  std::vector<host::Parameter> parameters_;
};

/// Whether a slider's values are percents.
bool isPercent(const host::Parameter& parameter);

/// A value as the panel shows it: a number, a percentage or a choice.
std::string valueText(const host::Parameter& parameter, double value);

}  // namespace lomix::cli
