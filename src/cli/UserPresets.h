// The user's own presets: files in the data folder of the system.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lomix::cli {

/// A preset in the user's folder.
struct UserPreset {
  std::string name;  ///< The file's name without ".json".
  std::filesystem::path file;
  bool hidden = false;  ///< A built-in preset has the name, and is what the name means.
};

/// Returns the folder of the user's presets: $XDG_DATA_HOME/lomix/presets, by default
/// ~/.local/share/lomix/presets; on Windows %APPDATA%\lomix\presets. It need not exist. Empty where
/// the environment names no such folder.
std::filesystem::path userPresetFolder();

/// Returns the user's presets, sorted by name; none where the folder does not exist. Throws
/// MediaError when it cannot be read.
std::vector<UserPreset> userPresets();

/// Finds the user's preset of a name, in any spelling that normalisedName() equates. The very
/// spelling wins where several files have the name. Returns nothing where a built-in preset or no
/// preset has it.
std::optional<UserPreset> findUserPreset(const std::string& name);

}  // namespace lomix::cli
