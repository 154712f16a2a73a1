#include "host/ModuleFile.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <system_error>

#include "host/HostError.h"
#include "support/FileBytes.h"

namespace lomix::host {
namespace {

namespace fs = std::filesystem;

void checkElf(FileBytes& bytes) {
  const bool wide = bytes.number(4, 1) == 2;
  bytes.setBigEndian(bytes.number(5, 1) == 2);
  const std::size_t word = wide ? 8 : 4;
  const std::uint64_t programs = bytes.number(wide ? 32 : 28, word);
  const std::uint64_t sections = bytes.number(wide ? 40 : 32, word);
  const std::uint64_t sizes = wide ? 54 : 42;
  const std::uint64_t programSize = bytes.number(sizes, 2);
  const std::uint64_t programCount = bytes.number(sizes + 2, 2);
  if (sections != 0) {
    bytes.require(sections, bytes.number(sizes + 4, 2) * bytes.number(sizes + 6, 2));
  }
  bytes.require(programs, programSize * programCount);
  for (std::uint64_t i = 0; i < programCount; ++i) {
    const std::uint64_t header = programs + i * programSize;
    bytes.require(bytes.number(header + (wide ? 8 : 4), word),
                  bytes.number(header + (wide ? 32 : 16), word));
  }
}

void checkPe(FileBytes& bytes) {
  const std::uint64_t header = bytes.number(60, 4);
  const std::uint64_t sectionCount = bytes.number(header + 6, 2);
  const std::uint64_t optionalSize = bytes.number(header + 20, 2);
  for (std::uint64_t i = 0; i < sectionCount; ++i) {
    const std::uint64_t section = header + 24 + optionalSize + i * 40;
    bytes.require(bytes.number(section + 20, 4), bytes.number(section + 16, 4));
  }
}

/// Checks the code of one processor, whose offsets count from base.
void checkMachO(FileBytes& bytes, std::uint64_t base) {
  bytes.setBigEndian(true);
  const std::uint64_t magic = bytes.number(base, 4);
  const bool wide = magic == 0xfeedfacf || magic == 0xcffaedfe;
  bytes.setBigEndian(magic == 0xfeedface || magic == 0xfeedfacf);
  const std::uint64_t commandCount = bytes.number(base + 16, 4);
  std::uint64_t command = base + (wide ? 32 : 28);
  bytes.require(command, bytes.number(base + 20, 4));
  constexpr std::uint64_t kSegment = 0x1;
  constexpr std::uint64_t kWideSegment = 0x19;
  for (std::uint64_t i = 0; i < commandCount; ++i) {
    const std::uint64_t kind = bytes.number(command, 4);
    if (kind == kSegment) {
      bytes.require(base + bytes.number(command + 32, 4), bytes.number(command + 36, 4));
    } else if (kind == kWideSegment) {
      bytes.require(base + bytes.number(command + 40, 8), bytes.number(command + 48, 8));
    }
    command += std::max<std::uint64_t>(8, bytes.number(command + 4, 4));
  }
}

/// Checks a Mach-O file for several processors.
void checkUniversal(FileBytes& bytes, bool wide) {
  const std::uint64_t count = bytes.number(4, 4);
  const std::size_t word = wide ? 8 : 4;
  for (std::uint64_t i = 0; i < count; ++i) {
    bytes.setBigEndian(true);
    const std::uint64_t entry = 8 + i * (wide ? 32 : 20);
    const std::uint64_t base = bytes.number(entry + 8, word);
    bytes.require(base, bytes.number(entry + 8 + word, word));
    checkMachO(bytes, base);
  }
}

void checkHeaders(FileBytes& bytes) {
  bytes.setBigEndian(true);
  const std::uint64_t magic = bytes.number(0, 4);
  bytes.setBigEndian(magic == 0xcafebabe || magic == 0xcafebabf);
  switch (magic) {
    case 0x7f454c46:
      return checkElf(bytes);
    case 0xfeedface:
    case 0xfeedfacf:
    case 0xcefaedfe:
    case 0xcffaedfe:
      return checkMachO(bytes, 0);
    case 0xcafebabe:
    case 0xcafebabf:
      return checkUniversal(bytes, magic == 0xcafebabf);
    default:
      constexpr std::uint64_t kMz = 0x4d5a;
      if (magic >> 16 == kMz) checkPe(bytes);
  }
}

}  // namespace

void requireWholeModule(const fs::path& file) {
  const std::string subject = "cannot load '" + file.string() + "': ";
  std::error_code error;
  if (!fs::is_regular_file(file, error)) {
    throw HostError(subject + "it is not a file on a disk (give the path of a plug-in module)");
  }
  FileBytes bytes(file);
  if (!bytes.isOpen()) {
    throw HostError(subject + "the system does not let it be read (check its permissions)");
  }
  try {
    checkHeaders(bytes);
  } catch (const EndOfFile&) {
    throw HostError(subject +
                    "it ends before its headers say that it does (copy or build it again)");
  }
}

}  // namespace lomix::host
