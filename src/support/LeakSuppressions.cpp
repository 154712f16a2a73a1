// Settings of the leak checker. Compiled only into builds with the address sanitizer.

/// Ignores fontconfig. It refers to its configuration by offsets instead of pointers, which the
/// checker cannot follow, so memory that is still in use at exit is reported as a leak.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
  return "leak:libfontconfig";
}

/// Keeps the checker from printing a list of what was suppressed.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_options() {
  return "print_suppressions=0";
}
