// A parameter's value over time.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "looks/Parameter.h"

namespace lomix::looks {

/// How a value goes from one key to the next.
enum class Interpolation {
  Hold,    ///< It stays and jumps at the next key.
  Linear,  ///< At an even rate.
  Ease     ///< It starts slowly and arrives slowly.
};

/// "hold", "linear" or "ease".
std::string_view nameOf(Interpolation interpolation);
/// Returns nothing for any other text.
std::optional<Interpolation> parseInterpolation(std::string_view name);

/// Returns what keys do that say nothing: choices hold, numbers change evenly.
Interpolation usualInterpolation(const Parameter& parameter);

struct Key {
  double seconds;
  double value;
  Interpolation interpolation;  ///< From this key to the next.
  bool operator==(const Key&) const = default;
};

/// One key or more, their times rising. Before the first key its value stands, after the last one
/// the last value.
class Curve {
 public:
  /// A value that never changes.
  explicit Curve(double value);

  const std::vector<Key>& keys() const { return keys_; }
  /// Whether it has one value for all times.
  bool isConstant() const { return keys_.size() == 1; }
  /// Whether it was built from keys, be it a single one.
  bool hasKeys() const { return hasKeys_; }
  double at(double seconds) const;

  /// Builds the curve of one parameter, whose kind decides what its keys may do.
  class Builder;

 private:
  Curve() = default;
  std::vector<Key> keys_;
  bool hasKeys_ = false;
};

class Curve::Builder {
 public:
  /// The parameter must outlive the builder. Throws UsageError for one that cannot change over
  /// time.
  explicit Builder(const Parameter& parameter);

  /// Adds a key. value: one that the parameter takes. interpolation: nothing for the parameter's
  /// own, hold for popups and linear for sliders. Throws UsageError for a time that is not after
  /// the last one and for a popup that should not hold.
  void add(double seconds, double value, std::optional<Interpolation> interpolation);

  /// Throws UsageError when there is no key.
  Curve finish() &&;

 private:
  const Parameter& parameter_;
  Curve curve_;
};

/// Reads "SECONDS:VALUE[@hold|linear|ease],...", the values as in the panel. Throws UsageError.
Curve parseCurve(const Parameter& parameter, std::string_view text);

}  // namespace lomix::looks
