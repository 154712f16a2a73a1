// One instance of the effect: its handles and what its parameters say.
#pragma once

#include <optional>
#include <vector>

#include "plugins/ofx/Host.h"

namespace lomix::ofx {

/// Immutable after its construction, so that any threads may use it at once.
class Instance {
 public:
  /// Fetches all handles. Throws Failure.
  Instance(const Suites& suites, EffectHandle effect);

  const Suites& suites() const { return suites_; }
  EffectHandle effect() const { return effect_; }
  ClipHandle sourceClip() const { return source_; }
  ClipHandle outputClip() const { return output_; }
  Properties clipProperties(ClipHandle clip) const;

  /// Returns the time in seconds: frame 45 at 30000/1001 frames a second is 45 * 1001 / 30000. 0
  /// where the host's time is no time.
  double seconds(OfxTime time) const;
  /// Returns the values of all parameters by index, in the panel's units and valid ranges. Throws
  /// Failure.
  std::vector<double> valuesAt(OfxTime time) const;

  /// Whether the picture changes although source and parameters do not: unless "Time Control" is
  /// Manual and no parameter has keys.
  bool changesByItself() const;
  /// Whether the output is the source, bit by bit.
  bool isIdentity(OfxTime time) const;

  /// Enables "Time" where "Time Control" is Manual.
  void enableTime() const;
  /// Sets the parameters to the preset that is chosen at a time, in one undo step. Throws Failure.
  void applyPreset(OfxTime time) const;

 private:
  double framesPerSecond() const;
  double valueAt(std::size_t index, OfxTime time) const;
  OfxStatus setValue(std::size_t index, double value, std::optional<OfxTime> key = {}) const;
  bool setKeys(const lomix_look* look, std::size_t index) const;

  Suites suites_;
  EffectHandle effect_;
  PropertySet properties_ = nullptr;
  ParamSet parameterSet_ = nullptr;
  ClipHandle source_ = nullptr;
  ClipHandle output_ = nullptr;
  ParamHandle preset_ = nullptr;
  std::vector<ParamHandle> parameters_;  ///< By index.
};

}  // namespace lomix::ofx
