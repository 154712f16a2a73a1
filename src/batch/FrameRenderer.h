#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "batch/Plugin.h"
#include "cli/LookOptions.h"
#include "looks/Numbers.h"
#include "media/picture/Picture.h"

namespace lomix::cli {

enum class Engine { Rows, Plugin };

struct RenderOptions {
  Engine engine = Engine::Rows;
  std::string module;  ///< For Engine::Plugin; empty for the installed one.
  host::Personality personality = host::Personality::AfterEffects;
  LookOptions look;
  std::optional<int> depth;  ///< Nothing: as each picture wants it.
  PairOfWholes downsample{1, 1};
};

/// Puts pictures through the effect.
class FrameRenderer {
 public:
  /// Throws as LookOptions::read does, CommandError or host::HostError when the module cannot be
  /// used.
  explicit FrameRenderer(const RenderOptions& options);

  const ParameterTable& parameters() const { return plugin_->parameters(); }
  /// The effect's version, "2.0.0".
  std::string versionText() const;
  /// Where the values of every frame come from.
  const Look& look() const { return look_; }

  /// Renders input into output, whose memory is used again where it fits. input is left at the
  /// depth and size of the render. threads: for this frame, where the engine can use them. Several
  /// threads may render at once. Throws CommandError or host::HostError.
  void render(media::Picture& input, const FrameTime& time, int threads, media::Picture& output);

  /// Looks at what the module left behind. Throws CommandError.
  void finish() { plugin_->finish(); }

 private:
  int depthFor(const media::Picture& picture) const;
  void renderByPlugin(const std::vector<Assignment>& values, const host::FrameSettings& frame,
                      const media::Picture& input, media::Picture& output);

  RenderOptions options_;
  std::unique_ptr<Plugin> plugin_;
  Look look_;
  std::mutex pluginMutex_;
};

}  // namespace lomix::cli
