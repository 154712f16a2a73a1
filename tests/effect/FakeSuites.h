// A small host behind the basic suite: hands out suites, counts them and answers from plain data.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "effect/UnitSupport.h"
#include "hostapi/Suites.h"

namespace lomix::unit {

/// What a layer handle points to.
struct FakeLayer {
  AEGP_ObjectType type = AEGP_ObjectType_AV;
  AEGP_LightType light = AEGP_LightType_PARALLEL;
  AEGP_LayerFlags flags = 0;
  const char* name = "";
  A_long visibleAt = 0;  ///< The one composition time value at which it shows.
};

/// One at a time may exist: the suites' functions find it through a static pointer.
class FakeSuites {
 public:
  FakeSuites();
  ~FakeSuites();
  FakeSuites(const FakeSuites&) = delete;
  FakeSuites& operator=(const FakeSuites&) = delete;

  SPBasicSuite basic{};
  std::vector<std::string> acquired;  ///< "name version", in order.
  std::vector<std::string> released;

  std::string refused;           ///< "name version" of a suite that is not given out.
  SPErr answerOfAcquire = 0;     ///< What the host says then, and for every other suite 0.
  bool handsOutRefused = false;  ///< Whether the refused suite's pointer is set all the same.

  FakeLayer effectLayer;
  std::vector<FakeLayer> compLayers;

  /// What the last calls were given.
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

  /// Memory handles in order of their making.
  struct Block {
    std::uint64_t size;
    char bytes[16];
    char* address;
    int locks, unlocks, disposals;
  };
  std::vector<std::unique_ptr<Block>> blocks;

  /// Turns a call's records into After Effects' with these suites behind them.
  void serve(HostCall& call);
  static AEGP_LayerH handle(FakeLayer& layer) { return reinterpret_cast<AEGP_LayerH>(&layer); }
};

inline constexpr PF_Err kInfoResult = 7;  ///< What the info panel answers.
inline constexpr A_long kItemWidth = 640;
inline constexpr A_long kItemHeight = 360;

}  // namespace lomix::unit
