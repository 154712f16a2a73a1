// A small host behind the basic suite: gives suites, records their acquisition and answers calls
// from plain data.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "effect/UnitSupport.h"
#include "hostapi/Suites.h"

namespace lomix::unit {

/// The object behind a layer handle.
struct FakeLayer {
  AEGP_ObjectType type = AEGP_ObjectType_AV;
  AEGP_LightType light = AEGP_LightType_PARALLEL;
  AEGP_LayerFlags flags = 0;
  const char* name = "";
  A_long visibleAt = 0;  ///< The one composition time value at which it is visible.
};

/// The host. Only one may exist at a time: the suites' functions find it through a static pointer.
class FakeSuites {
 public:
  FakeSuites();
  ~FakeSuites();
  FakeSuites(const FakeSuites&) = delete;
  FakeSuites& operator=(const FakeSuites&) = delete;

  SPBasicSuite basic{};
  std::vector<std::string> acquired;  ///< "name version", in the order of acquisition.
  std::vector<std::string> released;

  std::string refused;        ///< "name version" of a suite that cannot be acquired.
  SPErr answerOfAcquire = 0;  ///< The error returned for it; for every other suite 0.
  bool handsOutRefused =
      false;  ///< Whether the refused suite's pointer is set in spite of the error.

  FakeLayer effectLayer;
  std::vector<FakeLayer> compLayers;

  /// Arguments of the last call of AEGP_GetLayerStreamValue.
  struct StreamCall {
    AEGP_LayerH layer;
    AEGP_LayerStream stream;
    AEGP_LTimeMode mode;
    A_long time;
    bool preExpression;
  } streamCall{};
  std::vector<std::optional<std::string>> infoLines;
  std::string report;
  AEGP_PluginID reportPlugin = -1;

  /// Memory handles in the order of their allocation.
  struct Block {
    std::uint64_t size;
    char bytes[16];
    char* address;
    int locks, unlocks, disposals;
  };
  std::vector<std::unique_ptr<Block>> blocks;

  /// Sets a call's records to After Effects with these suites.
  void serve(HostCall& call);
  static AEGP_LayerH handle(FakeLayer& layer) { return reinterpret_cast<AEGP_LayerH>(&layer); }
};

inline constexpr PF_Err kInfoResult = 7;  ///< The result of PF_InfoDrawText3.
inline constexpr A_long kItemWidth = 640;
inline constexpr A_long kItemHeight = 360;

}  // namespace lomix::unit
