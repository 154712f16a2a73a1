// Where presets come from and go to.
#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "looks/Preset.h"

namespace lomix::cli {

/// A preset that is part of this program.
struct BuiltInPreset {
  const char* id;    ///< Its name for the command line: "weak-aerial".
  const char* text;  ///< Its file.
};

/// In the order of their ids.
std::span<const BuiltInPreset> builtInPresets();

/// A preset's file, found by what the user wrote: a built-in one's id, or the name of a file, which
/// ends in ".json" or contains a slash.
struct PresetText {
  std::string source;  ///< What it is, for messages.
  std::string text;
};

/// Throws UsageError when there is no such built-in preset, and names the nearest; CommandError
/// when the file cannot be read.
PresetText findPreset(const std::string& nameOrFile);

/// Writes a look as a preset named after the file. With overwrite false a file with other content
/// is kept. Throws media::MediaError.
void savePreset(const Look& look, const ParameterTable& table, const std::filesystem::path& file,
                bool overwrite);

}  // namespace lomix::cli
