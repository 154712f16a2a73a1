// Writes JSON for people and programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace lomix::looks {

/// Returns JSON as indented lines. Bytes that are not UTF-8, as names of files may have, become the
/// replacement character.
std::string jsonText(const nlohmann::ordered_json& json);

}  // namespace lomix::looks
