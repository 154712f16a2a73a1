// The host's suites and property sets, with C++ types.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "lomix/lomix.h"
#include "plugins/ofx/OpenFx.h"

namespace lomix::ofx {

/// Ends an action with a status. what(): "subject: cause (way out)".
struct Failure : std::runtime_error {
  Failure(OfxStatus failed, const std::string& message)
      : std::runtime_error(message), status(failed) {}
  OfxStatus status;
};

/// Throws Failure unless the host's status is kOk: with kMemory as it is, else with kFailed.
void require(OfxStatus status, const char* what);
/// Throws Failure with the library's message where a call of it failed.
void check(const lomix_error& error);

/// What the host offers. The pointers are valid as long as the plug-in is loaded.
struct Suites {
  const OfxHost* host = nullptr;
  const PropertySuite* property = nullptr;
  const ImageEffectSuite* effect = nullptr;
  const ParameterSuite* parameter = nullptr;
  const MultiThreadSuite* threads = nullptr;  ///< May be null, as each of its slots may.
  const MessageSuite* message = nullptr;      ///< May be null.

  /// Fetches all suites. Throws Failure with kMissingHostFeature where the effect cannot do
  /// without.
  static Suites of(const OfxHost* host);
};

/// A property set of the host. Values are of the type int, double or const char*.
class Properties {
 public:
  Properties(const Suites& suites, PropertySet set) : suite_(suites.property), set_(set) {}

  /// Sets a value. Hosts of older versions lack newer properties, so most callers ignore the
  /// status.
  template <typename Value>
  OfxStatus set(const char* name, Value value, int index = 0) const {
    return (suite_->*setter(value))(set_, name, index, value);
  }
  /// Sets a value that the effect cannot do without. Throws Failure.
  template <typename Value>
  void require(const char* name, Value value, int index = 0) const {
    ofx::require(set(name, value, index), name);
  }
  /// Sets the first values of a property, up to the first one that the host refuses.
  template <typename Value>
  void setAll(const char* name, const std::vector<Value>& values) const {
    for (int i = 0; const Value& value : values) {
      if (set(name, value, i++) != kOk) return;
    }
  }

  // Return the host's value, or the other one where the host has none.
  template <typename Value>
  Value get(const char* name, Value otherwise, int index = 0) const {
    Value value = otherwise;
    return (suite_->*getter(&value))(set_, name, index, &value) == kOk ? value : otherwise;
  }
  std::string get(const char* name) const {
    const char* const text = get<char*>(name, nullptr);
    return text != nullptr ? text : "";
  }

  // Return the host's value. Throw Failure where the host has none.
  template <typename Value>
  Value need(const char* name, int index = 0) const {
    Value value{};
    ofx::require((suite_->*getter(&value))(set_, name, index, &value), name);
    return value;
  }

  OfxRectI needRect(const char* name) const {
    return {need<int>(name, 0), need<int>(name, 1), need<int>(name, 2), need<int>(name, 3)};
  }

 private:
  static auto setter(int) { return &PropertySuite::setInt; }
  static auto setter(double) { return &PropertySuite::setDouble; }
  static auto setter(const char*) { return &PropertySuite::setString; }
  static auto getter(int*) { return &PropertySuite::getInt; }
  static auto getter(double*) { return &PropertySuite::getDouble; }
  static auto getter(char**) { return &PropertySuite::getString; }
  static auto getter(void**) { return &PropertySuite::getPointer; }

  const PropertySuite* suite_;
  PropertySet set_;
};

}  // namespace lomix::ofx
