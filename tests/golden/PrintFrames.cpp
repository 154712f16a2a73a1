// Usage: golden_frames MODULE
// Prints the name, a tab and the hash of every golden frame as the module draws it.
#include <cstdio>
#include <exception>

#include "golden/Frames.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("error: golden_frames: expected one module file (golden_frames MODULE)\n", stderr);
    return 2;
  }
  try {
    const lomix::host::Module module(argv[1]);
    for (const lomix::golden::Frame& frame : lomix::golden::frames()) {
      const auto hash = lomix::golden::hashOf(lomix::golden::render(frame, module));
      std::printf("%s\t%016llx\n", frame.name, static_cast<unsigned long long>(hash));
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "error: %s\n", error.what());
    return 1;
  }
}
