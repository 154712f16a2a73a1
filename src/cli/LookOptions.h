// The options that set the effect's parameters: --preset, --set and --key.
#pragma once

#include <CLI/App.hpp>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "looks/Look.h"
#include "looks/PresetStore.h"
#include "support/NewFile.h"

namespace lomix::cli {

/// A parameter and the text of its value.
struct Setting {
  const looks::Parameter& parameter;
  std::string_view value;  ///< The text after the equals sign, a view into the option's text.
};

/// Splits "NAME=VALUE" and finds the parameter. option: the option that has the text, form: what it
/// expects; both for error messages. Throws UsageError.
Setting splitSetting(const looks::ParameterTable& table, std::string_view text,
                     const std::string& option, const std::string& form);

/// Finds a preset by name, built-in or the user's own, or by file. option: the option that names
/// it, for error messages. Throws UsageError for a name that no preset has, MediaError when the
/// file cannot be read.
looks::PresetText presetNamed(const std::string& nameOrFile, const std::string& option);

/// The options of a command that set the effect's parameters.
class LookOptions {
 public:
  /// Adds the options to a parser. The object must outlive the parsing and stay in its place.
  void addTo(CLI::App& app);

  /// Returns the parameters that the options set. --preset is applied first, then --set, then
  /// --key; later values replace earlier ones. Throws UsageError, MediaError, and CommandError for
  /// an invalid preset.
  looks::Look read(const looks::ParameterTable& table) const;

  /// Returns the files that read() reads.
  std::vector<NamedFile> files() const;

 private:
  /// Returns the file of the preset; empty for a name that the user's folder does not have.
  const std::filesystem::path& presetFile() const;

  std::string preset_;
  mutable std::optional<std::filesystem::path> presetFile_;  ///< Once it was looked for.
  std::vector<std::string> settings_;
  std::vector<std::string> keys_;
};

}  // namespace lomix::cli
