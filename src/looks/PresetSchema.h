#pragma once

#include <nlohmann/json.hpp>

#include "looks/ParameterTable.h"

namespace lomix::looks {

/// The JSON schema of preset files, with the names and ranges of these parameters.
nlohmann::ordered_json presetSchema(const ParameterTable& table);

}  // namespace lomix::looks
