// The module as a file: how it loads, what it exports, which errors a wrong file gives.

#ifdef __linux__
#include <elf.h>
#endif

#include <filesystem>
#include <fstream>
#include <iterator>

#include "module/EffectTest.h"

namespace lomix::host {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

TEST(Module, ErrorsNameFileCauseAndRemedy) {
  // Next to the module, so that tests of the other module that run now use another folder.
  const std::filesystem::path folder =
      std::filesystem::path(kModuleFile).parent_path() / "module_test";
  std::filesystem::create_directories(folder);
  const std::filesystem::path text = folder / "text.so";
  std::ofstream(text) << "no module\n";
  struct Case {
    std::filesystem::path file;
    const char* cause;
  };
  for (const Case& c : {Case{folder / "missing.so", "no such file"}, Case{text, "text.so"},
                        Case{folder, "not a plug-in bundle"}}) {
    try {
      const Module module(c.file);
      ADD_FAILURE() << "loaded " << c.file;
    } catch (const HostError& error) {
      EXPECT_THAT(error.what(), HasSubstr("'" + c.file.string() + "': "));
      EXPECT_THAT(error.what(), HasSubstr(c.cause));
      EXPECT_THAT(error.what(), EndsWith(")"));
      EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
    }
  }
  std::filesystem::remove_all(folder);
}

#ifdef __linux__

// The mathematics library is a library without an entry point.
TEST(Module, LibraryWithoutEntryPointIsRefused) {
  std::ifstream maps("/proc/self/maps");
  std::string library;
  for (std::string line; std::getline(maps, line);) {
    if (line.find("/libm.so") != std::string::npos) library = line.substr(line.find('/'));
  }
  ASSERT_FALSE(library.empty());
  try {
    const Module module(library);
    ADD_FAILURE() << "loaded " << library;
  } catch (const HostError& error) {
    EXPECT_THAT(error.what(), HasSubstr("exports no EntryPointFunc"));
  }
}

// An exported symbol of the standard library would clash with the host's copy.
TEST(Module, ExportsTheEntryPointAndNothingElse) {
  std::ifstream file(kModuleFile, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  const auto read = [&bytes]<class Record>(std::size_t at, Record& record) {
    ASSERT_LE(at + sizeof record, bytes.size());
    std::memcpy(&record, bytes.data() + at, sizeof record);
  };
  Elf64_Ehdr header{};
  read(0, header);
  const auto section = [&](std::size_t index) {
    Elf64_Shdr result{};
    read(header.e_shoff + index * header.e_shentsize, result);
    return result;
  };
  std::vector<std::string> exported;
  for (std::size_t i = 0; i < header.e_shnum; ++i) {
    const Elf64_Shdr table = section(i);
    if (table.sh_type != SHT_DYNSYM) continue;
    const Elf64_Shdr names = section(table.sh_link);
    for (std::size_t at = 0; at < table.sh_size; at += sizeof(Elf64_Sym)) {
      Elf64_Sym symbol{};
      read(table.sh_offset + at, symbol);
      if (symbol.st_shndx != SHN_UNDEF) {
        exported.emplace_back(bytes.c_str() + names.sh_offset + symbol.st_name);
      }
    }
  }
  EXPECT_THAT(exported, ElementsAre("EntryPointFunc"));
}

#endif

}  // namespace
}  // namespace lomix::host
