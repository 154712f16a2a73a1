// Finds and saves presets: the built-in ones and files.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "looks/Preset.h"

namespace lomix::looks {

/// A preset that is compiled into this program.
struct BuiltInPreset {
  const char* id;           ///< Stable: "weak-aerial".
  const char* name;         ///< For people: "Weak aerial".
  const char* description;  ///< One line.
  const char* text;         ///< The content of its file.
};

/// Returns all built-in presets, sorted by id.
std::span<const BuiltInPreset> builtInPresets();

/// Finds a built-in preset by its id, in any spelling that normalisedName() equates. Throws
/// UnknownName, which names the most similar one.
const BuiltInPreset& builtInPreset(std::string_view id);

/// The content of a preset's file.
struct PresetText {
  std::string source;  ///< Its name in error messages.
  std::string text;
};

/// Returns whether a preset is named by its file: the text ends in ".json" or contains a slash.
bool isPresetFile(const std::string& nameOrFile);

/// Reads a preset's file. Throws MediaError.
PresetText readPreset(const std::filesystem::path& file);

/// Finds a preset by the id of a built-in one, or by a file name as isPresetFile() tells it. Throws
/// UnknownName as builtInPreset() does, MediaError when the file cannot be read.
PresetText findPreset(const std::string& nameOrFile);

/// Writes parameters as a preset that is named after the file. With overwrite false an existing
/// file with other content is kept and an error. Throws MediaError.
void savePreset(const Look& look, const ParameterTable& table, const std::filesystem::path& file,
                bool overwrite);

}  // namespace lomix::looks
