#include "cli/commands/ParamsCommand.h"

#include <ostream>

#include "batch/Plugin.h"
#include "looks/ParameterReport.h"

namespace lomix::cli {

ParamsCommand::ParamsCommand(CLI::App& app) {
  app.add_flag("--json", json_, "Print JSON for programs");
  app.add_option("--plugin", plugin_,
                 "The module to ask; by default the one that is\n"
                 "installed with lomix")
      ->type_name("FILE");
  app.footer(
      "Examples:\n"
      "  lomix params\n"
      "  lomix params --json --plugin ./Lomix.so\n");
}

void ParamsCommand::run(const Streams& streams) {
  Plugin plugin(findPlugin(plugin_), host::Personality::AfterEffects);
  if (json_) {
    streams.out << nlohmann::ordered_json{{"parameters", toJson(plugin.parameters())}}.dump(2)
                << "\n";
  } else {
    print(plugin.parameters(), streams.out);
  }
  plugin.finish();
}

}  // namespace lomix::cli
