// The commands and options of `lomix` as data, read from its parser. Completion scripts and the
// manual page are written from this table.
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

namespace lomix::cli {

/// What a shell offers as the value of an option.
enum class ValueKind {
  None,     ///< A flag: it takes no value.
  Text,     ///< Nothing: numbers, times and other free text.
  File,     ///< Names of files.
  Words,    ///< The words of OptionEntry::words.
  Preset,   ///< Names of presets, and files.
  Setting,  ///< Names of parameters with "=", and the choices behind it.
};

/// An option, or an argument without a name.
struct OptionEntry {
  std::vector<std::string> names;  ///< "-h", "--help"; of an argument "INPUT".
  std::string value;               ///< As the help text names it: "NAME=VALUE"; empty for flags.
  std::string help;                ///< One line.
  std::string group;               ///< The heading in the help text.
  ValueKind kind = ValueKind::None;
  std::vector<std::string> words;
  bool repeatable = false;
  bool required = false;
};

/// A command. `lomix` itself has no name.
struct CommandEntry {
  std::string name;
  std::string purpose;
  std::vector<OptionEntry> options;
  std::vector<OptionEntry> arguments;
  std::string footer;  ///< Several lines: exit codes, examples.
};

/// A name that a shell offers, and one line about it.
struct NamedEntry {
  std::string name;
  std::string help;
  std::vector<std::string> choices;  ///< Of a parameter.
};

struct OptionTable {
  CommandEntry lomix;
  std::vector<CommandEntry> commands;  ///< Those that the help text lists.
  std::vector<NamedEntry> parameters;  ///< By their keys: "scan_distortion".
  std::vector<NamedEntry> presets;     ///< The built-in ones.
};

/// Reads the table from the parser of `lomix`.
OptionTable optionTable(const CLI::App& lomix);

/// Returns the first clause of a help text, which fits beside a name.
std::string summary(const std::string& help);

/// Return the content of the files that shells and `man` read.
std::string bashCompletion(const OptionTable& table);
std::string zshCompletion(const OptionTable& table);
std::string fishCompletion(const OptionTable& table);
std::string manualPage(const OptionTable& table);

}  // namespace lomix::cli
