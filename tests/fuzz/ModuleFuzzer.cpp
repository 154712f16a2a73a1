// Drives the modules of both renderers through a host whose values, worlds and failures are
// hostile. Both must answer alike, draw the same bytes and leave nothing unbalanced.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "fuzz/Bytes.h"
#include "fuzz/Fuzzing.h"
#include "host/FailurePoints.h"
#include "host/Host.h"

namespace {

using lomix::fuzz::Bytes;
using lomix::fuzz::require;
using namespace lomix::host;

constexpr int kMaxSide = 24;
/// The step that declares the parameters again.
constexpr int kDeclare = 8;

/// A world and what of its record is wrong.
struct Picture {
  int width = 1;
  int height = 1;
  int depth = 8;
  WorldLayout layout;
  bool missing = false;
  bool withoutPixels = false;
  int recordWidth = 1;  ///< From 0 to the world's.
  int recordHeight = 1;
};

Picture takePicture(Bytes& bytes, int depth) {
  Picture picture;
  picture.depth = depth;
  picture.width = bytes.between(0, kMaxSide);
  picture.height = bytes.between(0, kMaxSide);
  picture.layout.extraRowBytes = bytes.between(0, 8) * depth / 8;
  picture.layout.misalignmentBytes = bytes.between(0, 3) * depth / 8;
  picture.layout.bottomUp = bytes.flag();
  const int oddity = bytes.byte();
  picture.missing = oddity == 1;
  picture.withoutPixels = oddity == 2;
  picture.recordWidth =
      oddity == 3 ? std::max(0, picture.width - bytes.between(0, 40)) : picture.width;
  picture.recordHeight =
      oddity == 4 ? std::max(0, picture.height - bytes.between(0, 40)) : picture.height;
  return picture;
}

/// Fills a world with the bytes again and again, so that short inputs have pixels too.
World makeWorld(const Picture& picture, const std::string& content) {
  World world(picture.width, picture.height, picture.depth, picture.layout);
  std::size_t next = 0;
  const auto rowBytes = static_cast<std::size_t>(picture.width * bytesPerPixel(picture.depth));
  for (int y = 0; y < picture.height && !content.empty(); ++y) {
    for (std::byte& byte : std::span(world.row(y), rowBytes)) {
      byte = static_cast<std::byte>(content[next++ % content.size()]);
    }
  }
  if (picture.withoutPixels) world.layer().data = nullptr;
  world.layer().width = picture.recordWidth;
  world.layer().height = picture.recordHeight;
  return world;
}

struct Failure {
  std::string point;
  int nth = 1;
  PF_Err error = PF_Err_OUT_OF_MEMORY;
  FailureMode mode = FailureMode::Refuse;
};

struct Value {
  int kind = 0;
  double number = 0.0;
};

/// What the host does, the same for both modules.
struct Plan {
  HostOptions options;
  bool setUp = true;
  std::vector<Value> values;
  FrameSettings frame;
  std::vector<Failure> failures;
  std::vector<std::uint8_t> steps;
  Picture input, output;
  std::string content;
};

Plan takePlan(Bytes& bytes) {
  Plan plan;
  const int manner = bytes.byte();
  if (manner % 4 == 1) plan.options.personality = Personality::Premiere;
  plan.options.smartRender = manner % 4 != 2;
  plan.options.basicSuite = manner / 4 % 16 != 15;
  plan.setUp = manner / 64 != 3;
  for (int i = 0; i < 13; ++i) {
    Value value;
    value.kind = bytes.byte() % 8;
    value.number =
        value.kind == 7 ? bytes.number<double>() : bytes.number<std::uint16_t>() / 65535.0;
    plan.values.push_back(value);
  }
  const bool wild = bytes.byte() % 4 == 0;
  FrameSettings& frame = plan.frame;
  frame.currentTime = wild ? bytes.number<A_long>() : bytes.between(0, 999);
  frame.timeStep = wild ? bytes.number<A_long>() : 1;
  frame.timeScale = wild ? bytes.number<A_u_long>() : 24;
  if (bytes.flag()) {
    for (PF_RationalScale* scale : {&frame.downsampleX, &frame.downsampleY, &frame.pixelAspect}) {
      scale->num = wild ? bytes.number<A_long>() : 1;
      scale->den = wild ? bytes.number<A_u_long>() : static_cast<A_u_long>(bytes.between(1, 8));
    }
  }
  const std::vector<std::string>& points = failurePoints();
  for (int count = bytes.byte() % 4; count > 1; --count) {
    Failure failure;
    failure.point = points[bytes.number<std::uint16_t>() % points.size()];
    failure.nth = bytes.between(1, 30);
    failure.error = bytes.between(1, 600);
    if (bytes.flag()) failure.mode = FailureMode::AnswerThenFail;
    plan.failures.push_back(failure);
  }
  for (int count = bytes.between(0, 4); count > 0; --count) plan.steps.push_back(bytes.byte());
  plan.steps.push_back(0);  // A frame at the end.
  constexpr std::array kDepths{8, 32, 8, 32, 16};
  const bool smart = plan.options.smartRender && manner % 4 != 1;
  const int depth = smart ? kDepths[bytes.byte() % kDepths.size()] : 8;
  plan.input = takePicture(bytes, depth);
  plan.output = plan.input;
  if (bytes.flag()) plan.output = takePicture(bytes, depth);
  plan.content = bytes.remainder();
  return plan;
}

void setValues(Host& host, const std::vector<Value>& values) {
  for (std::size_t i = 0; i < values.size() && i + 1 < host.parameters().size(); ++i) {
    const Parameter& parameter = host.parameters()[i + 1];
    const double low = parameter.minimum(), high = parameter.maximum();
    double value = parameter.defaultValue();
    if (values[i].kind == 1) value = low;
    if (values[i].kind == 2) value = high;
    if (values[i].kind >= 3) value = low + (high - low) * values[i].number;
    if (values[i].kind == 7) value = values[i].number;
    if (parameter.isPopup()) {
      // The record has a whole number, which the host does not check either.
      value = std::isnan(value) ? -1.0 : std::floor(std::clamp(value, -2e9, 2e9));
    }
    host.setValue(static_cast<int>(i) + 1, value);
  }
}

/// All that can be seen of a module.
struct Outcome {
  std::vector<PF_Err> results;
  std::string texts;
  std::vector<std::byte> pixels;
  std::vector<std::string> audit;
  std::map<std::string, int, std::less<>> imbalances;
  std::map<std::string, int, std::less<>> calls;
  int depth = 8;
};

void take(const World& world, std::vector<std::byte>& pixels) {
  const auto rowBytes = static_cast<std::size_t>(world.width() * bytesPerPixel(world.depth()));
  for (int y = 0; y < world.height(); ++y) {
    pixels.insert(pixels.end(), world.row(y), world.row(y) + rowBytes);
  }
}

PF_Err doStep(Host& host, const Plan& plan, int step, World& input, World& output,
              std::string& texts) {
  World* in = plan.input.missing ? nullptr : &input;
  World* out = plan.output.missing ? nullptr : &output;
  const bool smart =
      plan.options.smartRender && plan.options.personality == Personality::AfterEffects;
  switch (step % 10) {
    case 1:
      return host.about(texts);
    case 2:
      return host.userChangedParam(step / 10 - 3);
    case 3:
      return host.updateParamsUi();
    case 4: {
      PF_OutFlags flags = step;
      const PF_Err result = host.queryDynamicFlags(flags, plan.frame);
      texts += std::to_string(flags);
      return result;
    }
    case 5:
      return host.smartPreRender(plan.frame, in, out);
    case 6:
      return host.smartRender(plan.frame, in, out);
    case 7:
      return host.globalSetdown();
    case kDeclare:
      return host.paramsSetup();
    case 9:
      return host.send(static_cast<PF_Cmd>(step));
    default:
      if (!smart) return host.plainRender(plan.frame, in, out);
      if (const PF_Err result = host.smartPreRender(plan.frame, in, out)) return result;
      return host.smartRender(plan.frame, in, out);
  }
}

Outcome run(const Module& module, const Plan& plan) {
  Outcome outcome;
  outcome.depth = plan.output.depth;
  Host host(module, plan.options);
  GlobalInfo info;
  if (plan.setUp) outcome.results.push_back(host.globalSetup(info));
  // No host goes on without the parameters.
  outcome.results.push_back(host.paramsSetup());
  setValues(host, plan.values);
  World input = makeWorld(plan.input, plan.content);
  World output = makeWorld(plan.output, {});
  for (const Failure& failure : plan.failures) {
    host.failAt(failure.point, failure.nth, failure.error, failure.mode);
  }
  for (const int step : plan.steps) {
    outcome.results.push_back(doStep(host, plan, step, input, output, outcome.texts));
    if (step % 10 == kDeclare && outcome.results.back() != PF_Err_NONE) break;
  }
  require(input.guardsIntact() && output.guardsIntact(), "a module wrote around a world");
  take(input, outcome.pixels);
  take(output, outcome.pixels);
  outcome.audit = host.audit();
  outcome.imbalances = host.toleratedImbalances();
  outcome.calls = host.callCounts();
  return outcome;
}

/// Returns the first difference of pixels, empty for none. Of floats, NaN equals NaN, whatever its
/// bits.
std::string differenceOf(const Outcome& a, const Outcome& b) {
  const std::size_t step = a.depth == 32 ? sizeof(float) : 1;
  for (std::size_t i = 0; i < a.pixels.size(); i += step) {
    if (std::memcmp(&a.pixels[i], &b.pixels[i], step) == 0) continue;
    float left = static_cast<float>(a.pixels[i]), right = static_cast<float>(b.pixels[i]);
    if (step != 1) {
      std::memcpy(&left, &a.pixels[i], step);
      std::memcpy(&right, &b.pixels[i], step);
    }
    if (std::isnan(left) && std::isnan(right)) continue;
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "byte %zu of depth %d is %a, not %a", i, a.depth,
                  static_cast<double>(right), static_cast<double>(left));
    return text.data();
  }
  return {};
}

// They stay loaded: a fuzzer ends without destructors.
const Module* reference = nullptr;
const Module* rows = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  reference = new Module(LOMIX_REFERENCE_MODULE);
  rows = new Module(LOMIX_ROWS_MODULE);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  const Plan plan = takePlan(bytes);
  const Outcome expected = run(*reference, plan);
  const Outcome drawn = run(*rows, plan);
  for (const Outcome* outcome : {&expected, &drawn}) {
    if (!outcome->audit.empty()) require(false, outcome->audit.front());
  }
  require(expected.results == drawn.results, "the renderers answer differently");
  require(expected.texts == drawn.texts, "the renderers have different texts");
  require(expected.imbalances == drawn.imbalances, "the renderers leave different things open");
  require(expected.calls == drawn.calls, "the renderers call the host differently");
  const std::string difference = differenceOf(expected, drawn);
  require(difference.empty(), "the renderers draw different pixels: " + difference);
  return 0;
}
