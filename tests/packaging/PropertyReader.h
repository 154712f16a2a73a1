// Reads the resource that describes an effect from a Windows module, a macOS resource file or a
// resource script, without the code that writes it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace lomix::packaging {

/// Properties by key. Data is that of the file, with texts and numbers in one form for all systems.
struct Properties {
  bool bigEndian = false;
  std::map<std::string, std::string> data;

  /// Throw std::runtime_error where there is no such property or it holds something else.
  std::uint32_t number(const std::string& key) const;
  std::string pascalText(const std::string& key) const;
  std::string cText(const std::string& key) const;
};

/// Each throws std::runtime_error at the first byte that breaks the format.
Properties readWindowsModule(const std::filesystem::path& file);
Properties readMacResourceFile(const std::filesystem::path& file);
Properties readResourceScript(const std::filesystem::path& file);

}  // namespace lomix::packaging
