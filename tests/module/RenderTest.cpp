// Frames through the host: paths, sizes, depths, memory layout and missing worlds.

#include <algorithm>

#include "module/EffectTest.h"

namespace lomix::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

enum class Path { Smart, Plain, Premiere };
constexpr Path kPaths[] = {Path::Smart, Path::Plain, Path::Premiere};

Host hostFor(Path path) {
  HostOptions options;
  options.smartRender = path == Path::Smart;
  if (path == Path::Premiere) options.personality = Personality::Premiere;
  return readyHost(options);
}

PF_Err renderWith(Host& host, Path path, const FrameSettings& frame, World* input, World* output) {
  return path == Path::Smart ? host.smartRender(frame, input, output)
                             : host.plainRender(frame, input, output);
}

TEST(Render, PathsAndHostsGiveTheSamePixels) {
  World input = patternWorld(37, 23, 8);
  std::vector<std::uint64_t> hashes;
  for (const Path path : kPaths) {
    Host host = hostFor(path);
    const FrameSettings frame = turnEverythingOn(host);
    World output(37, 23, 8);
    EXPECT_EQ(host.render(frame, input, output), 0);
    EXPECT_THAT(host.audit(), IsEmpty());
    EXPECT_FALSE(host.displaysError());
    hashes.push_back(output.pixelHash());
  }
  EXPECT_EQ(hashes[0], hashes[1]);
  EXPECT_EQ(hashes[0], hashes[2]);
  EXPECT_NE(hashes[0], input.pixelHash());
}

// Premultiply and unmultiply with the scale 256 turn an opaque level v into v - 1, and 0 into 0.
TEST(Render, EverythingOffLowersOpaqueLevelsByOne) {
  Host host = readyHost();
  World input(256, 1, 8);
  for (int x = 0; x < 256; ++x) {
    const auto level = static_cast<A_u_char>(x);
    input.row8(0)[x] = {255, level, level, level};
  }
  World output(256, 1, 8);
  ASSERT_EQ(host.render({}, input, output), 0);
  for (int x = 0; x < 256; ++x) {
    const PF_Pixel p = output.row8(0)[x];
    const int expected = std::max(x - 1, 0);
    EXPECT_EQ(p.alpha, 255);
    EXPECT_THAT((std::vector<int>{p.red, p.green, p.blue}),
                ElementsAre(expected, expected, expected));
  }
}

TEST(Render, FullBlendGivesTheInputBack) {
  for (const int depth : {8, 32}) {
    Host host = readyHost();
    const FrameSettings frame = turnEverythingOn(host);
    host.setValue(kBlend, 100);
    World input = patternWorld(19, 11, depth);
    World output(19, 11, depth);
    EXPECT_EQ(host.render(frame, input, output), 0);
    EXPECT_EQ(output.pixelHash(), input.pixelHash()) << depth;
  }
}

// 0.1 s at amount 100 is half a turn; 0.05 s at amount -100 is three quarters of one.
TEST(Render, SyncTurnsThePicture) {
  struct Case {
    const char* name;
    int parameter;
    double amount;
    double timeControl;
    double manualTime;
    A_long hostTime;
    int columns, rows;
  };
  for (const Case& c : {Case{"roll by the host's clock", kVerticalSync, 100, 1, 33, 100, 0, 4},
                        Case{"slide by the slider", kHorizontalSync, -100, 2, 0.05, 999, 2, 0},
                        Case{"no time, no turn", kVerticalSync, 100, 1, 33, 0, 0, 0}}) {
    SCOPED_TRACE(c.name);
    Host host = readyHost();
    host.setValue(c.parameter, c.amount);
    host.setValue(kTimeControl, c.timeControl);
    host.setValue(kTime, static_cast<double>(static_cast<float>(c.manualTime)));
    FrameSettings frame;
    frame.currentTime = c.hostTime;
    frame.timeScale = 1000;
    World input(8, 8, 32);
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) {
        input.row32(y)[x] = {1.0f, static_cast<float>(x), static_cast<float>(y), 0.5f};
      }
    }
    World output(8, 8, 32);
    ASSERT_EQ(host.render(frame, input, output), 0);
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) {
        EXPECT_EQ(output.row32(y)[x].red, static_cast<float>((x + c.columns) % 8)) << x << ',' << y;
        EXPECT_EQ(output.row32(y)[x].green, static_cast<float>((y + c.rows) % 8)) << x << ',' << y;
      }
    }
  }
}

// Bands are 4 rows high at full resolution; only the horizontal factor scales them.
TEST(Render, DownsamplingScalesScanlinesByTheHorizontalFactor) {
  struct Case {
    PF_RationalScale x, y;
    int band;
  };
  for (const Case& c : {Case{{1, 1}, {1, 1}, 4}, Case{{1, 2}, {1, 2}, 2}, Case{{1, 4}, {1, 1}, 1},
                        Case{{1, 1}, {1, 2}, 4}}) {
    Host host = readyHost();
    host.setValue(kScanlineOverlay, 100);
    host.setValue(kScanlineSpeed, 0);
    host.setValue(kScanlineThickness, 4);
    FrameSettings frame;
    frame.downsampleX = c.x;
    frame.downsampleY = c.y;
    World input(3, 16, 32);
    for (int y = 0; y < 16; ++y) std::fill_n(input.row32(y), 3, PF_PixelFloat{1, 0.5f, 0.5f, 0.5f});
    World output(3, 16, 32);
    ASSERT_EQ(host.render(frame, input, output), 0);
    for (int y = 0; y < 16; ++y) {
      const bool dark = y % (2 * c.band) >= c.band;
      EXPECT_EQ(output.row32(y)[1].green, dark ? 0.0f : 0.5f) << "band " << c.band << " row " << y;
    }
  }
}

TEST(Render, NothingIsWrittenOutsideTheRows) {
  struct Case {
    int depth;
    WorldLayout input, output;
  };
  const Case kCases[] = {
      {8, {0, 0, false}, {16, 0, false}},  {8, {7, 1, false}, {3, 3, false}},
      {8, {4, 0, true}, {0, 2, false}},    {8, {0, 0, false}, {5, 1, true}},
      {8, {64, 0, true}, {400, 0, true}},  {32, {16, 0, false}, {48, 16, false}},
      {32, {4, 4, false}, {12, 8, false}}, {32, {0, 12, true}, {4, 4, true}},
      {32, {160, 0, false}, {0, 0, true}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE("depth " + std::to_string(c.depth) + ", output padding " +
                 std::to_string(c.output.extraRowBytes));
    Host host = readyHost();
    const FrameSettings frame = turnEverythingOn(host);
    World tightInput = patternWorld(13, 9, c.depth), tightOutput(13, 9, c.depth);
    ASSERT_EQ(host.render(frame, tightInput, tightOutput), 0);
    World input = patternWorld(13, 9, c.depth, c.input);
    World output(13, 9, c.depth, c.output);
    EXPECT_EQ(host.render(frame, input, output), 0);
    EXPECT_EQ(output.pixelHash(), tightOutput.pixelHash());
    EXPECT_TRUE(output.guardsIntact());
    EXPECT_THAT(host.audit(), IsEmpty());
  }
}

TEST(Render, InputAndOutputMayDifferInSize) {
  for (const auto& [width, height] : {std::pair{5, 20}, std::pair{20, 5}, std::pair{1, 1}}) {
    Host host = readyHost();
    const FrameSettings frame = turnEverythingOn(host);
    World input = patternWorld(9, 9, 8);
    World output(width, height, 8, {3, 1, false});
    EXPECT_EQ(host.render(frame, input, output), 0);
    EXPECT_THAT(host.audit(), IsEmpty());
  }
}

TEST(Render, EmptyInputLeavesTheOutputAlone) {
  for (const Path path : kPaths) {
    for (const auto& [width, height] : {std::pair{0, 5}, std::pair{5, 0}, std::pair{0, 0}}) {
      Host host = hostFor(path);
      World input(width, height, 8);
      World output(5, 5, 8);
      fillBytes(output, 0x77);
      EXPECT_EQ(renderWith(host, path, {}, &input, &output), 0);
      EXPECT_TRUE(everyByteIs(output, 0x77));
      EXPECT_EQ(host.callCount("smart.checkout_output"), 0);
      EXPECT_EQ(host.callCount("smart.checkin_layer_pixels"), path == Path::Smart ? 1 : 0);
      EXPECT_THAT(host.audit(), IsEmpty());
    }
  }
}

TEST(Render, WorldsThatAreMissingAreTolerated) {
  struct Case {
    const char* name;
    bool output, inputData, outputData;
    int fills;          ///< Calls of the host's fill.
    PF_Err plainError;  ///< The fill's error; only the plain paths return it.
    int expectedBytes;  ///< Every byte of the output afterwards; it starts as 0x77.
  };
  for (const Case& c :
       {Case{"no output", false, true, true, 0, 0, 0x77},
        Case{"no output pixels", true, true, false, 1, PF_Err_BAD_CALLBACK_PARAM, 0x77},
        Case{"no input pixels", true, false, true, 1, 0, 0}}) {
    for (const Path path : kPaths) {
      SCOPED_TRACE(c.name);
      Host host = hostFor(path);
      const FrameSettings frame = turnEverythingOn(host);
      World input = patternWorld(6, 6, 8);
      World output(6, 6, 8);
      fillBytes(output, 0x77);
      if (!c.inputData) input.layer().data = nullptr;
      if (!c.outputData) output.layer().data = nullptr;
      EXPECT_EQ(renderWith(host, path, frame, &input, c.output ? &output : nullptr),
                path == Path::Smart ? 0 : c.plainError);
      EXPECT_EQ(host.callCount("utils.fill"), c.fills);
      EXPECT_TRUE(everyByteIs(output, c.expectedBytes));
      EXPECT_THAT(host.audit(), IsEmpty());
    }
  }
  Host host = readyHost();
  World output(6, 6, 8);
  EXPECT_EQ(host.smartRender({}, nullptr, &output), 0);
  EXPECT_THAT(workingCalls(host), ElementsAre("smart.checkout_layer_pixels"));
}

// Whatever error the host's fill returns for a world without pixel data, the plain paths return it.
TEST(Render, OutputWithoutPixelsReturnsTheErrorOfTheFill) {
  for (const Path path : {Path::Plain, Path::Premiere}) {
    for (const PF_Err error : {PF_Err_OUT_OF_MEMORY, PF_Err{321}}) {
      Host host = hostFor(path);
      host.failAt("utils.fill", 1, error);
      World input = patternWorld(6, 6, 8), output(6, 6, 8);
      output.layer().data = nullptr;
      EXPECT_EQ(host.plainRender({}, &input, &output), error);
      EXPECT_THAT(workingCalls(host), ElementsAre("utils.fill"));
      EXPECT_THAT(host.audit(), IsEmpty());
    }
  }
}

TEST(Render, SixteenBitsAreOnlyCleared) {
  Host host = readyHost();
  const FrameSettings frame = turnEverythingOn(host);
  World input(12, 7, 16), output(12, 7, 16, {6, 2, false});
  fillBytes(input, 0x31);
  fillBytes(output, 0x77);
  EXPECT_EQ(host.render(frame, input, output), 0);
  EXPECT_TRUE(everyByteIs(output, 0));
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(Render, PreRenderAsksForTheHostsOwnAreaAndAnswersTheInputs) {
  Host host = readyHost();
  World input(40, 30, 8), output(20, 10, 8);
  FrameSettings frame;
  frame.currentTime = 5;
  frame.timeStep = 2;
  frame.timeScale = 25;
  EXPECT_EQ(host.smartPreRender(frame, &input, &output), 0);
  ASSERT_FALSE(host.log().empty());
  EXPECT_EQ(host.log()[0].arguments, "0, 0, 0, 0, 20, 10, preserve, 5, 2, 25");
  for (const PF_LRect& r :
       {host.preRenderAnswer().resultRect, host.preRenderAnswer().maxResultRect}) {
    EXPECT_THAT((std::vector<A_long>{r.left, r.top, r.right, r.bottom}), ElementsAre(0, 0, 40, 30));
  }
  EXPECT_EQ(host.callCount("inter.checkout_param"), 13);
  EXPECT_EQ(host.callCount("inter.checkin_param"), 0);
  EXPECT_THAT(toleratedNames(host), ElementsAre("pre-render leaves its parameters checked out"));
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(Render, SmartRenderChecksOutAndInInOrder) {
  Host host = readyHost();
  World input = patternWorld(4, 4, 8), output(4, 4, 8);
  ASSERT_EQ(host.smartRender({}, &input, &output), 0);
  std::vector<std::string> steps;
  for (const Call& call : host.log()) {
    if (call.name.starts_with("smart.") || call.name.starts_with("inter.") ||
        call.name.starts_with("utils.")) {
      steps.push_back(call.name + " " + call.arguments.substr(0, call.arguments.find(',')));
    }
  }
  std::vector<std::string> expected{"smart.checkout_layer_pixels 0", "smart.checkout_output "};
  for (int i = 1; i <= 13; ++i) expected.push_back("inter.checkout_param " + std::to_string(i));
  expected.push_back("utils.fill null");
  for (int i = 1; i <= 13; ++i) expected.push_back("inter.checkin_param " + std::to_string(i));
  expected.push_back("smart.checkin_layer_pixels 0");
  EXPECT_EQ(steps, expected);
}

TEST(Render, EachFrameReleasesWhatItAcquired) {
  Host host = readyHost();
  World input = patternWorld(4, 4, 8), output(4, 4, 8);
  for (int i = 0; i < 3; ++i) ASSERT_EQ(host.render({}, input, output), 0);
  int suites = 0;
  for (const auto& [name, count] : host.callCounts()) {
    if (!name.starts_with("acquire:")) continue;
    ++suites;
    EXPECT_EQ(count, 3) << name;
    EXPECT_EQ(host.callCount("release:" + name.substr(8)), 3) << name;
  }
  EXPECT_EQ(suites, 6);
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(Render, PremiereIsAskedForNothingButTheFill) {
  Host host = hostFor(Path::Premiere);
  World input = patternWorld(4, 4, 8), output(4, 4, 8);
  ASSERT_EQ(host.render({}, input, output), 0);
  EXPECT_EQ(host.log().size(), 1U);
  EXPECT_EQ(host.callCount("utils.fill"), 1);
}

TEST(Render, WithoutBasicSuiteAfterEffectsGets516) {
  HostOptions options;
  options.basicSuite = false;
  for (const bool smart : {true, false}) {
    options.smartRender = smart;
    Host host = readyHost(options);
    World input = patternWorld(4, 4, 8), output(4, 4, 8);
    EXPECT_EQ(host.render({}, input, output), 516);
    EXPECT_THAT(host.audit(), IsEmpty());
  }
}

TEST(Render, ManualTimeIgnoresTheHostsClock) {
  Host host = readyHost();
  FrameSettings frame = turnEverythingOn(host);
  host.setValue(kTimeControl, 2);
  host.setValue(kTime, 3.25);
  World input = patternWorld(16, 16, 8), first(16, 16, 8), second(16, 16, 8), other(16, 16, 8);
  ASSERT_EQ(host.render(frame, input, first), 0);
  frame.currentTime = 12345;
  ASSERT_EQ(host.render(frame, input, second), 0);
  host.setValue(kTime, 4.5);
  ASSERT_EQ(host.render(frame, input, other), 0);
  EXPECT_EQ(first.pixelHash(), second.pixelHash());
  EXPECT_NE(first.pixelHash(), other.pixelHash());
}

}  // namespace
}  // namespace lomix::host
