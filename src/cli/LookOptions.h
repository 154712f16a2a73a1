#pragma once

#include <CLI/App.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "looks/Look.h"
#include "looks/PresetStore.h"

namespace lomix::cli {

/// A parameter and the text that it is set to.
struct Setting {
  const looks::Parameter& parameter;
  std::string_view value;  ///< What follows the equals sign, a view into the text.
};

/// Reads "NAME=..." up to the equals sign. option: the option that text was given to; form: what
/// the user should have written, for errors. Throws UsageError.
Setting splitSetting(const looks::ParameterTable& table, std::string_view text,
                     const std::string& option, const std::string& form);

/// Finds a preset by name or file. option: the option that gave it, for errors. Throws UsageError
/// for a name that is no preset's, MediaError when the file cannot be read.
looks::PresetText presetNamed(const std::string& nameOrFile, const std::string& option);

/// The options of a command that say what the effect's parameters are.
class LookOptions {
 public:
  /// Declares the options.
  void addTo(CLI::App& app);

  /// The look that they ask for: --preset, then --set, then --key; what comes later wins. Throws
  /// UsageError, CommandError for a preset that is not sound, MediaError.
  looks::Look read(const looks::ParameterTable& table) const;

 private:
  std::string preset_;
  std::vector<std::string> settings_;
  std::vector<std::string> keys_;
};

}  // namespace lomix::cli
