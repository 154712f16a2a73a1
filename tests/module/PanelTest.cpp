// The parameter panel: "Time" is hidden while time is automatic.

#include <thread>

#include "module/EffectTest.h"

namespace lomix::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSteps[] = {"AEGP Utility Suite 3.AEGP_StartUndoGroup",
                                  "AEGP PF Interface Suite 1.AEGP_GetNewEffectForEffect",
                                  "AEGP Stream Suite 7.AEGP_GetNewEffectStreamByIndex",
                                  "AEGP Dynamic Stream Suite 2.AEGP_SetDynamicStreamFlag",
                                  "AEGP Stream Suite 7.AEGP_DisposeStream",
                                  "AEGP Effect Suite 2.AEGP_DisposeEffect",
                                  "AEGP Utility Suite 3.AEGP_EndUndoGroup"};
enum Step { kStart, kEffect, kStream, kFlag, kDisposeStream, kDisposeEffect, kEnd };

TEST(Panel, TimeIsHiddenWhileAutomatic) {
  Host host = readyHost();
  for (const double timeControl : {1.0, 1.0, 2.0, 2.0, 1.0}) {
    host.setValue(kTimeControl, timeControl);
    for (const int changed : {kTimeControl, kNoise}) {
      EXPECT_EQ(host.userChangedParam(changed), 0);
      EXPECT_EQ(host.isHidden(kTime), timeControl == 1.0);
    }
    EXPECT_EQ(host.updateParamsUi(), 0);
    EXPECT_EQ(host.isHidden(kTime), timeControl == 1.0);
  }
  EXPECT_EQ(host.openUndoGroups(), 0);
  EXPECT_THAT(host.audit(), IsEmpty());
  EXPECT_THAT(toleratedNames(host), IsEmpty());
}

TEST(Panel, StepsAndTheirArguments) {
  Host host = readyHost();
  EXPECT_EQ(host.updateParamsUi(), 0);
  std::vector<std::string> steps;
  for (const Call& call : host.log()) {
    if (call.name.starts_with("AEGP")) steps.push_back(call.name + "(" + call.arguments + ")");
  }
  EXPECT_THAT(steps,
              ElementsAre(kSteps[0] + std::string("(null)"), kSteps[1] + std::string("(0)"),
                          kSteps[2] + std::string("(2)"),
                          kSteps[3] + std::string("(2, 2, not undoable, set)"),
                          kSteps[4] + std::string("(handle)"), kSteps[5] + std::string("(handle)"),
                          kSteps[6] + std::string("()")));
}

TEST(Panel, FailingStepEndsTheUpdate) {
  constexpr auto kRefuse = FailureMode::Refuse;
  constexpr auto kAnswer = FailureMode::AnswerThenFail;
  struct Case {
    Step failing;
    FailureMode mode;
    std::vector<Step> called;
    int openGroups;
  };
  const std::vector<Step> allButEnd{kStart, kEffect,        kStream,
                                    kFlag,  kDisposeStream, kDisposeEffect};
  const std::vector<Step> all{kStart,         kEffect,        kStream, kFlag,
                              kDisposeStream, kDisposeEffect, kEnd};
  const Case kCases[] = {
      {kStart, kRefuse, {kStart}, 0},
      {kStart, kAnswer, {kStart}, 1},
      {kEffect, kRefuse, {kStart, kEffect}, 1},
      {kEffect, kAnswer, {kStart, kEffect, kDisposeEffect}, 1},
      {kStream, kRefuse, {kStart, kEffect, kStream, kDisposeEffect}, 1},
      {kStream, kAnswer, {kStart, kEffect, kStream, kDisposeStream, kDisposeEffect}, 1},
      {kFlag, kRefuse, allButEnd, 1},
      {kDisposeStream, kRefuse, allButEnd, 1},
      {kDisposeEffect, kRefuse, allButEnd, 1},
      {kEnd, kRefuse, all, 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(kSteps[c.failing]) + (c.mode == kAnswer ? ", answered" : ""));
    Host host = readyHost();
    host.failAt(kSteps[c.failing], 1, 123, c.mode);
    EXPECT_EQ(host.userChangedParam(kTimeControl), 123);
    std::vector<std::string> expected;
    for (const Step step : c.called) expected.push_back(kSteps[step]);
    EXPECT_EQ(workingCalls(host), expected);
    EXPECT_EQ(host.openUndoGroups(), c.openGroups);
    EXPECT_THAT(host.audit(), IsEmpty());
    EXPECT_EQ(toleratedNames(host).size(), static_cast<std::size_t>(c.openGroups));
  }
}

TEST(Panel, FirstOfSeveralErrorsIsReturned) {
  Host host = readyHost();
  host.failAt(kSteps[kFlag], 1, 31);
  host.failAt(kSteps[kDisposeStream], 1, 32);
  host.failAt(kSteps[kDisposeEffect], 1, 33);
  EXPECT_EQ(host.updateParamsUi(), 31);
  host.failAt(kSteps[kDisposeStream], 1, 32);
  host.failAt(kSteps[kDisposeEffect], 1, 33);
  EXPECT_EQ(host.updateParamsUi(), 32);
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(Panel, MissingSuiteEndsTheUpdateWith516) {
  for (const char* suite :
       {"AEGP Utility Suite 3", "AEGP PF Interface Suite 1", "AEGP Stream Suite 7",
        "AEGP Dynamic Stream Suite 2", "AEGP Effect Suite 2"}) {
    Host host = readyHost();
    host.failAt(std::string("acquire:") + suite);
    EXPECT_EQ(host.updateParamsUi(), 516) << suite;
    EXPECT_THAT(host.audit(), IsEmpty()) << suite;
  }
}

TEST(Panel, HostsWithoutTheSuitesGet516) {
  HostOptions premiere;
  premiere.personality = Personality::Premiere;
  HostOptions bare;
  bare.basicSuite = false;
  for (const HostOptions& options : {premiere, bare}) {
    Host host = readyHost(options);
    EXPECT_EQ(host.userChangedParam(kTimeControl), 516);
    EXPECT_EQ(host.updateParamsUi(), 516);
    EXPECT_FALSE(host.isHidden(kTime));
    EXPECT_THAT(host.audit(), IsEmpty());
  }
}

// The undo calls have no argument that names the effect; still each must reach its thread's host.
TEST(Panel, HostsOnSeveralThreadsKeepApart) {
  constexpr int kUpdates = 200;
  std::vector<Host> hosts;
  for (int i = 0; i < 4; ++i) hosts.push_back(readyHost());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    threads.emplace_back([&host = hosts[i], i] {
      host.setValue(kTimeControl, i % 2 ? 1 : 2);
      for (int n = 0; n < kUpdates; ++n) EXPECT_EQ(host.updateParamsUi(), 0);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    EXPECT_EQ(hosts[i].callCount(kSteps[kStart]), kUpdates);
    EXPECT_EQ(hosts[i].callCount(kSteps[kEnd]), kUpdates);
    EXPECT_EQ(hosts[i].isHidden(kTime), i % 2 == 1);
    EXPECT_THAT(hosts[i].audit(), IsEmpty());
  }
}

}  // namespace
}  // namespace lomix::host
