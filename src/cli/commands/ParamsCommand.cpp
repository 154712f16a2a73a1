#include "cli/commands/ParamsCommand.h"

#include <optional>
#include <ostream>

#include "batch/Plugin.h"
#include "looks/ParameterReport.h"

namespace lomix::cli {

ParamsCommand::ParamsCommand(CLI::App& app) {
  app.add_flag("--json", json_, "Print JSON for programs");
  app.add_option("--plugin", plugin_, "A module to ask instead of the effect in this program")
      ->type_name("FILE");
  app.footer(
      "Examples:\n"
      "  lomix params\n"
      "  lomix params --json --plugin ./Lomix.so\n");
}

void ParamsCommand::run(const Streams& streams) {
  std::optional<batch::Plugin> plugin;
  if (!plugin_.empty()) {
    plugin.emplace(batch::findPlugin(plugin_), host::Personality::AfterEffects);
  }
  const looks::ParameterTable& table = plugin ? plugin->parameters() : looks::effectTable();
  if (json_) {
    streams.out << nlohmann::ordered_json{{"parameters", toJson(table)}}.dump(2) << "\n";
  } else {
    print(table, streams.out);
  }
  if (plugin) plugin->finish();
}

}  // namespace lomix::cli
