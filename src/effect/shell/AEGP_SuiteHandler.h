// Access to the host's suites for the length of a scope.
#pragma once

#include <array>
#include <cstddef>

#include "hostapi/Suites.h"

/// Loads each suite on its first use and releases all loaded suites on destruction. Failures are
/// thrown as the int PF_Err_BAD_CALLBACK_PARAM: a null basic suite at construction, and a suite
/// that the host refuses at its first use. Pointers to suites are valid until they are released.
/// One thread at a time may use an object.
class AEGP_SuiteHandler {
 public:
  explicit AEGP_SuiteHandler(const SPBasicSuite* basic);
  ~AEGP_SuiteHandler();
  AEGP_SuiteHandler(const AEGP_SuiteHandler&) = delete;
  AEGP_SuiteHandler& operator=(const AEGP_SuiteHandler&) = delete;

  // Return the suite of that name and version, never null.

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

  /// Acquires a suite from the host and returns it, never null. It is not remembered: the caller
  /// releases it with ReleaseSuite.
  const void* LoadSuite(const char* name, int version) const;
  /// Releases one acquisition of a suite; the host's result is ignored.
  void ReleaseSuite(const char* name, int version) const;
  /// Releases every suite that an accessor has loaded; the accessors load them again on next use.
  void ReleaseAllSuites();
  /// Throws the int PF_Err_BAD_CALLBACK_PARAM.
  [[noreturn]] void MissingSuiteError() const;

 private:
  // The suites that can be loaded, in the order in which they are released. To add a suite, add its
  // id here and an accessor above.
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
