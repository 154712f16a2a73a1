#include "looks/Preset.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "looks/LocatedJson.h"
#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::looks {
namespace {

using nlohmann::ordered_json;
using Kind = LocatedJson::Kind;
using Value = LocatedJson::Value;

std::string inQuotes(std::string_view name) { return "\"" + shortened(name) + "\""; }

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
    const Value& root = json_.root();
    requireObject(root, "a preset");
    // Checked first, because a file of a later format may have names that are unknown here.
    checkFormat();
    checkNames(root, {"$schema", "format", "name", "description", "parameters", "keys"});
    Preset preset{readLine("name"), readLine("description"), {}};
    if (const Value* values = root.find("parameters")) readParameters(*values, preset.look);
    if (const Value* curves = root.find("keys")) readCurves(*curves, preset.look);
    return preset;
  }

 private:
  void requireObject(const Value& value, const std::string& what) {
    if (value.kind != Kind::Object) json_.fail(value, what + " must be an object (write { ... })");
  }

  const Value& require(const Value& object, const char* name) {
    const Value* value = object.find(name);
    if (value == nullptr) json_.fail(object, inQuotes(name) + " is missing here (add it)");
    return *value;
  }

  void checkNames(const Value& object, std::initializer_list<std::string_view> known) {
    for (const auto& [name, value] : object.members) {
      if (std::ranges::find(known, name) != known.end()) continue;
      std::vector<std::string> list;
      for (const std::string_view other : known) list.push_back(inQuotes(other));
      json_.fail(value, inQuotes(name) + " is not known here (use " + joined(list, ", ") + ")");
    }
  }

  void checkFormat() {
    const Value& format = require(json_.root(), "format");
    const auto number = format.kind == Kind::Number ? parseWhole(format.text) : std::nullopt;
    if (!number || *number < 1) {
      json_.fail(format,
                 "\"format\" must be a whole number (use " + std::to_string(kPresetFormat) + ")");
    }
    if (*number > kPresetFormat) {
      json_.fail(format, "\"format\" " + format.shown() +
                             " is later than this version can read (use a newer lomix)");
    }
  }

  /// Reads a text of one line.
  std::string readLine(const char* name) {
    const Value& value = require(json_.root(), name);
    if (value.kind != Kind::Text) {
      json_.fail(value, inQuotes(name) + " must be text (write \"...\")");
    }
    if (!isPresetLine(value.text)) {
      json_.fail(value, inQuotes(name) + " must be one line (use 1 to " +
                            std::to_string(kMaxPresetLine) + " letters)");
    }
    return value.text;
  }

  /// Runs a step and adds the line to its UsageError, which names the parameter but no line.
  template <typename Step>
  decltype(auto) locate(const Value& value, Step step) {
    try {
      return step();
    } catch (const UsageError& error) {
      json_.fail(value, error.what());
    }
  }

  const Parameter& parameterNamed(const std::string& name, const Value& value) {
    return locate(value, [&]() -> const Parameter& { return table_.get(name, "preset"); });
  }

  double readValue(const Parameter& parameter, const Value& value) {
    if (value.kind != (parameter.isChoice ? Kind::Text : Kind::Number)) {
      json_.fail(value, parameter.name + ": " + value.shown() + " is not its kind of value (" +
                            (parameter.isChoice ? "write a choice in quotes" : "write a number") +
                            ")");
    }
    return locate(value, [&] { return parseValue(parameter, value.text); });
  }

  /// Sets a parameter. Refuses one that the preset has set already, even in another spelling.
  void set(Look& look, const Parameter& parameter, const Value& value, Curve curve) {
    if (look.curves().contains(parameter.index)) {
      json_.fail(value, parameter.name + ": it is set twice in this preset (remove one)");
    }
    look.set(parameter.index, std::move(curve));
  }

  void readParameters(const Value& values, Look& look) {
    requireObject(values, "\"parameters\"");
    for (const auto& [name, value] : values.members) {
      const Parameter& parameter = parameterNamed(name, value);
      set(look, parameter, value, Curve(readValue(parameter, value)));
    }
  }

  void readCurves(const Value& curves, Look& look) {
    requireObject(curves, "\"keys\"");
    for (const auto& [name, keys] : curves.members) {
      const Parameter& parameter = parameterNamed(name, keys);
      set(look, parameter, keys, readCurve(parameter, keys));
    }
  }

  Curve readCurve(const Parameter& parameter, const Value& keys) {
    if (keys.kind != Kind::List) {
      json_.fail(keys, parameter.name + ": its keys must be a list (write [ ... ])");
    }
    auto builder = locate(keys, [&] { return Curve::Builder(parameter); });
    for (const Value& key : keys.items) addKey(builder, parameter, key);
    return locate(keys, [&] { return std::move(builder).finish(); });
  }

  void addKey(Curve::Builder& builder, const Parameter& parameter, const Value& key) {
    requireObject(key, "a key of " + parameter.name);
    checkNames(key, {"seconds", "value", "interpolation"});
    const Value& seconds = require(key, "seconds");
    const auto number =
        seconds.kind == Kind::Number ? parseNumber(seconds.text) : std::optional<double>();
    if (!number) {
      json_.fail(seconds, parameter.name + ": \"seconds\" must be a number (use 2.5)");
    }
    const double value = readValue(parameter, require(key, "value"));
    const auto interpolation = readInterpolation(parameter, key);
    locate(key, [&] { builder.add(*number, value, interpolation); });
  }

  std::optional<Interpolation> readInterpolation(const Parameter& parameter, const Value& key) {
    const Value* name = key.find("interpolation");
    if (name == nullptr) return std::nullopt;
    const auto known = name->kind == Kind::Text ? parseInterpolation(name->text) : std::nullopt;
    if (!known) {
      json_.fail(*name, parameter.name + ": " + name->shown() +
                            " is not an \"interpolation\" (use \"hold\", \"linear\" or \"ease\")");
    }
    return known;
  }

  LocatedJson json_;
  const ParameterTable& table_;
};

/// Returns a text or number as JSON.
template <typename Leaf>
std::string leafText(const Leaf& leaf) {
  return ordered_json(leaf).dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string valueJson(const Parameter& parameter, double value) {
  if (parameter.isChoice) return leafText(valueText(parameter, value));
  // 30, not 30.0.
  if (value == std::trunc(value) && std::abs(value) < 1e9) {
    return std::to_string(static_cast<std::int64_t>(value));
  }
  return leafText(value);
}

std::string keysJson(const Parameter& parameter, const Curve& curve) {
  std::string list;
  for (const Key& key : curve.keys()) {
    list += list.empty() ? "[\n" : ",\n";
    list += "      {\n        \"seconds\": " + leafText(key.seconds) +
            ",\n        \"value\": " + valueJson(parameter, key.value) +
            ",\n        \"interpolation\": " + leafText(nameOf(key.interpolation)) + "\n      }";
  }
  return list + "\n    ]";
}

/// Returns the text of a preset's file, unchecked. Built without the library's values: their
/// destructors allocate, which ends a program that has no memory left.
std::string textOf(const Preset& preset, const ParameterTable& table) {
  std::string values;
  std::string curves;
  for (const Parameter& parameter : table.all()) {
    const auto found = preset.look.curves().find(parameter.index);
    if (found == preset.look.curves().end()) continue;
    const Curve& curve = found->second;
    std::string& group = curve.isConstant() ? values : curves;
    group +=
        (group.empty() ? "\n    " : ",\n    ") + leafText(parameter.name) + ": " +
        (curve.isConstant() ? valueJson(parameter, curve.at(0.0)) : keysJson(parameter, curve));
  }
  std::string text = "{\n  \"format\": " + std::to_string(kPresetFormat) +
                     ",\n  \"name\": " + leafText(preset.name) +
                     ",\n  \"description\": " + leafText(preset.description);
  if (!values.empty()) text += ",\n  \"parameters\": {" + values + "\n  }";
  if (!curves.empty()) text += ",\n  \"keys\": {" + curves + "\n  }";
  return text + "\n}\n";
}

}  // namespace

Preset parsePreset(const std::string& text, const std::string& source,
                   const ParameterTable& table) {
  return Reader(text, source, table).read();
}

ordered_json toJson(const Preset& preset, const ParameterTable& table) {
  return ordered_json::parse(textOf(preset, table));
}

std::string presetText(const Preset& preset, const ParameterTable& table) {
  for (const auto& [what, line] :
       {std::pair{"name", preset.name}, std::pair{"description", preset.description}}) {
    requirePresetLine(what, line);
    // As it is read: bytes that are not UTF-8 become a character of three bytes each.
    requirePresetLine(what, LocatedJson(leafText(line), what).root().text);
  }
  return textOf(preset, table);
}

std::string describe(const Look& look, const ParameterTable& table) {
  std::vector<std::string> parts;
  for (const Parameter& parameter : table.all()) {
    const auto found = look.curves().find(parameter.index);
    if (found == look.curves().end()) continue;
    const Curve& curve = found->second;
    parts.push_back(parameter.name + " " +
                    (curve.isConstant() ? valueText(parameter, curve.at(0.0))
                                        : "in " + std::to_string(curve.keys().size()) + " keys"));
  }
  std::string text = joined(parts, ", ");
  if (text.size() > kMaxPresetLine) {
    text.resize(text.rfind(',', kMaxPresetLine - 5));
    text += ", ...";
  }
  return text.empty() ? "nothing set" : text;
}

}  // namespace lomix::looks
