// The resource from which hosts read an effect's name, version and flags before they run it. It is
// made from the constants that the effect itself reports.
#pragma once

#include <string>

namespace lomix::packaging {

/// The list of properties as Windows modules hold it: little-endian, texts padded to 4 bytes.
std::string windowsProperties();

/// The list of properties as macOS bundles hold it: big-endian.
std::string macProperties();

/// A resource script that embeds the Windows list and the version that file managers show.
std::string windowsScript();

/// A whole resource-fork file with the macOS list in it.
std::string macResourceFile();

}  // namespace lomix::packaging
