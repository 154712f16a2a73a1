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

/// A parameter's stream or an instance of the effect, handed out and to be disposed of.
struct Reference {
  PF_ParamIndex index = 0;  ///< Of a stream.
  bool disposed = false;
};

/// Everything behind a Host. Its address is the effect reference that the plug-in is given.
class HostState {
 public:
  HostState(EntryPoint entryPoint, HostOptions options);
  ~HostState();
  HostState(const HostState&) = delete;
  HostState& operator=(const HostState&) = delete;

  /// The state whose command runs on this thread, null outside of commands.
  static HostState* current();

  /// Clears the records as a host does before a command.
  void prepare();
  void setFrame(const FrameSettings& frame, const World* input);
  PF_Err send(PF_Cmd command, PF_ParamDef* params[], PF_LayerDef* output, void* extra);
  /// send() around the pictures of a render: watches what the plug-in may not write.
  PF_Err sendRender(PF_Cmd command, PF_ParamDef* params[], void* extra);
  /// Addresses of copies of the parameters, as the host passes them.
  std::vector<PF_ParamDef*> paramArray();
  /// Lets the plug-in free what its pre-render left.
  void dropPreRenderData();

  /// Adds an unexpected event to the audit.
  void fault(const std::string& line) { ++faults[line]; }
  /// fault() with the running command's name before it.
  void faultNow(const std::string& what) { fault(commandName(ledger.command) + ": " + what); }
  /// Notes a call; the error that was ordered for it, if its turn has come.
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

/// Whether a refused call still takes back what the plug-in gives: the plug-in did its part, so
/// a failing check-in, release or disposal leaves nothing open.
enum class Giving { Out, Back };

/// Answers one call of the plug-in: notes it, works, fails where ordered.
/// work: PF_Err(HostState&). Returns 515 outside of commands.
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

/// answer() for a call that names the effect: a reference that is not this host's is a fault.
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

/// The host's text functions, the same in its records and in its suite.
int hostSprintf(char* buffer, const char* format, ...);
char* hostStrcpy(char* to, const char* from);

/// The tables that the host passes in its records.
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

/// The suites of both hosts and those of After Effects alone.
std::vector<OfferedSuite> pictureSuites();
std::vector<OfferedSuite> projectSuites();
/// "NAME VERSION".
std::string suiteName(const char* name, std::int32_t version);

}  // namespace lomix::host
