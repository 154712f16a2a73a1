// The JSON schema of preset files, for editors.
#pragma once

#include <nlohmann/json.hpp>

#include "looks/ParameterTable.h"

namespace lomix::looks {

/// Returns the JSON schema of preset files, with the names and ranges of the table's parameters.
nlohmann::ordered_json presetSchema(const ParameterTable& table);

}  // namespace lomix::looks
