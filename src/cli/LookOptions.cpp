#include "cli/LookOptions.h"

#include "cli/UserPresets.h"
#include "looks/LookErrors.h"
#include "looks/PresetStore.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

const looks::Parameter& parameterNamed(const looks::ParameterTable& table, std::string_view name,
                                       const std::string& option) {
  try {
    return table.get(name, option);
  } catch (const looks::UnknownName& error) {
    throw error.withHint("'lomix params' lists all");
  }
}

}  // namespace

looks::PresetText presetNamed(const std::string& nameOrFile, const std::string& option) {
  if (const auto own = findUserPreset(nameOrFile)) return looks::readPreset(own->file);
  try {
    return looks::findPreset(nameOrFile);
  } catch (const looks::UnknownName&) {
    std::vector<std::string> names;
    for (const looks::BuiltInPreset& preset : looks::builtInPresets()) names.push_back(preset.id);
    for (const UserPreset& preset : userPresets()) names.push_back(preset.name);
    const looks::UnknownName complete =
        looks::UnknownName("there is no preset '" + shortened(nameOrFile) + "'",
                           nearestName(looks::normalisedName(nameOrFile), names))
            .withHint("'lomix presets' lists all; a file ends in .json");
    throw UsageError(option + ": " + complete.what());
  }
}

Setting splitSetting(const looks::ParameterTable& table, std::string_view text,
                     const std::string& option, const std::string& form) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw UsageError(option + ": '" + std::string(text) + "' gives no value (write " + form + ")");
  }
  return {parameterNamed(table, trimmed(text.substr(0, equals)), option),
          trimmed(text.substr(equals + 1))};
}

void LookOptions::addTo(CLI::App& app) {
  const char* group = "Effect";
  app.add_option("--preset", preset_,
                 "Start from a preset: a name that 'lomix presets'\n"
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
                 "value, @hold, @linear (the default) or @ease chooses\n"
                 "the way to the next one; choices can only hold")
      ->type_name("NAME=KEYS")
      ->allow_extra_args(false)
      ->group(group);
}

const std::filesystem::path& LookOptions::presetFile() const {
  if (!presetFile_) {
    presetFile_ = looks::isPresetFile(preset_) ? preset_ : "";
    if (const auto own = findUserPreset(preset_)) presetFile_ = own->file;
  }
  return *presetFile_;
}

std::vector<NamedFile> LookOptions::files() const {
  if (presetFile().empty()) return {};
  return {{"--preset", presetFile()}};
}

looks::Look LookOptions::read(const looks::ParameterTable& table) const {
  looks::Look look;
  if (!preset_.empty()) {
    const looks::PresetText found =
        presetFile().empty() ? presetNamed(preset_, "--preset") : looks::readPreset(presetFile());
    look = looks::parsePreset(found.text, found.source, table).look;
  }
  for (const std::string& text : settings_) {
    const auto [parameter, value] =
        splitSetting(table, text, "--set", "NAME=VALUE, such as Noise=30");
    look.set(parameter.index, looks::parseValue(parameter, value));
  }
  for (const std::string& text : keys_) {
    const auto [parameter, keys] =
        splitSetting(table, text, "--key", "NAME=KEYS, such as Noise=0:0,2.5:60");
    look.set(parameter.index, looks::parseCurve(parameter, keys));
  }
  return look;
}

}  // namespace lomix::cli
