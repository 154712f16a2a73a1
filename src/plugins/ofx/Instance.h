// One instance of the effect: its handles, what its parameters say, and its actions.
#pragma once

#include <optional>
#include <vector>

#include "plugins/ofx/Host.h"

namespace lomix::ofx {

/// Immutable after its construction, so that any threads may use it at once.
class Instance {
 public:
  /// Fetches all handles, and enables "Time" as the parameters say. Throws Failure.
  Instance(const Suites& suites, EffectHandle effect);

  const Suites& suites() const { return suites_; }
  EffectHandle effect() const { return effect_; }
  Properties clipProperties(ClipHandle clip) const;

  /// Returns the settings of a frame: the values of all parameters, in valid ranges, and its time:
  /// frame 45 at 30000/1001 frames a second is 45 * 1001 / 30000 s; 0 where the host's time is no
  /// time. values: receives what the settings point at. Throws Failure.
  lomix_frame_settings settingsAt(OfxTime time, std::vector<double>& values) const;

  // Actions. in, out: their arguments. Return their statuses. Throw Failure and std::bad_alloc.

  /// OfxActionInstanceChanged: applies a chosen preset in one undo step, and enables "Time" where
  /// "Time Control" is Manual.
  OfxStatus changed(const Properties& in, const Properties& out) const;
  /// OfxImageEffectActionGetRegionsOfInterest: a pixel may come from anywhere of the source.
  OfxStatus regionsOfInterest(const Properties& in, const Properties& out) const;
  /// OfxImageEffectActionGetClipPreferences: frames vary at unchanged sources and parameters,
  /// unless "Time Control" is Manual and no parameter has keys.
  OfxStatus clipPreferences(const Properties& in, const Properties& out) const;
  /// OfxImageEffectActionIsIdentity: whether the output is the source, bit by bit.
  OfxStatus identity(const Properties& in, const Properties& out) const;
  /// OfxImageEffectActionRender: draws any window of any bounds with the bytes of the whole frame.
  OfxStatus render(const Properties& in, const Properties& out) const;

 private:
  double framesPerSecond() const;
  double valueAt(std::size_t index, OfxTime time) const;
  bool timeIsManual() const;
  void enableTime() const;
  void applyPreset(OfxTime now) const;
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
