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

/// Which real host is played.
enum class Personality {
  AfterEffects,  ///< 'FXTC': smart rendering of 8, 16 and 32 bits, every suite.
  Premiere       ///< 'PrMr': plain rendering of 8 bits, no AEGP suites.
};

struct HostOptions {
  Personality personality = Personality::AfterEffects;
  bool smartRender = true;  ///< false: After Effects too takes the plain path.
  bool basicSuite = true;   ///< false: the plug-in is given no basic suite.
  bool keepLog = false;     ///< Whether every call is kept for log(); counts are always kept.
  Scene scene = Scene::standard();
};

/// A parameter as the module declared it. Index 0 is the input layer.
struct Parameter {
  int index = 0;
  PF_ParamDef definition{};          ///< With the value that stands now.
  std::vector<std::string> choices;  ///< Of a popup, in order; value 1 is the first.

  std::string name() const;
  bool isPopup() const { return definition.param_type == PF_Param_POPUP; }
  bool isSlider() const { return definition.param_type == PF_Param_FLOAT_SLIDER; }
  /// The value that stands now: a slider's number, a popup's choice counted from 1, 0 for a layer.
  double value() const;
  /// Sets a slider or a popup. The range is the caller's business. Throws HostError for a popup
  /// choice that is no 32-bit whole number.
  void setValue(double value);
  /// The value that the module declared as the default.
  double defaultValue() const;
  /// Ends of the accepted values, both included: a slider's valid range, 1 and the number of
  /// choices for a popup.
  double minimum() const;
  double maximum() const;
};

/// What the host says about a frame.
struct FrameSettings {
  A_long currentTime = 0;  ///< Layer time in units of 1/timeScale seconds.
  A_long timeStep = 1;     ///< Length of the frame in the same units.
  A_u_long timeScale = 1;  ///< Units per second.
  PF_RationalScale downsampleX{1, 1}, downsampleY{1, 1}, pixelAspect{1, 1};
  int layerWidth = 0;   ///< Full resolution, pixels; 0: from the input and the downsample factor.
  int layerHeight = 0;  ///< Full resolution, pixels; 0: from the input and the downsample factor.
};

/// What GLOBAL_SETUP reported.
struct GlobalInfo {
  A_u_long version = 0;
  PF_OutFlags outFlags = 0;
  PF_OutFlags2 outFlags2 = 0;
};

/// What SMART_PRE_RENDER answered.
struct PreRenderAnswer {
  PF_LRect resultRect{};
  PF_LRect maxResultRect{};
  bool solid = false;
  PF_RenderOutputFlags flags = 0;
};

/// One call that the plug-in made.
struct Call {
  std::string name;       ///< As in failurePoints().
  std::string arguments;  ///< The telling ones, separated by ", ".
  PF_Err result = PF_Err_NONE;
};

/// How a call fails.
enum class FailureMode {
  Refuse,         ///< It does nothing and returns the error.
  AnswerThenFail  ///< It does its work and returns the error all the same.
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

  // Commands. Each returns what the module returned. An exception that leaves the module is
  // reported as HostError.

  /// message: the about text.
  PF_Err about(std::string& message);
  PF_Err globalSetup(GlobalInfo& info);
  /// Has the module declare its parameters; they replace those of an earlier call.
  PF_Err paramsSetup();
  PF_Err globalSetdown();
  /// flags: the words that stand on the way in, those that the module left on the way out.
  PF_Err queryDynamicFlags(PF_OutFlags& flags, const FrameSettings& frame = {});
  /// index: the parameter that the user changed.
  PF_Err userChangedParam(int index);
  PF_Err updateParamsUi();

  /// Renders one frame: SMART_PRE_RENDER and SMART_RENDER, or RENDER, as the host played does it.
  /// A failed pre-render ends the frame. Throws HostError when input and output differ in depth
  /// or when the path cannot carry their depth.
  PF_Err render(const FrameSettings& frame, World& input, World& output);
  /// The steps of render() by themselves, for any host played. A null world is one that the host
  /// has not got; the depth is then the other one's.
  PF_Err smartPreRender(const FrameSettings& frame, World* input, World* output);
  PF_Err smartRender(const FrameSettings& frame, World* input, World* output);
  PF_Err plainRender(const FrameSettings& frame, World* input, World* output);
  /// What the last pre-render answered.
  const PreRenderAnswer& preRenderAnswer() const;

  /// Any command by its number, with the host's records and whatever is given.
  PF_Err send(PF_Cmd command, PF_ParamDef* params[] = nullptr, PF_LayerDef* output = nullptr,
              void* extra = nullptr);
  /// The records that the next send() passes on; the plug-in must leave the first as it is.
  PF_InData& inData();
  PF_OutData& outData();

  // Parameters.

  /// [0] is the input layer.
  const std::vector<Parameter>& parameters() const;
  /// Sets a slider or a popup. The range is the caller's business. Throws HostError for an index
  /// without a value and for a popup choice that is no 32-bit whole number.
  void setValue(int index, double value);
  /// Whether the parameter's stream is hidden in the panel.
  bool isHidden(int index) const;

  // What the plug-in did.

  /// Text that the last command left for the user, "" for none.
  std::string message() const;
  /// Whether the last command asked the host to show message() as an error.
  bool displaysError() const;
  /// Calls in order since the start or clearLog(); empty unless the options keep them.
  const std::vector<Call>& log() const;
  /// How often a call was made since the start or clearLog().
  int callCount(std::string_view name) const;
  /// Every call made since the start or clearLog(), with its count.
  const std::map<std::string, int, std::less<>>& callCounts() const;
  void clearLog();
  /// Undo groups that were started and never ended, since the start.
  int openUndoGroups() const;
  /// Texts that the plug-in had the host show: report boxes and info-panel lines.
  const std::vector<std::string>& shownTexts() const;

  /// Unexpected imbalances and overwritten memory since the start, one line each; empty = clean.
  std::vector<std::string> audit() const;
  /// The deliberate imbalances that happened, by name, with the number of commands that had them.
  const std::map<std::string, int, std::less<>>& toleratedImbalances() const;
  /// Forgets what audit() and toleratedImbalances() hold.
  void clearAudit();

  // Failures.

  /// Lets the nth call (from 1, counted from now) of that name fail; an earlier order for the same
  /// name is replaced. Throws HostError for a name that is not in failurePoints().
  void failAt(std::string_view name, int nth = 1, PF_Err error = PF_Err_OUT_OF_MEMORY,
              FailureMode mode = FailureMode::Refuse);
  void clearFailures();

 private:
  std::unique_ptr<HostState> state_;
};

}  // namespace lomix::host
