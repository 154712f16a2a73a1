#include "looks/JsonText.h"

namespace lomix::looks {

std::string jsonText(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace lomix::looks
