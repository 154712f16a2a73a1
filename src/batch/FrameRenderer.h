// Renders pictures with the effect, by the library or by a plug-in module.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "batch/EffectLibrary.h"
#include "batch/FrameTime.h"
#include "batch/Plugin.h"
#include "looks/Look.h"
#include "media/picture/ColourConversion.h"
#include "media/picture/Picture.h"

namespace lomix::batch {

/// What computes the pixels.
enum class Engine {
  Rows,   ///< The effect's library, whose row engine draws.
  Plugin  ///< A module, driven through its host interface.
};

/// How frames are rendered.
struct RenderOptions {
  Engine engine = Engine::Rows;
  std::string module;  ///< For Engine::Plugin; empty for the installed one.
  host::Personality personality = host::Personality::AfterEffects;
  std::optional<int> depth;       ///< Bits per channel; empty: that of each picture.
  PairOfWholes downsample{1, 1};  ///< Factors of width and height, from 1.
  /// Of the input, before the effect; null for none.
  std::shared_ptr<const media::ColourConversion> colours;
};

/// Renders frames with one engine and one set of options.
class FrameRenderer {
 public:
  /// Throws CommandError, AvoidableError or host::HostError when the module cannot be used.
  explicit FrameRenderer(const RenderOptions& options);

  /// Returns the parameters that looks are made for: the effect's own, or those that the module
  /// declared.
  const looks::ParameterTable& parameters() const;
  /// Returns the effect's version, "2.0.0".
  std::string versionText() const;

  /// Returns the conversion of colours, "FROM:TO"; empty for none.
  std::string colours() const { return options_.colours ? options_.colours->text() : ""; }

  /// Renders a frame. look: made for parameters(). input: is converted to the colours and the depth
  /// of the render and reduced to its size. threads: for this frame, where the engine can use
  /// several. output: its memory is reused where it fits. Several threads may render at once.
  /// Throws CommandError or host::HostError.
  void render(const looks::Look& look, media::Picture& input, const FrameTime& time, int threads,
              media::Picture& output);

  /// Shuts the module down after the last frame. Throws CommandError when it leaked resources.
  void finish();

 private:
  int depthFor(const media::Picture& picture) const;
  void renderByLibrary(const std::vector<double>& values, const FrameTime& time,
                       const media::Picture& input, media::Picture& output, int threads);
  void renderByPlugin(const std::vector<double>& values, const host::FrameSettings& frame,
                      const media::Picture& input, media::Picture& output);

  RenderOptions options_;
  std::unique_ptr<Plugin> plugin_;  ///< Null for Engine::Rows.
  std::mutex pluginMutex_;
  std::mutex contextMutex_;
  ContextPtr context_;  ///< Made when a frame is first drawn by several threads.
};

}  // namespace lomix::batch
