// Faults that the headless host must report, caused by plug-ins that are faulty on purpose.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/Host.h"

namespace lomix::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The arguments of an entry point.
struct Arguments {
  PF_InData* in;
  PF_OutData* out;
  PF_ParamDef** params;
  PF_LayerDef* output;
  void* extra;

  template <class Suite>
  const Suite* acquire(const SuiteId& id) const {
    const void* suite = nullptr;
    in->pica_basicP->AcquireSuite(id.name, id.version, &suite);
    return static_cast<const Suite*>(suite);
  }
  void release(const SuiteId& id) const { in->pica_basicP->ReleaseSuite(id.name, id.version); }
  /// Acquires a suite, calls act with it and releases it.
  template <class Suite>
  void with(const SuiteId& id, const std::function<void(const Suite&)>& act) const {
    act(*acquire<Suite>(id));
    release(id);
  }
  void withHandles(const std::function<void(const PF_HandleSuite1&)>& act) const {
    with<PF_HandleSuite1>(kHandleSuite1Id, act);
  }
  A_u_char* bytes() const { return reinterpret_cast<A_u_char*>(output->data); }
  PF_ParamDef checkout(PF_ParamIndex index) const {
    PF_ParamDef def{};
    in->inter.checkout_param(in->effect_ref, index, 0, 1, 1, &def);
    return def;
  }
  AEGP_EffectRefH newEffect() const {
    AEGP_EffectRefH effect = nullptr;
    with<AEGP_PFInterfaceSuite1>(kPFInterfaceSuite1Id, [&](const auto& suite) {
      suite.AEGP_GetNewEffectForEffect(0, in->effect_ref, &effect);
    });
    return effect;
  }
  void disposeEffect(AEGP_EffectRefH effect) const {
    with<AEGP_EffectSuite2>(kEffectSuite2Id,
                            [&](const auto& suite) { suite.AEGP_DisposeEffect(effect); });
  }
  const PF_SmartRenderCallbacks& smart() const {
    return *static_cast<PF_SmartRenderExtra*>(extra)->cb;
  }
};

using Act = std::function<void(const Arguments&)>;

// The behaviour of the plug-in in these tests, and the command on which it shows.
PF_Cmd actCommand;
Act act;

PF_Err perform(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
               PF_LayerDef* output, void* extra) {
  if (command == actCommand) act({in, out, params, output, extra});
  if (command != PF_Cmd_PARAMS_SETUP || actCommand == PF_Cmd_PARAMS_SETUP) return PF_Err_NONE;
  PF_ParamDef def{};
  def.param_type = PF_Param_FLOAT_SLIDER;
  for (int i = 0; i < 2; ++i) in->inter.add_param(in->effect_ref, -1, &def);
  out->num_params = 3;
  return PF_Err_NONE;
}

struct Case {
  const char* name;
  PF_Cmd command;
  Act act;
  const char* expected;  ///< Part of the one line of the audit; "": a clean audit.
};

void addPopup(const Arguments& g, A_short count) {
  PF_ParamDef def{};
  def.param_type = PF_Param_POPUP;
  def.u.pd.num_choices = count;
  def.u.pd.u.namesptr = "One|Two";
  g.in->inter.add_param(g.in->effect_ref, -1, &def);
  g.out->num_params = 2;
}

const Case kCases[] = {
    {"well-behaved", PF_Cmd_RENDER,
     [](const Arguments& g) {
       PF_ParamDef def = {};
       g.in->inter.checkout_param(g.in->effect_ref, 1, 0, 1, 1, &def);
       g.in->inter.checkin_param(g.in->effect_ref, &def);
       g.disposeEffect(g.newEffect());
       g.withHandles([](const auto& suite) {
         const PF_Handle handle = suite.host_new_handle(10);
         std::memset(suite.host_lock_handle(handle), 1, 10);
         suite.host_unlock_handle(handle);
         suite.host_dispose_handle(handle);
       });
       std::memset(g.bytes(), 1, 4 * 4);
     },
     ""},
    {"suite kept", PF_Cmd_RENDER,
     [](const Arguments& g) { g.acquire<AEGP_LayerSuite5>(kLayerSuite5Id); },
     "RENDER: AEGP Layer Suite 5 never released (1)"},
    {"suite released twice", PF_Cmd_RENDER,
     [](const Arguments& g) {
       g.withHandles([](const auto&) {});
       g.release(kHandleSuite1Id);
     },
     "PF Handle Suite 1 released without being acquired"},
    {"byte past a row", PF_Cmd_RENDER, [](const Arguments& g) { g.bytes()[16] ^= 1; },
     "bytes around the output rows"},
    {"byte before the picture", PF_Cmd_RENDER, [](const Arguments& g) { g.bytes()[-1] ^= 1; },
     "bytes around the output rows"},
    {"byte past the picture", PF_Cmd_RENDER,
     [](const Arguments& g) { g.bytes()[g.output->rowbytes * g.output->height] ^= 1; },
     "bytes around the output rows"},
    {"input pixel", PF_Cmd_RENDER, [](const Arguments& g) { g.params[0]->u.ld.data[1].green ^= 1; },
     "input pixels were written"},
    {"host's record", PF_Cmd_RENDER, [](const Arguments& g) { g.in->time_step = 2; },
     "in_data was written"},
    {"parameter kept", PF_Cmd_RENDER, [](const Arguments& g) { g.checkout(2); },
     "parameters never checked in: 2"},
    {"parameter that does not exist", PF_Cmd_RENDER, [](const Arguments& g) { g.checkout(3); },
     "check-out of parameter 3"},
    {"parameter given back unasked", PF_Cmd_RENDER,
     [](const Arguments& g) {
       PF_ParamDef def{};
       g.in->inter.checkin_param(g.in->effect_ref, &def);
     },
     "parameters checked in that were not checked out"},
    {"another's effect reference", PF_Cmd_RENDER,
     [](const Arguments& g) {
       g.in->utils->fill(reinterpret_cast<PF_ProgPtr>(g.in), nullptr, nullptr, g.output);
     },
     "utils.fill was given a foreign effect reference"},
    {"fill of a world that is not the host's", PF_Cmd_RENDER,
     [](const Arguments& g) {
       PF_Pixel pixel{};
       PF_LayerDef own{};
       own.data = &pixel;
       g.in->utils->fill(g.in->effect_ref, nullptr, nullptr, &own);
     },
     "fill of a world that is not this host's"},
    {"slot that is not offered", PF_Cmd_RENDER,
     [](const Arguments& g) { reinterpret_cast<PF_Err (*)()>(g.in->utils->blend)(); },
     "slot that this host does not offer"},
    {"text too long", PF_Cmd_RENDER,
     [](const Arguments& g) { g.in->utils->ansi.sprintf(g.out->return_msg, "%300d", 1); },
     "too long for return_msg"},
    {"undo group kept", PF_Cmd_UPDATE_PARAMS_UI,
     [](const Arguments& g) {
       g.with<AEGP_UtilitySuite3>(kUtilitySuite3Id,
                                  [](const auto& suite) { suite.AEGP_StartUndoGroup(nullptr); });
     },
     "undo groups never ended (1)"},
    {"undo group ended unasked", PF_Cmd_RENDER,
     [](const Arguments& g) {
       g.with<AEGP_UtilitySuite3>(kUtilitySuite3Id,
                                  [](const auto& suite) { suite.AEGP_EndUndoGroup(); });
     },
     "undo groups ended without start (1)"},
    {"effect handle kept", PF_Cmd_RENDER, [](const Arguments& g) { g.newEffect(); },
     "effect handles never disposed of (1)"},
    {"effect handle disposed of twice", PF_Cmd_RENDER,
     [](const Arguments& g) {
       const AEGP_EffectRefH effect = g.newEffect();
       g.disposeEffect(effect);
       g.disposeEffect(effect);
     },
     "unknown or already disposed of"},
    {"stream kept", PF_Cmd_RENDER,
     [](const Arguments& g) {
       const AEGP_EffectRefH effect = g.newEffect();
       g.with<AEGP_StreamSuite7>(kStreamSuite7Id, [&](const auto& suite) {
         AEGP_StreamRefH stream = nullptr;
         suite.AEGP_GetNewEffectStreamByIndex(0, effect, 1, &stream);
       });
       g.disposeEffect(effect);
     },
     "streams never disposed of (1)"},
    {"handle kept", PF_Cmd_RENDER,
     [](const Arguments& g) {
       g.withHandles([](const auto& suite) { suite.host_new_handle(24); });
     },
     "a handle of 24 bytes was never disposed of"},
    {"handle disposed of twice", PF_Cmd_RENDER,
     [](const Arguments& g) {
       g.withHandles([](const auto& suite) {
         const PF_Handle handle = suite.host_new_handle(24);
         suite.host_dispose_handle(handle);
         suite.host_dispose_handle(handle);
       });
     },
     "a handle that was disposed of was disposed of"},
    {"byte past a handle's block", PF_Cmd_RENDER,
     [](const Arguments& g) {
       g.withHandles([](const auto& suite) {
         const PF_Handle handle = suite.host_new_handle(24);
         (*handle)[24] = static_cast<char>((*handle)[24] ^ 1);
         suite.host_dispose_handle(handle);
       });
     },
     "bytes around a handle's block"},
    {"locked handle disposed of", PF_Cmd_RENDER,
     [](const Arguments& g) {
       g.withHandles([](const auto& suite) {
         const PF_Handle handle = suite.host_new_handle(24);
         suite.host_lock_handle(handle);
         suite.host_dispose_handle(handle);
       });
     },
     "a locked handle was disposed of"},
    {"pre-render names one parameter of two", PF_Cmd_SMART_PRE_RENDER,
     [](const Arguments& g) { g.checkout(1); }, "parameters never checked in: 1"},
    {"pre-render names both parameters", PF_Cmd_SMART_PRE_RENDER,
     [](const Arguments& g) {
       PF_ParamDef defs[2] = {};
       for (int i : {0, 1}) {
         g.in->inter.checkout_param(g.in->effect_ref, i + 1, 0, 1, 1, &defs[i]);
       }
     },
     ""},
    {"result beyond its largest", PF_Cmd_SMART_PRE_RENDER,
     [](const Arguments& g) {
       static_cast<PF_PreRenderExtra*>(g.extra)->output->result_rect = {0, 0, 1, 1};
     },
     "beyond its own largest rectangle"},
    {"pixels kept", PF_Cmd_SMART_RENDER,
     [](const Arguments& g) {
       PF_EffectWorld* world = nullptr;
       g.smart().checkout_layer_pixels(g.in->effect_ref, 0, &world);
     },
     "pixels of check-out 0 never checked in (1)"},
    {"pixels given back unasked", PF_Cmd_SMART_RENDER,
     [](const Arguments& g) { g.smart().checkin_layer_pixels(g.in->effect_ref, 0); },
     "pixels of check-out 0 checked in without check-out"},
    {"pixels that pre-render did not ask for", PF_Cmd_SMART_RENDER,
     [](const Arguments& g) {
       PF_EffectWorld* world = nullptr;
       g.smart().checkout_layer_pixels(g.in->effect_ref, 5, &world);
     },
     "pixels of check-out 5, which pre-render did not ask for"},
    {"output taken twice", PF_Cmd_SMART_RENDER,
     [](const Arguments& g) {
       PF_EffectWorld* world = nullptr;
       for (int i = 0; i < 2; ++i) g.smart().checkout_output(g.in->effect_ref, &world);
     },
     "output world never checked in (2)"},
    {"declared parameters miscounted", PF_Cmd_PARAMS_SETUP,
     [](const Arguments& g) {
       addPopup(g, 2);
       g.out->num_params = 3;
     },
     "num_params is 3, but 2 parameters are there"},
    {"choices miscounted", PF_Cmd_PARAMS_SETUP, [](const Arguments& g) { addPopup(g, 3); },
     "another number of choices"},
};

TEST(HostAudit, NamesEachFault) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    actCommand = c.command;
    act = c.act;
    Host host(perform);
    host.paramsSetup();
    World input(4, 3, 8, {3, 0, false}), output(4, 3, 8, {3, 0, false});
    if (c.command == PF_Cmd_RENDER) host.plainRender({}, &input, &output);
    if (c.command == PF_Cmd_UPDATE_PARAMS_UI) host.updateParamsUi();
    if (c.command == PF_Cmd_SMART_PRE_RENDER) host.smartPreRender({}, &input, &output);
    if (c.command == PF_Cmd_SMART_RENDER) {
      // A pre-render that asks for check-out 0.
      actCommand = PF_Cmd_SMART_PRE_RENDER;
      act = [](const Arguments& g) {
        const auto& extra = *static_cast<PF_PreRenderExtra*>(g.extra);
        PF_CheckoutResult result{};
        extra.cb->checkout_layer(g.in->effect_ref, 0, 0, &extra.input->output_request, 0, 1, 1,
                                 &result);
        PF_ParamDef defs[2] = {};
        for (int i : {0, 1}) {
          g.in->inter.checkout_param(g.in->effect_ref, i + 1, 0, 1, 1, &defs[i]);
        }
      };
      host.smartPreRender({}, &input, &output);
      actCommand = c.command;
      act = c.act;
      host.smartRender({}, &input, &output);
    }
    if (*c.expected) {
      EXPECT_THAT(host.audit(), ElementsAre(HasSubstr(c.expected)));
    } else {
      EXPECT_THAT(host.audit(), IsEmpty());
    }
  }
}

TEST(HostAudit, RepeatedFaultsAreCountedAndCanBeForgotten) {
  actCommand = PF_Cmd_RENDER;
  act = [](const Arguments& g) { g.checkout(1); };
  Host host(perform);
  host.paramsSetup();
  for (int i = 0; i < 3; ++i) host.plainRender({}, nullptr, nullptr);
  EXPECT_THAT(host.audit(), ElementsAre("RENDER: parameters never checked in: 1, 3 times"));
  host.clearAudit();
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(HostAudit, PreRenderDataReachesTheRenderAndIsFreedOnce) {
  static int freed;
  freed = 0;
  actCommand = PF_Cmd_SMART_PRE_RENDER;
  act = [](const Arguments& g) {
    PF_PreRenderOutput& output = *static_cast<PF_PreRenderExtra*>(g.extra)->output;
    output.pre_render_data = &freed;
    output.delete_pre_render_data_func = [](void* data) { ++*static_cast<int*>(data); };
  };
  World input(4, 3, 8), output(4, 3, 8);
  {
    Host host(perform);
    host.smartPreRender({}, &input, &output);
    host.smartPreRender({}, &input, &output);
    EXPECT_EQ(freed, 1);
    actCommand = PF_Cmd_SMART_RENDER;
    const void* seen = nullptr;
    act = [&](const Arguments& g) {
      seen = static_cast<PF_SmartRenderExtra*>(g.extra)->input->pre_render_data;
    };
    host.smartRender({}, &input, &output);
    EXPECT_EQ(seen, &freed);
    EXPECT_EQ(freed, 2);
  }
  EXPECT_EQ(freed, 2);
}

// The standard scene: layer n has the stream values n + 0.25 ... and the position (100 n, 10 n,
// -n).
TEST(HostScene, AnswersLayerQueries) {
  actCommand = PF_Cmd_UPDATE_PARAMS_UI;
  act = [](const Arguments& g) {
    const auto& interfaces = *g.acquire<AEGP_PFInterfaceSuite1>(kPFInterfaceSuite1Id);
    const auto& layers = *g.acquire<AEGP_LayerSuite5>(kLayerSuite5Id);
    const auto& layers8 = *g.acquire<AEGP_LayerSuite8>(kLayerSuite8Id);
    const auto& streams = *g.acquire<AEGP_StreamSuite7>(kStreamSuite7Id);
    const auto& lights = *g.acquire<AEGP_LightSuite1>(kLightSuite1Id);
    const auto& comps = *g.acquire<AEGP_CompSuite4>(kCompSuite4Id);
    const auto& items = *g.acquire<AEGP_ItemSuite3>(kItemSuite3Id);

    AEGP_LayerH own = nullptr;
    AEGP_CompH comp = nullptr;
    AEGP_ItemH item = nullptr;
    A_long width = 0, height = 0, count = 0;
    interfaces.AEGP_GetEffectLayer(g.in->effect_ref, &own);
    layers.AEGP_GetLayerParentComp(own, &comp);
    comps.AEGP_GetItemFromComp(comp, &item);
    items.AEGP_GetItemDimensions(item, &width, &height);
    layers.AEGP_GetCompNumLayers(comp, &count);
    EXPECT_THAT((std::vector<A_long>{width, height, count}), ElementsAre(1920, 1080, 6));

    // The layer with the effect starts at 1/2 s: 10/25 s of it is 45/50 s of the composition.
    A_Time compTime{}, layerTime{}, offset{};
    interfaces.AEGP_ConvertEffectToCompTime(g.in->effect_ref, 10, 25, &compTime);
    layers.AEGP_ConvertCompToLayerTime(own, &compTime, &layerTime);
    layers8.AEGP_GetLayerOffset(own, &offset);
    EXPECT_EQ(compTime.value * 10, 9 * static_cast<A_long>(compTime.scale));
    EXPECT_EQ(layerTime.value * 5, 2 * static_cast<A_long>(layerTime.scale));
    EXPECT_EQ(offset.value * 2, static_cast<A_long>(offset.scale));

    struct Expected {
      const char* name;
      AEGP_ObjectType type;
      AEGP_LayerFlags flags;
      int lightType;
    };
    const Expected kLayers[] = {{"Picture", 0, 1, -1}, {"Sun", 1, 1, 0},     {"Lamp", 1, 1, 1},
                                {"Bulb", 1, 1, 2},     {"Camera", 2, 1, -1}, {"Title", 3, 0, -1}};
    for (A_long n = 0; n < count; ++n) {
      AEGP_LayerH layer = nullptr;
      EXPECT_EQ(layers.AEGP_GetCompLayerByIndex(comp, n, &layer), 0);
      const Expected& expected = kLayers[n];
      A_char name[32];
      AEGP_ObjectType type = -1;
      AEGP_LayerFlags flags = -1;
      A_Boolean active = 9;
      A_Matrix4 matrix{};
      AEGP_StreamVal value{};
      layers.AEGP_GetLayerName(layer, name, nullptr);
      layers.AEGP_GetLayerObjectType(layer, &type);
      layers.AEGP_GetLayerFlags(layer, &flags);
      layers.AEGP_IsVideoActive(layer, AEGP_LTimeMode_CompTime, &compTime, &active);
      layers.AEGP_GetLayerToWorldXform(layer, &compTime, &matrix);
      streams.AEGP_GetLayerStreamValue(layer, kFourDStream, AEGP_LTimeMode_CompTime, &compTime, 0,
                                       &value, nullptr);
      EXPECT_STREQ(name, expected.name);
      EXPECT_EQ(type, expected.type);
      EXPECT_EQ(flags, expected.flags);
      EXPECT_EQ(active, expected.flags);
      EXPECT_THAT(matrix.mat[3], ElementsAre(100.0 * n, 10.0 * n, -n, 1.0));
      EXPECT_THAT(value.four_d, ElementsAre(n + 0.25, n + 0.5, n + 0.75, n + 1.0));
      if (expected.lightType < 0) continue;
      AEGP_LightType lightType = 9;
      lights.AEGP_GetLightType(layer, &lightType);
      EXPECT_EQ(lightType, static_cast<AEGP_LightType>(expected.lightType));
    }
    AEGP_LayerH none = nullptr;
    EXPECT_EQ(layers.AEGP_GetCompLayerByIndex(comp, count, &none), 516);
    for (const SuiteId& id : {kPFInterfaceSuite1Id, kLayerSuite5Id, kLayerSuite8Id, kStreamSuite7Id,
                              kLightSuite1Id, kCompSuite4Id, kItemSuite3Id}) {
      g.release(id);
    }
  };
  Host host(perform);
  host.updateParamsUi();
  EXPECT_EQ(host.callCount("AEGP Layer Suite 5.AEGP_GetLayerName"), 6);
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(HostAudit, EachByteOfAndAroundTheRowsIsWatched) {
  for (const bool bottomUp : {false, true}) {
    World world(3, 4, 8, {5, 2, bottomUp});
    const std::uint64_t hash = world.pixelHash();
    std::byte* const lowest = bottomUp ? world.row(3) : world.row(0);
    for (int i = -40; i < 4 * 17 + 40; ++i) {
      const bool pixel = i >= 0 && i < 4 * 17 && i % 17 < 12;
      lowest[i] ^= std::byte{0x10};
      EXPECT_EQ(world.guardsIntact(), pixel) << i;
      EXPECT_EQ(world.pixelHash() != hash, pixel) << i;
      lowest[i] ^= std::byte{0x10};
    }
    EXPECT_TRUE(world.guardsIntact());
    EXPECT_EQ(world.rowBytes(), bottomUp ? -17 : 17);
  }
}

TEST(HostAudit, FillWorksOnTheWorldsOwnDepthAndRectangle) {
  actCommand = PF_Cmd_SMART_RENDER;
  act = [](const Arguments& g) {
    PF_EffectWorld* world = nullptr;
    g.smart().checkout_output(g.in->effect_ref, &world);
    const PF_Pixel color{255, 51, 0, 102};
    const PF_LRect rect{1, 1, 9, 2};
    g.in->utils->fill(g.in->effect_ref, &color, &rect, world);
  };
  Host host(perform);
  World deep(3, 3, 16), floats(3, 3, 32);
  host.smartRender({}, nullptr, &deep);
  host.smartRender({}, nullptr, &floats);
  const PF_PixelFloat p = floats.row32(1)[2];
  EXPECT_THAT((std::vector<float>{p.alpha, p.red, p.green, p.blue}),
              ElementsAre(1.0f, 0.2f, 0.0f, 0.4f));
  EXPECT_EQ(floats.row32(1)[0].alpha, 0.0f);
  EXPECT_EQ(floats.row32(2)[1].alpha, 0.0f);
  const auto* channels = reinterpret_cast<const std::uint16_t*>(deep.row(1)) + 4;
  EXPECT_THAT(std::vector<int>(channels, channels + 4), ElementsAre(32768, 6554, 0, 13107));
  EXPECT_THAT(host.audit(), IsEmpty());
}

TEST(HostAudit, HostErrorsNameCauseAndWayOut) {
  actCommand = PF_Cmd_RENDER;
  act = [](const Arguments&) { throw std::runtime_error("inside the module"); };
  Host host(perform);
  host.paramsSetup();
  World eight(2, 2, 8), eightMore(2, 2, 8), floats(2, 2, 32), floatsMore(2, 2, 32);
  HostOptions plain;
  plain.smartRender = false;
  Host plainHost(perform, plain);
  const std::pair<std::function<void()>, const char*> kErrors[] = {
      {[&] { host.plainRender({}, &eight, &eightMore); }, "RENDER: an exception left the module"},
      {[&] { host.render({}, eight, floats); }, "input has 8 bits per channel, output 32"},
      {[&] { plainHost.render({}, floats, floatsMore); }, "plain rendering carries 8"},
      {[&] { host.setValue(3, 1); }, "cannot set parameter 3"},
      {[&] { host.setValue(0, 1); }, "cannot set parameter 0"},
      {[&] { host.failAt("inter.checkout"); }, "no such call"},
      {[&] { World(2, 2, 12); }, "no such depth"},
      {[&] { World(-1, 2, 8); }, "negative size"},
      {[&] { World(1 << 28, 1, 32); }, "rows too long"},
      {[&] {
         World(2, 2, 32, {3, 0, false});
       },
       "alignment"},
  };
  for (const auto& [run, text] : kErrors) {
    try {
      run();
      ADD_FAILURE() << "no error: " << text;
    } catch (const HostError& error) {
      EXPECT_THAT(error.what(), HasSubstr(text));
      EXPECT_THAT(error.what(), HasSubstr(" ("));
    }
  }
}

}  // namespace
}  // namespace lomix::host
