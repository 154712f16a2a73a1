// For the build that looks for leaks: what it must not take for one. Not part of any other build.

/// The library that finds letters links its configuration by offsets, which the search for pointers
/// does not follow, so that what is still in use when the program ends looks lost.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
  return "leak:libfontconfig";
}

/// What was suppressed is not worth a line on standard error.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_options() {
  return "print_suppressions=0";
}
