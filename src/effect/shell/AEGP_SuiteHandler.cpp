#include "effect/shell/AEGP_SuiteHandler.h"

#include <cstring>

AEGP_SuiteHandler::AEGP_SuiteHandler(const SPBasicSuite* basic) : basic_(basic) {
  if (basic_ == nullptr) MissingSuiteError();
}

AEGP_SuiteHandler::~AEGP_SuiteHandler() { ReleaseAllSuites(); }

template <typename Suite>
const Suite* AEGP_SuiteHandler::Slot(const SuiteId& id) {
  std::size_t slot = 0;
  while (kSlotIds[slot].version != id.version || std::strcmp(kSlotIds[slot].name, id.name) != 0) {
    ++slot;
  }
  if (slots_[slot] == nullptr) slots_[slot] = LoadSuite(id.name, id.version);
  return static_cast<const Suite*>(slots_[slot]);
}

const PF_ANSICallbacksSuite1* AEGP_SuiteHandler::ANSICallbacksSuite1() {
  return Slot<PF_ANSICallbacksSuite1>(kAnsiSuite1Id);
}
const PF_HandleSuite1* AEGP_SuiteHandler::HandleSuite1() {
  return Slot<PF_HandleSuite1>(kHandleSuite1Id);
}
const PF_WorldSuite2* AEGP_SuiteHandler::WorldSuite2() {
  return Slot<PF_WorldSuite2>(kWorldSuite2Id);
}
const PFAdvAppSuite1* AEGP_SuiteHandler::AdvAppSuite1() {
  return Slot<PFAdvAppSuite1>(kAdvAppSuite1Id);
}
const AEGP_PFInterfaceSuite1* AEGP_SuiteHandler::PFInterfaceSuite1() {
  return Slot<AEGP_PFInterfaceSuite1>(kPFInterfaceSuite1Id);
}
const AEGP_UtilitySuite3* AEGP_SuiteHandler::UtilitySuite3() {
  return Slot<AEGP_UtilitySuite3>(kUtilitySuite3Id);
}
const AEGP_StreamSuite7* AEGP_SuiteHandler::StreamSuite7() {
  return Slot<AEGP_StreamSuite7>(kStreamSuite7Id);
}
const AEGP_DynamicStreamSuite2* AEGP_SuiteHandler::DynamicStreamSuite2() {
  return Slot<AEGP_DynamicStreamSuite2>(kDynamicStreamSuite2Id);
}
const AEGP_EffectSuite2* AEGP_SuiteHandler::EffectSuite2() {
  return Slot<AEGP_EffectSuite2>(kEffectSuite2Id);
}
const AEGP_LayerSuite5* AEGP_SuiteHandler::LayerSuite5() {
  return Slot<AEGP_LayerSuite5>(kLayerSuite5Id);
}
const AEGP_LayerSuite8* AEGP_SuiteHandler::LayerSuite8() {
  return Slot<AEGP_LayerSuite8>(kLayerSuite8Id);
}
const AEGP_CompSuite4* AEGP_SuiteHandler::CompSuite4() {
  return Slot<AEGP_CompSuite4>(kCompSuite4Id);
}
const AEGP_ItemSuite3* AEGP_SuiteHandler::ItemSuite3() {
  return Slot<AEGP_ItemSuite3>(kItemSuite3Id);
}
const AEGP_LightSuite1* AEGP_SuiteHandler::LightSuite1() {
  return Slot<AEGP_LightSuite1>(kLightSuite1Id);
}

const void* AEGP_SuiteHandler::LoadSuite(const char* name, int version) const {
  const void* suite = nullptr;
  if (basic_->AcquireSuite(name, version, &suite) != PF_Err_NONE || suite == nullptr) {
    MissingSuiteError();
  }
  return suite;
}

void AEGP_SuiteHandler::ReleaseSuite(const char* name, int version) const {
  basic_->ReleaseSuite(name, version);
}

void AEGP_SuiteHandler::ReleaseAllSuites() {
  for (std::size_t slot = 0; slot < kSlotIds.size(); ++slot) {
    if (slots_[slot] == nullptr) continue;
    ReleaseSuite(kSlotIds[slot].name, kSlotIds[slot].version);
    slots_[slot] = nullptr;
  }
}

void AEGP_SuiteHandler::MissingSuiteError() const {
  throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
}
