#include <sstream>

#include "cli/shell/OptionTable.h"
#include "lomix/lomix.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// Returns a text in which troff finds no commands.
std::string plain(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (result.empty() && (c == '.' || c == '\'')) result += "\\&";
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else if (c == '\'') {
      result += "\\(aq";
    } else if (c == '~') {
      result += "\\(ti";
    } else if (c == '^') {
      result += "\\(ha";
    } else {
      result += c;
    }
  }
  return result;
}

std::string bold(const std::string& text) { return "\\fB" + plain(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + plain(text) + "\\fR"; }

/// Returns a paragraph with a hanging tag.
std::string item(const std::string& tag, const std::string& text) {
  return ".TP\n" + tag + "\n" + plain(text) + "\n";
}

std::string optionItem(const OptionEntry& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.names) names.push_back(bold(name));
  std::string tag = joined(names, ", ");
  if (!option.value.empty()) tag += " " + italic(option.value);
  return item(tag, option.help);
}

/// Returns lines as they are.
std::string verbatim(const std::string& lines) {
  std::string text = ".nf\n";
  std::istringstream stream(lines);
  for (std::string line; std::getline(stream, line);) text += plain(line) + "\n";
  return text + ".fi\n";
}

std::string optionItems(const CommandEntry& command) {
  std::string text;
  std::string group;
  for (const OptionEntry& argument : command.arguments) {
    text += item(italic(argument.names.front()), argument.help);
  }
  for (const OptionEntry& option : command.options) {
    if (option.group != group && option.group != "Options") {
      text += ".PP\n" + bold(option.group) + "\n";
    }
    group = option.group;
    text += optionItem(option);
  }
  return text;
}

std::string synopsis(const CommandEntry& command) {
  std::string text = bold("lomix " + command.name);
  for (const OptionEntry& argument : command.arguments) {
    const std::string name = italic(argument.names.front());
    text += argument.required || argument.names.front() == "INPUT OUTPUT" ? " " + name
                                                                          : " [" + name + "]";
  }
  return text + " [" + italic("OPTIONS") + "]\n";
}

}  // namespace

std::string manualPage(const OptionTable& table) {
  std::string text =
      ".\\\" Written by lomix itself.\n"
      ".TH LOMIX 1 \"\" \"lomix " +
      std::string(lomix_version_text()) +
      "\" \"User Commands\"\n"
      ".SH NAME\nlomix \\- " +
      plain(summary(lowerCase(table.lomix.purpose.substr(0, 1)) + table.lomix.purpose.substr(1))) +
      "\n.SH SYNOPSIS\n";
  for (const CommandEntry& command : table.commands) text += synopsis(command) + ".br\n";
  text += bold("lomix") + " [" + italic("OPTIONS") + "]\n.SH DESCRIPTION\n" +
          plain(table.lomix.purpose) + "\n.SH OPTIONS\n" + optionItems(table.lomix) +
          ".SH COMMANDS\n";
  for (const CommandEntry& command : table.commands) {
    text += ".SS " + ("\"lomix " + command.name + "\"\n") + plain(command.purpose) + ".\n" +
            optionItems(command) + ".PP\n" + verbatim(command.footer);
  }
  text += ".SH PARAMETERS\n";
  for (const NamedEntry& parameter : table.parameters) {
    std::string help = parameter.help;
    for (const std::string& choice : parameter.choices) {
      help += (&choice == &parameter.choices.front() ? ": " : ", ") + choice;
    }
    text += item(bold(parameter.name), help);
  }
  text += ".SH PRESETS\n";
  for (const NamedEntry& preset : table.presets) text += item(bold(preset.name), preset.help);
  return text + ".SH NOTES\n" + verbatim(table.lomix.footer);
}

}  // namespace lomix::cli
