// Access to the host's suites.
#pragma once

#include <array>
#include <cstddef>

#include "hostapi/Suites.h"

/// Loads suites on first use and releases all it loaded when it goes away. Every failure is thrown
/// as the int PF_Err_BAD_CALLBACK_PARAM: a null basic suite at construction, a suite that the host
/// refuses at its first use.
class AEGP_SuiteHandler {
 public:
  explicit AEGP_SuiteHandler(const SPBasicSuite* basic);
  ~AEGP_SuiteHandler();
  AEGP_SuiteHandler(const AEGP_SuiteHandler&) = delete;
  AEGP_SuiteHandler& operator=(const AEGP_SuiteHandler&) = delete;

  const PF_ANSICallbacksSuite1* ANSICallbacksSuite1();
  const PF_HandleSuite1* HandleSuite1();
  const PF_WorldSuite2* WorldSuite2();
  const PFAdvAppSuite1* AdvAppSuite1();
  const AEGP_PFInterfaceSuite1* PFInterfaceSuite1();
  const AEGP_UtilitySuite3* UtilitySuite3();
  const AEGP_StreamSuite7* StreamSuite7();
  const AEGP_DynamicStreamSuite2* DynamicStreamSuite2();
  const AEGP_EffectSuite2* EffectSuite2();
  const AEGP_LayerSuite5* LayerSuite5();
  const AEGP_LayerSuite8* LayerSuite8();
  const AEGP_CompSuite4* CompSuite4();
  const AEGP_ItemSuite3* ItemSuite3();
  const AEGP_LightSuite1* LightSuite1();

  /// The suite straight from the host, without a slot; never null.
  const void* LoadSuite(const char* name, int version) const;
  void ReleaseSuite(const char* name, int version) const;
  void ReleaseAllSuites();
  [[noreturn]] void MissingSuiteError() const;

 private:
  // The slot table: one more suite is one more line here and an accessor. Suites are released in
  // this order.
  static constexpr std::array kSlotIds{kAnsiSuite1Id,   kHandleSuite1Id,        kWorldSuite2Id,
                                       kAdvAppSuite1Id, kPFInterfaceSuite1Id,   kUtilitySuite3Id,
                                       kStreamSuite7Id, kDynamicStreamSuite2Id, kEffectSuite2Id,
                                       kLayerSuite5Id,  kLayerSuite8Id,         kCompSuite4Id,
                                       kItemSuite3Id,   kLightSuite1Id};

  template <typename Suite>
  const Suite* Slot(const SuiteId& id);

  const SPBasicSuite* basic_;
  std::array<const void*, kSlotIds.size()> slots_{};
};
