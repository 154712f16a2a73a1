#include "batch/FrameRenderer.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <utility>

#include "support/Text.h"
#include "support/VersionWord.h"

namespace lomix::batch {
namespace {

using host::Personality;
using media::Picture;

PF_RationalScale toRational(double aspect) {
  constexpr int kUnits = 100000;
  const auto units = static_cast<int>(std::lround(aspect * kUnits));
  const int divisor = std::gcd(units, kUnits);
  return {units / divisor, static_cast<A_u_long>(kUnits / divisor)};
}

/// Copies the pixels row by row; world and picture differ only in the padding of rows.
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
  if (options.engine == Engine::Plugin) {
    plugin_ = std::make_unique<Plugin>(findPlugin(options.module), options.personality);
  }
}

const looks::ParameterTable& FrameRenderer::parameters() const {
  return plugin_ ? plugin_->parameters() : looks::effectTable();
}

std::string FrameRenderer::versionText() const {
  if (!plugin_) return lomix_version_text();
  const VersionWord version = decodeVersion(plugin_->info().version);
  return dotted(version.version, version.subversion, version.bugfix);
}

int FrameRenderer::depthFor(const Picture& picture) const {
  if (options_.depth) return *options_.depth;
  return options_.personality == Personality::Premiere ? 8 : picture.depth();
}

void FrameRenderer::render(const looks::Look& look, Picture& input, const FrameTime& time,
                           int threads, Picture& output) {
  if (options_.colours) input = options_.colours->convert(std::move(input));
  const int depth = depthFor(input);
  const auto [factorX, factorY] = options_.downsample;
  // Hosts give the layer's size and pixel aspect at full resolution.
  host::FrameSettings frame;
  frame.currentTime = time.value;
  frame.timeScale = time.scale;
  frame.layerWidth = input.width();
  frame.layerHeight = input.height();
  frame.pixelAspect = toRational(input.info.pixelAspect);
  frame.downsampleX = {1, static_cast<A_u_long>(factorX)};
  frame.downsampleY = {1, static_cast<A_u_long>(factorY)};

  // The average is taken at the deeper of the two depths.
  if (depth == 32) input = toDepth(std::move(input), 32);
  input = toDepth(reduced(std::move(input), factorX, factorY), depth);

  output.reset(input.width(), input.height(), depth);
  output.info = input.info;
  const std::vector<double> values = look.valuesAt(parameters(), inSeconds(time));
  if (plugin_) {
    renderByPlugin(values, frame, input, output);
  } else {
    renderByLibrary(values, time, input, output, threads);
  }
}

void FrameRenderer::renderByLibrary(const std::vector<double>& values, const FrameTime& time,
                                    const Picture& input, Picture& output, int threads) {
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = static_cast<std::int32_t>(values.size());
  settings.time_numerator = time.value;
  settings.time_denominator = time.scale;
  settings.scale_x = 1.0 / options_.downsample.first;
  settings.scale_y = 1.0 / options_.downsample.second;
  const lomix_image source = imageOf(input);
  const lomix_image target = imageOf(output);
  if (threads > 1) {
    const std::lock_guard lock(contextMutex_);
    if (!context_) context_ = createContext(threads);
    check([&](lomix_error* error) {
      return lomix_context_render(context_.get(), &settings, &source, &target, nullptr, nullptr,
                                  error);
    });
    return;
  }
  const FramePtr frame = createFrame(settings, source, target);
  check([&](lomix_error* error) {
    return lomix_frame_draw_rows(frame.get(), 0, target.height, error);
  });
}

// One frame at a time: hosts call a module from one thread, and all frames of the process share its
// noise generator.
void FrameRenderer::renderByPlugin(const std::vector<double>& values,
                                   const host::FrameSettings& frame, const Picture& input,
                                   Picture& output) {
  const std::lock_guard lock(pluginMutex_);
  plugin_->setValues(values);
  host::World source(input.width(), input.height(), input.depth());
  host::World target(input.width(), input.height(), input.depth());
  copyIn(input, source);
  requireSuccess(plugin_->host().render(frame, source, target), "render the frame",
                 plugin_->host());
  // Checked for every frame, so that a frame that broke a rule is not written.
  plugin_->requireRulesKept();
  copyOut(target, output);
}

void FrameRenderer::finish() {
  if (plugin_) plugin_->finish();
}

}  // namespace lomix::batch
