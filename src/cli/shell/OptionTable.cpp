#include "cli/shell/OptionTable.h"

#include <algorithm>
#include <regex>

#include "looks/ParameterTable.h"
#include "looks/PresetStore.h"
#include "media/video/Video.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// Returns the type that the help text shows, without the range that the parser adds to it.
std::string valueName(const CLI::Option& option) {
  const std::string text = option.get_type_name();
  return text.substr(0, text.find(":INT in ["));
}

/// Finds what a shell offers by the type that the help text shows.
void classify(OptionEntry& entry) {
  static const std::regex choice("[a-z0-9]+(\\|[a-z0-9]+)+");
  if (entry.value == "CODEC") {
    entry.kind = ValueKind::Words;
    for (const std::string_view name : media::kVideoCodecNames) entry.words.emplace_back(name);
  } else if (std::regex_match(entry.value, choice)) {
    entry.kind = ValueKind::Words;
    for (const std::string_view word : split(entry.value, '|')) entry.words.emplace_back(word);
  } else if (entry.value == "NAME|FILE") {
    entry.kind = ValueKind::Preset;
  } else if (entry.value.starts_with("NAME=")) {
    entry.kind = ValueKind::Setting;
  } else if (entry.value.starts_with("FILE")) {
    entry.kind = ValueKind::File;
  } else {
    entry.kind = entry.value.empty() ? ValueKind::None : ValueKind::Text;
  }
}

OptionEntry entryOf(const CLI::Option& option) {
  OptionEntry entry;
  entry.help = oneLine(option.get_description());
  entry.group = option.get_group();
  entry.required = option.get_required();
  if (option.get_items_expected_max() > 0) entry.value = valueName(option);
  if (option.get_positional()) {
    entry.names = {option.get_name()};
  } else {
    for (const std::string& name : option.get_snames()) entry.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) entry.names.push_back("--" + name);
    entry.repeatable = option.get_items_expected_max() > 1;
  }
  classify(entry);
  return entry;
}

CommandEntry entryOf(const CLI::App& app) {
  CommandEntry entry{app.get_name(), oneLine(app.get_description()), {}, {}, app.get_footer()};
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;  // Hidden.
    (option->get_positional() ? entry.arguments : entry.options).push_back(entryOf(*option));
  }
  return entry;
}

}  // namespace

OptionTable optionTable(const CLI::App& lomix) {
  OptionTable table;
  table.lomix = entryOf(lomix);
  table.lomix.name.clear();
  for (const CLI::App* command : lomix.get_subcommands([](const CLI::App*) { return true; })) {
    if (!command->get_group().empty()) table.commands.push_back(entryOf(*command));
  }
  for (const looks::Parameter& parameter : looks::effectTable().all()) {
    table.parameters.push_back({parameter.key, parameter.help, parameter.choices});
  }
  for (const looks::BuiltInPreset& preset : looks::builtInPresets()) {
    table.presets.push_back({preset.id, preset.description, {}});
  }
  return table;
}

std::string summary(const std::string& help) {
  std::size_t end = help.size();
  for (const char* stop : {". ", "; ", ": "}) end = std::min(end, help.find(stop));
  if (end > 0 && end == help.size() && help.back() == '.') --end;
  return help.substr(0, end);
}

}  // namespace lomix::cli
