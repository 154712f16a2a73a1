// A parameter's value over time.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "host/Host.h"

namespace lomix::cli {

/// How a value goes from one key to the next.
enum class Interpolation {
  Hold,    ///< It stays and jumps at the next key.
  Linear,  ///< At an even rate.
  Ease     ///< It starts slowly and arrives slowly.
};

/// "hold", "linear" or "ease".
std::string_view nameOf(Interpolation interpolation);
/// Nothing for any other text.
std::optional<Interpolation> parseInterpolation(std::string_view name);

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
  bool isConstant() const { return keys_.size() == 1; }
  double at(double seconds) const;

  /// Builds the curve of one parameter, whose kind decides what its keys may do.
  class Builder;

 private:
  Curve() = default;
  std::vector<Key> keys_;
};

class Curve::Builder {
 public:
  /// The parameter must outlive the builder. Throws UsageError for one that cannot change over
  /// time.
  explicit Builder(const host::Parameter& parameter);

  /// Adds a key. value: one that the parameter takes. interpolation: nothing for the parameter's
  /// own, hold for popups and linear for sliders. Throws UsageError for a time that is not after
  /// the last one and for a popup that should not hold.
  void add(double seconds, double value, std::optional<Interpolation> interpolation);

  /// Throws UsageError when there is no key.
  Curve finish() &&;

 private:
  const host::Parameter& parameter_;
  Curve curve_;
};

/// Reads "SECONDS:VALUE[@hold|linear|ease],...", the values as in the panel. Throws UsageError.
Curve parseCurve(const host::Parameter& parameter, std::string_view text);

}  // namespace lomix::cli
