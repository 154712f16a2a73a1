// The names of the host calls that tests can make fail.
#pragma once

#include <string>
#include <vector>

namespace lomix::host {

/// Returns the name of every host call that Host::failAt() accepts: "inter.add_param",
/// "utils.fill", "pre.checkout_layer", "smart.checkout_output", "acquire:AEGP Layer Suite 5",
/// "release:AEGP Layer Suite 5", "AEGP Stream Suite 7.AEGP_DisposeStream" and so on.
const std::vector<std::string>& failurePoints();

}  // namespace lomix::host
