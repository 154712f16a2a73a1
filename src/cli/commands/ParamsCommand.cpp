#include <CLI/App.hpp>
#include <optional>
#include <ostream>
#include <string>

#include "batch/Plugin.h"
#include "cli/commands/Commands.h"
#include "looks/JsonText.h"
#include "looks/ParameterReport.h"

namespace lomix::cli {
namespace {

/// The options of `lomix params`.
struct ParamsOptions {
  std::string plugin;
  bool json = false;
};

void declare(CLI::App& app, ParamsOptions& options) {
  app.add_flag("--json", options.json, "Print JSON for programs");
  app.add_option("--plugin", options.plugin,
                 "A plug-in module whose parameters to list, instead of\nthose of the effect in "
                 "this program")
      ->type_name("FILE");
  app.footer(
      "Examples:\n"
      "  lomix params\n"
      "  lomix params --json --plugin ./Lomix.so\n");
}

void run(const ParamsOptions& options, const Streams& streams) {
  std::optional<batch::Plugin> plugin;
  if (!options.plugin.empty()) {
    plugin.emplace(batch::findPlugin(options.plugin), host::Personality::AfterEffects);
  }
  const looks::ParameterTable& table = plugin ? plugin->parameters() : looks::effectTable();
  if (options.json) {
    streams.out << looks::jsonText({{"parameters", toJson(table)}});
  } else {
    print(table, streams.out);
  }
  if (plugin) plugin->finish();
}

}  // namespace

Command addParamsCommand(CLI::App& lomix) {
  return addCommand<ParamsOptions>(lomix, "params", "List the effect's parameters", declare, run);
}

}  // namespace lomix::cli
