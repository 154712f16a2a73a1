#include "looks/PresetStore.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "support/Errors.h"
#include "support/TextFile.h"

namespace lomix::cli {
namespace {

namespace fs = std::filesystem;

// Far more than thirteen parameters need; whatever is longer is no preset.
constexpr std::size_t kMaxPresetBytes = 1 << 20;

bool isFileName(const std::string& text) {
  return text.find_first_of("/\\") != std::string::npos || text.ends_with(".json");
}

/// "tape-damage" as a heading.
std::string readable(std::string name) {
  std::ranges::replace_if(
      name, [](char c) { return c == '-' || c == '_' || static_cast<unsigned char>(c) < ' '; },
      ' ');
  if (!name.empty() && name[0] >= 'a' && name[0] <= 'z') {
    name[0] = static_cast<char>(name[0] - 'a' + 'A');
  }
  return name.empty() ? "Look" : name;
}

}  // namespace

PresetText findPreset(const std::string& nameOrFile) {
  if (isFileName(nameOrFile)) {
    return {"'" + nameOrFile + "'", media::readText(nameOrFile, kMaxPresetBytes)};
  }
  const auto presets = builtInPresets();
  const std::string wanted = normalisedName(nameOrFile);
  const auto found = std::ranges::find(presets, wanted, &BuiltInPreset::id);
  if (found == presets.end()) {
    const auto nearest = std::ranges::min_element(
        presets, {}, [&](const BuiltInPreset& p) { return editDistance(wanted, p.id); });
    throw UsageError("--preset: there is no preset '" + nameOrFile + "' (did you mean '" +
                     nearest->id + "'? 'lomix presets' lists all; a file ends in .json)");
  }
  return {"preset '" + std::string(found->id) + "'", found->text};
}

void savePreset(const Look& look, const ParameterTable& table, const fs::path& file,
                bool overwrite) {
  const Preset preset{readable(file.stem().string()), describe(look, table), look};
  media::writeText(toJson(preset, table).dump(2) + "\n", file, overwrite);
}

}  // namespace lomix::cli
