#include "plugins/ofx/Host.h"

namespace lomix::ofx {

void require(OfxStatus status, const char* what) {
  if (status == kOk) return;
  throw Failure(status == kMemory ? kMemory : kFailed,
                std::string(what) + ": the host gives status " + std::to_string(status) +
                    " (see the host's log)");
}

void check(const lomix_error& error) {
  if (error.status == LOMIX_OK) return;
  throw Failure(error.status == LOMIX_OUT_OF_MEMORY ? kMemory : kFailed, error.message);
}

Suites Suites::of(const OfxHost* host) {
  Suites suites{.host = host};
  const auto fetch = [host]<typename Suite>(const Suite*& suite, const char* name) {
    const bool able = host != nullptr && host->fetchSuite != nullptr;
    if (able) suite = static_cast<const Suite*>(host->fetchSuite(host->host, name, 1));
  };
  fetch(suites.property, suite::kProperty);
  fetch(suites.effect, suite::kImageEffect);
  fetch(suites.parameter, suite::kParameter);
  fetch(suites.threads, suite::kMultiThread);
  fetch(suites.message, suite::kMessage);
  if (suites.property == nullptr || suites.effect == nullptr || suites.parameter == nullptr) {
    throw Failure(kMissingHostFeature,
                  "host: the property, effect or parameter suite is missing (use another version)");
  }
  return suites;
}

}  // namespace lomix::ofx
