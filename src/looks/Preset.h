// Looks in files.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

#include "looks/Look.h"

namespace lomix::looks {

/// The form of preset files that this version writes. It reads this one and all before.
inline constexpr int kPresetFormat = 1;
/// The most bytes of a preset's name or description.
inline constexpr std::size_t kMaxPresetLine = 200;
/// The most bytes of a preset. Far more than the parameters need; what is longer is no preset.
inline constexpr std::size_t kMaxPresetBytes = 1 << 20;

struct Preset {
  std::string name;         ///< For people, one line.
  std::string description;  ///< One line.
  Look look;
};

/// Reads a preset. text: the content of the file; source: what it is, for messages: "'my.json'".
/// Throws CommandError, which names the line and the key that is wrong.
Preset parsePreset(const std::string& text, const std::string& source, const ParameterTable& table);

/// Returns the text of the preset's file. Throws UsageError for a name or description that is not
/// one line of 1 to kMaxPresetLine bytes.
std::string presetText(const Preset& preset, const ParameterTable& table);

/// The same as JSON, unchecked.
nlohmann::ordered_json toJson(const Preset& preset, const ParameterTable& table);

/// What the look is made of, in one line: "Noise 30 %, Vertical Sync in 3 keys".
std::string describe(const Look& look, const ParameterTable& table);

}  // namespace lomix::looks
