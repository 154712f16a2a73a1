// Reads any text as a preset. What is read must survive being written and read again.
#include <string>

#include "fuzz/Fuzzing.h"
#include "looks/LookErrors.h"
#include "looks/Preset.h"

namespace {

using lomix::fuzz::require;
using lomix::fuzz::requireMessage;
namespace looks = lomix::looks;

/// Requires that every parameter has a value in its range at times before, between and after keys.
void requireValues(const looks::Look& look) {
  const looks::ParameterTable& table = looks::effectTable();
  for (const double seconds : {-1e9, -1.0, 0.0, 0.1, 1.0 / 3, 2.5, 1e9}) {
    for (const looks::Parameter& parameter : table.all()) {
      const double value = look.valueAt(parameter, seconds);
      require(value >= parameter.minimum && value <= parameter.maximum,
              parameter.name + " is " + std::to_string(value));
    }
  }
}

/// Returns whether two curves have the same keys. A single key is written as a value for all times.
bool areSame(const looks::Curve& a, const looks::Curve& b) {
  if (a.isConstant() && b.isConstant()) return a.at(0.0) == b.at(0.0);
  return a.keys() == b.keys();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const looks::ParameterTable& table = looks::effectTable();
  looks::Preset preset;
  try {
    preset = looks::parsePreset({data, data + size}, "'fuzz.json'", table);
  } catch (const looks::BadPreset& error) {
    requireMessage(error.what());
    return 0;
  }
  requireValues(preset.look);
  const std::string written = looks::presetText(preset, table);
  const looks::Preset again = looks::parsePreset(written, "'again.json'", table);
  require(looks::presetText(again, table) == written, "a preset changes when it is written");
  require(again.name == preset.name && again.description == preset.description,
          "a preset gets another name or description when it is written");
  for (const auto& [index, curve] : preset.look.curves()) {
    const auto found = again.look.curves().find(index);
    require(found != again.look.curves().end() && areSame(curve, found->second),
            "parameter " + std::to_string(index) + " changes when it is written");
  }
  require(again.look.curves().size() == preset.look.curves().size(), "a preset gains parameters");
  return 0;
}
