#include "host/HostState.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace lomix::host {
namespace {

// Several suite calls do not name the instance. It is the one whose command runs on this thread.
thread_local HostState* currentState = nullptr;

class CurrentScope {
 public:
  explicit CurrentScope(HostState& state) : before_(currentState) { currentState = &state; }
  ~CurrentScope() { currentState = before_; }
  CurrentScope(const CurrentScope&) = delete;
  CurrentScope& operator=(const CurrentScope&) = delete;

 private:
  HostState* before_;
};

// Returns the full-resolution size of a picture that was scaled by num/den.
A_long fullSize(int given, A_long scaled, PF_RationalScale scale) {
  if (given > 0) return given;
  return static_cast<A_long>(std::lround(double(scaled) * double(scale.den) / double(scale.num)));
}

}  // namespace

HostState::HostState(EntryPoint entry, HostOptions given)
    : entryPoint(entry),
      options(std::move(given)),
      utils(utilCallbacks()),
      basicSuite(basicSuiteTable()) {
  inData.inter = interactCallbacks();
  inData.utils = &utils;
  inData.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
  inData.quality = 1;
  inData.version = 13 | 28 << 16;
  inData.appl_id =
      options.personality == Personality::AfterEffects ? kHostIdAfterEffects : kHostIdPremiere;
  inData.pica_basicP = options.basicSuite ? &basicSuite : nullptr;
  setFrame({}, nullptr);

  Parameter inputLayer;
  inputLayer.definition.param_type = PF_Param_LAYER;
  parameters.push_back(inputLayer);
  hidden.assign(1, false);
}

HostState::~HostState() { dropPreRenderData(); }

HostState* HostState::current() { return currentState; }

void HostState::prepare() {
  outData = {};
  inData.num_params = static_cast<A_long>(parameters.size());
}

void HostState::setFrame(const FrameSettings& frame, const World* picture) {
  const A_long width = picture ? picture->layer().width : 0;
  const A_long height = picture ? picture->layer().height : 0;
  inData.current_time = frame.currentTime;
  inData.time_step = frame.timeStep;
  inData.local_time_step = frame.timeStep;
  inData.total_time = frame.timeStep;
  inData.time_scale = frame.timeScale;
  inData.downsample_x = frame.downsampleX;
  inData.downsample_y = frame.downsampleY;
  inData.pixel_aspect_ratio = frame.pixelAspect;
  inData.width = fullSize(frame.layerWidth, width, frame.downsampleX);
  inData.height = fullSize(frame.layerHeight, height, frame.downsampleY);
  inData.extent_hint = {0, 0, width, height};
}

PF_Err HostState::send(PF_Cmd command, PF_ParamDef* params[], PF_LayerDef* world, void* extra) {
  const CurrentScope scope(*this);
  ledger = {};
  ledger.command = command;
  ledger.declaredParameters = static_cast<int>(parameters.size()) - 1;
  references.clear();
  std::array<std::byte, sizeof(PF_InData)> before;
  std::memcpy(before.data(), &inData, sizeof inData);

  bool threw = false;
  try {
    ledger.result = entryPoint(command, &inData, &outData, params, world, extra);
  } catch (...) {
    threw = true;
  }

  if (std::memcmp(before.data(), &inData, sizeof inData) != 0) faultNow("in_data was written");
  openUndoGroups += ledger.undoGroups;
  for (const Imbalance& imbalance : settle(ledger)) {
    if (*imbalance.tolerated) {
      ++tolerated[imbalance.tolerated];
    } else {
      fault(imbalance.line);
    }
  }
  if (threw) {
    throw HostError(commandName(command) +
                    ": an exception left the module (use a module that returns error codes)");
  }
  return ledger.result;
}

PF_Err HostState::sendRender(PF_Cmd command, PF_ParamDef* params[], void* extra) {
  // The caller owns the pictures and may destroy them before the next command.
  struct Forget {
    HostState& state;
    ~Forget() { state.input = state.output = nullptr; }
  } const forget{*this};
  const bool inputHeld = input && input->guardsIntact();
  const bool outputHeld = output && output->guardsIntact();
  // Pre-render gets no pixels.
  const bool watched = input && input != output && command != PF_Cmd_SMART_PRE_RENDER;
  const std::uint64_t inputPixels = watched ? input->pixelHash() : 0;
  const PF_Err result = send(command, params, output ? &output->layer() : nullptr, extra);
  if (inputHeld && !input->guardsIntact()) faultNow("bytes around the input rows were written");
  if (outputHeld && !output->guardsIntact()) faultNow("bytes around the output rows were written");
  if (watched && input->pixelHash() != inputPixels) {
    faultNow("input pixels were written");
  }
  return result;
}

std::vector<PF_ParamDef*> HostState::paramArray() {
  passedParameters.clear();
  for (const Parameter& parameter : parameters) passedParameters.push_back(parameter.definition);
  passedParameters[0].u.ld = input ? input->layer() : PF_LayerDef{};
  std::vector<PF_ParamDef*> result;
  for (PF_ParamDef& definition : passedParameters) result.push_back(&definition);
  return result;
}

void HostState::dropPreRenderData() {
  const auto deleter = std::exchange(deletePreRenderData, nullptr);
  void* const data = std::exchange(preRenderData, nullptr);
  if (!deleter) return;
  const CurrentScope scope(*this);
  deleter(data);
}

std::optional<std::pair<PF_Err, FailureMode>> HostState::noteCall(std::string_view name) {
  const auto count = counts.try_emplace(std::string(name), 0).first;
  ++count->second;
  const auto order = orders.find(name);
  if (order == orders.end() || --order->second.callsLeft > 0) return std::nullopt;
  const std::pair failure{order->second.error, order->second.mode};
  orders.erase(order);
  return failure;
}

void HostState::logCall(std::string_view name, std::string arguments, PF_Err result) {
  if (options.keepLog) log.push_back({std::string(name), std::move(arguments), result});
}

}  // namespace lomix::host
