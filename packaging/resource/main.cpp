// Usage: lomix_resource windows|mac OUTPUT
//        lomix_resource version NAME DESCRIPTION OUTPUT
// Writes the resource that describes the effect: a resource script (.rc) for Windows, a resource
// file (.rsrc) for macOS; or the resource script with the version of another Windows file.
#include <cstdio>
#include <fstream>
#include <string_view>

#include "resource/Resource.h"

int main(int count, char** arguments) {
  using namespace lomix::packaging;
  const std::string_view kind = count > 1 ? arguments[1] : "";
  std::string resource;
  if (kind == "windows" && count == 3) {
    resource = windowsScript();
  } else if (kind == "mac" && count == 3) {
    resource = macResourceFile();
  } else if (kind == "version" && count == 5) {
    resource = windowsVersion({arguments[2], arguments[3]});
  } else {
    std::fputs(
        "error: lomix_resource: expected what to write, and a file (lomix_resource windows|mac "
        "OUTPUT, "
        "or version NAME DESCRIPTION OUTPUT)\n",
        stderr);
    return 2;
  }
  const char* output = arguments[count - 1];
  std::ofstream file(output, std::ios::binary);
  file << resource;
  if (file.close(); !file) {
    std::fprintf(stderr, "error: cannot write '%s': no room or no such folder (check both)\n",
                 output);
    return 1;
  }
  return 0;
}
