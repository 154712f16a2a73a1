// One call of the host fails at a time: what the effect returns, draws and leaves checked out.

#include <map>
#include <set>

#include "host/FailurePoints.h"
#include "module/EffectTest.h"

namespace lomix::host {
namespace {

using testing::IsEmpty;

constexpr PF_Err kError = 321;
constexpr const char* kPreRenderParameters = "pre-render leaves its parameters checked out";
constexpr const char* kParameters = "failed smart render leaves parameters checked out";
constexpr const char* kPixels = "failed smart render leaves the input pixels checked out";
constexpr const char* kOutput = "smart render never checks its output in";

enum class Picture {
  Whole,    ///< As without a failure.
  Partial,  ///< Something was drawn, from the parameters that were obtained.
  Blank     ///< Nothing was drawn.
};

/// The outcome of a frame of which one call fails.
struct Outcome {
  PF_Err result = 0;
  Picture picture = Picture::Whole;
  int checkouts = 26;  ///< Of parameters, both commands together.
  int checkins = 13;   ///< Of parameters.
  int pixelsBack = 1;  ///< Check-ins of the input pixels.
  std::set<std::string> open{kPreRenderParameters, kOutput};
  bool message = false;
};

/// Returns the outcome where the nth call of a name fails. Other calls than those below change
/// nothing.
Outcome expectedOutcome(const std::string& point, int n) {
  Outcome o;
  if (point == "pre.checkout_layer") {
    o = {kError, Picture::Blank, 0, 0, 0, {}};
  } else if (point == "inter.checkout_param" && n <= 13) {
    o = {kError, Picture::Blank, n, 0, 0, {kPreRenderParameters}};
    if (n == 1) o.open.clear();
  } else if (point == "inter.checkout_param") {
    o = {kError, Picture::Partial, n, 0, 0, {kPreRenderParameters, kParameters, kPixels, kOutput}};
    if (n == 14) o.open.erase(kParameters);
  } else if (point == "smart.checkout_layer_pixels") {
    o = {kError, Picture::Blank, 13, 0, 0, {kPreRenderParameters}};
  } else if (point == "smart.checkout_output") {
    o = {kError, Picture::Blank, 13, 0, 0, {kPreRenderParameters, kPixels}};
  } else if (point == "inter.checkin_param") {
    o = {kError, Picture::Whole, 26, n, 0, {kPreRenderParameters, kParameters, kPixels, kOutput}};
    if (n == 13) o.open.erase(kParameters);
  } else if (point == "smart.checkin_layer_pixels") {
    o.result = kError;
  } else if (point == "acquire:PF World Suite 2") {
    o.message = true;
  } else if (point.starts_with("acquire:")) {
    o = {516, Picture::Blank, 26, 0, 0, {kPreRenderParameters, kParameters, kPixels, kOutput}};
  }
  return o;
}

struct Frame {
  Host host = readyHost();
  FrameSettings settings = turnEverythingOn(host);
  World input = patternWorld(11, 7, 8, {5, 1, false});
  World output = World(11, 7, 8, {3, 2, true});
};

TEST(Failure, EachCallOfASmartFrameInTurn) {
  Frame clean;
  ASSERT_EQ(clean.host.render(clean.settings, clean.input, clean.output), 0);
  const std::uint64_t whole = clean.output.pixelHash();
  int reached = 0;
  for (const std::string& point : failurePoints()) {
    const int calls = clean.host.callCount(point);
    reached += calls > 0;
    for (int n = 1; n <= std::max(calls, 1); ++n) {
      SCOPED_TRACE(point + " at call " + std::to_string(n));
      Frame frame;
      frame.host.failAt(point, n, kError);
      const PF_Err result = frame.host.render(frame.settings, frame.input, frame.output);
      const Outcome expected = calls ? expectedOutcome(point, n) : Outcome{};
      EXPECT_EQ(result, expected.result);
      EXPECT_EQ(frame.host.callCount("inter.checkout_param"), expected.checkouts);
      EXPECT_EQ(frame.host.callCount("inter.checkin_param"), expected.checkins);
      EXPECT_EQ(frame.host.callCount("smart.checkin_layer_pixels"), expected.pixelsBack);
      EXPECT_EQ(frame.host.displaysError(), expected.message);
      EXPECT_EQ(frame.host.message(), expected.message ? "Couldn't load suite." : "");
      const auto names = toleratedNames(frame.host);
      EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), expected.open);
      EXPECT_THAT(frame.host.audit(), IsEmpty());
      EXPECT_EQ(frame.output.pixelHash() == whole, expected.picture == Picture::Whole);
      EXPECT_EQ(everyByteIs(frame.output, 0), expected.picture == Picture::Blank);
    }
  }
  // 5 callbacks of smart render and 1 of pre-render, the fill, 8 calls to suites, 6 suites twice.
  EXPECT_EQ(reached, 27);
}

TEST(Failure, EachCallOfAPlainFrameInTurn) {
  HostOptions options;
  options.smartRender = false;
  World input = patternWorld(11, 7, 8);
  for (const std::string& point : failurePoints()) {
    SCOPED_TRACE(point);
    Host host = readyHost(options);
    const FrameSettings frame = turnEverythingOn(host);
    World output(11, 7, 8);
    host.failAt(point, 1, kError);
    const bool ends = point.starts_with("acquire:AEGP") &&
                      (point.ends_with("PF Interface Suite 1") ||
                       point.ends_with("Layer Suite 5") || point.ends_with("Layer Suite 8") ||
                       point.ends_with("Comp Suite 4") || point.ends_with("Item Suite 3"));
    const PF_Err expected = ends ? 516 : point == "utils.fill" ? kError : 0;
    EXPECT_EQ(host.render(frame, input, output), expected);
    EXPECT_EQ(everyByteIs(output, 0), ends);
    EXPECT_THAT(host.audit(), IsEmpty());
    EXPECT_THAT(toleratedNames(host), IsEmpty());
  }
}

TEST(Failure, CheckoutsThatAnswerAndFailStillLeadToOneRender) {
  struct Case {
    const char* point;
    int width;
    int nth, fills, outputs, checkouts;
  };
  // For an input without area, nothing is drawn and after an error nothing is checked in.
  for (const Case& c : {Case{"smart.checkout_layer_pixels", 5, 1, 0, 0, 0},
                        Case{"smart.checkout_layer_pixels", 0, 1, 0, 0, 0},
                        Case{"smart.checkout_output", 5, 1, 1, 1, 0},
                        Case{"inter.checkout_param", 5, 9, 1, 1, 9}}) {
    SCOPED_TRACE(c.point);
    Host host = readyHost();
    World input = patternWorld(c.width, 5, 8), output(5, 5, 8);
    host.failAt(c.point, c.nth, kError, FailureMode::AnswerThenFail);
    EXPECT_EQ(host.smartRender({}, &input, &output), kError);
    EXPECT_EQ(host.callCount("utils.fill"), c.fills);
    EXPECT_EQ(host.callCount("smart.checkout_output"), c.outputs);
    EXPECT_EQ(host.callCount("inter.checkout_param"), c.checkouts);
    EXPECT_EQ(host.callCount("inter.checkin_param"), 0);
    EXPECT_EQ(host.callCount("smart.checkin_layer_pixels"), 0);
    EXPECT_THAT(host.audit(), IsEmpty());
  }
}

TEST(Failure, EveryCallThatCanBeSeenCanFail) {
  std::set<std::string> known(failurePoints().begin(), failurePoints().end());
  EXPECT_EQ(known.size(), failurePoints().size());
  known.insert("ansi.strcpy");
  Host host(effectModule());
  World input = patternWorld(3, 3, 8), output(3, 3, 8);
  std::string text;
  PF_OutFlags flags = 0;
  host.paramsSetup();
  host.about(text);
  host.queryDynamicFlags(flags);
  host.updateParamsUi();
  host.render({}, input, output);
  EXPECT_GT(host.callCounts().size(), 30U);
  for (const auto& [name, count] : host.callCounts()) EXPECT_TRUE(known.contains(name)) << name;
}

}  // namespace
}  // namespace lomix::host
