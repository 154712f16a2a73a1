// Puts pictures through the effect, by the library or by a plug-in module.
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
#include "media/picture/Picture.h"

namespace lomix::batch {

enum class Engine {
  Rows,   ///< The effect's library, whose row engine draws.
  Plugin  ///< A module, driven through its host interface.
};

struct RenderOptions {
  Engine engine = Engine::Rows;
  std::string module;  ///< For Engine::Plugin; empty for the installed one.
  host::Personality personality = host::Personality::AfterEffects;
  std::optional<int> depth;  ///< Bits per channel; empty: as each picture wants it.
  PairOfWholes downsample{1, 1};
};

class FrameRenderer {
 public:
  /// Throws CommandError or host::HostError when the module cannot be used.
  explicit FrameRenderer(const RenderOptions& options);

  /// Returns the parameters that looks are made for: the effect's own, or those that the module
  /// declared.
  const looks::ParameterTable& parameters() const;
  /// Returns the effect's version, "2.0.0".
  std::string versionText() const;

  /// Renders input into output, whose memory is used again where it fits. input is left at the
  /// depth and size of the render. look: made for parameters(). threads: for this frame, where the
  /// engine can use them. Several threads may render at once. Throws CommandError or
  /// host::HostError.
  void render(const looks::Look& look, media::Picture& input, const FrameTime& time, int threads,
              media::Picture& output);

  /// Shuts the module down and reports what it left behind. Throws CommandError.
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
