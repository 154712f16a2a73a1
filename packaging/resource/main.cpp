// Usage: lomix_resource windows|mac OUTPUT
// Writes the resource that describes the effect: a resource script (.rc) for Windows, a resource
// file (.rsrc) for macOS.
#include <cstdio>
#include <fstream>
#include <string_view>

#include "resource/Resource.h"

int main(int count, char** arguments) {
  const std::string_view system = count == 3 ? arguments[1] : "";
  if (system != "windows" && system != "mac") {
    std::fputs(
        "error: lomix_resource: expected a system and a file (lomix_resource windows|mac "
        "OUTPUT)\n",
        stderr);
    return 2;
  }
  std::ofstream file(arguments[2], std::ios::binary);
  file << (system == "windows" ? lomix::packaging::windowsScript()
                               : lomix::packaging::macResourceFile());
  if (file.close(); !file) {
    std::fprintf(stderr, "error: cannot write '%s': no room or no such folder (check both)\n",
                 arguments[2]);
    return 1;
  }
  return 0;
}
