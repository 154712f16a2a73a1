#include "looks/Curve.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <utility>

#include "looks/ParameterTable.h"
#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::looks {
namespace {

constexpr std::array<std::pair<Interpolation, std::string_view>, 3> kNames{
    {{Interpolation::Hold, "hold"},
     {Interpolation::Linear, "linear"},
     {Interpolation::Ease, "ease"}}};

/// Reads one "SECONDS:VALUE[@INTERPOLATION]" and adds it to the builder.
void addKey(Curve::Builder& builder, const Parameter& parameter, std::string_view text) {
  const std::size_t colon = text.find(':');
  const auto seconds = parseNumber(trimmed(text.substr(0, colon)));
  if (colon == std::string_view::npos || !seconds) {
    throw UsageError(parameter.name + ": " + quoted(trimmed(text)) +
                     " is not a key (write SECONDS:VALUE, such as 2.5:60 or 2.5:60@ease)");
  }
  std::string_view value = text.substr(colon + 1);
  std::optional<Interpolation> interpolation;
  if (const std::size_t at = value.find('@'); at != std::string_view::npos) {
    const std::string_view name = trimmed(value.substr(at + 1));
    interpolation = parseInterpolation(name);
    if (!interpolation) {
      throw UsageError(parameter.name + ": " + quoted(name) + " is not an interpolation" +
                       " (use hold, linear or ease)");
    }
    value = value.substr(0, at);
  }
  builder.add(*seconds, parseValue(parameter, trimmed(value)), interpolation);
}

}  // namespace

std::string_view nameOf(Interpolation interpolation) {
  return std::ranges::find(kNames, interpolation, &decltype(kNames)::value_type::first)->second;
}

std::optional<Interpolation> parseInterpolation(std::string_view name) {
  const auto found = std::ranges::find(kNames, name, &decltype(kNames)::value_type::second);
  if (found == kNames.end()) return std::nullopt;
  return found->first;
}

Interpolation usualInterpolation(const Parameter& parameter) {
  return parameter.isChoice ? Interpolation::Hold : Interpolation::Linear;
}

Curve::Curve(double value) : keys_{{0.0, value, Interpolation::Hold}} {}

double Curve::at(double seconds) const {
  const auto next = std::ranges::upper_bound(keys_, seconds, {}, &Key::seconds);
  if (next == keys_.begin()) return next->value;
  const Key& last = *std::prev(next);
  if (next == keys_.end() || last.interpolation == Interpolation::Hold) return last.value;
  double part = (seconds - last.seconds) / (next->seconds - last.seconds);
  if (last.interpolation == Interpolation::Ease) part = part * part * (3.0 - 2.0 * part);
  return last.value + (next->value - last.value) * part;
}

Curve::Builder::Builder(const Parameter& parameter) : parameter_(parameter) {
  if (!parameter.canChangeOverTime) {
    throw UsageError(parameter.name + ": it cannot change over time (set one value for all times)");
  }
}

void Curve::Builder::add(double seconds, double value, std::optional<Interpolation> interpolation) {
  if (!curve_.keys_.empty() && seconds <= curve_.keys_.back().seconds) {
    throw UsageError(parameter_.name + ": the key at " + shortest(seconds) +
                     " s does not come after the one at " + shortest(curve_.keys_.back().seconds) +
                     " s (put the keys in order of time)");
  }
  const Interpolation usual = usualInterpolation(parameter_);
  if (parameter_.isChoice && interpolation.value_or(usual) != Interpolation::Hold) {
    throw UsageError(parameter_.name + ": there is nothing between two choices (use hold)");
  }
  curve_.keys_.push_back({seconds, value, interpolation.value_or(usual)});
}

Curve Curve::Builder::finish() && {
  if (curve_.keys_.empty()) {
    throw UsageError(parameter_.name + ": it has no key (write SECONDS:VALUE, such as 2.5:60)");
  }
  curve_.hasKeys_ = true;
  return std::move(curve_);
}

Curve parseCurve(const Parameter& parameter, std::string_view text) {
  Curve::Builder builder(parameter);
  for (std::size_t comma = 0; comma != std::string_view::npos;) {
    comma = text.find(',');
    addKey(builder, parameter, text.substr(0, comma));
    text.remove_prefix(comma == std::string_view::npos ? 0 : comma + 1);
  }
  return std::move(builder).finish();
}

}  // namespace lomix::looks
