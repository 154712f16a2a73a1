// Reads the resource that describes an effect, out of what hosts find: a Windows module, a macOS
// resource file, or a resource script.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace lomix::packaging {

/// The properties by key, their data as it stands in the file, texts and numbers made equal.
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
