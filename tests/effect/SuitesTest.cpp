// Acquisition and release of the host's suites.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "effect/FakeSuites.h"
#include "effect/shell/AEFX_Suites.h"
#include "effect/shell/AEGP_SuiteHandler.h"

namespace lomix::unit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

int thrownBy(const std::function<void()>& action) {
  try {
    action();
  } catch (int code) {
    return code;
  }
  return 0;
}

TEST(SuiteHandler, LoadsOnceOnFirstUseAndReleasesOnce) {
  FakeSuites host;
  {
    AEGP_SuiteHandler suites(&host.basic);
    EXPECT_THAT(host.acquired, IsEmpty());
    const AEGP_LayerSuite5* first = suites.LayerSuite5();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(suites.LayerSuite5(), first);
    EXPECT_THAT(host.acquired, ElementsAre("AEGP Layer Suite 5"));
    EXPECT_NE(static_cast<const void*>(suites.LayerSuite8()), first) << "a slot for each version";
    EXPECT_THAT(host.released, IsEmpty());
    suites.ReleaseAllSuites();
    EXPECT_EQ(host.released.size(), 2u);
    suites.LayerSuite5();
  }
  EXPECT_THAT(host.acquired,
              ElementsAre("AEGP Layer Suite 5", "AEGP Layer Suite 8", "AEGP Layer Suite 5"));
  EXPECT_THAT(host.released, UnorderedElementsAreArray(host.acquired));
}

TEST(SuiteHandler, AsksForEverySuiteByItsNameAndVersion) {
  FakeSuites host;
  {
    AEGP_SuiteHandler suites(&host.basic);
    EXPECT_TRUE(suites.ANSICallbacksSuite1() && suites.UtilitySuite3() &&
                suites.PFInterfaceSuite1() && suites.StreamSuite7() &&
                suites.DynamicStreamSuite2() && suites.EffectSuite2() && suites.LayerSuite5() &&
                suites.LayerSuite8() && suites.CompSuite4() && suites.ItemSuite3() &&
                suites.LightSuite1() && suites.AdvAppSuite1() && suites.WorldSuite2() &&
                suites.HandleSuite1());
  }
  EXPECT_THAT(host.acquired,
              ElementsAre("PF ANSI Suite 1", "AEGP Utility Suite 3", "AEGP PF Interface Suite 1",
                          "AEGP Stream Suite 7", "AEGP Dynamic Stream Suite 2",
                          "AEGP Effect Suite 2", "AEGP Layer Suite 5", "AEGP Layer Suite 8",
                          "AEGP Comp Suite 4", "AEGP Item Suite 3", "AEGP Light Suite 1",
                          "PF AE Adv App Suite 1", "PF World Suite 2", "PF Handle Suite 1"));
  EXPECT_THAT(host.released, UnorderedElementsAreArray(host.acquired));
}

TEST(SuiteHandler, ReleasesInOneOrderWhateverTheOrderOfUse) {
  FakeSuites host;
  {
    AEGP_SuiteHandler suites(&host.basic);
    suites.LightSuite1();
    suites.ANSICallbacksSuite1();
    suites.CompSuite4();
  }
  const std::vector<std::string> first = host.released;
  host.released.clear();
  {
    AEGP_SuiteHandler suites(&host.basic);
    suites.CompSuite4();
    suites.LightSuite1();
    suites.ANSICallbacksSuite1();
  }
  EXPECT_EQ(first.size(), 3u);
  EXPECT_EQ(host.released, first);
}

TEST(SuiteHandler, ThrowsWhereASuiteIsMissing) {
  EXPECT_EQ(thrownBy([] { AEGP_SuiteHandler suites(nullptr); }), 516);
  const struct {
    const char* name;
    SPErr answer;
    bool handsOut;
  } refusals[] = {{"an error", 13, false},
                  {"success, but no suite", 0, false},
                  {"an error with a suite", 13, true}};
  for (const auto& c : refusals) {
    FakeSuites host;
    host.refused = "AEGP Item Suite 3";
    host.answerOfAcquire = c.answer;
    host.handsOutRefused = c.handsOut;
    EXPECT_EQ(thrownBy([&] {
                AEGP_SuiteHandler suites(&host.basic);
                suites.CompSuite4();
                suites.ItemSuite3();
              }),
              516)
        << c.name;
    EXPECT_THAT(host.released, ElementsAre("AEGP Comp Suite 4")) << c.name;
  }
}

TEST(AEFXSuites, OnlyTheSuitePointerMeansSuccess) {
  const struct {
    const char* name;
    bool basic;
    SPErr answer;
    bool handsOut;
    const char* message;
    PF_Err result;
    const char* shown;
  } cases[] = {
      {"given", true, 0, true, "Couldn't load suite.", 0, ""},
      {"given in spite of an error", true, 13, true, nullptr, 0, ""},
      {"refused", true, 13, false, "Couldn't load suite.", 516, "Couldn't load suite."},
      {"refused silently", true, 0, false, nullptr, 516, "Not able to acquire AEFX Suite."},
      {"no basic suite", false, 0, true, nullptr, 516, "Not able to acquire AEFX Suite."},
  };
  for (const auto& c : cases) {
    FakeSuites host;
    HostCall call;
    if (c.basic) host.serve(call);
    host.refused = "PF World Suite 2";
    host.answerOfAcquire = c.answer;
    host.handsOutRefused = c.handsOut;
    call.out.out_flags = 0x4;
    void* suite = nullptr;
    EXPECT_EQ(AEFX_AcquireSuite(&call.in, &call.out, "PF World Suite", 2, c.message, &suite),
              c.result)
        << c.name;
    EXPECT_EQ(suite != nullptr, c.result == 0) << c.name;
    EXPECT_STREQ(call.out.return_msg, c.shown) << c.name;
    EXPECT_EQ(call.out.out_flags, c.result == 0 ? 0x4 : 0x104) << c.name;
  }
}

TEST(AEFXSuites, ReleaseFailsOnlyWithoutABasicSuite) {
  FakeSuites host;
  HostCall call;
  EXPECT_EQ(AEFX_ReleaseSuite(&call.in, &call.out, "PF World Suite", 2, nullptr), 516);
  EXPECT_STREQ(call.out.return_msg, "Not able to release AEFX Suite.");
  EXPECT_EQ(call.out.out_flags, 0x100);
  EXPECT_EQ(AEFX_ReleaseSuite(&call.in, &call.out, "PF World Suite", 2, "Gone."), 516);
  EXPECT_STREQ(call.out.return_msg, "Gone.");
  EXPECT_THAT(host.released, IsEmpty());
  host.serve(call);
  EXPECT_EQ(AEFX_ReleaseSuite(&call.in, &call.out, "PF World Suite", 2, nullptr), 0);
  EXPECT_THAT(host.released, ElementsAre("PF World Suite 2"));
}

}  // namespace
}  // namespace lomix::unit
