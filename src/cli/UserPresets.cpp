#include "cli/UserPresets.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

#include "looks/ParameterTable.h"
#include "looks/PresetStore.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

namespace fs = std::filesystem;

/// Returns a folder from the environment; empty where it is not set or not absolute.
fs::path folderFrom(const char* variable) {
  const char* value = std::getenv(variable);
  const fs::path folder = value != nullptr ? value : "";
  return folder.is_absolute() ? folder : fs::path();
}

bool isBuiltIn(const std::string& name) {
  const std::string wanted = looks::normalisedName(name);
  return std::ranges::any_of(looks::builtInPresets(), [&](const looks::BuiltInPreset& preset) {
    return wanted == preset.id;
  });
}

}  // namespace

fs::path userPresetFolder() {
#ifdef _WIN32
  fs::path data = folderFrom("APPDATA");
#else
  fs::path data = folderFrom("XDG_DATA_HOME");
  if (data.empty()) {
    data = folderFrom("HOME");
    if (!data.empty()) data = data / ".local" / "share";
  }
#endif
  return data.empty() ? data : data / "lomix" / "presets";
}

std::vector<UserPreset> userPresets() {
  const fs::path folder = userPresetFolder();
  std::vector<UserPreset> presets;
  std::error_code error;
  if (folder.empty() || !fs::exists(folder, error)) return presets;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const fs::path& file = entry->path();
    if (lowerCase(file.extension().string()) != ".json") continue;
    const std::string name = file.stem().string();
    presets.push_back({name, file, isBuiltIn(name)});
  }
  if (error) {
    throw MediaError(cannotRead(folder) + error.message() + " (check its permissions)");
  }
  std::ranges::sort(presets, {}, &UserPreset::name);
  return presets;
}

std::optional<UserPreset> findUserPreset(const std::string& name) {
  if (name.empty() || looks::isPresetFile(name) || isBuiltIn(name)) return std::nullopt;
  const std::vector<UserPreset> presets = userPresets();
  auto found = std::ranges::find(presets, name, &UserPreset::name);
  if (found == presets.end()) {
    const std::string wanted = looks::normalisedName(name);
    found = std::ranges::find_if(presets, [&](const UserPreset& preset) {
      return looks::normalisedName(preset.name) == wanted;
    });
  }
  return found == presets.end() ? std::nullopt : std::optional(*found);
}

}  // namespace lomix::cli
