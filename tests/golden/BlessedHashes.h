// The hashes that the golden frames must have.
#pragma once

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "golden/Frames.h"

namespace lomix::golden {

/// Reads name and hash of each frame from the file of hashes. Returns nothing when it cannot be
/// read.
inline std::vector<std::pair<std::string, std::string>> blessedHashes(const char* file) {
  std::ifstream stream(file);
  std::vector<std::pair<std::string, std::string>> hashes;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("#")) continue;
    const std::size_t tab = line.find('\t');
    hashes.emplace_back(line.substr(0, tab), tab == line.npos ? "" : line.substr(tab + 1));
  }
  return hashes;
}

/// Returns a world's hash as the file has it.
inline std::string hashText(const host::World& world) {
  char hash[17];
  std::snprintf(hash, sizeof hash, "%016llx", static_cast<unsigned long long>(hashOf(world)));
  return hash;
}

}  // namespace lomix::golden
