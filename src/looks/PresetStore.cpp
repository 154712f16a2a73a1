#include "looks/PresetStore.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

#include "looks/LookErrors.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace lomix::looks {
namespace {

namespace fs = std::filesystem;

/// Returns a file's name as a preset's name: "tape-damage" gives "Tape damage".
std::string readable(std::string name) {
  std::ranges::replace_if(
      name, [](char c) { return c == '-' || c == '_' || static_cast<unsigned char>(c) < ' '; },
      ' ');
  if (!name.empty() && name[0] >= 'a' && name[0] <= 'z') {
    name[0] = static_cast<char>(name[0] - 'a' + 'A');
  }
  return name.empty() ? "Preset" : name;
}

}  // namespace

const BuiltInPreset& builtInPreset(std::string_view id) {
  const auto presets = builtInPresets();
  const std::string wanted = normalisedName(id);
  const auto found = std::ranges::find(presets, wanted, &BuiltInPreset::id);
  if (found != presets.end()) return *found;
  std::vector<std::string> ids;
  for (const BuiltInPreset& preset : presets) ids.emplace_back(preset.id);
  throw UnknownName("there is no preset '" + shortened(id) + "'", nearestName(wanted, ids));
}

bool isPresetFile(const std::string& nameOrFile) {
  return nameOrFile.find_first_of("/\\") != std::string::npos || nameOrFile.ends_with(".json");
}

PresetText readPreset(const fs::path& file) {
  return {"'" + file.string() + "'", readText(file, kMaxPresetBytes)};
}

PresetText findPreset(const std::string& nameOrFile) {
  if (isPresetFile(nameOrFile)) return readPreset(nameOrFile);
  const BuiltInPreset& preset = builtInPreset(nameOrFile);
  return {"preset '" + std::string(preset.id) + "'", preset.text};
}

void savePreset(const Look& look, const ParameterTable& table, const fs::path& file,
                bool overwrite) {
  const Preset preset{readable(file.stem().string()), describe(look, table), look};
  writeText(presetText(preset, table), file, overwrite);
}

}  // namespace lomix::looks
