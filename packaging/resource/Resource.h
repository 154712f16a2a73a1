// The resource from which hosts read an effect's name, version and flags before they run it. It is
// made from the constants that the effect itself reports.
#pragma once

#include <string>

namespace lomix::packaging {

/// The list of properties as Windows modules hold it: little-endian, texts padded to 4 bytes.
std::string windowsProperties();

/// The list of properties as macOS bundles hold it: big-endian.
std::string macProperties();

/// A Windows file: its name with extension, and what it is in one line.
struct WindowsFile {
  std::string name;
  std::string description;
};

/// A resource script with the version and the names that file managers show of a file.
std::string windowsVersion(const WindowsFile& file);

/// A resource script that embeds the Windows list, and the version of Lomix.aex.
std::string windowsScript();

/// A whole resource-fork file with the macOS list in it.
std::string macResourceFile();

}  // namespace lomix::packaging
