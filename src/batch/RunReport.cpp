#include "batch/RunReport.h"

#include "looks/Preset.h"
#include "support/NewFile.h"
#include "support/TextFile.h"

namespace lomix::batch {

using Json = nlohmann::ordered_json;

Json reportOf(const Tally& tally, const std::vector<FrameFailure>& failures, double wallSeconds) {
  const auto seconds = [](std::int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) * 1e-9;
  };
  Json list = Json::array();
  for (const FrameFailure& failure : failures) {
    list.push_back({{"frame", failure.number}, {"cause", failure.message}});
  }
  const std::int64_t rendered = tally.rendered;
  return {{"frames",
           {{"rendered", rendered},
            {"skipped", tally.skipped.load()},
            {"failed", tally.failed.load()}}},
          {"failures", list},
          {"seconds",
           {{"wall", wallSeconds},
            {"read", seconds(tally.readTime)},
            {"effect", seconds(tally.effectTime)},
            {"write", seconds(tally.writeTime)}}},
          {"framesPerSecond", wallSeconds > 0 ? static_cast<double>(rendered) / wallSeconds : 0.0}};
}

bool continuesShare(const RunOptions& options) {
  const std::optional<Share>& share = options.route.share;
  if (!share || options.route.existing != Existing::Skip || options.reportFile.empty() ||
      !fileExists(options.reportFile)) {
    return false;
  }
  constexpr std::size_t kMostBytes = 16 << 20;
  const Json old = Json::parse(readText(options.reportFile, kMostBytes), nullptr, false);
  if (!old.is_object()) return false;
  const auto earlier = old.find("share");
  return earlier != old.end() && earlier->is_object() &&
         old.value("output", Json()) == options.route.output &&
         earlier->value("number", Json()) == share->number &&
         earlier->value("of", Json()) == share->count;
}

Json settingsOf(const looks::ParameterTable& table, const looks::Look& look) {
  Json settings;
  for (const looks::Parameter& parameter : table.all()) {
    const double value = look.valueAt(parameter, 0.0);
    if (parameter.isChoice) {
      settings[parameter.name] = looks::valueText(parameter, value);
    } else {
      settings[parameter.name] = value;
    }
  }
  const Json preset = looks::toJson({{}, {}, look}, table);
  if (const auto keys = preset.find("keys"); keys != preset.end()) settings.update(*keys);
  return settings;
}

}  // namespace lomix::batch
