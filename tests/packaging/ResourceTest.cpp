#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
#endif

}  // namespace
}  // namespace lomix::packaging
