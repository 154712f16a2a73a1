#include "library/Guard.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <system_error>

#include "looks/LookErrors.h"

namespace lomix::library {
namespace {

constexpr std::size_t kMessageOffset = offsetof(lomix_error, message);

/// Returns the length of a UTF-8 text cut to at most the given bytes at the end of a character.
std::size_t wholeCharacters(std::string_view text, std::size_t bytes) {
  if (text.size() <= bytes) return text.size();
  const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; };
  while (bytes > 0 && continues(text[bytes])) --bytes;
  return bytes;
}

}  // namespace

lomix_status report(lomix_error* error, lomix_status status, std::string_view message) noexcept {
  if (error == nullptr || error->struct_size <= kMessageOffset) return status;
  const std::size_t capacity =
      std::min<std::size_t>(error->struct_size - kMessageOffset, sizeof error->message);
  const std::size_t length = wholeCharacters(message, capacity - 1);
  error->status = status;
  // A name that the caller gave may have line breaks.
  std::replace_copy_if(
      message.begin(), message.begin() + static_cast<std::ptrdiff_t>(length), error->message,
      [](char c) { return c == '\n' || c == '\r'; }, ' ');
  error->message[length] = '\0';
  return status;
}

lomix_status reportCurrentException(lomix_error* error) noexcept {
  try {
    throw;
  } catch (const Failure& failure) {
    return report(error, failure.status(), failure.what());
  } catch (const looks::UnknownName& unknown) {
    return report(error, LOMIX_UNKNOWN_NAME, unknown.what());
  } catch (const looks::ValueOutOfRange& range) {
    return report(error, LOMIX_OUT_OF_RANGE, range.what());
  } catch (const looks::BadPreset& preset) {
    return report(error, LOMIX_BAD_PRESET, preset.what());
  } catch (const UsageError& usage) {
    return report(error, LOMIX_BAD_ARGUMENT, usage.what());
  } catch (const std::bad_alloc&) {
    return report(error, LOMIX_OUT_OF_MEMORY, "memory: it does not suffice (free some)");
  } catch (const std::length_error&) {
    return report(error, LOMIX_OUT_OF_MEMORY, "memory: it does not suffice (use smaller images)");
  } catch (const std::system_error&) {
    return report(error, LOMIX_OUT_OF_MEMORY,
                  "threads: the system starts no more (ask for fewer threads)");
  } catch (const std::exception& exception) {
    return report(error, LOMIX_INTERNAL_ERROR, exception.what());
  } catch (...) {
    return report(error, LOMIX_INTERNAL_ERROR, "lomix: unknown fault (report it)");
  }
}

}  // namespace lomix::library
