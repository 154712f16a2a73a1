// OfxImageEffectActionRender.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>

#include "plugins/Handles.h"
#include "plugins/ofx/Instance.h"

namespace lomix::ofx {
namespace {

constexpr int kBandRows = 16;

bool isEmpty(const OfxRectI& rect) { return rect.x1 >= rect.x2 || rect.y1 >= rect.y2; }

/// Returns whether the library takes images of that size.
bool fits(const OfxRectI& rect) {
  constexpr std::int64_t kMostPixels = 1 << 24;
  return std::int64_t{rect.x2} - rect.x1 <= kMostPixels &&
         std::int64_t{rect.y2} - rect.y1 <= kMostPixels;
}

std::int32_t formatOf(const std::string& depth, bool bgra) {
  if (depth == kDepthByte) return bgra ? LOMIX_BGRA8 : LOMIX_RGBA8;
  if (depth == kDepthFloat) return bgra ? LOMIX_BGRA32F : LOMIX_RGBA32F;
  if (depth == kDepthByteBgra) return LOMIX_BGRA8;
  if (depth == kDepthFloatBgra) return LOMIX_BGRA32F;
  throw Failure(kFailed, "image: its depth is '" + depth + "' (use 8 bits or float)");
}

int pixelBytes(const lomix_image& image) {
  return image.format == LOMIX_RGBA32F || image.format == LOMIX_BGRA32F ? 16 : 4;
}

/// Gives an image back to the host.
struct Release {
  const ImageEffectSuite* suite;
  void operator()(PropertySet image) const { suite->clipReleaseImage(image); }
};

/// An image of a clip.
class Image {
 public:
  /// Fetches the image at a time. Where the host has none the object is empty. Throws Failure.
  Image(const Instance& instance, ClipHandle clip, OfxTime time)
      : set_(nullptr, Release{instance.suites().effect}) {
    PropertySet set = nullptr;
    const OfxStatus status = instance.suites().effect->clipGetImage(clip, time, nullptr, &set);
    if (status == kFailed) return;  // There is no image at that time.
    require(status, "image");
    set_.reset(set);
    if (!empty()) read(Properties(instance.suites(), set), instance.clipProperties(clip));
  }

  bool empty() const { return set_ == nullptr; }

  OfxRectI bounds{}, regionOfDefinition{};
  lomix_image pixels = LOMIX_IMAGE_INIT;  ///< Top row first. Opaque where alpha is not said.

 private:
  void read(const Properties& image, const Properties& clip) {
    // Images do not say everything in every host; their clips do.
    const auto either = [&](const char* name) {
      const std::string value = image.get(name);
      return value.empty() ? clip.get(name) : value;
    };
    pixels.format = formatOf(image.get(prop::kPixelDepth), either(prop::kPixelOrder) == kOrderBgra);
    const std::string components = image.get(prop::kComponents);
    if (components != kRgba) {
      throw Failure(kFailed, "image: its components are '" + components + "' (use RGBA)");
    }
    const std::string alpha = either(prop::kPremultiplication);
    pixels.alpha = alpha == kPremultiplied ? LOMIX_PREMULTIPLIED
                   : alpha == kStraight    ? LOMIX_STRAIGHT
                                           : LOMIX_OPAQUE;
    auto* const data = static_cast<std::byte*>(image.need<void*>(prop::kData));
    bounds = image.needRect(prop::kBounds);
    if (data == nullptr || isEmpty(bounds) || !fits(bounds)) {
      throw Failure(kFailed, "image: it has no pixels (check the input)");
    }
    // The host's first row is the lowest one, the library's the top one.
    const std::int64_t rowBytes = image.need<int>(prop::kRowBytes);
    pixels.width = bounds.x2 - bounds.x1;
    pixels.height = bounds.y2 - bounds.y1;
    pixels.row_bytes = -rowBytes;
    pixels.data = data + rowBytes * (pixels.height - 1);
    try {
      regionOfDefinition = image.needRect(prop::kRegionOfDefinition);
    } catch (const Failure&) {
      // Some hosts' images do not say it: then they are whole.
    }
    if (isEmpty(regionOfDefinition)) regionOfDefinition = bounds;
  }

  std::unique_ptr<OfxPropertySetStruct, Release> set_;
};

/// Returns what the frame covers: the source's region of definition, whatever is in memory of it.
OfxRectI areaOf(const Image& source, const Image& output) {
  // An infinite source, such as a plain colour, has no size of its own.
  if (!source.empty() && fits(source.regionOfDefinition)) return source.regionOfDefinition;
  return fits(output.regionOfDefinition) ? output.regionOfDefinition : output.bounds;
}

/// Returns the size of the picture as a part of full resolution, from what the host says.
double scaleOf(const Properties& arguments, int axis, const std::string& host) {
  double scale = arguments.get(prop::kRenderScale, 1.0, axis);
  // Fusion passes 2 for half the size.
  if (host == "com.eyeonline.Fusion" || host == "com.blackmagicdesign.Fusion") scale = 1.0 / scale;
  if (!(scale > 0.0 && scale < 1.0)) return 1.0;
  // A third comes as 0.333333: its factor is 3, as After Effects has it.
  const double factor = std::round(1.0 / scale);
  return std::abs(1.0 / scale - factor) < 1e-4 ? 1.0 / factor : std::max(scale, 1e-6);
}

/// A window that the host's threads draw in bands.
struct Drawing {
  const Instance& instance;
  const lomix_frame* frame;
  OfxRectI area;       ///< What the frame covers.
  OfxRectI bounds;     ///< Of the output.
  lomix_image pixels;  ///< Of the output.
  OfxRectI window;     ///< Inside the bounds.
  int field;           ///< 0: even rows only, 1: odd rows only, counted from below; -1: all.

  std::atomic<int> nextRow = 0;  ///< From the top of the window.
  std::atomic<bool> stopped = false;
  std::mutex mutex{};
  lomix_error failure = LOMIX_ERROR_INIT;  ///< Guarded by the mutex.

  /// Draws everything, up to the host's abort. Throws Failure.
  void run() {
    const MultiThreadSuite* const threads = instance.suites().threads;
    const auto bands = static_cast<unsigned>((window.y2 - window.y1 + kBandRows - 1) / kBandRows);
    unsigned cpus = 1;
    const bool usable = bands > 1 && threads != nullptr && threads->multiThread != nullptr &&
                        threads->numCpus != nullptr && threads->numCpus(&cpus) == kOk && cpus > 1;
    const auto onHostThread = [](unsigned, unsigned, void* drawing) {
      static_cast<Drawing*>(drawing)->drawBands();
    };
    if (usable) threads->multiThread(onHostThread, std::min(cpus, bands), this);
    // What is left: everything where the host's threads do not work, as inside one of them.
    drawBands();
    check(failure);
  }

  void drawBands() {
    while (!stopped) {
      const int row = nextRow.fetch_add(kBandRows);
      if (row >= window.y2 - window.y1) return;
      const int top = window.y2 - row, bottom = std::max(window.y1, top - kBandRows);
      if (instance.suites().effect->abort(instance.effect()) != 0) stopped = true;
      if (stopped) return;
      if (field < 0) drawRows(bottom, top);
      for (int y = bottom; field >= 0 && y < top; ++y) {
        if ((y & 1) == field) drawRows(y, y + 1);
      }
    }
  }

  /// Draws rows y1 ... y2 - 1, counted from below.
  void drawRows(int y1, int y2) {
    lomix_image rows = pixels;
    rows.width = window.x2 - window.x1;
    rows.height = y2 - y1;
    rows.data = static_cast<std::byte*>(rows.data) + (bounds.y2 - y2) * rows.row_bytes +
                std::ptrdiff_t{window.x1 - bounds.x1} * pixelBytes(rows);
    lomix_error error = LOMIX_ERROR_INIT;
    lomix_frame_draw_window(frame, window.x1 - area.x1, area.y2 - y2, &rows, &error);
    if (error.status == LOMIX_OK) return;
    const std::lock_guard lock(mutex);
    failure = error;
    stopped = true;
  }
};

}  // namespace

OfxStatus Instance::render(const Properties& in, const Properties&) const {
  const auto time = in.need<double>(prop::kTime);
  const Image output(*this, output_, time), source(*this, source_, time);
  if (output.empty()) throw Failure(kFailed, "output: there is no image (see the host's log)");
  OfxRectI window = in.needRect(prop::kRenderWindow);
  window = {std::max(window.x1, output.bounds.x1), std::max(window.y1, output.bounds.y1),
            std::min(window.x2, output.bounds.x2), std::min(window.y2, output.bounds.y2)};
  if (isEmpty(window)) return kOk;

  std::vector<double> values;
  lomix_frame_settings settings = settingsAt(time, values);
  const std::string host = Properties(suites_, suites_.host->host).get(prop::kName);
  settings.scale_x = scaleOf(in, 0, host);
  settings.scale_y = scaleOf(in, 1, host);
  // The picture is the area, of which the source holds a part, or nothing.
  const OfxRectI area = areaOf(source, output);
  const int width = area.x2 - area.x1, height = area.y2 - area.y1;
  lomix_image picture = source.pixels;
  if (source.empty()) picture.format = output.pixels.format;
  picture.picture_width = width;
  picture.picture_height = height;
  picture.left = source.bounds.x1 - area.x1;
  picture.top = area.y2 - source.bounds.y2;
  lomix_frame* made = nullptr;
  lomix_error error = LOMIX_ERROR_INIT;
  lomix_frame_create_for_windows(&settings, &picture, width, height, &made, &error);
  check(error);
  const plugins::FramePtr frame(made);
  lomix_image pixels = output.pixels;
  // Hosts that do not say it of the output give it the source's state.
  if (pixels.alpha == LOMIX_OPAQUE) pixels.alpha = picture.alpha;
  const std::string field = in.get(prop::kField);
  const int parity = field == kFieldLower ? 0 : field == kFieldUpper ? 1 : -1;
  Drawing{*this, made, area, output.bounds, pixels, window, parity}.run();
  return kOk;
}

}  // namespace lomix::ofx
