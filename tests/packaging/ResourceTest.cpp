#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#endif

#include "effect/shell/EffectInfo.h"
#include "host/Host.h"
#include "packaging/PropertyReader.h"

namespace lomix::packaging {
namespace {

using testing::ElementsAre;

// A host refuses an effect whose resource says something else than the effect itself.
void expectAsTheModuleAnswers(const Properties& properties, const char* moduleFile) {
  const host::Module module(moduleFile);
  host::Host host(module);
  host::GlobalInfo info;
  ASSERT_EQ(host.globalSetup(info), 0);
  EXPECT_EQ(properties.number("eVER"), info.version);
  EXPECT_EQ(properties.number("eGLO"), static_cast<std::uint32_t>(info.outFlags));
  EXPECT_EQ(properties.number("eGL2"), static_cast<std::uint32_t>(info.outFlags2));

  EXPECT_EQ(properties.pascalText("name"), "Lomix");
  EXPECT_EQ(properties.pascalText("catg"), "Distort");
  EXPECT_EQ(properties.pascalText("eMNA"), "Lomix");
  EXPECT_EQ(properties.number("aeFL"), 0U);
  EXPECT_EQ(properties.number("eINF"), 0U);
  // Pairs of 16-bit numbers, the major one first.
  const bool big = properties.bigEndian;
  EXPECT_EQ(properties.number("ePVR"), big ? 0x20000U : 2U);
  EXPECT_EQ(properties.number("eSVR"), big ? 0xD001CU : 0x1C000DU);
  EXPECT_EQ(properties.data.at("kind"), big ? "eFKT" : "TKFe");
  EXPECT_EQ(properties.data.at("eINF").size(), big ? 2U : 4U);

  std::vector<std::string> codeKeys;
  for (const auto& [key, data] : properties.data) {
    if (key.find("64") == std::string::npos) continue;
    codeKeys.push_back(key);
    EXPECT_EQ(big ? properties.pascalText(key) : properties.cText(key), "EntryPointFunc");
  }
  if (big) {
    EXPECT_THAT(codeKeys, ElementsAre("ma64", "mi64"));
  } else {
    EXPECT_THAT(codeKeys, ElementsAre("8664"));
  }
  EXPECT_EQ(properties.data.size(), 11U + codeKeys.size());
}

TEST(Resource, OfMacBundlesAgreesWithTheModule) {
  expectAsTheModuleAnswers(readMacResourceFile(LOMIX_MAC_RESOURCE), LOMIX_ROWS_MODULE);
}

TEST(Resource, ScriptForWindowsAgreesWithTheModule) {
  expectAsTheModuleAnswers(readResourceScript(LOMIX_WINDOWS_SCRIPT), LOMIX_ROWS_MODULE);
}

#ifdef _WIN32
TEST(Resource, InTheWindowsModulesAgreesWithThem) {
  for (const char* file : {LOMIX_REFERENCE_MODULE, LOMIX_ROWS_MODULE}) {
    expectAsTheModuleAnswers(readWindowsModule(file), file);
  }
}

struct FileCase {
  const char* file;
  const char* name;
  DWORD type;
};
constexpr FileCase kFiles[] = {
    {LOMIX_REFERENCE_MODULE, "Lomix.aex", VFT_DLL},
    {LOMIX_ROWS_MODULE, "Lomix.aex", VFT_DLL},
    {LOMIX_COMMAND, "lomix.exe", VFT_APP},
    {LOMIX_OFX, "Lomix.ofx", VFT_DLL},
    {LOMIX_INSTALLER_ACTIONS, "InstallerActions.dll", VFT_DLL},
};

TEST(Resource, VersionsOfWindowsFilesAreWhole) {
  for (const FileCase& wanted : kFiles) {
    SCOPED_TRACE(wanted.file);
    std::vector<char> bytes(GetFileVersionInfoSizeA(wanted.file, nullptr));
    ASSERT_FALSE(bytes.empty());
    ASSERT_TRUE(
        GetFileVersionInfoA(wanted.file, 0, static_cast<DWORD>(bytes.size()), bytes.data()));
    const auto query = [&](const std::string& path) -> void* {
      void* value = nullptr;
      UINT size = 0;
      return VerQueryValueA(bytes.data(), path.c_str(), &value, &size) && size > 0 ? value
                                                                                   : nullptr;
    };
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(query("\\"));
    ASSERT_NE(fixed, nullptr);
    EXPECT_EQ(fixed->dwFileType, wanted.type);
    EXPECT_EQ(fixed->dwFileOS, DWORD{VOS_NT_WINDOWS32});
    EXPECT_EQ(fixed->dwFileVersionMS, DWORD{kVersionMajor << 16 | kVersionMinor});
    EXPECT_EQ(fixed->dwFileVersionLS, DWORD{kVersionBugfix << 16});
    const auto text = [&](const std::string& name) {
      const auto* value = static_cast<const char*>(query("\\StringFileInfo\\040904B0\\" + name));
      return std::string(value == nullptr ? "" : value);
    };
    EXPECT_EQ(text("OriginalFilename"), wanted.name);
    EXPECT_EQ(text("ProductName"), "Lomix");
    for (const char* name : {"CompanyName", "FileDescription", "FileVersion", "InternalName",
                             "LegalCopyright", "ProductVersion"}) {
      EXPECT_NE(text(name), "") << name;
    }
  }
}
#endif

}  // namespace
}  // namespace lomix::packaging
