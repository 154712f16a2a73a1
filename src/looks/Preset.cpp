#include "looks/Preset.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "looks/LocatedJson.h"
#include "support/Errors.h"

namespace lomix::looks {
namespace {

using nlohmann::ordered_json;
using Pointer = LocatedJson::Pointer;

/// A value as it stands in the file, or its beginning where it is long.
std::string shown(const ordered_json& value) {
  constexpr std::size_t kLength = 40;
  const std::string text = value.dump(-1, ' ', true);
  return text.size() <= kLength ? text : text.substr(0, kLength) + "...";
}

std::string inQuotes(std::string_view name) { return "\"" + std::string(name) + "\""; }

bool isPresetLine(const std::string& text) {
  const bool oneLine = std::ranges::none_of(
      text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
  return !text.empty() && text.size() <= kMaxPresetLine && oneLine;
}

void requirePresetLine(const char* what, const std::string& text) {
  if (isPresetLine(text)) return;
  throw UsageError(std::string(what) + ": it must be one line (use 1 to " +
                   std::to_string(kMaxPresetLine) + " letters)");
}

/// Reads one preset; every error names its line.
class Reader {
 public:
  Reader(const std::string& text, const std::string& source, const ParameterTable& table)
      : json_(text, source), table_(table) {}

  Preset read() {
    const ordered_json& root = json_.root();
    requireObject(Pointer(), "a preset");
    // First, since a file of a later form may have names that mean nothing here.
    checkFormat();
    checkNames(Pointer(), {"$schema", "format", "name", "description", "parameters", "keys"});
    Preset preset{readLine("name"), readLine("description"), {}};
    if (root.contains("parameters")) readParameters(preset.look);
    if (root.contains("keys")) readCurves(preset.look);
    return preset;
  }

 private:
  const ordered_json& at(const Pointer& place) const { return json_.root().at(place); }

  void requireObject(const Pointer& place, const std::string& what) {
    if (!at(place).is_object()) json_.fail(place, what + " must be an object (write { ... })");
  }

  const ordered_json& require(const Pointer& object, const char* name) {
    const ordered_json& value = at(object);
    if (!value.contains(name)) json_.fail(object, inQuotes(name) + " is missing here (add it)");
    return value[name];
  }

  void checkNames(const Pointer& object, std::initializer_list<std::string_view> known) {
    for (const auto& [name, value] : at(object).items()) {
      if (std::ranges::find(known, name) != known.end()) continue;
      std::string list;
      for (const std::string_view other : known)
        list += (list.empty() ? "" : ", ") + inQuotes(other);
      json_.fail(object / name, inQuotes(name) + " has no meaning here (use " + list + ")");
    }
  }

  void checkFormat() {
    const ordered_json& format = require(Pointer(), "format");
    const Pointer place("/format");
    if (!format.is_number_integer() || format < 1) {
      json_.fail(place,
                 "\"format\" must be a whole number (use " + std::to_string(kPresetFormat) + ")");
    }
    if (format > kPresetFormat) {
      json_.fail(place, "\"format\" " + shown(format) +
                            " is later than this version can read (use a newer lomix)");
    }
  }

  /// A text of one line.
  std::string readLine(const char* name) {
    const ordered_json& value = require(Pointer(), name);
    const Pointer place = Pointer() / name;
    if (!value.is_string()) json_.fail(place, inQuotes(name) + " must be text (write \"...\")");
    const auto text = value.get<std::string>();
    if (!isPresetLine(text)) {
      json_.fail(place, inQuotes(name) + " must be one line (use 1 to " +
                            std::to_string(kMaxPresetLine) + " letters)");
    }
    return text;
  }

  /// Runs a step that blames the parameter, and adds where it went wrong.
  template <typename Step>
  decltype(auto) locate(const Pointer& place, Step step) {
    try {
      return step();
    } catch (const UsageError& error) {
      json_.fail(place, error.what());
    }
  }

  const Parameter& parameterNamed(const std::string& name, const Pointer& place) {
    return locate(place, [&]() -> const Parameter& { return table_.get(name, "preset"); });
  }

  double readValue(const Parameter& parameter, const Pointer& place) {
    const ordered_json& value = at(place);
    if (parameter.isChoice ? !value.is_string() : !value.is_number()) {
      json_.fail(place, parameter.name + ": " + shown(value) + " is not its kind of value (" +
                            (parameter.isChoice ? "write a choice in quotes" : "write a number") +
                            ")");
    }
    return locate(place, [&] {
      return parseValue(parameter, value.is_string() ? value.get<std::string>() : value.dump());
    });
  }

  /// Refuses a parameter that the preset has set already, perhaps by another spelling.
  void set(Look& look, const Parameter& parameter, const Pointer& place, Curve curve) {
    if (look.curves().contains(parameter.index)) {
      json_.fail(place, parameter.name + ": it is set twice in this preset (take one out)");
    }
    look.set(parameter.index, std::move(curve));
  }

  void readParameters(Look& look) {
    const Pointer object("/parameters");
    requireObject(object, "\"parameters\"");
    for (const auto& [name, value] : at(object).items()) {
      const Pointer place = object / name;
      const Parameter& parameter = parameterNamed(name, place);
      set(look, parameter, place, Curve(readValue(parameter, place)));
    }
  }

  void readCurves(Look& look) {
    const Pointer object("/keys");
    requireObject(object, "\"keys\"");
    for (const auto& [name, value] : at(object).items()) {
      const Pointer place = object / name;
      const Parameter& parameter = parameterNamed(name, place);
      set(look, parameter, place, readCurve(parameter, place));
    }
  }

  Curve readCurve(const Parameter& parameter, const Pointer& place) {
    if (!at(place).is_array()) {
      json_.fail(place, parameter.name + ": its keys must be a list (write [ ... ])");
    }
    auto builder = locate(place, [&] { return Curve::Builder(parameter); });
    for (std::size_t i = 0; i < at(place).size(); ++i) addKey(builder, parameter, place / i);
    return locate(place, [&] { return std::move(builder).finish(); });
  }

  void addKey(Curve::Builder& builder, const Parameter& parameter, const Pointer& place) {
    requireObject(place, "a key of " + parameter.name);
    checkNames(place, {"seconds", "value", "interpolation"});
    const ordered_json& seconds = require(place, "seconds");
    if (!seconds.is_number()) {
      json_.fail(place / "seconds", parameter.name + ": \"seconds\" must be a number (use 2.5)");
    }
    require(place, "value");
    const double value = readValue(parameter, place / "value");
    const auto interpolation = readInterpolation(parameter, place);
    locate(place, [&] { builder.add(seconds.get<double>(), value, interpolation); });
  }

  std::optional<Interpolation> readInterpolation(const Parameter& parameter, const Pointer& key) {
    if (!at(key).contains("interpolation")) return std::nullopt;
    const Pointer place = key / "interpolation";
    const ordered_json& name = at(place);
    const auto known =
        name.is_string() ? parseInterpolation(name.get<std::string>()) : std::nullopt;
    if (!known) {
      json_.fail(place, parameter.name + ": " + shown(name) +
                            " is no \"interpolation\" (use \"hold\", \"linear\" or \"ease\")");
    }
    return known;
  }

  LocatedJson json_;
  const ParameterTable& table_;
};

ordered_json valueToJson(const Parameter& parameter, double value) {
  if (parameter.isChoice) return valueText(parameter, value);
  // 30, not 30.0.
  if (value == std::trunc(value) && std::abs(value) < 1e9) return static_cast<std::int64_t>(value);
  return value;
}

ordered_json keysToJson(const Parameter& parameter, const Curve& curve) {
  ordered_json list;
  for (const Key& key : curve.keys()) {
    list.push_back({{"seconds", key.seconds},
                    {"value", valueToJson(parameter, key.value)},
                    {"interpolation", nameOf(key.interpolation)}});
  }
  return list;
}

}  // namespace

Preset parsePreset(const std::string& text, const std::string& source,
                   const ParameterTable& table) {
  return Reader(text, source, table).read();
}

ordered_json toJson(const Preset& preset, const ParameterTable& table) {
  ordered_json json{
      {"format", kPresetFormat}, {"name", preset.name}, {"description", preset.description}};
  for (const Parameter& parameter : table.all()) {
    const auto found = preset.look.curves().find(parameter.index);
    if (found == preset.look.curves().end()) continue;
    if (found->second.isConstant()) {
      json["parameters"][parameter.name] = valueToJson(parameter, found->second.at(0.0));
    } else {
      json["keys"][parameter.name] = keysToJson(parameter, found->second);
    }
  }
  return json;
}

std::string presetText(const Preset& preset, const ParameterTable& table) {
  requirePresetLine("name", preset.name);
  requirePresetLine("description", preset.description);
  return toJson(preset, table).dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string describe(const Look& look, const ParameterTable& table) {
  std::string text;
  for (const Parameter& parameter : table.all()) {
    const auto found = look.curves().find(parameter.index);
    if (found == look.curves().end()) continue;
    const Curve& curve = found->second;
    text += (text.empty() ? "" : ", ") + parameter.name + " " +
            (curve.isConstant() ? valueText(parameter, curve.at(0.0))
                                : "in " + std::to_string(curve.keys().size()) + " keys");
  }
  if (text.size() > kMaxPresetLine) {
    text.resize(text.rfind(',', kMaxPresetLine - 5));
    text += ", ...";
  }
  return text.empty() ? "nothing set" : text;
}

}  // namespace lomix::looks
