// What every fuzzer has: its entry points and the way in which it reports a fault.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Runs one input. Returns 0. Ends the program where it finds a fault.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
/// Prepares the process, once, before the first input. Only some fuzzers define it.
extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int* count, char*** arguments);

namespace lomix::fuzz {

/// Ends the program with a line about a fault unless good is true. Prints it also while standard
/// error is muted.
void require(bool good, const std::string& fault);

/// Requires what every message has at its end: a way out in brackets.
void requireMessage(std::string_view message);

/// Makes a folder for this process that is removed when it ends, and makes it the current one.
void enterScratchFolder();

}  // namespace lomix::fuzz
