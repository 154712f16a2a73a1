#include <CLI/App.hpp>
#include <iomanip>
#include <ostream>
#include <string>

#include "cli/LookOptions.h"
#include "cli/commands/Commands.h"
#include "looks/PresetSchema.h"
#include "looks/PresetStore.h"

namespace lomix::cli {
namespace {

/// The options of `lomix presets`.
struct Options {
  std::string shown;
  bool json = false;
  bool schema = false;
};

void declare(CLI::App& app, Options& options) {
  CLI::Option* json =
      app.add_flag("--json", options.json, "Print all presets as JSON for programs");
  CLI::Option* schema =
      app.add_flag("--schema", options.schema, "Print the JSON schema of preset files, for editors")
          ->excludes(json);
  app.add_option("--show", options.shown,
                 "Print the file of one preset: a name from the list,\n"
                 "or a file, which is checked")
      ->type_name("NAME|FILE")
      ->excludes(json)
      ->excludes(schema);
  app.footer(
      "Examples:\n"
      "  lomix presets\n"
      "  lomix presets --show weak-aerial > mine.json\n"
      "  lomix render in.png out.png --preset mine.json\n");
}

void printAll(const looks::ParameterTable& table, bool asJson, std::ostream& out) {
  auto list = nlohmann::ordered_json::array();
  for (const looks::BuiltInPreset& builtIn : looks::builtInPresets()) {
    if (asJson) {
      nlohmann::ordered_json entry{{"id", builtIn.id}};
      entry.update(toJson(looks::parsePreset(builtIn.text, builtIn.id, table), table));
      list.push_back(std::move(entry));
    } else {
      out << std::left << std::setw(22) << builtIn.id << builtIn.description << "\n";
    }
  }
  if (asJson) out << nlohmann::ordered_json{{"presets", list}}.dump(2) << "\n";
}

void run(const Options& options, const Streams& streams) {
  const looks::ParameterTable& table = looks::effectTable();
  if (!options.shown.empty()) {
    const looks::PresetText found = presetNamed(options.shown, "--show");
    looks::parsePreset(found.text, found.source, table);
    streams.out << found.text;
  } else if (options.schema) {
    streams.out << looks::presetSchema(table).dump(2) << "\n";
  } else {
    printAll(table, options.json, streams.out);
  }
}

}  // namespace

Command addPresetsCommand(CLI::App& lomix) {
  return addCommand<Options>(lomix, "presets", "List the built-in presets", declare, run);
}

}  // namespace lomix::cli
