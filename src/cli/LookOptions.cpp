#include "cli/LookOptions.h"

#include "looks/PresetStore.h"

namespace lomix::cli {

void LookOptions::addTo(CLI::App& app) {
  const char* group = "Effect";
  app.add_option("--preset", preset_,
                 "Start from a look: a name that 'lomix presets'\n"
                 "lists, or a file that ends in .json. --set and --key\n"
                 "change it further")
      ->type_name("NAME|FILE")
      ->group(group);
  app.add_option("--set", settings_,
                 "Set a parameter; may be given many times. Values\n"
                 "are as in the panel: percent from 0 to 100, choices\n"
                 "by text or number ('lomix params' lists them)")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false)
      ->group(group);
  app.add_option("--key", keys_,
                 "Change a parameter over time; may be given many\n"
                 "times: NAME=SECONDS:VALUE,SECONDS:VALUE,... After a\n"
                 "value, @hold, @linear (the rule) or @ease tells how\n"
                 "it goes on to the next; choices can only hold")
      ->type_name("NAME=KEYS")
      ->allow_extra_args(false)
      ->group(group);
}

Look LookOptions::read(const ParameterTable& table) const {
  Look look;
  if (!preset_.empty()) {
    const PresetText found = findPreset(preset_);
    look = parsePreset(found.text, found.source, table).look;
  }
  for (const std::string& setting : settings_) look.set(table.parse(setting));
  for (const std::string& text : keys_) {
    const auto [parameter, keys] =
        table.split(text, "--key", "NAME=KEYS, such as Noise=0:0,2.5:60");
    look.set(parameter.index, parseCurve(parameter, keys));
  }
  return look;
}

}  // namespace lomix::cli
