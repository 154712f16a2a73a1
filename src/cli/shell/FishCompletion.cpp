#include "cli/shell/OptionTable.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// Returns a text in single quotes.
std::string quotedForFish(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "'";
}

/// Returns what completes a value: nothing else than what -a lists with -x, files too with -r.
std::string values(const OptionEntry& option) {
  switch (option.kind) {
    case ValueKind::None:
      return "";
    case ValueKind::File:
      return " -r";
    case ValueKind::Words:
      return " -x -a " + quotedForFish(joined(option.words, " "));
    case ValueKind::Preset:
      return " -r -a '(__lomix_presets)'";
    case ValueKind::Setting:
      return " -x -a '(__lomix_settings)'";
    default:
      return " -x";
  }
}

std::string line(const OptionEntry& option, const std::string& condition) {
  std::string text = "complete -c lomix -n " + quotedForFish(condition);
  for (const std::string& name : option.names) {
    text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  return text + values(option) + " -d " + quotedForFish(summary(option.help)) + "\n";
}

/// Returns a line that prints a name and its description for -a.
std::string fishEntry(const std::string& name, const std::string& help) {
  return "  printf '%s\\t%s\\n' " + quotedForFish(name) + " " + quotedForFish(help) + "\n";
}

}  // namespace

std::string fishCompletion(const OptionTable& table) {
  std::string text =
      "# Completion of lomix for fish. Written by lomix itself.\n\n"
      "function __lomix_presets\n";
  for (const NamedEntry& preset : table.presets) text += fishEntry(preset.name, preset.help);
  text +=
      "  set -l data $XDG_DATA_HOME\n"
      "  test -n \"$data\"; or set data ~/.local/share\n"
      "  for file in $data/lomix/presets/*.json\n"
      "    string replace -r '.*/(.*)\\.json$' '$1' -- $file\n"
      "  end\nend\n\nfunction __lomix_settings\n";
  for (const NamedEntry& parameter : table.parameters) {
    if (parameter.choices.empty()) text += fishEntry(parameter.name + "=", parameter.help);
    for (const std::string& choice : parameter.choices) {
      text += fishEntry(parameter.name + "=" + choice, parameter.help);
    }
  }
  text += "end\n\n";
  constexpr const char* kNoCommand = "__fish_use_subcommand";
  std::vector<std::string> commands;
  for (const CommandEntry& command : table.commands) {
    text += std::string("complete -c lomix -f -n ") + kNoCommand + " -a " + command.name + " -d " +
            quotedForFish(command.purpose) + "\n";
    commands.push_back(command.name);
  }
  text += std::string("complete -c lomix -f -n ") + kNoCommand +
          " -a help -d 'List the options of a command'\n" +
          "complete -c lomix -f -n '__fish_seen_subcommand_from help' -a " +
          quotedForFish(joined(commands, " ")) + "\n";
  for (const OptionEntry& option : table.lomix.options) text += line(option, kNoCommand);
  for (const CommandEntry& command : table.commands) {
    text += "\n";
    for (const OptionEntry& option : command.options) {
      text += line(option, "__fish_seen_subcommand_from " + command.name);
    }
  }
  return text;
}

}  // namespace lomix::cli
