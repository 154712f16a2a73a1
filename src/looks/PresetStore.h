// Where presets come from and go to.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "looks/Preset.h"

namespace lomix::looks {

/// A preset that is part of this program.
struct BuiltInPreset {
  const char* id;           ///< Stable: "weak-aerial".
  const char* name;         ///< For people: "Weak aerial".
  const char* description;  ///< One line.
  const char* text;         ///< Its file.
};

/// Returns all of them, in the order of their ids.
std::span<const BuiltInPreset> builtInPresets();

/// Finds a built-in preset by its id, in any spelling that normalisedName() equates. Throws
/// UnknownName, which names the nearest.
const BuiltInPreset& builtInPreset(std::string_view id);

/// A preset's file, found by what the user wrote: a built-in one's id, or the name of a file, which
/// ends in ".json" or contains a slash.
struct PresetText {
  std::string source;  ///< What it is, for messages.
  std::string text;
};

/// Throws UnknownName as builtInPreset() does, MediaError when the file cannot be read.
PresetText findPreset(const std::string& nameOrFile);

/// Writes a look as a preset named after the file. With overwrite false a file with other content
/// is kept. Throws MediaError.
void savePreset(const Look& look, const ParameterTable& table, const std::filesystem::path& file,
                bool overwrite);

}  // namespace lomix::looks
