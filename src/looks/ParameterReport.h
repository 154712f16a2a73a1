// Lists of parameters, as JSON and as text.
#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>

#include "looks/ParameterTable.h"

namespace lomix::looks {

/// Returns the parameters as an array of objects, in panel order.
nlohmann::ordered_json toJson(const ParameterTable& table);

/// Prints the parameters as a table, one line each.
void print(const ParameterTable& table, std::ostream& out);

}  // namespace lomix::looks
