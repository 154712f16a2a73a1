// The host's suites and property sets, with C++ types.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "lomix/lomix.h"
#include "plugins/ofx/OpenFx.h"

namespace lomix::ofx {

/// Ends an action with a status. what(): "subject: cause (way out)".
class Failure : public std::runtime_error {
 public:
  Failure(OfxStatus status, const std::string& message)
      : std::runtime_error(message), status_(status) {}
  OfxStatus status() const { return status_; }

 private:
  OfxStatus status_;
};

/// Throws Failure with the host's status, which is kFailed where the host's makes no sense to a
/// host.
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

/// A property set of the host.
class Properties {
 public:
  Properties(const Suites& suites, PropertySet set) : suite_(suites.property), set_(set) {}

  // Return whether the host took the value. Hosts of older versions lack newer properties, so that
  // most callers ignore it.
  bool set(const char* name, int value, int index = 0) const;
  bool set(const char* name, double value, int index = 0) const;
  bool set(const char* name, const char* value, int index = 0) const;

  /// Sets the first values of a property, up to the first one that the host refuses.
  template <typename Value>
  bool setAll(const char* name, const std::vector<Value>& values) const {
    int index = 0;
    return std::ranges::all_of(values, [&](Value value) { return set(name, value, index++); });
  }

  /// Sets a value that the effect cannot do without. Throws Failure.
  template <typename Value>
  void require(const char* name, Value value, int index = 0) const {
    if (!set(name, value, index)) failSet(name);
  }

  // Return the host's value, or the other one where the host has none.
  int get(const char* name, int index, int otherwise) const;
  double get(const char* name, int index, double otherwise) const;
  std::string get(const char* name, const char* otherwise) const;

  // Throw Failure where the host has no value.
  int needInt(const char* name, int index = 0) const;
  double needDouble(const char* name, int index = 0) const;
  OfxRectI needRect(const char* name) const;
  void* needPointer(const char* name) const;

 private:
  [[noreturn]] static void failSet(const char* name);

  const PropertySuite* suite_;
  PropertySet set_;
};

}  // namespace lomix::ofx
