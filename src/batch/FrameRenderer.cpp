#include "batch/FrameRenderer.h"

#include <cmath>
#include <cstring>
#include <numeric>
#include <utility>

#include "batch/RowsRenderer.h"
#include "support/VersionWord.h"

namespace lomix::cli {
namespace {

using host::Personality;
using media::Picture;

PF_RationalScale toRational(double aspect) {
  constexpr int kUnits = 100000;
  const auto units = static_cast<int>(std::lround(aspect * kUnits));
  const int divisor = std::gcd(units, kUnits);
  return {units / divisor, static_cast<A_u_long>(kUnits / divisor)};
}

/// World and picture hold the same pixels; only the padding of the rows differs.
void copyIn(const Picture& picture, host::World& world) {
  for (int y = 0; y < picture.height(); ++y) {
    if (picture.depth() == 8) {
      std::memcpy(world.row(y), picture.row8(y).data(), picture.row8(y).size_bytes());
    } else {
      std::memcpy(world.row(y), picture.row32(y).data(), picture.row32(y).size_bytes());
    }
  }
}

void copyOut(const host::World& world, Picture& picture) {
  for (int y = 0; y < picture.height(); ++y) {
    if (picture.depth() == 8) {
      std::memcpy(picture.row8(y).data(), world.row(y), picture.row8(y).size_bytes());
    } else {
      std::memcpy(picture.row32(y).data(), world.row(y), picture.row32(y).size_bytes());
    }
  }
}

}  // namespace

FrameRenderer::FrameRenderer(const RenderOptions& options) : options_(options) {
  plugin_ = options.engine == Engine::Plugin
                ? std::make_unique<Plugin>(findPlugin(options.module), options.personality)
                : std::make_unique<Plugin>(options.personality);
  look_ = options.look.read(plugin_->parameters());
}

std::string FrameRenderer::versionText() const {
  const VersionWord version = decodeVersion(plugin_->info().version);
  return std::to_string(version.version) + "." + std::to_string(version.subversion) + "." +
         std::to_string(version.bugfix);
}

int FrameRenderer::depthFor(const Picture& picture) const {
  if (options_.depth) return *options_.depth;
  return options_.personality == Personality::Premiere ? 8 : picture.depth();
}

void FrameRenderer::render(Picture& input, const FrameTime& time, int threads, Picture& output) {
  host::FrameSettings frame;
  frame.currentTime = time.value;
  frame.timeScale = time.scale;
  frame.layerWidth = input.width();
  frame.layerHeight = input.height();
  frame.pixelAspect = toRational(input.info.pixelAspect);
  const auto [factorX, factorY] = options_.downsample;
  frame.downsampleX = {1, static_cast<A_u_long>(factorX)};
  frame.downsampleY = {1, static_cast<A_u_long>(factorY)};

  const int depth = depthFor(input);
  // The average is taken at the deeper of the two depths.
  if (depth == 32) input = toDepth(std::move(input), 32);
  input = toDepth(reduced(std::move(input), factorX, factorY), depth);

  output.reset(input.width(), input.height(), depth);
  output.info = input.info;
  const std::vector<Assignment> values = look_.at(inSeconds(time));
  if (options_.engine == Engine::Plugin) {
    renderByPlugin(values, frame, input, output);
    return;
  }
  std::vector<host::Parameter> parameters = plugin_->host().parameters();
  for (const Assignment& value : values) {
    parameters.at(static_cast<std::size_t>(value.index)).setValue(value.value);
  }
  renderRows(parameters, frame, input, output, threads);
}

// One frame at a time: hosts call a module from one thread, and its noise generator is one for the
// whole process.
void FrameRenderer::renderByPlugin(const std::vector<Assignment>& values,
                                   const host::FrameSettings& frame, const Picture& input,
                                   Picture& output) {
  const std::lock_guard lock(pluginMutex_);
  for (const Assignment& value : values) plugin_->host().setValue(value.index, value.value);
  host::World source(input.width(), input.height(), input.depth());
  host::World target(input.width(), input.height(), input.depth());
  copyIn(input, source);
  requireSuccess(plugin_->host().render(frame, source, target), "render the frame",
                 plugin_->host());
  // Before the frame is written, not after the last one.
  plugin_->requireRulesKept();
  copyOut(target, output);
}

}  // namespace lomix::cli
