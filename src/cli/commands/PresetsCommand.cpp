#include <CLI/App.hpp>
#include <iomanip>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>

#include "cli/LookOptions.h"
#include "cli/UserPresets.h"
#include "cli/commands/Commands.h"
#include "looks/JsonText.h"
#include "looks/PresetSchema.h"
#include "looks/PresetStore.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// The options of `lomix presets`.
struct PresetsOptions {
  std::string shown;
  bool json = false;
  bool schema = false;
};

void declare(CLI::App& app, PresetsOptions& options) {
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
      "  lomix render in.png out.png --preset mine.json\n\n"
      "A file that you put into ~/.local/share/lomix/presets ($XDG_DATA_HOME/lomix/presets; on\n"
      "Windows %APPDATA%\\lomix\\presets) is listed too, and --preset takes its name.\n");
}

using Json = nlohmann::ordered_json;

/// Prints a line of the list.
void print(const std::string& name, const std::string& description, std::ostream& out) {
  constexpr int kNameWidth = 22;
  out << std::left << std::setw(kNameWidth) << name;
  if (name.size() >= kNameWidth) out << "  ";
  out << description << "\n";
}

/// Prints the user's own presets, with a warning for each that cannot be used. Returns them as JSON
/// where asJson says so, and prints nothing else then.
Json listOwn(const looks::ParameterTable& table, bool asJson, const Streams& streams) {
  Json list = Json::array();
  bool headed = false;
  for (const UserPreset& own : userPresets()) {
    try {
      const looks::PresetText found = looks::readPreset(own.file);
      const looks::Preset preset = looks::parsePreset(found.text, found.source, table);
      if (asJson) {
        Json entry{{"id", own.name}, {"file", own.file.string()}, {"hidden", own.hidden}};
        entry.update(toJson(preset, table));
        list.push_back(std::move(entry));
        continue;
      }
      if (!headed) streams.out << "\nIn '" << userPresetFolder().string() << "':\n";
      headed = true;
      print(own.name,
            preset.description + (own.hidden ? " (hidden by the built-in preset of this name; "
                                               "rename the file, or use it by its file name)"
                                             : ""),
            streams.out);
    } catch (const std::runtime_error& error) {
      streams.err << "warning: " + oneLine(error.what()) + "\n";
    }
  }
  return list;
}

void printAll(const looks::ParameterTable& table, bool asJson, const Streams& streams) {
  auto list = Json::array();
  for (const looks::BuiltInPreset& builtIn : looks::builtInPresets()) {
    if (asJson) {
      Json entry{{"id", builtIn.id}};
      entry.update(toJson(looks::parsePreset(builtIn.text, builtIn.id, table), table));
      list.push_back(std::move(entry));
    } else {
      print(builtIn.id, builtIn.description, streams.out);
    }
  }
  const Json own = listOwn(table, asJson, streams);
  if (!asJson) return;
  streams.out << looks::jsonText({{"presets", list}, {"ownPresets", own}});
}

void run(const PresetsOptions& options, const Streams& streams) {
  const looks::ParameterTable& table = looks::effectTable();
  if (!options.shown.empty()) {
    const looks::PresetText found = presetNamed(options.shown, "--show");
    looks::parsePreset(found.text, found.source, table);
    streams.out << found.text;
  } else if (options.schema) {
    streams.out << looks::jsonText(looks::presetSchema(table));
  } else {
    printAll(table, options.json, streams);
  }
}

}  // namespace

Command addPresetsCommand(CLI::App& lomix) {
  return addCommand<PresetsOptions>(lomix, "presets", "List the built-in presets and your own",
                                    declare, run);
}

}  // namespace lomix::cli
