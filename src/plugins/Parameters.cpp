#include "plugins/Parameters.h"

namespace lomix::plugins {

const std::vector<lomix_parameter_info>& effectParameters() {
  static const std::vector<lomix_parameter_info> parameters = [] {
    std::vector<lomix_parameter_info> list;
    for (int i = 0; i < lomix_parameter_count(); ++i) {
      lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
      lomix_parameter_get(i, &info, nullptr);
      list.push_back(info);
    }
    return list;
  }();
  return parameters;
}

}  // namespace lomix::plugins
