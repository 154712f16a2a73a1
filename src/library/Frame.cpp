// Frames, row by row or whole.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <thread>
#include <utility>

#include "engine/RowEngine.h"
#include "library/DrawImage.h"
#include "library/Guard.h"
#include "library/Image.h"
#include "library/WholeFrame.h"
#include "looks/ParameterTable.h"

namespace engine = lomix::engine;
namespace looks = lomix::looks;
using lomix::library::drawImage;
using lomix::library::drawWholeFrame;
using lomix::library::Failure;
using lomix::library::formatOf;
using lomix::library::guarded;
using lomix::library::Image;
using lomix::library::outputOfSize;
using lomix::library::readSource;
using lomix::library::readStruct;
using lomix::library::readTarget;
using lomix::library::require;
using lomix::library::requireAlpha;
using lomix::library::requireTarget;
using lomix::library::WorkerPool;

struct lomix_frame {
  engine::RowEngine rows;
  Image source;
  Image output;  ///< Without memory where the frame is drawn in windows.
};

struct lomix_context {
  explicit lomix_context(int threads) : pool(threads) {}
  WorkerPool pool;
};

namespace {

engine::ParameterValues valuesOf(const lomix_frame_settings& settings) {
  require(settings.value_count >= 0 && (settings.value_count == 0 || settings.values != nullptr),
          "settings: values does not fit value_count (pass an array of that size)");
  engine::ParameterValues values;
  for (const looks::Parameter& parameter : looks::effectTable().all()) {
    const bool given = parameter.index < settings.value_count;
    const double value = given ? settings.values[parameter.index] : parameter.defaultValue;
    looks::requireInRange(parameter, value);
    values[static_cast<std::size_t>(parameter.index)] = value;
  }
  return values;
}

double secondsOf(const lomix_frame_settings& settings) {
  require(settings.time_denominator >= 0,
          "settings: time_denominator is negative (use 1 and up, or 0 for time_seconds)");
  const double seconds = settings.time_denominator > 0
                             ? static_cast<double>(settings.time_numerator) /
                                   static_cast<double>(settings.time_denominator)
                             : settings.time_seconds;
  require(std::isfinite(static_cast<float>(seconds)),
          "settings: the time is not a finite number (use seconds)");
  return seconds;
}

double scaleOf(double scale) {
  if (scale == 0.0) return 1.0;
  require(scale > 0.0 && scale <= 1.0 && std::isfinite(1.0 / scale),
          "settings: a scale is out of range (use more than 0, up to 1)");
  return scale;
}

engine::Frame frameOf(const lomix_frame_settings* givenSettings, const Image& source,
                      const PF_LayerDef& output) {
  const auto settings = readStruct(givenSettings, "settings");
  const double scaleX = scaleOf(settings.scale_x);
  const double scaleY = scaleOf(settings.scale_y);
  return engine::frameOf(valuesOf(settings), secondsOf(settings), {scaleX, scaleY},
                         source.picture(), output, source.format.depth, source.format.alpha);
}

/// The images of a frame, checked.
struct Images {
  Image source, output;

  Images(const lomix_image* givenSource, const lomix_image* givenOutput)
      : source(readSource(givenSource, "source")), output(readTarget(givenOutput, "output")) {
    requireTarget(output, "output", source);
  }
};

/// The caller's progress callback and its argument.
struct Callback {
  lomix_progress function;
  void* user;
};

/// A callback that throws, which C functions never do, ends the frame: the worker threads must have
/// left it before the exception may go on.
bool callBack(void* callback, int rowsDone, int rowCount) {
  const auto& [function, user] = *static_cast<const Callback*>(callback);
  try {
    return function == nullptr || function(user, rowsDone, rowCount) == 0;
  } catch (...) {
    return false;
  }
}

}  // namespace

lomix_status lomix_frame_create(const lomix_frame_settings* settings, const lomix_image* source,
                                const lomix_image* output, lomix_frame** frame,
                                lomix_error* error) {
  if (frame != nullptr) *frame = nullptr;
  return guarded(error, [&] {
    require(frame != nullptr, "frame: it is null (pass the address of a pointer)");
    const Images images(source, output);
    *frame =
        new lomix_frame{engine::RowEngine(frameOf(settings, images.source, images.output.memory)),
                        images.source, images.output};
  });
}

lomix_status lomix_frame_create_for_windows(const lomix_frame_settings* settings,
                                            const lomix_image* source, int32_t width,
                                            int32_t height, lomix_frame** frame,
                                            lomix_error* error) {
  if (frame != nullptr) *frame = nullptr;
  return guarded(error, [&] {
    require(frame != nullptr, "frame: it is null (pass the address of a pointer)");
    const Image image = readSource(source, "source");
    const PF_LayerDef output = outputOfSize(width, height, image);
    *frame = new lomix_frame{engine::RowEngine(frameOf(settings, image, output)), image, {}};
  });
}

lomix_status lomix_frame_draw_window(const lomix_frame* frame, int32_t left, int32_t top,
                                     const lomix_image* window, lomix_error* error) {
  return guarded(error, [&] {
    require(frame != nullptr, "frame: it is null (create one first)");
    const Image target = readTarget(window, "window");
    requireTarget(target, "window", frame->source);
    drawImage(frame->rows, frame->source, target, left, top, 0, target.memory.height);
  });
}

lomix_status lomix_settings_are_identity(const lomix_frame_settings* settings, int32_t format,
                                         int32_t alpha, int32_t* identity, lomix_error* error) {
  if (identity != nullptr) *identity = 0;
  return guarded(error, [&] {
    require(identity != nullptr, "identity: it is null (pass the address of a number)");
    lomix_image image = LOMIX_IMAGE_INIT;
    image.format = format;
    image.alpha = alpha;
    const bool isFloat = formatOf(image, "format").depth == 32;
    requireAlpha(image, "format");
    const auto values = valuesOf(readStruct(settings, "settings"));
    const auto at = [&values](const char* key) {
      return values[static_cast<std::size_t>(looks::effectTable().get(key, "").index)];
    };
    constexpr const char* kAmounts[] = {"signal_distortion", "scan_distortion", "horizontal_sync",
                                        "vertical_sync",     "bars_overlay",    "noise",
                                        "scanline_overlay"};
    // Every pixel is premultiplied and divided again, which is exact for opaque floats alone.
    const bool exact = isFloat && alpha == LOMIX_OPAQUE;
    const auto isZero = [&at](const char* key) { return at(key) == 0.0; };
    *identity = at("blend_with_original") == 100.0 ||
                (exact && std::all_of(std::begin(kAmounts), std::end(kAmounts), isZero));
  });
}

lomix_status lomix_frame_draw_rows(const lomix_frame* frame, int32_t first, int32_t last,
                                   lomix_error* error) {
  return guarded(error, [&] {
    require(frame != nullptr, "frame: it is null (create one first)");
    require(first >= 0 && first <= last && last <= frame->rows.height(),
            "rows: they are not the output's (use 0 <= first <= last <= its height)");
    require(frame->output.memory.data != nullptr,
            "frame: it has no output (use lomix_frame_draw_window)");
    drawImage(frame->rows, frame->source, frame->output, 0, 0, first, last);
  });
}

lomix_status lomix_frame_get_profile(const lomix_frame* frame, int32_t profile, int32_t first,
                                     int32_t count, float* values, lomix_error* error) {
  return guarded(error, [&] {
    require(frame != nullptr, "frame: it is null (create one first)");
    const int height = frame->rows.height();
    require(first >= 0 && count >= 0 && count <= height - first,
            "rows: they are not the output's (use 0 <= first, first + count <= its height)");
    require(values != nullptr || count == 0, "values: it is null (pass an array)");
    const LomixStruct& record = frame->rows.record();
    const std::vector<float>* rows = profile == LOMIX_SCAN_PROFILE     ? &record.scanProfile
                                     : profile == LOMIX_BARS_PROFILE   ? &record.barsProfile
                                     : profile == LOMIX_SIGNAL_PROFILE ? &record.signalProfile
                                                                       : nullptr;
    require(rows != nullptr, "profile: there is no such profile (use LOMIX_SCAN_PROFILE, ...)");
    std::copy_n(rows->begin() + first, count, values);
  });
}

void lomix_frame_destroy(lomix_frame* frame) { delete frame; }

lomix_status lomix_context_create(int32_t threads, lomix_context** context, lomix_error* error) {
  if (context != nullptr) *context = nullptr;
  return guarded(error, [&] {
    require(context != nullptr, "context: it is null (pass the address of a pointer)");
    constexpr int kMostThreads = 256;
    require(threads >= 0 && threads <= kMostThreads,
            "threads: there are too few or too many (use 1 to 256, or 0 for all processors)");
    const int available = static_cast<int>(std::thread::hardware_concurrency());
    *context = new lomix_context(threads > 0 ? threads : std::clamp(available, 1, kMostThreads));
  });
}

int32_t lomix_context_threads(const lomix_context* context) {
  return context == nullptr ? 0 : context->pool.threads();
}

lomix_status lomix_context_render(lomix_context* context, const lomix_frame_settings* settings,
                                  const lomix_image* source, const lomix_image* output,
                                  lomix_progress progress, void* user, lomix_error* error) {
  return guarded(error, [&] {
    require(context != nullptr, "context: it is null (create one first)");
    Callback callback{progress, user};
    const Images images(source, output);
    const auto drawRows = [&images](const engine::RowEngine& rows, int first, int last) {
      drawImage(rows, images.source, images.output, 0, 0, first, last);
    };
    if (!drawWholeFrame(context->pool, frameOf(settings, images.source, images.output.memory),
                        engine::bestTarget(), callBack, &callback, drawRows)) {
      throw Failure(LOMIX_ABORTED, "frame: the progress callback ended it (draw it again)");
    }
  });
}

void lomix_context_destroy(lomix_context* context) { delete context; }
