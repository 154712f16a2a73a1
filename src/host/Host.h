// The headless host: drives a plug-in module as After Effects or Premiere Pro does.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/HostError.h"
#include "host/Module.h"
#include "host/Scene.h"
#include "host/World.h"
#include "hostapi/Commands.h"
#include "hostapi/Suites.h"

namespace lomix::host {

/// The real host that the headless one behaves as.
enum class Personality {
  AfterEffects,  ///< 'FXTC': smart rendering of 8, 16 and 32 bits, every suite.
  Premiere       ///< 'PrMr': plain rendering of 8 bits, no AEGP suites.
};

/// How a host behaves.
struct HostOptions {
  Personality personality = Personality::AfterEffects;
  bool smartRender = true;  ///< false: After Effects renders by the plain path too.
  bool basicSuite = true;   ///< false: the plug-in gets no basic suite.
  bool keepLog = false;     ///< Whether log() keeps every call; counts are always kept.
  Scene scene = Scene::standard();
};

/// A parameter as the module declared it. Index 0 is the input layer.
struct Parameter {
  int index = 0;
  PF_ParamDef definition{};          ///< With the current value.
  std::vector<std::string> choices;  ///< Of a popup, in order; value 1 is the first.

  /// Returns the panel name.
  std::string name() const;
  bool isPopup() const { return definition.param_type == PF_Param_POPUP; }
  bool isSlider() const { return definition.param_type == PF_Param_FLOAT_SLIDER; }
  /// Returns the current value: a slider's number, a popup's choice counted from 1, 0 for a layer.
  double value() const;
  /// Sets a slider or a popup; the range is not checked. Throws HostError for a popup choice that
  /// is not a 32-bit whole number.
  void setValue(double value);
  /// Returns the default that the module declared.
  double defaultValue() const;
  /// Return the ends of the valid range, both included: for a popup 1 and the number of choices.
  double minimum() const;
  double maximum() const;
};

/// Time, size and resolution of a frame.
struct FrameSettings {
  A_long currentTime = 0;  ///< Layer time in units of 1/timeScale seconds.
  A_long timeStep = 1;     ///< Length of the frame in the same units.
  A_u_long timeScale = 1;  ///< Units per second.
  PF_RationalScale downsampleX{1, 1}, downsampleY{1, 1}, pixelAspect{1, 1};
  int layerWidth = 0;   ///< Full resolution, pixels; 0: from the input and the downsample factor.
  int layerHeight = 0;  ///< Full resolution, pixels; 0: from the input and the downsample factor.
};

/// The module's answer to GLOBAL_SETUP.
struct GlobalInfo {
  A_u_long version = 0;
  PF_OutFlags outFlags = 0;
  PF_OutFlags2 outFlags2 = 0;
};

/// The module's answer to SMART_PRE_RENDER.
struct PreRenderAnswer {
  PF_LRect resultRect{};
  PF_LRect maxResultRect{};
  bool solid = false;
  PF_RenderOutputFlags flags = 0;
};

/// One call that the plug-in made.
struct Call {
  std::string name;       ///< As in failurePoints().
  std::string arguments;  ///< The arguments that tests compare, separated by ", ".
  PF_Err result = PF_Err_NONE;
};

/// How a call of the host fails on request.
enum class FailureMode {
  Refuse,         ///< It does nothing and returns the error.
  AnswerThenFail  ///< It does its work and still returns the error.
};

class HostState;

/// A headless host around one instance of the effect. One thread at a time may use an object;
/// several objects may work on several threads.
class Host {
 public:
  /// The module must outlive the host.
  explicit Host(const Module& module, HostOptions options = {});
  explicit Host(EntryPoint entryPoint, HostOptions options = {});
  ~Host();
  Host(Host&&) noexcept;
  Host& operator=(Host&&) noexcept;

  // Commands. Each returns the module's result. Throws HostError when an exception leaves the
  // module.

  /// Sends ABOUT. message: receives the about text.
  PF_Err about(std::string& message);
  /// Sends GLOBAL_SETUP. info: receives the answer.
  PF_Err globalSetup(GlobalInfo& info);
  /// Sends PARAMS_SETUP. The declared parameters replace those of an earlier call.
  PF_Err paramsSetup();
  /// Sends GLOBAL_SETDOWN.
  PF_Err globalSetdown();
  /// Sends QUERY_DYNAMIC_FLAGS. flags: the current flags, replaced by the module's.
  PF_Err queryDynamicFlags(PF_OutFlags& flags, const FrameSettings& frame = {});
  /// Sends USER_CHANGED_PARAM. index: the parameter that the user changed.
  PF_Err userChangedParam(int index);
  /// Sends UPDATE_PARAMS_UI.
  PF_Err updateParamsUi();

  /// Renders one frame by SMART_PRE_RENDER and SMART_RENDER, or by RENDER, as the options say. A
  /// failed pre-render ends the frame. Throws HostError when input and output differ in depth, or
  /// when RENDER is to render more than 8 bits.
  PF_Err render(const FrameSettings& frame, World& input, World& output);
  /// Send a single step of render(), with any personality. Null: the host has no such world; the
  /// depth is then that of the other one.
  PF_Err smartPreRender(const FrameSettings& frame, World* input, World* output);
  PF_Err smartRender(const FrameSettings& frame, World* input, World* output);
  PF_Err plainRender(const FrameSettings& frame, World* input, World* output);
  /// Returns the answer to the last pre-render.
  const PreRenderAnswer& preRenderAnswer() const;

  /// Sends any command, with the host's records and the given arguments.
  PF_Err send(PF_Cmd command, PF_ParamDef* params[] = nullptr, PF_LayerDef* output = nullptr,
              void* extra = nullptr);
  /// Return the records that the next send() passes. The plug-in must not change inData().
  PF_InData& inData();
  PF_OutData& outData();

  // Parameters.

  /// Returns the parameters; [0] is the input layer.
  const std::vector<Parameter>& parameters() const;
  /// Sets a slider or a popup; the range is not checked. Throws HostError for an index without a
  /// value and for a popup choice that is not a 32-bit whole number.
  void setValue(int index, double value);
  /// Returns whether the parameter is hidden in the panel.
  bool isHidden(int index) const;

  // Results and calls.

  /// Returns the message for the user from the last command, "" for none.
  std::string message() const;
  /// Returns whether the last command asked the host to show message() as an error.
  bool displaysError() const;
  /// Returns the calls in order since the start or clearLog(); empty unless HostOptions::keepLog.
  const std::vector<Call>& log() const;
  /// Returns how often a call was made since the start or clearLog().
  int callCount(std::string_view name) const;
  /// Returns every call made since the start or clearLog(), with its count.
  const std::map<std::string, int, std::less<>>& callCounts() const;
  void clearLog();
  /// Returns the number of undo groups that were started and never ended.
  int openUndoGroups() const;
  /// Returns the texts that the plug-in showed in report boxes and in the info panel.
  const std::vector<std::string>& shownTexts() const;

  /// Returns unexpected imbalances and overwritten memory since the start, one line each; empty if
  /// there were none.
  std::vector<std::string> audit() const;
  /// Returns the deliberate imbalances that happened, by name, with the number of commands that had
  /// them.
  const std::map<std::string, int, std::less<>>& toleratedImbalances() const;
  /// Clears audit() and toleratedImbalances().
  void clearAudit();

  // Failures.

  /// Makes the nth call of that name, counted from now, fail once. nth: from 1. Replaces an earlier
  /// request for the same name. Throws HostError for a name that is not in failurePoints().
  void failAt(std::string_view name, int nth = 1, PF_Err error = PF_Err_OUT_OF_MEMORY,
              FailureMode mode = FailureMode::Refuse);
  void clearFailures();

 private:
  std::unique_ptr<HostState> state_;
};

}  // namespace lomix::host
