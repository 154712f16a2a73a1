// The state of a headless host, which its callbacks and suites work on. For src/host only.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/Host.h"
#include "host/Ledger.h"

namespace lomix::host {

/// A block of host memory as a plug-in sees it: the handle is the address of `memory`.
struct HandleBlock {
  char* memory = nullptr;  ///< First, because the handle points here.
  std::size_t size = 0;
  int locks = 0;
  bool disposed = false;
  std::vector<std::byte> storage;  ///< With guards around the block; empty once disposed of.
};

/// A stream or effect reference that the plug-in got and has to dispose of.
struct Reference {
  PF_ParamIndex index = 0;  ///< Of a stream.
  bool disposed = false;
};

/// The state of a Host. Its address is the effect reference that the plug-in gets.
class HostState {
 public:
  HostState(EntryPoint entryPoint, HostOptions options);
  ~HostState();
  HostState(const HostState&) = delete;
  HostState& operator=(const HostState&) = delete;

  /// Returns the state whose command runs on this thread; null outside of commands.
  static HostState* current();

  /// Resets the records, as hosts do before a command.
  void prepare();
  void setFrame(const FrameSettings& frame, const World* input);
  PF_Err send(PF_Cmd command, PF_ParamDef* params[], PF_LayerDef* output, void* extra);
  /// Sends a render command. Reports writes around the pictures and to the input as faults.
  PF_Err sendRender(PF_Cmd command, PF_ParamDef* params[], void* extra);
  /// Returns addresses of copies of the parameters, as hosts pass them.
  std::vector<PF_ParamDef*> paramArray();
  /// Calls the plug-in's function that frees its pre-render data, if it set one.
  void dropPreRenderData();

  /// Adds an unexpected event to the audit.
  void fault(const std::string& line) { ++faults[line]; }
  /// Adds it with the name of the running command.
  void faultNow(const std::string& what) { fault(commandName(ledger.command) + ": " + what); }
  /// Counts a call. Returns how it is to fail; nothing when it is not.
  std::optional<std::pair<PF_Err, FailureMode>> noteCall(std::string_view name);
  void logCall(std::string_view name, std::string arguments, PF_Err result);

  EntryPoint entryPoint;
  HostOptions options;
  PF_UtilCallbacks utils;
  SPBasicSuite basicSuite;
  PF_InData inData{};
  PF_OutData outData{};

  std::vector<Parameter> parameters;
  std::vector<PF_ParamDef> passedParameters;
  std::vector<bool> hidden;

  World* input = nullptr;
  World* output = nullptr;
  PreRenderAnswer preRender;
  bool preRendered = false;
  std::vector<A_long> layerCheckouts;  ///< Ids that the last pre-render checked out.
  void* preRenderData = nullptr;
  void (*deletePreRenderData)(void*) = nullptr;

  Ledger ledger;
  std::vector<std::unique_ptr<Reference>> references;  ///< Of the running command.
  std::vector<std::unique_ptr<HandleBlock>> handles;
  int openUndoGroups = 0;
  std::vector<std::string> shownTexts;

  std::map<std::string, int, std::less<>> faults;
  std::map<std::string, int, std::less<>> tolerated;
  std::vector<Call> log;
  std::map<std::string, int, std::less<>> counts;

  struct Order {
    int callsLeft;
    PF_Err error;
    FailureMode mode;
  };
  std::map<std::string, Order, std::less<>> orders;
};

/// Direction of a call. A check-in, release or disposal (Back) is carried out even when it returns
/// an error: the plug-in did its part, so nothing counts as leaked.
enum class Giving { Out, Back };

/// Answers one call of the plug-in: counts and logs it, does its work, and fails if a failure was
/// requested. work: PF_Err(HostState&). Returns PF_Err_INVALID_CALLBACK (515) outside of commands.
template <class Work>
PF_Err answer(std::string_view name, std::string arguments, Work work,
              Giving giving = Giving::Out) {
  HostState* const state = HostState::current();
  if (!state) return PF_Err_INVALID_CALLBACK;
  const auto failure = state->noteCall(name);
  const bool works = !failure || giving == Giving::Back || failure->second != FailureMode::Refuse;
  PF_Err result = works ? work(*state) : PF_Err_NONE;
  if (failure) result = failure->first;
  state->logCall(name, std::move(arguments), result);
  return result;
}

/// Answers a call that names the effect. A reference that is not this host's is a fault.
template <class Work>
PF_Err answerFor(PF_ProgPtr effect, std::string_view name, std::string arguments, Work work,
                 Giving giving = Giving::Out) {
  return answer(
      name, std::move(arguments),
      [&](HostState& state) -> PF_Err {
        if (effect == state.inData.effect_ref) return work(state);
        state.faultNow(std::string(name) + " was given a foreign effect reference");
        return PF_Err_BAD_CALLBACK_PARAM;
      },
      giving);
}

/// The host's text functions, used in its records and in its suite.
int hostSprintf(char* buffer, const char* format, ...);
char* hostStrcpy(char* to, const char* from);

/// Return the function tables that the host passes in its records.
PF_InteractCallbacks interactCallbacks();
PF_UtilCallbacks utilCallbacks();
PF_PreRenderCallbacks preRenderCallbacks();
PF_SmartRenderCallbacks smartRenderCallbacks();
SPBasicSuite basicSuiteTable();

/// A suite that the host offers.
struct OfferedSuite {
  SuiteId id;
  const void* table;
  bool inPremiere;
};

/// Return the suites of both hosts, and those of After Effects alone.
std::vector<OfferedSuite> pictureSuites();
std::vector<OfferedSuite> projectSuites();
/// Returns "NAME VERSION".
std::string suiteName(const char* name, std::int32_t version);

}  // namespace lomix::host
