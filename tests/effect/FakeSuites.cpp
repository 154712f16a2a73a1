#include "effect/FakeSuites.h"

#include <stdexcept>
#include <utility>

namespace lomix::unit {
namespace {

FakeSuites* host = nullptr;

// Handles that only have to differ.
AEGP_CompH compHandle() { return reinterpret_cast<AEGP_CompH>(&host->acquired); }
AEGP_ItemH itemHandle() { return reinterpret_cast<AEGP_ItemH>(&host->released); }
FakeLayer& layerOf(AEGP_LayerH layer) { return *reinterpret_cast<FakeLayer*>(layer); }
FakeSuites::Block& blockOf(PF_Handle handle) {
  for (const auto& block : host->blocks) {
    if (&block->address == handle) return *block;
  }
  throw std::out_of_range("no such handle");
}

const PF_HandleSuite1 handleSuite = [] {
  PF_HandleSuite1 s{};
  s.host_new_handle = [](std::uint64_t size) -> PF_Handle {
    host->blocks.push_back(std::make_unique<FakeSuites::Block>());
    FakeSuites::Block& block = *host->blocks.back();
    block.size = size;
    block.address = block.bytes;
    return &block.address;
  };
  s.host_lock_handle = [](PF_Handle handle) -> void* {
    ++blockOf(handle).locks;
    return *handle;
  };
  s.host_unlock_handle = [](PF_Handle handle) { ++blockOf(handle).unlocks; };
  s.host_dispose_handle = [](PF_Handle handle) {
    FakeSuites::Block& block = blockOf(handle);
    // Counted only where it was unlocked first.
    if (block.unlocks == block.locks) ++block.disposals;
  };
  return s;
}();

const PFAdvAppSuite1 advAppSuite = [] {
  PFAdvAppSuite1 s{};
  s.PF_InfoDrawText3 = [](const A_char* a, const A_char* b, const A_char* c) -> PF_Err {
    host->infoLines.clear();
    for (const char* line : {a, b, c}) {
      host->infoLines.push_back(line != nullptr ? std::optional<std::string>(line) : std::nullopt);
    }
    return kInfoResult;
  };
  return s;
}();

const AEGP_PFInterfaceSuite1 interfaceSuite = [] {
  AEGP_PFInterfaceSuite1 s{};
  s.AEGP_GetEffectLayer = [](PF_ProgPtr, AEGP_LayerH* layer) -> A_Err {
    *layer = FakeSuites::handle(host->effectLayer);
    return 0;
  };
  s.AEGP_ConvertEffectToCompTime = [](PF_ProgPtr, A_long time, A_u_long scale,
                                      A_Time* result) -> A_Err {
    *result = {time + 1000, scale};
    return 0;
  };
  return s;
}();

const AEGP_UtilitySuite3 utilitySuite = [] {
  AEGP_UtilitySuite3 s{};
  s.AEGP_ReportInfo = [](AEGP_PluginID plugin, const A_char* text) -> A_Err {
    host->reportPlugin = plugin;
    host->report = text;
    return 0;
  };
  return s;
}();

const AEGP_StreamSuite7 streamSuite = [] {
  AEGP_StreamSuite7 s{};
  s.AEGP_GetLayerStreamValue = [](AEGP_LayerH layer, AEGP_LayerStream which, AEGP_LTimeMode mode,
                                  const A_Time* time, A_Boolean pre, AEGP_StreamVal* value,
                                  AEGP_StreamType*) -> A_Err {
    host->streamCall = {layer, which, mode, time->value, pre != 0};
    for (int i = 0; i < 4; ++i) value->four_d[i] = which + i + 1;
    return 0;
  };
  return s;
}();

const AEGP_LayerSuite5 layerSuite5 = [] {
  AEGP_LayerSuite5 s{};
  s.AEGP_GetCompNumLayers = [](AEGP_CompH comp, A_long* count) -> A_Err {
    *count = comp == compHandle() ? static_cast<A_long>(host->compLayers.size()) : -1;
    return 0;
  };
  s.AEGP_GetCompLayerByIndex = [](AEGP_CompH comp, A_long index, AEGP_LayerH* layer) -> A_Err {
    if (comp != compHandle()) return PF_Err_INVALID_INDEX;
    *layer = FakeSuites::handle(host->compLayers.at(static_cast<std::size_t>(index)));
    return 0;
  };
  s.AEGP_GetLayerParentComp = [](AEGP_LayerH layer, AEGP_CompH* comp) -> A_Err {
    *comp = layer == FakeSuites::handle(host->effectLayer) ? compHandle() : nullptr;
    return 0;
  };
  s.AEGP_GetLayerName = [](AEGP_LayerH layer, A_char* name, A_char*) -> A_Err {
    std::snprintf(name, 32, "%s", layerOf(layer).name);
    return 0;
  };
  s.AEGP_GetLayerFlags = [](AEGP_LayerH layer, AEGP_LayerFlags* flags) -> A_Err {
    *flags = layerOf(layer).flags;
    return 0;
  };
  s.AEGP_GetLayerObjectType = [](AEGP_LayerH layer, AEGP_ObjectType* type) -> A_Err {
    *type = layerOf(layer).type;
    return 0;
  };
  s.AEGP_IsVideoActive = [](AEGP_LayerH layer, AEGP_LTimeMode mode, const A_Time* time,
                            A_Boolean* active) -> A_Err {
    const bool shows = mode == AEGP_LTimeMode_CompTime && time->value == layerOf(layer).visibleAt;
    *active = shows ? 2 : 0;
    return 0;
  };
  s.AEGP_ConvertCompToLayerTime = [](AEGP_LayerH, const A_Time* time, A_Time* result) -> A_Err {
    *result = {time->value - 300, time->scale};
    return 0;
  };
  s.AEGP_GetLayerToWorldXform = [](AEGP_LayerH, const A_Time* time, A_Matrix4* matrix) -> A_Err {
    for (int i = 0; i < 16; ++i) matrix->mat[i / 4][i % 4] = i + time->value;
    return 0;
  };
  return s;
}();

const AEGP_LayerSuite8 layerSuite8 = [] {
  AEGP_LayerSuite8 s{};
  s.AEGP_GetLayerOffset = [](AEGP_LayerH layer, A_Time* offset) -> A_Err {
    if (layer == FakeSuites::handle(host->effectLayer)) *offset = {77, 5};
    return 0;
  };
  return s;
}();

const AEGP_CompSuite4 compSuite = [] {
  AEGP_CompSuite4 s{};
  s.AEGP_GetItemFromComp = [](AEGP_CompH comp, AEGP_ItemH* item) -> A_Err {
    *item = comp == compHandle() ? itemHandle() : nullptr;
    return 0;
  };
  return s;
}();

const AEGP_ItemSuite3 itemSuite = [] {
  AEGP_ItemSuite3 s{};
  s.AEGP_GetItemDimensions = [](AEGP_ItemH item, A_long* width, A_long* height) -> A_Err {
    if (item != itemHandle()) return PF_Err_INVALID_INDEX;
    *width = kItemWidth;
    *height = kItemHeight;
    return 0;
  };
  return s;
}();

const AEGP_LightSuite1 lightSuite = [] {
  AEGP_LightSuite1 s{};
  s.AEGP_GetLightType = [](AEGP_LayerH layer, AEGP_LightType* type) -> A_Err {
    *type = layerOf(layer).light;
    return 0;
  };
  return s;
}();

const PF_WorldSuite2 worldSuite{};
const PF_ANSICallbacksSuite1 ansiSuite{};
const AEGP_EffectSuite2 effectSuite{};
const AEGP_DynamicStreamSuite2 dynamicStreamSuite{};

const std::pair<const char*, const void*> kSuites[] = {
    {"PF ANSI Suite 1", &ansiSuite},
    {"PF Handle Suite 1", &handleSuite},
    {"PF World Suite 2", &worldSuite},
    {"PF AE Adv App Suite 1", &advAppSuite},
    {"AEGP PF Interface Suite 1", &interfaceSuite},
    {"AEGP Utility Suite 3", &utilitySuite},
    {"AEGP Stream Suite 7", &streamSuite},
    {"AEGP Dynamic Stream Suite 2", &dynamicStreamSuite},
    {"AEGP Effect Suite 2", &effectSuite},
    {"AEGP Layer Suite 5", &layerSuite5},
    {"AEGP Layer Suite 8", &layerSuite8},
    {"AEGP Comp Suite 4", &compSuite},
    {"AEGP Item Suite 3", &itemSuite},
    {"AEGP Light Suite 1", &lightSuite},
};

std::string label(const char* name, std::int32_t version) {
  return std::string(name) + ' ' + std::to_string(version);
}

}  // namespace

FakeSuites::FakeSuites() {
  host = this;
  basic.AcquireSuite = [](const char* name, std::int32_t version, const void** suite) -> SPErr {
    const std::string wanted = label(name, version);
    for (const auto& [known, table] : kSuites) {
      if (wanted != known) continue;
      const bool refusal = wanted == host->refused;
      if (!refusal || host->handsOutRefused) {
        *suite = table;
        host->acquired.push_back(wanted);
      }
      return refusal ? host->answerOfAcquire : 0;
    }
    return PF_Err_BAD_CALLBACK_PARAM;
  };
  basic.ReleaseSuite = [](const char* name, std::int32_t version) -> SPErr {
    host->released.push_back(label(name, version));
    return PF_Err_INVALID_CALLBACK;  // Callers must ignore it.
  };
}

FakeSuites::~FakeSuites() { host = nullptr; }

void FakeSuites::serve(HostCall& call) {
  call.in.appl_id = kHostIdAfterEffects;
  call.in.pica_basicP = &basic;
}

}  // namespace lomix::unit
