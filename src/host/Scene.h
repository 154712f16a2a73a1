// The composition that a headless host shows to plug-ins.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "hostapi/Suites.h"

namespace lomix::host {

/// The streams of the standard scene's layers, one for each number of dimensions.
inline constexpr AEGP_LayerStream kOneDStream = 1;
inline constexpr AEGP_LayerStream kTwoDStream = 2;
inline constexpr AEGP_LayerStream kThreeDStream = 3;
inline constexpr AEGP_LayerStream kFourDStream = 4;

/// One layer of the composition.
struct SceneLayer {
  std::string name;
  AEGP_ObjectType type = 0;
  AEGP_LightType lightType = 0;  ///< For lights only.
  AEGP_LayerFlags flags = 0;
  bool renderActive = true;
  A_Time offset{0, 1};  ///< Start of the layer in composition time.
  A_Matrix4 toWorld{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
  std::map<AEGP_LayerStream, AEGP_StreamVal> streams;  ///< Values of the streams it has.
};

/// The composition: its size in pixels, its layers, and the one that carries the effect.
struct Scene {
  int width = 0;
  int height = 0;
  std::vector<SceneLayer> layers;
  std::size_t effectLayer = 0;

  /// Returns a scene of 1920 x 1080: a picture layer with the effect that starts at 1/2 s, a
  /// parallel, a spot and a point light, a camera, and a text layer that is switched off. Layer n
  /// (from 0) has the stream values n + 0.25, n + 0.5 and so on, and the position (100 n, 10 n,
  /// -n).
  static Scene standard();
};

}  // namespace lomix::host
