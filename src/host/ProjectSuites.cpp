// The suites that only After Effects offers. They answer from the scene.
#include <algorithm>
#include <cstring>
#include <numeric>

#include "host/HostState.h"
#include "host/TrappedTable.h"

namespace lomix::host {
namespace {

/// Returns a + sign * b in the smallest common time units. sign: 1 or -1.
A_Time addTimes(A_Time a, A_Time b, int sign) {
  const std::int64_t scale = std::lcm(std::int64_t{a.scale}, std::int64_t{b.scale});
  if (scale == 0) return a;
  const std::int64_t value = a.value * (scale / a.scale) + sign * b.value * (scale / b.scale);
  return {static_cast<A_long>(value), static_cast<A_u_long>(scale)};
}

std::string timeText(const A_Time* time) {
  return time ? std::to_string(time->value) + "/" + std::to_string(time->scale) : "null";
}

AEGP_LayerH handleOf(SceneLayer& layer) { return reinterpret_cast<AEGP_LayerH>(&layer); }
AEGP_CompH compOf(HostState& s) { return reinterpret_cast<AEGP_CompH>(&s.options.scene); }
AEGP_ItemH itemOf(HostState& s) { return reinterpret_cast<AEGP_ItemH>(&s.options.scene.width); }

/// Answers a call about a layer. complete: whether no result address is null. work:
/// void(HostState&, SceneLayer&), called when the handle is a layer of the scene and complete is
/// true.
template <class Work>
A_Err answerLayer(const char* name, AEGP_LayerH handle, bool complete, std::string more,
                  Work work) {
  std::string arguments = "no layer";
  if (HostState* const s = HostState::current()) {
    for (SceneLayer& layer : s->options.scene.layers) {
      if (handleOf(layer) == handle) arguments = layer.name;
    }
  }
  return answer(name, arguments + more, [&](HostState& s) -> A_Err {
    for (SceneLayer& layer : s.options.scene.layers) {
      if (handleOf(layer) != handle || !complete) continue;
      work(s, layer);
      return PF_Err_NONE;
    }
    // A null layer is not a fault: plug-ins have one after a failed call, and hosts only refuse it.
    if (handle) s.faultNow(std::string(name) + " was given a foreign layer or no room");
    return PF_Err_BAD_CALLBACK_PARAM;
  });
}

/// Answers a call that stores a value in `result`. good: returns whether the object in question is
/// one of the host's. value: returns the result.
template <class Result, class Good, class Value>
A_Err answerValue(const char* name, std::string arguments, Result* result, Good good, Value value) {
  return answer(name, std::move(arguments), [&](HostState& s) -> A_Err {
    if (!result || !good(s)) return PF_Err_BAD_CALLBACK_PARAM;
    *result = value(s);
    return PF_Err_NONE;
  });
}

Reference* findReference(HostState& s, const void* handle) {
  for (const auto& reference : s.references) {
    if (reference.get() == handle) return reference.get();
  }
  return nullptr;
}

template <class Handle>
Handle newReference(HostState& s, PF_ParamIndex index) {
  s.references.push_back(std::make_unique<Reference>(Reference{index, false}));
  return reinterpret_cast<Handle>(s.references.back().get());
}

A_Err disposeReference(const char* name, const void* handle, int Ledger::*taken) {
  return answer(
      name, handle ? "handle" : "null",
      [&](HostState& s) -> A_Err {
        Reference* const reference = findReference(s, handle);
        if (!reference || reference->disposed) {
          s.faultNow(std::string(name) + " of something unknown or already disposed of");
          return PF_Err_BAD_CALLBACK_PARAM;
        }
        reference->disposed = true;
        --(s.ledger.*taken);
        return PF_Err_NONE;
      },
      Giving::Back);
}

A_Err getEffectLayer(PF_ProgPtr effect, AEGP_LayerH* layer) {
  return answerFor(effect, "AEGP PF Interface Suite 1.AEGP_GetEffectLayer", "", [&](HostState& s) {
    *layer = handleOf(s.options.scene.layers.at(s.options.scene.effectLayer));
    return PF_Err_NONE;
  });
}

A_Err getNewEffectForEffect(AEGP_PluginID plugin, PF_ProgPtr effect, AEGP_EffectRefH* reference) {
  return answerFor(effect, "AEGP PF Interface Suite 1.AEGP_GetNewEffectForEffect",
                   std::to_string(plugin), [&](HostState& s) {
                     *reference = newReference<AEGP_EffectRefH>(s, 0);
                     ++s.ledger.effects;
                     return PF_Err_NONE;
                   });
}

A_Err convertEffectToCompTime(PF_ProgPtr effect, A_long time, A_u_long scale, A_Time* compTime) {
  const A_Time layerTime{time, scale};
  return answerFor(effect, "AEGP PF Interface Suite 1.AEGP_ConvertEffectToCompTime",
                   timeText(&layerTime), [&](HostState& s) {
                     const Scene& scene = s.options.scene;
                     *compTime = addTimes(layerTime, scene.layers.at(scene.effectLayer).offset, 1);
                     return PF_Err_NONE;
                   });
}

A_Err reportInfo(AEGP_PluginID plugin, const A_char* text) {
  return answer("AEGP Utility Suite 3.AEGP_ReportInfo", std::to_string(plugin), [&](HostState& s) {
    s.shownTexts.push_back(text);
    return PF_Err_NONE;
  });
}

A_Err startUndoGroup(const A_char* name) {
  return answer("AEGP Utility Suite 3.AEGP_StartUndoGroup", name ? name : "null", [](HostState& s) {
    ++s.ledger.undoGroups;
    return PF_Err_NONE;
  });
}

A_Err endUndoGroup() {
  return answer(
      "AEGP Utility Suite 3.AEGP_EndUndoGroup", "",
      [](HostState& s) {
        --s.ledger.undoGroups;
        return PF_Err_NONE;
      },
      Giving::Back);
}

A_Err getNewEffectStream(AEGP_PluginID, AEGP_EffectRefH effect, PF_ParamIndex index,
                         AEGP_StreamRefH* stream) {
  return answer("AEGP Stream Suite 7.AEGP_GetNewEffectStreamByIndex", std::to_string(index),
                [&](HostState& s) -> A_Err {
                  const Reference* const reference = findReference(s, effect);
                  if (!reference || reference->disposed || index < 0 ||
                      index >= static_cast<PF_ParamIndex>(s.parameters.size())) {
                    s.faultNow("stream " + std::to_string(index) + " asked of no living effect");
                    return PF_Err_BAD_CALLBACK_PARAM;
                  }
                  *stream = newReference<AEGP_StreamRefH>(s, index);
                  ++s.ledger.streams;
                  return PF_Err_NONE;
                });
}

A_Err disposeStream(AEGP_StreamRefH stream) {
  return disposeReference("AEGP Stream Suite 7.AEGP_DisposeStream", stream, &Ledger::streams);
}

A_Err disposeEffect(AEGP_EffectRefH effect) {
  return disposeReference("AEGP Effect Suite 2.AEGP_DisposeEffect", effect, &Ledger::effects);
}

A_Err getLayerStreamValue(AEGP_LayerH layer, AEGP_LayerStream which, AEGP_LTimeMode mode,
                          const A_Time* time, A_Boolean preExpression, AEGP_StreamVal* value,
                          AEGP_StreamType*) {
  return answerLayer("AEGP Stream Suite 7.AEGP_GetLayerStreamValue", layer, value && time,
                     ", " + std::to_string(which) + ", " + std::to_string(mode) + ", " +
                         timeText(time) + (preExpression ? ", pre" : ", post"),
                     [&](HostState& s, SceneLayer& l) {
                       const auto found = l.streams.find(which);
                       if (found == l.streams.end()) {
                         s.faultNow("stream " + std::to_string(which) + " of layer " + l.name +
                                    ", which does not exist");
                       } else {
                         *value = found->second;
                       }
                     });
}

/// Answers a change of a stream that is not disposed of. work: void(HostState&, std::size_t index).
template <class Work>
A_Err answerStream(const char* name, AEGP_StreamRefH stream, std::string more, Work work) {
  std::string arguments = "no stream";
  if (HostState* const s = HostState::current()) {
    if (const Reference* const reference = findReference(*s, stream)) {
      arguments = std::to_string(reference->index);
    }
  }
  return answer(name, arguments + more, [&](HostState& s) -> A_Err {
    const Reference* const reference = findReference(s, stream);
    if (!reference || reference->disposed) {
      s.faultNow(std::string(name) + " of a stream that does not exist");
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    work(s, static_cast<std::size_t>(reference->index));
    return PF_Err_NONE;
  });
}

A_Err setDynamicStreamFlag(AEGP_StreamRefH stream, AEGP_DynStreamFlags flag, A_Boolean undoable,
                           A_Boolean set) {
  return answerStream("AEGP Dynamic Stream Suite 2.AEGP_SetDynamicStreamFlag", stream,
                      ", " + std::to_string(flag) + (undoable ? ", undoable" : ", not undoable") +
                          (set ? ", set" : ", clear"),
                      [&](HostState& s, std::size_t index) {
                        if (flag & AEGP_DynStreamFlag_HIDDEN) s.hidden[index] = set != 0;
                      });
}

A_Err setStreamName(AEGP_StreamRefH stream, const A_char* name) {
  return answerStream("AEGP Dynamic Stream Suite 2.AEGP_SetStreamName", stream,
                      std::string(", ") + name, [&](HostState& s, std::size_t index) {
                        A_char(&kept)[32] = s.parameters[index].definition.name;
                        kept[std::string_view(name).copy(kept, sizeof kept - 1)] = 0;
                      });
}

A_Err infoDrawText3(const A_char* line1, const A_char* line2, const A_char* line3) {
  std::string arguments;
  std::string text;
  for (const A_char* line : {line1, line2, line3}) {
    arguments += std::string(arguments.empty() ? "" : ", ") + (line ? line : "null");
    if (line) text += std::string(text.empty() ? "" : "\n") + line;
  }
  return answer("PF AE Adv App Suite 1.PF_InfoDrawText3", arguments, [&](HostState& s) {
    s.shownTexts.push_back(text);
    return PF_Err_NONE;
  });
}

A_Err getCompNumLayers(AEGP_CompH comp, A_long* count) {
  return answerValue(
      "AEGP Layer Suite 5.AEGP_GetCompNumLayers", "", count,
      [&](HostState& s) { return comp == compOf(s); },
      [](HostState& s) { return static_cast<A_long>(s.options.scene.layers.size()); });
}

A_Err getCompLayerByIndex(AEGP_CompH comp, A_long index, AEGP_LayerH* layer) {
  return answerValue(
      "AEGP Layer Suite 5.AEGP_GetCompLayerByIndex", std::to_string(index), layer,
      [&](HostState& s) {
        return comp == compOf(s) && index >= 0 &&
               index < static_cast<A_long>(s.options.scene.layers.size());
      },
      [&](HostState& s) {
        return handleOf(s.options.scene.layers[static_cast<std::size_t>(index)]);
      });
}

A_Err getItemFromComp(AEGP_CompH comp, AEGP_ItemH* item) {
  return answerValue(
      "AEGP Comp Suite 4.AEGP_GetItemFromComp", "", item,
      [&](HostState& s) { return comp == compOf(s); }, itemOf);
}

A_Err getItemDimensions(AEGP_ItemH item, A_long* width, A_long* height) {
  return answerValue(
      "AEGP Item Suite 3.AEGP_GetItemDimensions", "", width,
      [&](HostState& s) { return height && item == itemOf(s); },
      [&](HostState& s) {
        *height = s.options.scene.height;
        return A_long{s.options.scene.width};
      });
}

A_Err getLayerParentComp(AEGP_LayerH layer, AEGP_CompH* comp) {
  return answerLayer("AEGP Layer Suite 5.AEGP_GetLayerParentComp", layer, comp, "",
                     [&](HostState& s, SceneLayer&) { *comp = compOf(s); });
}

void copyName(const std::string& name, A_char* to) {
  if (to) to[name.copy(to, 31)] = 0;
}

A_Err getLayerName(AEGP_LayerH layer, A_char* layerName, A_char* sourceName) {
  return answerLayer("AEGP Layer Suite 5.AEGP_GetLayerName", layer, true,
                     sourceName ? ", with source" : ", without source",
                     [&](HostState&, SceneLayer& l) {
                       copyName(l.name, layerName);
                       copyName(l.name, sourceName);
                     });
}

A_Err getLayerFlags(AEGP_LayerH layer, AEGP_LayerFlags* flags) {
  return answerLayer("AEGP Layer Suite 5.AEGP_GetLayerFlags", layer, flags, "",
                     [&](HostState&, SceneLayer& l) { *flags = l.flags; });
}

A_Err getLayerObjectType(AEGP_LayerH layer, AEGP_ObjectType* type) {
  return answerLayer("AEGP Layer Suite 5.AEGP_GetLayerObjectType", layer, type, "",
                     [&](HostState&, SceneLayer& l) { *type = l.type; });
}

A_Err isVideoActive(AEGP_LayerH layer, AEGP_LTimeMode mode, const A_Time* time, A_Boolean* active) {
  return answerLayer("AEGP Layer Suite 5.AEGP_IsVideoActive", layer, active && time,
                     ", " + std::to_string(mode) + ", " + timeText(time),
                     [&](HostState&, SceneLayer& l) { *active = l.renderActive; });
}

A_Err convertCompToLayerTime(AEGP_LayerH layer, const A_Time* compTime, A_Time* layerTime) {
  return answerLayer("AEGP Layer Suite 5.AEGP_ConvertCompToLayerTime", layer, compTime && layerTime,
                     ", " + timeText(compTime), [&](HostState&, SceneLayer& l) {
                       *layerTime = addTimes(*compTime, l.offset, -1);
                     });
}

A_Err getLayerToWorldXform(AEGP_LayerH layer, const A_Time* compTime, A_Matrix4* transform) {
  return answerLayer("AEGP Layer Suite 5.AEGP_GetLayerToWorldXform", layer, compTime && transform,
                     ", " + timeText(compTime),
                     [&](HostState&, SceneLayer& l) { *transform = l.toWorld; });
}

A_Err getLayerOffset(AEGP_LayerH layer, A_Time* offset) {
  return answerLayer("AEGP Layer Suite 8.AEGP_GetLayerOffset", layer, offset, "",
                     [&](HostState&, SceneLayer& l) { *offset = l.offset; });
}

A_Err getLightType(AEGP_LayerH layer, AEGP_LightType* type) {
  return answerLayer("AEGP Light Suite 1.AEGP_GetLightType", layer, type, "",
                     [&](HostState& s, SceneLayer& l) {
                       if (l.type != AEGP_ObjectType_LIGHT) {
                         s.faultNow("light type of layer " + l.name + ", which is not a light");
                       }
                       *type = l.lightType;
                     });
}

AEGP_LayerSuite5 layerSuite5() {
  auto table = trappedTable<AEGP_LayerSuite5>();
  table.AEGP_GetCompNumLayers = getCompNumLayers;
  table.AEGP_GetCompLayerByIndex = getCompLayerByIndex;
  table.AEGP_GetLayerParentComp = getLayerParentComp;
  table.AEGP_GetLayerName = getLayerName;
  table.AEGP_GetLayerFlags = getLayerFlags;
  table.AEGP_GetLayerObjectType = getLayerObjectType;
  table.AEGP_IsVideoActive = isVideoActive;
  table.AEGP_ConvertCompToLayerTime = convertCompToLayerTime;
  table.AEGP_GetLayerToWorldXform = getLayerToWorldXform;
  return table;
}

/// The function tables of all suites, filled once.
struct ProjectTables {
  PFAdvAppSuite1 advApp = trappedTable<PFAdvAppSuite1>();
  AEGP_PFInterfaceSuite1 pfInterface = trappedTable<AEGP_PFInterfaceSuite1>();
  AEGP_UtilitySuite3 utility = trappedTable<AEGP_UtilitySuite3>();
  AEGP_StreamSuite7 stream = trappedTable<AEGP_StreamSuite7>();
  AEGP_DynamicStreamSuite2 dynamicStream = trappedTable<AEGP_DynamicStreamSuite2>();
  AEGP_EffectSuite2 effect = trappedTable<AEGP_EffectSuite2>();
  AEGP_LayerSuite5 layer5 = layerSuite5();
  AEGP_LayerSuite8 layer8 = trappedTable<AEGP_LayerSuite8>();
  AEGP_CompSuite4 comp = trappedTable<AEGP_CompSuite4>();
  AEGP_ItemSuite3 item = trappedTable<AEGP_ItemSuite3>();
  AEGP_LightSuite1 light = trappedTable<AEGP_LightSuite1>();

  ProjectTables() {
    advApp.PF_InfoDrawText3 = infoDrawText3;
    pfInterface.AEGP_GetEffectLayer = getEffectLayer;
    pfInterface.AEGP_GetNewEffectForEffect = getNewEffectForEffect;
    pfInterface.AEGP_ConvertEffectToCompTime = convertEffectToCompTime;
    utility.AEGP_ReportInfo = reportInfo;
    utility.AEGP_StartUndoGroup = startUndoGroup;
    utility.AEGP_EndUndoGroup = endUndoGroup;
    stream.AEGP_GetNewEffectStreamByIndex = getNewEffectStream;
    stream.AEGP_DisposeStream = disposeStream;
    stream.AEGP_GetLayerStreamValue = getLayerStreamValue;
    dynamicStream.AEGP_SetDynamicStreamFlag = setDynamicStreamFlag;
    dynamicStream.AEGP_SetStreamName = setStreamName;
    effect.AEGP_DisposeEffect = disposeEffect;
    layer8.AEGP_GetLayerOffset = getLayerOffset;
    comp.AEGP_GetItemFromComp = getItemFromComp;
    item.AEGP_GetItemDimensions = getItemDimensions;
    light.AEGP_GetLightType = getLightType;
  }
};

}  // namespace

std::vector<OfferedSuite> projectSuites() {
  static const ProjectTables kTables;
  return {{kAdvAppSuite1Id, &kTables.advApp, false},
          {kPFInterfaceSuite1Id, &kTables.pfInterface, false},
          {kUtilitySuite3Id, &kTables.utility, false},
          {kStreamSuite7Id, &kTables.stream, false},
          {kDynamicStreamSuite2Id, &kTables.dynamicStream, false},
          {kEffectSuite2Id, &kTables.effect, false},
          {kLayerSuite5Id, &kTables.layer5, false},
          {kLayerSuite8Id, &kTables.layer8, false},
          {kCompSuite4Id, &kTables.comp, false},
          {kItemSuite3Id, &kTables.item, false},
          {kLightSuite1Id, &kTables.light, false}};
}

}  // namespace lomix::host
