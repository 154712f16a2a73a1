// Presets: parameters with a name and a description, stored as JSON.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

#include "looks/Look.h"

namespace lomix::looks {

/// The format of preset files that this version writes. It reads this format and all earlier ones.
inline constexpr int kPresetFormat = 1;
/// The most bytes of a preset's name or description.
inline constexpr std::size_t kMaxPresetLine = 200;
/// The most bytes of a preset file, far more than the parameters need.
inline constexpr std::size_t kMaxPresetBytes = 1 << 20;

/// A preset.
struct Preset {
  std::string name;         ///< For people, one line.
  std::string description;  ///< One line.
  Look look;
};

/// Reads a preset. text: the content of its file; source: its name in error messages, such as
/// "'my.json'". Throws BadPreset, which names the line and the cause.
Preset parsePreset(const std::string& text, const std::string& source, const ParameterTable& table);

/// Returns the text of the preset's file. Throws UsageError for a name or description that is not
/// one line of 1 to kMaxPresetLine bytes.
std::string presetText(const Preset& preset, const ParameterTable& table);

/// Returns the preset as JSON. Name and description are not checked.
nlohmann::ordered_json toJson(const Preset& preset, const ParameterTable& table);

/// Returns a line that describes the parameters, such as "Noise 30 %, Vertical Sync in 3 keys".
std::string describe(const Look& look, const ParameterTable& table);

}  // namespace lomix::looks
