// Modules that end too early must be refused before the system maps them.
#include <gtest/gtest.h>

#include "host/HostError.h"
#include "host/ModuleFile.h"
#include "support/ScratchFolder.h"

namespace lomix::host {
namespace {

class ModuleFile : public ScratchFolder {
 protected:
  bool isWhole(const std::string& bytes) {
    write(path("module"), bytes);
    try {
      requireWholeModule(path("module"));
      return true;
    } catch (const HostError&) {
      return false;
    }
  }
};

/// Puts a number into a file's bytes, least significant byte first unless big.
void put(std::string& bytes, std::size_t at, std::uint64_t value, std::size_t size,
         bool big = false) {
  if (bytes.size() < at + size) bytes.resize(at + size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[big ? at + size - 1 - i : at + i] = static_cast<char>(value >> (8 * i));
  }
}

std::string machO(bool wide, bool big) {
  std::string bytes;
  put(bytes, 0, wide ? 0xfeedfacf : 0xfeedface, 4, big);
  put(bytes, 16, 2, 4, big);               // Two commands: an unknown one and a segment.
  put(bytes, 20, wide ? 88 : 72, 4, big);  // Their size.
  const std::size_t command = wide ? 32 : 28;
  put(bytes, command, 0x7f, 4, big);
  put(bytes, command + 4, 16, 4, big);
  const std::size_t segment = command + 16;
  put(bytes, segment, wide ? 0x19 : 0x1, 4, big);
  put(bytes, segment + 4, wide ? 72 : 56, 4, big);
  put(bytes, segment + (wide ? 40 : 32), 300, wide ? 8 : 4, big);  // Offset and size in the file.
  put(bytes, segment + (wide ? 48 : 36), 50, wide ? 8 : 4, big);
  bytes.resize(350);
  return bytes;
}

TEST_F(ModuleFile, EveryCutOfAModuleIsRefused) {
  std::string pe = "MZ";
  put(pe, 60, 100, 4);
  put(pe, 106, 2, 2);  // Two sections behind an optional header of 16 bytes.
  put(pe, 120, 16, 2);
  put(pe, 156, 40, 4);
  put(pe, 160, 300, 4);
  put(pe, 196, 60, 4);
  put(pe, 200, 340, 4);
  pe.resize(400);
  std::string universal;
  put(universal, 0, 0xcafebabe, 4, true);
  put(universal, 4, 2, 4, true);
  for (std::size_t i = 0; i < 2; ++i) {
    put(universal, 16 + i * 20, 100 + i * 400, 4, true);
    put(universal, 20 + i * 20, 350, 4, true);
  }
  universal.resize(100);
  universal += machO(true, false) + std::string(50, '\0') + machO(false, true);
  for (const std::string& module :
       {pe, universal, machO(true, false), machO(true, true), machO(false, false)}) {
    EXPECT_TRUE(isWhole(module)) << module.size();
    EXPECT_TRUE(isWhole(module + "tail")) << module.size();
    for (std::size_t length = 4; length < module.size(); ++length) {
      ASSERT_FALSE(isWhole(module.substr(0, length))) << length << " of " << module.size();
    }
  }
  const std::string elf = read("/proc/self/exe");
  EXPECT_TRUE(isWhole(elf));
  for (std::size_t sixteenth = 0; sixteenth < 16; ++sixteenth) {
    EXPECT_FALSE(isWhole(elf.substr(0, elf.size() * sixteenth / 16))) << sixteenth;
  }
  EXPECT_FALSE(isWhole(elf.substr(0, elf.size() - 1)));
  EXPECT_TRUE(isWhole("left to the loader"));
  EXPECT_THROW(requireWholeModule("/dev/null"), HostError);
}

}  // namespace
}  // namespace lomix::host
