#include "cli/commands/PresetsCommand.h"

#include <iomanip>
#include <ostream>

#include "batch/Plugin.h"
#include "looks/PresetSchema.h"
#include "looks/PresetStore.h"

namespace lomix::cli {

PresetsCommand::PresetsCommand(CLI::App& app) {
  CLI::Option* json = app.add_flag("--json", json_, "Print all of them as JSON for programs");
  CLI::Option* schema =
      app.add_flag("--schema", schema_, "Print the JSON schema of preset files, for editors")
          ->excludes(json);
  app.add_option("--show", shown_,
                 "Print one preset as its file has it: a name from\n"
                 "the list, or a file, which is checked")
      ->type_name("NAME|FILE")
      ->excludes(json)
      ->excludes(schema);
  app.footer(
      "Examples:\n"
      "  lomix presets\n"
      "  lomix presets --show weak-aerial > mine.json\n"
      "  lomix render in.png out.png --preset mine.json\n");
}

void PresetsCommand::run(const Streams& streams) {
  Plugin plugin(host::Personality::AfterEffects);
  if (!shown_.empty()) {
    const PresetText found = findPreset(shown_);
    parsePreset(found.text, found.source, plugin.parameters());
    streams.out << found.text;
  } else if (schema_) {
    streams.out << presetSchema(plugin.parameters()).dump(2) << "\n";
  } else {
    printAll(plugin.parameters(), streams.out);
  }
}

void PresetsCommand::printAll(const ParameterTable& table, std::ostream& out) const {
  auto list = nlohmann::ordered_json::array();
  for (const auto& [id, text] : builtInPresets()) {
    const Preset preset = parsePreset(text, id, table);
    if (json_) {
      nlohmann::ordered_json entry{{"id", id}};
      entry.update(toJson(preset, table));
      list.push_back(std::move(entry));
    } else {
      out << std::left << std::setw(22) << id << preset.description << "\n";
    }
  }
  if (json_) out << nlohmann::ordered_json{{"presets", list}}.dump(2) << "\n";
}

}  // namespace lomix::cli
