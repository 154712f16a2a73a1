#include "cli/commands/PresetsCommand.h"

#include <iomanip>
#include <ostream>

#include "cli/LookOptions.h"
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
  const looks::ParameterTable& table = looks::effectTable();
  if (!shown_.empty()) {
    const looks::PresetText found = presetNamed(shown_, "--show");
    looks::parsePreset(found.text, found.source, table);
    streams.out << found.text;
  } else if (schema_) {
    streams.out << looks::presetSchema(table).dump(2) << "\n";
  } else {
    printAll(table, streams.out);
  }
}

void PresetsCommand::printAll(const looks::ParameterTable& table, std::ostream& out) const {
  auto list = nlohmann::ordered_json::array();
  for (const looks::BuiltInPreset& builtIn : looks::builtInPresets()) {
    if (json_) {
      nlohmann::ordered_json entry{{"id", builtIn.id}};
      entry.update(toJson(looks::parsePreset(builtIn.text, builtIn.id, table), table));
      list.push_back(std::move(entry));
    } else {
      out << std::left << std::setw(22) << builtIn.id << builtIn.description << "\n";
    }
  }
  if (json_) out << nlohmann::ordered_json{{"presets", list}}.dump(2) << "\n";
}

}  // namespace lomix::cli
