#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>

#include "looks/ParameterTable.h"

namespace lomix::looks {

/// The parameters as an array of objects, in the order of the panel.
nlohmann::ordered_json toJson(const ParameterTable& table);

/// The parameters as a table for people, one line each.
void print(const ParameterTable& table, std::ostream& out);

}  // namespace lomix::looks
