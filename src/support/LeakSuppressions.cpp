// Settings of the leak checker. Compiled only into builds with the address sanitizer.

/// Ignores fontconfig, which refers to its configuration by offsets instead of pointers, so that
/// the checker takes memory that is still in use at exit for a leak; and x265, which keeps what it
/// allocates once for each depth.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
  return "leak:libfontconfig\nleak:libx265";
}

/// Keeps the checker from printing a list of what was suppressed.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_options() {
  return "print_suppressions=0";
}
