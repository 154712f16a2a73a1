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
  const auto fetch = [host](const char* name, int version) -> const void* {
    return host == nullptr || host->fetchSuite == nullptr
               ? nullptr
               : host->fetchSuite(host->host, name, version);
  };
  Suites suites;
  suites.host = host;
  suites.property = static_cast<const PropertySuite*>(fetch(suite::kProperty, 1));
  suites.effect = static_cast<const ImageEffectSuite*>(fetch(suite::kImageEffect, 1));
  suites.parameter = static_cast<const ParameterSuite*>(fetch(suite::kParameter, 1));
  suites.threads = static_cast<const MultiThreadSuite*>(fetch(suite::kMultiThread, 1));
  suites.message = static_cast<const MessageSuite*>(fetch(suite::kMessage, 1));
  if (suites.property == nullptr || suites.effect == nullptr || suites.parameter == nullptr) {
    throw Failure(kMissingHostFeature,
                  "host: the property, effect or parameter suite is missing (use another version)");
  }
  return suites;
}

bool Properties::set(const char* name, int value, int index) const {
  return suite_->setInt(set_, name, index, value) == kOk;
}
bool Properties::set(const char* name, double value, int index) const {
  return suite_->setDouble(set_, name, index, value) == kOk;
}
bool Properties::set(const char* name, const char* value, int index) const {
  return suite_->setString(set_, name, index, value) == kOk;
}

int Properties::get(const char* name, int index, int otherwise) const {
  int value = otherwise;
  return suite_->getInt(set_, name, index, &value) == kOk ? value : otherwise;
}
double Properties::get(const char* name, int index, double otherwise) const {
  double value = otherwise;
  return suite_->getDouble(set_, name, index, &value) == kOk ? value : otherwise;
}
std::string Properties::get(const char* name, const char* otherwise) const {
  char* value = nullptr;
  const bool found = suite_->getString(set_, name, 0, &value) == kOk && value != nullptr;
  return found ? value : otherwise;
}

int Properties::needInt(const char* name, int index) const {
  int value = 0;
  ofx::require(suite_->getInt(set_, name, index, &value), name);
  return value;
}
double Properties::needDouble(const char* name, int index) const {
  double value = 0.0;
  ofx::require(suite_->getDouble(set_, name, index, &value), name);
  return value;
}
OfxRectI Properties::needRect(const char* name) const {
  return {needInt(name, 0), needInt(name, 1), needInt(name, 2), needInt(name, 3)};
}
void* Properties::needPointer(const char* name) const {
  void* value = nullptr;
  ofx::require(suite_->getPointer(set_, name, 0, &value), name);
  return value;
}

void Properties::failSet(const char* name) {
  throw Failure(kFailed, std::string(name) + ": the host refuses it (see the host's log)");
}

}  // namespace lomix::ofx
