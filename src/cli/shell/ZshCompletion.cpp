#include "cli/shell/OptionTable.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// Returns a text in single quotes.
std::string quotedForZsh(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

/// Returns a text with a backslash before each character that _arguments would interpret.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') result += '\\';
    result += c;
  }
  return result;
}

/// Returns an entry of the arrays that _describe takes.
std::string zshEntry(const std::string& name, const std::string& help) {
  return "    " + quotedForZsh(name + ":" + help) + "\n";
}

/// Returns how _arguments completes a value.
std::string action(const OptionEntry& option) {
  switch (option.kind) {
    case ValueKind::File:
      return "_files";
    case ValueKind::Words:
      return "(" + joined(option.words, " ") + ")";
    case ValueKind::Preset:
      return "_lomix_presets";
    case ValueKind::Setting:
      return "_lomix_settings";
    default:
      return " ";
  }
}

/// Returns an option as _arguments takes it, one line for each of its names.
std::string specs(const OptionEntry& option, const std::string& indent) {
  std::string lines;
  for (const std::string& name : option.names) {
    const bool hasValue = option.kind != ValueKind::None;
    std::string spec = option.repeatable ? "*" : "";
    spec += name + (hasValue && name.starts_with("--") ? "=" : "");
    spec += "[" + escaped(summary(option.help)) + "]";
    if (hasValue) spec += ":" + escaped(option.value) + ":" + action(option);
    lines += indent + quotedForZsh(spec) + " \\\n";
  }
  return lines;
}

}  // namespace

std::string zshCompletion(const OptionTable& table) {
  std::string text =
      "#compdef lomix\n"
      "# Completion of lomix for zsh. Written by lomix itself.\n\n"
      "_lomix_commands() {\n  local -a commands=(\n";
  for (const CommandEntry& command : table.commands)
    text += zshEntry(command.name, command.purpose);
  text += zshEntry("help", "List the options of a command");
  text +=
      "  )\n  _describe -t commands command commands\n}\n\n"
      "_lomix_presets() {\n  local -a presets=(\n";
  for (const NamedEntry& preset : table.presets) text += zshEntry(preset.name, preset.help);
  text +=
      "  )\n"
      "  local -a own=(${XDG_DATA_HOME:-$HOME/.local/share}/lomix/presets/*.json(N:t:r))\n"
      "  _describe -t presets preset presets\n"
      "  compadd -- $own\n"
      "  _files -g '*.json'\n}\n\n"
      "_lomix_settings() {\n"
      "  local name=${PREFIX%%=*}\n"
      "  if compset -P 1 '*='; then\n    case $name in\n";
  for (const NamedEntry& parameter : table.parameters) {
    if (parameter.choices.empty()) continue;
    text += "      " + parameter.name + ") compadd --";
    for (const std::string& choice : parameter.choices) text += " " + quotedForZsh(choice);
    text += " ;;\n";
  }
  text += "    esac\n    return\n  fi\n  local -a parameters=(\n";
  for (const NamedEntry& parameter : table.parameters) {
    text += zshEntry(parameter.name, parameter.help);
  }
  text +=
      "  )\n  _describe -t parameters parameter parameters -S =\n}\n\n"
      "_lomix() {\n  local curcontext=$curcontext state line\n  typeset -A opt_args\n"
      "  _arguments -C \\\n";
  for (const OptionEntry& option : table.lomix.options) text += specs(option, "    ");
  text +=
      "    '1:command:_lomix_commands' \\\n    '*::argument:->arguments'\n"
      "  [[ $state == arguments ]] || return\n"
      "  case $words[1] in\n    help) _lomix_commands ;;\n";
  for (const CommandEntry& command : table.commands) {
    text += "    " + command.name + ")\n      _arguments \\\n";
    for (const OptionEntry& option : command.options) text += specs(option, "        ");
    text += "        '*:file:_files'\n      ;;\n";
  }
  return text + "  esac\n}\n\n_lomix \"$@\"\n";
}

}  // namespace lomix::cli
