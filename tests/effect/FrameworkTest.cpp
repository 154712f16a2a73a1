// The host context, the render base and its loop over pixels, and the scratch buffers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "effect/FakeSuites.h"
#include "effect/framework/AEBase.h"
#include "effect/framework/AEBuffer.h"
#include "effect/framework/AERender.h"
#include "effect/kernel/PixelSampling.h"

namespace lomix::unit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

TEST(HostContext, DerivesTheGeometry) {
  HostCall call;
  call.in.downsample_x = {1, 2};
  call.in.downsample_y = {1, 4};
  call.in.pixel_aspect_ratio = {2, 1};
  const AEBase base(&call.in, &call.out);
  EXPECT_EQ(base.GetWidth(), 1920);
  EXPECT_EQ(base.GetHeight(), 270);
  EXPECT_EQ(base.layerWidth, 1920);
  EXPECT_EQ(base.layerHeight, 1080);
  EXPECT_EQ(base.GetXDown(), 0.5);
  EXPECT_EQ(base.GetYDown(), 0.5) << "the horizontal factor";
  EXPECT_EQ(base.yDown, 0.25);
  EXPECT_EQ(base.invXDown, 2);
  EXPECT_EQ(base.invYDown, 4);
  EXPECT_EQ(base.pixelAspect, 2);
  EXPECT_DOUBLE_EQ(base.layerAspect, 16.0 / 9);
  EXPECT_EQ(base.GetLayerCenter(), (Vec3<double>{960, 135, 0}));
  EXPECT_EQ(base.suites, nullptr);
  EXPECT_EQ(base.in_data, &call.in);
  EXPECT_EQ(base.out_data, &call.out);
}

TEST(HostContext, OutsideAfterEffectsIsSilent) {
  FakeSuites host;
  HostCall call;
  host.serve(call);
  call.in.appl_id = kHostIdPremiere;
  AEBase base(&call.in, &call.out);
  EXPECT_EQ(base.ReportInfo("%d", 1), 0);
  EXPECT_EQ(base.InfoText("%d", 1), 0);
  EXPECT_EQ(base.suites, nullptr);
  base.ReleaseHostSuites();
  EXPECT_THAT(host.acquired, IsEmpty());
  EXPECT_THAT(host.released, IsEmpty());
}

// After Effects with a host context of time 45/30 s, which is released at the end.
class InAfterEffects : public testing::Test {
 protected:
  InAfterEffects() {
    host.serve(call);
    call.in.current_time = 45;
    call.in.time_scale = 30;
    host.compLayers = {{AEGP_ObjectType_AV, 0, 1, "Layer one", 1045},
                       {AEGP_ObjectType_LIGHT, AEGP_LightType_POINT, 2, "", 2000},
                       {AEGP_ObjectType_LIGHT, AEGP_LightType_SPOT, 3, "spot", 0},
                       {AEGP_ObjectType_TEXT, AEGP_LightType_POINT, -2, "t", 0}};
    base.emplace(&call.in, &call.out);
  }
  ~InAfterEffects() override { base->ReleaseHostSuites(); }

  FakeSuites host;
  HostCall call;
  std::optional<AEBase> base;
};

TEST_F(InAfterEffects, CapturesTheComposition) {
  const auto time = [](const A_Time& t) { return std::pair<int, unsigned>(t.value, t.scale); };
  EXPECT_EQ(base->effectLayer, FakeSuites::handle(host.effectLayer));
  EXPECT_EQ(time(base->compTime), time({1045, 30}));
  EXPECT_EQ(time(base->effectCompTime), time({1045, 30}));
  EXPECT_EQ(time(base->layerTime), time({745, 30}));
  EXPECT_EQ(time(base->layerTimeValue), time({77, 5}));
  EXPECT_EQ(time(base->GetCompTime(5, 99, 24)), time({1005, 24})) << "the step is ignored";
  EXPECT_EQ(base->numLayers, 4);
  EXPECT_EQ(base->compWidth, 640.0f);
  EXPECT_EQ(base->compHeight, 360.0f);
  EXPECT_NE(base->pfWorldSuite, nullptr);
  EXPECT_THAT(host.acquired,
              ElementsAre("AEGP PF Interface Suite 1", "AEGP Layer Suite 8", "AEGP Layer Suite 5",
                          "AEGP Comp Suite 4", "AEGP Item Suite 3", "PF World Suite 2"));
}

TEST_F(InAfterEffects, CopiesShareSuitesThatAreReleasedOnce) {
  const AEBase copy(*base);
  AERender render(*base, nullptr);
  EXPECT_EQ(copy.suites, base->suites);
  EXPECT_EQ(render.suites, base->suites);
  EXPECT_EQ(render.compWidth, base->compWidth);
  EXPECT_THAT(host.released, IsEmpty());
  const std::vector<std::string> acquired = host.acquired;
  base->ReleaseHostSuites();
  base->ReleaseHostSuites();
  EXPECT_EQ(base->suites, nullptr);
  EXPECT_EQ(host.acquired, acquired) << "copies acquire nothing";
  EXPECT_THAT(host.released, UnorderedElementsAreArray(acquired));
}

TEST_F(InAfterEffects, QueriesLayers) {
  const struct {
    AEGP_ObjectType type;
    bool light, text, point, spot, active, shows;
  } expected[] = {{0, false, false, false, false, true, true},
                  {1, true, false, true, false, false, false},
                  {1, true, false, false, true, true, false},
                  {3, false, true, false, false, false, false}};
  for (int i = 0; i < 4; ++i) {
    AEGP_LayerH layer = base->GetCompLayerByIndex(i);
    ASSERT_EQ(layer, FakeSuites::handle(host.compLayers[static_cast<std::size_t>(i)]));
    EXPECT_EQ(base->GetLayerType(&layer), expected[i].type) << i;
    EXPECT_EQ(base->IsLayerLight(&layer), expected[i].light) << i;
    EXPECT_EQ(base->IsLayerText(&layer), expected[i].text) << i;
    EXPECT_EQ(base->IsLayerPointLight(&layer), expected[i].point) << i;
    EXPECT_EQ(base->IsLayerSpotLight(&layer), expected[i].spot) << i;
    EXPECT_EQ(base->IsLayerActive(&layer), expected[i].active) << i;
    EXPECT_EQ(base->IsLayerRenderActive(&layer), expected[i].shows) << i;
    EXPECT_EQ(base->IsLayerRenderActiveAtTime(&layer, {2000, 30}), i == 1) << i;
  }
  AEGP_LayerH layer = base->GetCompLayerByIndex(0);
  EXPECT_EQ(base->GetLayerName(&layer), "Layer one");
  for (const auto& [prefix, begins] : {std::pair("", true),
                                       {"Lay", true},
                                       {"Layer one", true},
                                       {"Layer one!", false},
                                       {"lay", false},
                                       {"one", false}}) {
    EXPECT_EQ(base->DoesLayerNameBeginWith(&layer, prefix), begins) << prefix;
  }
}

TEST_F(InAfterEffects, ReadsStreamsAndPositionsInCompositionTime) {
  AEGP_LayerH layer = FakeSuites::handle(host.compLayers[2]);
  constexpr A_Time kAt{8, 30};
  const auto lastCall = [&](AEGP_LayerStream stream, A_long time, bool pre) {
    const FakeSuites::StreamCall& c = host.streamCall;
    return c.layer == layer && c.stream == stream && c.mode == 1 && c.time == time &&
           c.preExpression == pre;
  };
  EXPECT_EQ(base->GetLayerOneDProperty(&layer, 10, true), 11);
  EXPECT_TRUE(lastCall(10, 1045, true));
  EXPECT_EQ(base->GetLayerOneDPropertyAtTime(&layer, 20, false, kAt), 21);
  EXPECT_TRUE(lastCall(20, 8, false));
  EXPECT_EQ(base->GetLayerTwoDProperty(&layer, 0, true), (Vec2<double>{1, 2}));
  EXPECT_TRUE(lastCall(0, 1045, true));
  EXPECT_EQ(base->GetLayerTwoDPropertyAtTime(&layer, 1, false, kAt), (Vec2<double>{2, 3}));
  EXPECT_TRUE(lastCall(1, 8, false));
  EXPECT_EQ(base->GetLayerThreeDProperty(&layer, 0, true), (Vec3<double>{1, 2, 3}));
  EXPECT_TRUE(lastCall(0, 1045, true));
  EXPECT_EQ(base->GetLayerThreeDPropertyAtTime(&layer, 1, false, kAt), (Vec3<double>{2, 3, 4}));
  EXPECT_TRUE(lastCall(1, 8, false));
  EXPECT_EQ(base->GetLayerFourDProperty(&layer, 0, true, false), (Vec4<double>{1, 2, 3, 4}));
  EXPECT_TRUE(lastCall(0, 1045, true));
  EXPECT_EQ(base->GetLayerFourDPropertyAtTime(&layer, 0, false, true, kAt),
            (Vec4<double>{2, 3, 4, 1}));
  EXPECT_TRUE(lastCall(0, 8, false));
  // The transform holds 0-15 plus the time, row by row; the last row is the translation.
  EXPECT_EQ(base->GetLayerWorldPosition(&layer), (Vec3<double>{1057, 1058, 1059}));
  EXPECT_EQ(base->GetLayerWorldPositionAtTime(&layer, kAt), (Vec3<double>{20, 21, 22}));
}

TEST_F(InAfterEffects, ShowsText) {
  using Lines = std::vector<std::optional<std::string>>;
  const struct {
    const char* text;
    Lines lines;
  } cases[] = {
      {"one", {"one", std::nullopt, std::nullopt}},
      {"a\nb", {"a", "b", std::nullopt}},
      {"a\nb\nc", {"a", "b", "c"}},
      {"a\nb\nc\nd", {"a", "b", "c"}},
      {"\na\n\nb\n", {"a", "b", std::nullopt}},
      {"", {std::nullopt, std::nullopt, std::nullopt}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(base->InfoText("%s", c.text), kInfoResult);
    EXPECT_EQ(host.infoLines, c.lines) << c.text;
  }
  const std::string tooLong(2000, 'x');
  base->InfoText("%d%s", 42, tooLong.c_str());
  EXPECT_EQ(host.infoLines[0], "42" + std::string(1021, 'x'));
  EXPECT_EQ(base->ReportInfo("%d%s", 42, tooLong.c_str()), 0);
  EXPECT_EQ(host.report, "42" + std::string(509, 'x'));
  EXPECT_EQ(host.reportPlugin, 0);
}

TEST(HostContext, ReleasesWhatItHadWhenASuiteIsMissing) {
  const char* const suites[] = {"AEGP PF Interface Suite 1", "AEGP Layer Suite 8",
                                "AEGP Layer Suite 5", "AEGP Comp Suite 4", "AEGP Item Suite 3"};
  for (std::size_t i = 0; i < std::size(suites); ++i) {
    FakeSuites host;
    HostCall call;
    host.serve(call);
    host.refused = suites[i];
    int thrown = 0;
    try {
      const AEBase base(&call.in, &call.out);
    } catch (int code) {
      thrown = code;
    }
    EXPECT_EQ(thrown, 516) << suites[i];
    EXPECT_EQ(host.acquired.size(), i) << suites[i];
    EXPECT_THAT(host.released, UnorderedElementsAreArray(host.acquired)) << suites[i];
  }
}

TEST(HostContext, ShowsAMessageWhenTheWorldSuiteIsMissing) {
  FakeSuites host;
  HostCall call;
  host.serve(call);
  host.refused = "PF World Suite 2";
  AEBase base(&call.in, &call.out);
  EXPECT_EQ(base.pfWorldSuite, nullptr);
  EXPECT_STREQ(call.out.return_msg, "Couldn't load suite.");
  EXPECT_EQ(call.out.out_flags, 0x100);
  base.ReleaseHostSuites();
  EXPECT_EQ(host.acquired.size(), 5u);
  EXPECT_THAT(host.released, UnorderedElementsAreArray(host.acquired));
}

TEST_F(InAfterEffects, BuffersAreDisposedOfOnce) {
  {
    AEBuffer buffer(*base);
    void* first = buffer.CreateBuffer(100);
    void* second = buffer.CreateBuffer(200);
    ASSERT_EQ(host.blocks.size(), 2u);
    EXPECT_EQ(first, host.blocks[0]->bytes);
    EXPECT_EQ(second, host.blocks[1]->bytes);
    EXPECT_EQ(host.blocks[1]->size, 200u);
    EXPECT_EQ(buffer.DestroyBuffer(first), 0);
    EXPECT_EQ(buffer.DestroyBuffer(first), 0);
    EXPECT_EQ(host.blocks[0]->disposals, 1);
    EXPECT_EQ(host.blocks[1]->disposals, 0);
    EXPECT_EQ(buffer.Flush(), 0);
    EXPECT_EQ(buffer.Flush(), 0);
    EXPECT_EQ(buffer.handles.size(), 2u) << "entries stay";
    buffer.CreateBuffer(300);

    int unknown = 0;
    EXPECT_EQ(buffer.DestroyBuffer(&unknown), 0);
    ASSERT_EQ(buffer.handles.count(&unknown), 1u);
    EXPECT_EQ(buffer.handles[&unknown], nullptr);
  }
  for (const auto& block : host.blocks) {
    EXPECT_EQ(block->locks, 1);
    EXPECT_EQ(block->unlocks, 1);
    EXPECT_EQ(block->disposals, 1);
  }
}

TEST_F(InAfterEffects, FrameBuffersHoldTheDownsampledFrame) {
  const struct {
    double width, height;
    unsigned long bytesPerPixel;
    std::uint64_t size;
  } cases[] = {
      {1920, 1080, 4, 8294400},      {500.9, 270.5, 16, 2160000},
      {70000, 70000, 4, 2420130816},  // 19600000000 less four times 2^32.
      {3e9, 1, 1, 3000000000},        // Beyond int32, not beyond uint32.
      {1e300, 3, 1, 4294967293},      // 2^32 - 1 columns.
      {-1920, 1080, 4, 0},           {std::nan(""), 1080, 4, 0},
  };
  for (const auto& c : cases) {
    base->width = c.width;
    base->height = c.height;
    AEBuffer buffer(*base);
    EXPECT_NE(buffer.CreateFrameBuffer(c.bytesPerPixel), nullptr);
    EXPECT_EQ(host.blocks.back()->size, c.size);
  }
  EXPECT_EQ(std::count(host.acquired.begin(), host.acquired.end(), "PF Handle Suite 1"), 1);
}

TEST(RenderBase, TakesDepthAndPixelFunctionsFromTheSmartRender) {
  const struct {
    A_short depth;
    int worldType;
  } cases[] = {{8, 1}, {16, 2}, {32, 3}, {0, 0}, {24, 0}};
  for (const auto& c : cases) {
    HostCall call(c.depth);
    AERender render(&call.in, &call.out, &call.extra);
    EXPECT_EQ(render.GetBitDepth(), c.depth);
    EXPECT_EQ(render.GetWorldType(), c.worldType);
    EXPECT_EQ(render.smartExtra, &call.extra);
    EXPECT_EQ(render.worldSuite, nullptr);
    EXPECT_EQ(render.pixelFuncs.blendFunc != nullptr, c.depth == 8 || c.depth == 32) << c.depth;
  }
  HostCall call(32);
  AERender render(&call.in, &call.out, nullptr);
  EXPECT_EQ(render.GetBitDepth(), 8) << "the plain path";
  EXPECT_EQ(render.pixelFuncs.blendFunc, alphaBlend8Void);
  EXPECT_EQ(render.pixelFuncs.sampleRectFunc, sampleRectPixel8Void);
  EXPECT_EQ(render.pixelFuncs.sampleIntegralFunc, sampleIntegral32Void);
  render.Initialize(&call.extra);
  EXPECT_EQ(render.GetBitDepth(), 32);
  EXPECT_EQ(render.pixelFuncs.blendFunc, alphaBlend32Void);
  EXPECT_EQ(render.pixelFuncs.sampleRectFunc, sampleRectPixel32Void);
  EXPECT_EQ(render.pixelFuncs.sampleIntegralFunc, sampleIntegral128Void);
  call.smartInput.bitdepth = 16;
  render.Initialize(&call.extra);
  EXPECT_EQ(render.pixelFuncs.blendFunc, alphaBlend32Void) << "left as it was";
}

// Records the pixels that it is called for; can shrink the destination after some of them.
struct Tracer : AERender {
  using AERender::AERender;
  PF_Err Kernel(PF_LayerDef* src, PF_LayerDef* dst, int x, int y, void* data) override {
    visited.emplace_back(x, y);
    arguments = {src, dst, data};
    if (shrinkAfter == static_cast<int>(visited.size())) dst->height = 1;
    return PF_Err_OUT_OF_MEMORY;
  }
  std::vector<std::pair<int, int>> visited;
  std::vector<void*> arguments;
  int shrinkAfter = -1;
};

TEST(RenderBase, VisitsEveryPixelOfTheDestinationInRowOrder) {
  for (const A_long host : {kHostIdAfterEffects, kHostIdPremiere, 0x41424344}) {
    HostCall call;
    Tracer tracer(&call.in, &call.out, nullptr);
    call.in.appl_id = host;  // Set late: for After Effects the constructor needs suites.
    World<PF_Pixel> src(1, 1);
    World<PF_Pixel> dst(3, 2);
    int data = 0;
    EXPECT_EQ(tracer.ExecuteKernel(&src.def, &dst.def, &data), 0) << "the kernel's own error";
    using P = std::pair<int, int>;
    EXPECT_THAT(tracer.visited, ElementsAre(P(0, 0), P(1, 0), P(2, 0), P(0, 1), P(1, 1), P(2, 1)));
    EXPECT_THAT(tracer.arguments,
                ElementsAre(static_cast<void*>(&src.def), static_cast<void*>(&dst.def),
                            static_cast<void*>(&data)));
  }
}

TEST(RenderBase, StopsWhereThereIsNothingToDraw) {
  HostCall call;
  World<PF_Pixel> src(4, 4);
  World<PF_Pixel> dst(4, 4);
  const struct {
    const char* name;
    bool srcData, dstData;
    int width, height, shrinkAfter;
    std::size_t visits;
  } cases[] = {{"no source pixels", false, true, 4, 4, -1, 0},
               {"no destination pixels", true, false, 4, 4, -1, 0},
               {"no width", true, true, 0, 4, -1, 0},
               {"no height", true, true, 4, 0, -1, 0},
               {"shrunk between two rows", true, true, 4, 4, 2, 4}};
  for (const auto& c : cases) {
    PF_LayerDef from = src.def;
    PF_LayerDef to = dst.def;
    if (!c.srcData) from.data = nullptr;
    if (!c.dstData) to.data = nullptr;
    to.width = c.width;
    to.height = c.height;
    Tracer tracer(&call.in, &call.out, nullptr);
    tracer.shrinkAfter = c.shrinkAfter;
    EXPECT_EQ(tracer.ExecuteKernel(&from, &to, nullptr), 0) << c.name;
    EXPECT_EQ(tracer.visited.size(), c.visits) << c.name;
  }
  AERender plain(&call.in, &call.out, nullptr);
  dst.fill({1, 2, 3, 4});
  EXPECT_EQ(plain.ExecuteKernel(&src.def, &dst.def, nullptr), 0);
  EXPECT_EQ(channels(dst.at(3, 3)), channels(PF_Pixel{1, 2, 3, 4}));
}

}  // namespace
}  // namespace lomix::unit
