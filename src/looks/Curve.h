// A parameter's value over time.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "looks/Parameter.h"

namespace lomix::looks {

/// How a value changes from one key to the next.
enum class Interpolation {
  Hold,    ///< It stays constant and jumps at the next key.
  Linear,  ///< It changes at a constant rate.
  Ease     ///< It starts and ends slowly: 3x^2 - 2x^3.
};

/// Returns "hold", "linear" or "ease".
std::string_view nameOf(Interpolation interpolation);
/// Returns the interpolation of that name; nothing for any other text.
std::optional<Interpolation> parseInterpolation(std::string_view name);

/// Returns the default for a parameter's keys: Hold for choices, Linear for numbers.
Interpolation usualInterpolation(const Parameter& parameter);

/// A value at a time.
struct Key {
  double seconds;
  double value;
  Interpolation interpolation;  ///< From this key to the next.
  bool operator==(const Key&) const = default;
};

/// A value over time: one key or more, in order of time. Before the first key the curve has the
/// first value, after the last key the last one.
class Curve {
 public:
  /// Makes a constant curve.
  explicit Curve(double value);

  const std::vector<Key>& keys() const { return keys_; }
  /// Returns whether it has one value for all times.
  bool isConstant() const { return keys_.size() == 1; }
  /// Returns whether it was built from keys, even a single one, instead of from a constant.
  bool hasKeys() const { return hasKeys_; }
  /// Returns the value at a time.
  double at(double seconds) const;

  /// Builds the curve of one parameter.
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

  /// Adds a key. value: valid for the parameter. interpolation: nothing for usualInterpolation().
  /// Throws UsageError for a time that is not after the last key's, and for a choice with another
  /// interpolation than Hold.
  void add(double seconds, double value, std::optional<Interpolation> interpolation);

  /// Returns the curve. Throws UsageError when there is no key.
  Curve finish() &&;

 private:
  const Parameter& parameter_;
  Curve curve_;
};

/// Reads "SECONDS:VALUE[@hold|linear|ease],...", the values as in the panel. Throws UsageError.
Curve parseCurve(const Parameter& parameter, std::string_view text);

}  // namespace lomix::looks
