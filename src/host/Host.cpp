#include "host/Host.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/FailurePoints.h"
#include "host/HostState.h"

namespace lomix::host {
namespace {

// The record that hosts pass with USER_CHANGED_PARAM.
struct UserChangedParamExtra {
  PF_ParamIndex paramIndex;
};

int sharedDepth(const World* input, const World* output) {
  if (input && output && input->depth() != output->depth()) {
    throw HostError("cannot render: input has " + std::to_string(input->depth()) +
                    " bits per channel, output " + std::to_string(output->depth()) +
                    " (use the same depth)");
  }
  return output ? output->depth() : input ? input->depth() : 8;
}

PF_RenderRequest outputRequest(const World* input, const World* output) {
  PF_RenderRequest request{};
  const World* const asked = output ? output : input;
  if (asked) request.rect = {0, 0, asked->layer().width, asked->layer().height};
  request.channel_mask = 0xF;
  return request;
}

bool contains(const PF_LRect& outer, const PF_LRect& inner) {
  return inner.left >= outer.left && inner.top >= outer.top && inner.right <= outer.right &&
         inner.bottom <= outer.bottom;
}

}  // namespace

std::string Parameter::name() const {
  const A_char* const end = std::find(std::begin(definition.name), std::end(definition.name), 0);
  return std::string(std::begin(definition.name), end);
}

double Parameter::value() const {
  if (isPopup()) return definition.u.pd.value;
  return isSlider() ? definition.u.fs_d.value : 0.0;
}

void Parameter::setValue(double value) {
  if (isSlider()) {
    definition.u.fs_d.value = value;
    return;
  }
  if (value != std::floor(value) || std::abs(value) > std::numeric_limits<PF_ParamValue>::max()) {
    throw HostError("cannot set '" + name() + "': a choice is a whole number (count from 1)");
  }
  definition.u.pd.value = static_cast<PF_ParamValue>(value);
}

double Parameter::defaultValue() const {
  if (isPopup()) return definition.u.pd.dephault;
  return isSlider() ? static_cast<double>(definition.u.fs_d.dephault) : 0.0;
}

double Parameter::minimum() const {
  if (isPopup()) return 1.0;
  return isSlider() ? static_cast<double>(definition.u.fs_d.valid_min) : 0.0;
}

double Parameter::maximum() const {
  if (isPopup()) return static_cast<double>(choices.size());
  return isSlider() ? static_cast<double>(definition.u.fs_d.valid_max) : 0.0;
}

Host::Host(const Module& module, HostOptions options)
    : Host(module.entryPoint(), std::move(options)) {}

Host::Host(EntryPoint entryPoint, HostOptions options)
    : state_(std::make_unique<HostState>(entryPoint, std::move(options))) {}

Host::~Host() = default;
Host::Host(Host&&) noexcept = default;
Host& Host::operator=(Host&&) noexcept = default;

PF_Err Host::about(std::string& text) {
  state_->prepare();
  const PF_Err result = send(PF_Cmd_ABOUT);
  text = message();
  return result;
}

PF_Err Host::globalSetup(GlobalInfo& info) {
  state_->prepare();
  const PF_Err result = send(PF_Cmd_GLOBAL_SETUP);
  const PF_OutData& out = state_->outData;
  info = {out.my_version, out.out_flags, out.out_flags2};
  return result;
}

PF_Err Host::paramsSetup() {
  HostState& s = *state_;
  s.parameters.resize(1);
  s.hidden.assign(1, false);
  s.prepare();
  const PF_Err result = send(PF_Cmd_PARAMS_SETUP);
  if (result == PF_Err_NONE && s.outData.num_params != static_cast<A_long>(s.parameters.size())) {
    s.fault("PARAMS_SETUP: num_params is " + std::to_string(s.outData.num_params) + ", but " +
            std::to_string(s.parameters.size()) + " parameters are there");
  }
  return result;
}

PF_Err Host::globalSetdown() {
  state_->prepare();
  return send(PF_Cmd_GLOBAL_SETDOWN);
}

PF_Err Host::queryDynamicFlags(PF_OutFlags& flags, const FrameSettings& frame) {
  HostState& s = *state_;
  s.prepare();
  s.setFrame(frame, nullptr);
  s.outData.out_flags = flags;
  const PF_Err result = send(PF_Cmd_QUERY_DYNAMIC_FLAGS);
  flags = s.outData.out_flags;
  return result;
}

PF_Err Host::userChangedParam(int index) {
  state_->prepare();
  UserChangedParamExtra extra{index};
  return send(PF_Cmd_USER_CHANGED_PARAM, state_->paramArray().data(), nullptr, &extra);
}

PF_Err Host::updateParamsUi() {
  state_->prepare();
  return send(PF_Cmd_UPDATE_PARAMS_UI, state_->paramArray().data());
}

PF_Err Host::render(const FrameSettings& frame, World& input, World& output) {
  const HostOptions& options = state_->options;
  if (options.personality != Personality::AfterEffects || !options.smartRender) {
    return plainRender(frame, &input, &output);
  }
  const PF_Err result = smartPreRender(frame, &input, &output);
  return result == PF_Err_NONE ? smartRender(frame, &input, &output) : result;
}

PF_Err Host::smartPreRender(const FrameSettings& frame, World* input, World* output) {
  HostState& s = *state_;
  const int depth = sharedDepth(input, output);
  s.dropPreRenderData();
  s.layerCheckouts.clear();
  s.preRendered = true;
  s.prepare();
  s.setFrame(frame, input);
  s.input = input;
  s.output = output;

  PF_PreRenderInput request{};
  request.output_request = outputRequest(input, output);
  request.bitdepth = static_cast<A_short>(depth);
  PF_PreRenderOutput answer{};
  PF_PreRenderCallbacks callbacks = preRenderCallbacks();
  PF_PreRenderExtra extra{&request, &answer, &callbacks};
  const PF_Err result = s.sendRender(PF_Cmd_SMART_PRE_RENDER, nullptr, &extra);

  s.preRender = {answer.result_rect, answer.max_result_rect, answer.solid != 0, answer.flags};
  s.preRenderData = answer.pre_render_data;
  s.deletePreRenderData = answer.delete_pre_render_data_func;
  if (!contains(answer.max_result_rect, answer.result_rect)) {
    s.fault("SMART_PRE_RENDER: the result reaches beyond its own largest rectangle");
  }
  return result;
}

PF_Err Host::smartRender(const FrameSettings& frame, World* input, World* output) {
  HostState& s = *state_;
  const int depth = sharedDepth(input, output);
  s.prepare();
  s.setFrame(frame, input);
  s.input = input;
  s.output = output;

  PF_SmartRenderInput request{};
  request.output_request = outputRequest(input, output);
  request.bitdepth = static_cast<A_short>(depth);
  request.pre_render_data = s.preRenderData;
  PF_SmartRenderCallbacks callbacks = smartRenderCallbacks();
  PF_SmartRenderExtra extra{&request, &callbacks};
  const PF_Err result = s.sendRender(PF_Cmd_SMART_RENDER, nullptr, &extra);
  s.dropPreRenderData();
  return result;
}

PF_Err Host::plainRender(const FrameSettings& frame, World* input, World* output) {
  HostState& s = *state_;
  const int depth = sharedDepth(input, output);
  if (depth != 8) {
    throw HostError("cannot render " + std::to_string(depth) +
                    " bits per channel: plain rendering carries 8 (use 8-bit worlds, or smart "
                    "rendering as After Effects)");
  }
  s.prepare();
  s.setFrame(frame, input);
  s.input = input;
  s.output = output;
  return s.sendRender(PF_Cmd_RENDER, s.paramArray().data(), nullptr);
}

const PreRenderAnswer& Host::preRenderAnswer() const { return state_->preRender; }

PF_Err Host::send(PF_Cmd command, PF_ParamDef* params[], PF_LayerDef* output, void* extra) {
  return state_->send(command, params, output, extra);
}

PF_InData& Host::inData() { return state_->inData; }
PF_OutData& Host::outData() { return state_->outData; }

const std::vector<Parameter>& Host::parameters() const { return state_->parameters; }

void Host::setValue(int index, double value) {
  auto& parameters = state_->parameters;
  if (index < 1 || index >= static_cast<int>(parameters.size())) {
    throw HostError("cannot set parameter " + std::to_string(index) +
                    ": it does not exist (use 1 to " + std::to_string(parameters.size() - 1) + ")");
  }
  parameters[static_cast<std::size_t>(index)].setValue(value);
}

bool Host::isHidden(int index) const { return state_->hidden.at(static_cast<std::size_t>(index)); }

std::string Host::message() const {
  const auto& text = state_->outData.return_msg;
  return std::string(std::begin(text), std::find(std::begin(text), std::end(text), 0));
}

bool Host::displaysError() const {
  return (state_->outData.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE) != 0;
}

const std::vector<Call>& Host::log() const { return state_->log; }

int Host::callCount(std::string_view name) const {
  const auto found = state_->counts.find(name);
  return found == state_->counts.end() ? 0 : found->second;
}

const std::map<std::string, int, std::less<>>& Host::callCounts() const { return state_->counts; }

void Host::clearLog() {
  state_->log.clear();
  state_->counts.clear();
}

int Host::openUndoGroups() const { return state_->openUndoGroups; }

const std::vector<std::string>& Host::shownTexts() const { return state_->shownTexts; }

std::vector<std::string> Host::audit() const {
  std::vector<std::string> lines;
  for (const auto& [line, count] : state_->faults) {
    lines.push_back(count == 1 ? line : line + ", " + std::to_string(count) + " times");
  }
  for (const auto& block : state_->handles) {
    if (block->disposed) continue;
    lines.push_back("a handle of " + std::to_string(block->size) + " bytes was never disposed of");
  }
  return lines;
}

const std::map<std::string, int, std::less<>>& Host::toleratedImbalances() const {
  return state_->tolerated;
}

void Host::clearAudit() {
  state_->faults.clear();
  state_->tolerated.clear();
}

void Host::failAt(std::string_view name, int nth, PF_Err error, FailureMode mode) {
  const auto& points = failurePoints();
  if (std::find(points.begin(), points.end(), name) == points.end()) {
    throw HostError("cannot let '" + std::string(name) +
                    "' fail: no such call (see the list of failure points)");
  }
  // A plug-in would never release a suite that it got together with an error.
  if (name.starts_with("acquire:")) mode = FailureMode::Refuse;
  state_->orders.insert_or_assign(std::string(name), HostState::Order{nth, error, mode});
}

void Host::clearFailures() { state_->orders.clear(); }

}  // namespace lomix::host
