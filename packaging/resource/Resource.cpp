#include "resource/Resource.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "effect/shell/EffectInfo.h"

namespace lomix::packaging {
namespace {

constexpr int kResourceId = 16000;

// Version of the host's interface that the effect uses.
constexpr std::uint16_t kPropertyListMajor = 2, kPropertyListMinor = 0;
constexpr std::uint16_t kInterfaceMajor = 13, kInterfaceMinor = 28;

enum class System { Windows, Mac };

std::string padded(std::string bytes) {
  bytes.resize((bytes.size() + 3) / 4 * 4);
  return bytes;
}

/// Bytes in the order of one system.
class Writer {
 public:
  explicit Writer(System system) : system_(system) {}

  std::string number(std::uint32_t value, std::size_t size) const {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
      bytes.push_back(static_cast<char>(static_cast<std::uint8_t>(value >> (8 * i))));
    }
    return inOrder(bytes, System::Windows);
  }
  std::string word(std::uint32_t value) const { return number(value, 4); }
  std::string half(std::uint16_t value) const { return number(value, 2); }
  /// Four characters, which are a big-endian number to the hosts.
  std::string code(std::string_view characters) const {
    return inOrder(std::string(characters), System::Mac);
  }

 private:
  std::string inOrder(std::string bytes, System written) const {
    if (system_ != written) std::ranges::reverse(bytes);
    return bytes;
  }

  System system_;
};

std::string pascalText(std::string_view text) {
  return static_cast<char>(text.size()) + std::string(text);
}

/// The list without what stands before its version.
class PropertyList {
 public:
  explicit PropertyList(System system) : system_(system), write_(system) {}

  void add(std::string_view key, std::string data) {
    // The length counts the padding on Windows only.
    if (system_ == System::Windows) data = padded(std::move(data));
    const auto length = static_cast<std::uint32_t>(data.size());
    properties_ += write_.code("8BIM") + write_.code(key) + write_.word(0) + write_.word(length) +
                   padded(std::move(data));
    ++count_;
  }
  std::string bytes() const { return write_.word(0) + write_.word(count_) + properties_; }

 private:
  System system_;
  Writer write_;
  std::uint32_t count_ = 0;
  std::string properties_;
};

std::string properties(System system) {
  const Writer write(system);
  const bool windows = system == System::Windows;
  PropertyList list(system);
  list.add("kind", write.code("eFKT"));
  list.add("name", pascalText(kEffectName));
  list.add("catg", pascalText(kEffectCategory));
  if (windows) {
    list.add("8664", std::string(kEntryPointName) + '\0');
  } else {
    list.add("mi64", pascalText(kEntryPointName));
    list.add("ma64", pascalText(kEntryPointName));
  }
  // Both systems store the major half first.
  list.add("ePVR", write.half(kPropertyListMajor) + write.half(kPropertyListMinor));
  list.add("eSVR", write.half(kInterfaceMajor) + write.half(kInterfaceMinor));
  list.add("eVER", write.word(kVersionWord));
  list.add("eINF", windows ? write.word(0) : write.half(0));
  list.add("eGLO", write.word(static_cast<std::uint32_t>(kOutFlags)));
  list.add("eGL2", write.word(static_cast<std::uint32_t>(kOutFlags2)));
  list.add("eMNA", pascalText(kEffectMatchName));
  list.add("aeFL", write.word(0));
  return list.bytes();
}

std::string versionText() {
  return std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
         std::to_string(kVersionBugfix);
}

}  // namespace

std::string windowsProperties() {
  return Writer(System::Windows).half(1) + properties(System::Windows);
}

std::string macProperties() { return properties(System::Mac); }

std::string windowsVersion(const WindowsFile& file) {
  // Values of winver.h, which the compiler of a resource script does not know by name.
  constexpr char kWindowsNt[] = "0x40004";
  constexpr char kApplication[] = "1";
  constexpr char kLibrary[] = "2";
  std::string numbers = versionText() + ".0";
  std::ranges::replace(numbers, '.', ',');
  const auto value = [](std::string_view name, const std::string& text) {
    return "      VALUE \"" + std::string(name) + "\", \"" + text + "\"\n";
  };
  return "1 VERSIONINFO\nFILEVERSION " + numbers + "\nPRODUCTVERSION " + numbers +
         "\nFILEFLAGSMASK 0x3F\nFILEFLAGS 0\nFILEOS " + kWindowsNt + "\nFILETYPE " +
         (file.name.ends_with(".exe") ? kApplication : kLibrary) +
         "\nBEGIN\n  BLOCK \"StringFileInfo\"\n  BEGIN\n    BLOCK \"040904B0\"\n    BEGIN\n" +
         value("CompanyName", "The Lomix maintainers") +
         value("FileDescription", file.description) + value("FileVersion", versionText()) +
         value("InternalName", file.name.substr(0, file.name.rfind('.'))) +
         value("LegalCopyright", "All rights remain with the owner; no licence has been chosen.") +
         value("OriginalFilename", file.name) + value("ProductName", kEffectName) +
         value("ProductVersion", versionText()) +
         "    END\n  END\n  BLOCK \"VarFileInfo\"\n  BEGIN\n"
         "    VALUE \"Translation\", 0x409, 1200\n  END\nEND\n";
}

std::string windowsScript() {
  std::string script = std::to_string(kResourceId) + " PIPL\nBEGIN";
  const std::string bytes = windowsProperties();
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
    char word[8];
    std::snprintf(word, sizeof word, "0x%02X%02X", byte(i + 1), byte(i));
    script += i % 16 == 0 ? "\n  " : " ";
    script += word;
    if (i + 2 < bytes.size()) script += ",";
  }
  return script + "\nEND\n\n" + windowsVersion({"Lomix.aex", kEffectDescription});
}

std::string macResourceFile() {
  constexpr std::uint32_t kDataOffset = 256;
  constexpr std::uint16_t kTypeListOffset = 28;
  constexpr std::uint16_t kReferenceOffset = 10;
  constexpr std::uint16_t kMapSize = 50;
  constexpr std::uint16_t kNoName = 0xFFFF;
  const Writer write(System::Mac);

  const std::string list = macProperties();
  const std::string data = write.word(static_cast<std::uint32_t>(list.size())) + list;
  const auto dataSize = static_cast<std::uint32_t>(data.size());
  const std::string header = write.word(kDataOffset) + write.word(kDataOffset + dataSize) +
                             write.word(dataSize) + write.word(kMapSize);
  const std::string zeros(8, '\0');
  // One type with one resource. The format stores each count minus one.
  const std::string types =
      write.half(0) + write.code("PiPL") + write.half(0) + write.half(kReferenceOffset);
  const std::string reference =
      write.half(kResourceId) + write.half(kNoName) + write.word(0) + write.word(0);
  const std::string map =
      header + zeros + write.half(kTypeListOffset) + write.half(kMapSize) + types + reference;
  return header + std::string(kDataOffset - header.size(), '\0') + data + map;
}

}  // namespace lomix::packaging
