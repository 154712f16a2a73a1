#include "host/Scene.h"

#include "hostapi/Commands.h"

namespace lomix::host {
namespace {

// Adds a layer whose values follow from its number, so that no two are the same.
SceneLayer& addLayer(Scene& scene, const char* name, AEGP_ObjectType type) {
  const double number = static_cast<double>(scene.layers.size());
  SceneLayer& layer = scene.layers.emplace_back();
  layer.name = name;
  layer.type = type;
  layer.flags = AEGP_LayerFlag_VIDEO_ACTIVE;
  layer.toWorld.mat[3][0] = 100.0 * number;
  layer.toWorld.mat[3][1] = 10.0 * number;
  layer.toWorld.mat[3][2] = -number;
  layer.streams[kOneDStream].one_d = number + 0.25;
  layer.streams[kTwoDStream].two_d = {number + 0.25, number + 0.5};
  layer.streams[kThreeDStream].three_d = {number + 0.25, number + 0.5, number + 0.75};
  layer.streams[kFourDStream].color = {number + 0.25, number + 0.5, number + 0.75, number + 1.0};
  return layer;
}

}  // namespace

Scene Scene::standard() {
  Scene scene;
  scene.width = 1920;
  scene.height = 1080;
  addLayer(scene, "Picture", AEGP_ObjectType_AV).offset = {1, 2};
  addLayer(scene, "Sun", AEGP_ObjectType_LIGHT).lightType = AEGP_LightType_PARALLEL;
  addLayer(scene, "Lamp", AEGP_ObjectType_LIGHT).lightType = AEGP_LightType_SPOT;
  addLayer(scene, "Bulb", AEGP_ObjectType_LIGHT).lightType = AEGP_LightType_POINT;
  addLayer(scene, "Camera", AEGP_ObjectType_CAMERA);
  SceneLayer& title = addLayer(scene, "Title", AEGP_ObjectType_TEXT);
  title.flags = 0;
  title.renderActive = false;
  return scene;
}

}  // namespace lomix::host
