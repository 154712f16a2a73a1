#include "cli/shell/OptionTable.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

// The words of the line, with the parts joined that bash splits at "=" and ":". Names are compared
// here because compgen -W expands its words: a file named "$(command)" would run the command.
constexpr const char* kHead = R"sh(# Completion of lomix for bash. Written by lomix itself.

# Offers the names that begin with $value.
_lomix_offer() {
  local name
  for name in "$@"; do
    [[ $name == "$value"* ]] && COMPREPLY+=("$name")
  done
}

_lomix_presets() {
  local file folder=${XDG_DATA_HOME:-$HOME/.local/share}/lomix/presets
  _lomix_offer "${_lomix_preset_names[@]}"
  for file in "$folder"/*.json; do
    [[ -f $file ]] || continue
    file=${file##*/}
    [[ $file == "$value"* ]] && COMPREPLY+=("$(printf %q "${file%.json}")")
  done
}

_lomix_settings() {
  case $value in
)sh";

constexpr const char* kMiddle = R"sh(    *=*) _lomix_nothing ;;
    *)
      _lomix_offer "${_lomix_parameter_names[@]}"
      compopt -o nospace 2>/dev/null
      ;;
  esac
}

# Where an option has a value that nothing is known of, files are not offered either.
_lomix_nothing() { compopt +o default +o bashdefault 2>/dev/null; }

_lomix() {
  local i word join= last=-1
  local -a words=()
  for ((i = 1; i <= COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if [[ $last -ge 0 && ($join || $word =~ ^[=:]+$) ]]; then
      words[last]+=$word
    else
      words[++last]=$word
    fi
    join=
    [[ $word =~ ^[=:]+$ ]] && join=1
  done
  COMPREPLY=()
  ((last >= 0)) || return 0
  local whole=${words[last]} value=${words[last]} option= lead= command=
  ((last > 0)) && option=${words[last - 1]}
  if [[ $whole == --*=* ]]; then
    option=${whole%%=*} value=${whole#*=} lead=${whole%%=*}=
  fi
  for ((i = 0; i < last; i++)); do
    [[ ${words[i]} == -* ]] || { command=${words[i]}; break; }
  done
  _lomix_values
  # Bash replaces what is behind the last "=" if it splits words there.
  local kept=
  [[ $COMP_WORDBREAKS == *=* && $whole == *=* ]] && kept=${whole%"${whole##*=}"}
  for i in "${!COMPREPLY[@]}"; do
    word=$lead${COMPREPLY[i]}
    COMPREPLY[i]=${word#"$kept"}
  done
}

_lomix_values() {
  case $command:$option in
)sh";

constexpr const char* kTail = R"sh(  esac
}

complete -o bashdefault -o default -F _lomix lomix
)sh";

std::string optionNames(const CommandEntry& command) {
  std::vector<std::string> names;
  for (const OptionEntry& option : command.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return joined(names, " ");
}

/// Returns the shell's call that offers the values of an option; empty for files, which bash offers
/// itself where nothing else is.
std::string offer(const OptionEntry& option) {
  switch (option.kind) {
    case ValueKind::Words:
      return "_lomix_offer " + joined(option.words, " ");
    case ValueKind::Preset:
      return "_lomix_presets";
    case ValueKind::Setting:
      return "_lomix_settings";
    case ValueKind::Text:
      return "_lomix_nothing";
    default:
      return {};
  }
}

}  // namespace

std::string bashCompletion(const OptionTable& table) {
  std::string text = kHead;
  for (const NamedEntry& parameter : table.parameters) {
    if (parameter.choices.empty()) continue;
    std::vector<std::string> settings;
    for (const std::string& choice : parameter.choices) {
      settings.push_back("'" + parameter.name + "=" + choice + "'");
    }
    text += "    " + parameter.name + "=*) _lomix_offer " + joined(settings, " ") + " ;;\n";
  }
  text += kMiddle;
  for (const CommandEntry& command : table.commands) {
    for (const OptionEntry& option : command.options) {
      if (option.kind == ValueKind::None) continue;
      std::vector<std::string> patterns;
      for (const std::string& name : option.names) patterns.push_back(command.name + ":" + name);
      text += "    " + joined(patterns, " | ") + ") " + offer(option) + " ;;\n";
    }
  }
  std::string commands = "help";
  for (const CommandEntry& command : table.commands) commands += " " + command.name;
  text += "    help:*) _lomix_offer" + commands.substr(4) + " ;;\n";
  text += "    :*)\n      _lomix_offer " + commands + " " + optionNames(table.lomix) +
          "\n      _lomix_nothing\n      ;;\n";
  for (const CommandEntry& command : table.commands) {
    text += "    " + command.name + ":*) [[ $value != -* ]] || _lomix_offer " +
            optionNames(command) + " ;;\n";
  }
  text += kTail;
  std::vector<std::string> presets;
  for (const NamedEntry& preset : table.presets) presets.push_back(preset.name);
  std::vector<std::string> parameters;
  for (const NamedEntry& parameter : table.parameters) parameters.push_back(parameter.name + "=");
  return text + "_lomix_preset_names=(" + joined(presets, " ") + ")\n_lomix_parameter_names=(" +
         joined(parameters, " ") + ")\n";
}

}  // namespace lomix::cli
