#include "batch/RunReport.h"

#include "looks/Preset.h"

namespace lomix::cli {

using Json = nlohmann::ordered_json;

Json reportOf(const Pipeline& pipeline, double wallSeconds) {
  const Tally& tally = pipeline.tally();
  const auto seconds = [](std::int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) * 1e-9;
  };
  Json failures = Json::array();
  for (const FrameFailure& failure : pipeline.failures()) {
    failures.push_back({{"frame", failure.number}, {"cause", failure.message}});
  }
  const std::int64_t rendered = tally.rendered;
  return {{"frames",
           {{"rendered", rendered},
            {"skipped", tally.skipped.load()},
            {"failed", tally.failed.load()}}},
          {"failures", failures},
          {"seconds",
           {{"wall", wallSeconds},
            {"read", seconds(tally.readTime)},
            {"effect", seconds(tally.effectTime)},
            {"write", seconds(tally.writeTime)}}},
          {"framesPerSecond", wallSeconds > 0 ? static_cast<double>(rendered) / wallSeconds : 0.0}};
}

Json settingsOf(const FrameRenderer& renderer) {
  std::vector<host::Parameter> parameters = renderer.parameters().all();
  for (const Assignment& value : renderer.look().at(0.0)) {
    for (host::Parameter& parameter : parameters) {
      if (parameter.index == value.index) parameter.setValue(value.value);
    }
  }
  Json settings;
  for (const host::Parameter& parameter : parameters) {
    if (parameter.isPopup()) {
      settings[parameter.name()] = valueText(parameter, parameter.value());
    } else {
      settings[parameter.name()] = parameter.value();
    }
  }
  const Json preset = toJson({{}, {}, renderer.look()}, renderer.parameters());
  if (const auto keys = preset.find("keys"); keys != preset.end()) settings.update(*keys);
  return settings;
}

}  // namespace lomix::cli
