// The border between the library's C++ and its C callers: statuses and messages out, structs of any
// age in and out.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "lomix/lomix.h"

namespace lomix::library {

/// Ends a call with a status. what(): "subject: cause (way out)".
class Failure : public std::runtime_error {
 public:
  Failure(lomix_status status, const std::string& message)
      : std::runtime_error(message), status_(status) {}
  lomix_status status() const { return status_; }

 private:
  lomix_status status_;
};

/// Throws LOMIX_BAD_ARGUMENT with the message unless the condition holds.
inline void require(bool condition, const char* message) {
  if (!condition) throw Failure(LOMIX_BAD_ARGUMENT, message);
}

/// Writes status and message to the caller's record, null for none; cuts the message where the
/// record ends. Returns the status.
lomix_status report(lomix_error* error, lomix_status status, std::string_view message) noexcept;

/// Reports the exception that is being handled. Returns its status.
lomix_status reportCurrentException(lomix_error* error) noexcept;

/// Runs a call's body and turns whatever it throws into a status and a message.
template <typename Body>
lomix_status guarded(lomix_error* error, const Body& body) noexcept {
  try {
    body();
    return report(error, LOMIX_OK, {});
  } catch (...) {
    return reportCurrentException(error);
  }
}

/// Returns the caller's struct in today's form; fields that it is too old to have are 0.
/// Throws LOMIX_BAD_ARGUMENT for null and for a struct_size that was never set. name: the
/// argument's, for the message.
template <typename Struct>
Struct readStruct(const Struct* given, const char* name) {
  static_assert(std::is_trivially_copyable_v<Struct> && offsetof(Struct, struct_size) == 0);
  if (given == nullptr) {
    throw Failure(LOMIX_BAD_ARGUMENT, std::string(name) + ": it is null (pass the struct)");
  }
  if (given->struct_size < 2 * sizeof(std::uint32_t)) {
    throw Failure(LOMIX_BAD_ARGUMENT,
                  std::string(name) + ": struct_size is not set (use the _INIT macro)");
  }
  Struct copy{};
  std::memcpy(&copy, given, std::min<std::size_t>(sizeof copy, given->struct_size));
  return copy;
}

/// Fills the caller's struct as far as it reaches. Its struct_size stays. Throws as readStruct()
/// does.
template <typename Struct>
void writeStruct(Struct value, Struct* target, const char* name) {
  value.struct_size = readStruct(target, name).struct_size;
  std::memcpy(target, &value, std::min<std::size_t>(sizeof value, value.struct_size));
}

}  // namespace lomix::library
