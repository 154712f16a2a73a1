#include "plugins/ofx/Render.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>

#include "plugins/Handles.h"
#include "plugins/ofx/Image.h"

namespace lomix::ofx {
namespace {

using plugins::FramePtr;

constexpr int kBandRows = 16;

/// Work on rows, in bands that the host's threads share out.
class Bands {
 public:
  using Work = std::function<void(int first, int last)>;

  Bands(const Instance& instance, int rows, const Work& work)
      : instance_(instance), rows_(rows), work_(work) {}

  /// Does all rows and returns true; false where the host ended the render. Throws what the work
  /// throws.
  bool run() {
    const MultiThreadSuite* const threads = instance_.suites().threads;
    unsigned count = 1;
    const bool usable = threads != nullptr && threads->multiThread != nullptr &&
                        threads->numCpus != nullptr && rows_ > kBandRows &&
                        threads->numCpus(&count) == kOk && count > 1;
    if (usable) {
      const auto bands = static_cast<unsigned>((rows_ + kBandRows - 1) / kBandRows);
      threads->multiThread(&Bands::onHostThread, std::min(count, bands), this);
    }
    // What is left: everything where the host's threads do not work, as inside one of them.
    doBands();
    if (error_) std::rethrow_exception(error_);
    return !stopped_;
  }

 private:
  static void onHostThread(unsigned, unsigned, void* bands) {
    static_cast<Bands*>(bands)->doBands();
  }

  void doBands() noexcept {
    while (!stopped_) {
      const int first = next_.fetch_add(kBandRows);
      if (first >= rows_) return;
      try {
        if (instance_.suites().effect->abort(instance_.effect()) != 0) {
          stopped_ = true;
        } else {
          work_(first, std::min(rows_, first + kBandRows));
        }
      } catch (...) {
        const std::lock_guard lock(mutex_);
        error_ = std::current_exception();
        stopped_ = true;
      }
    }
  }

  const Instance& instance_;
  const int rows_;
  const Work& work_;
  std::atomic<int> next_ = 0;
  std::atomic<bool> stopped_ = false;
  std::mutex mutex_;
  std::exception_ptr error_;  ///< Guarded by mutex_.
};

/// Pixels of our own, aligned for the library.
class Scratch {
 public:
  Scratch(const OfxRectI& bounds, const PixelForm& form) {
    const auto width = static_cast<std::size_t>(bounds.x2 - bounds.x1);
    const auto height = static_cast<std::size_t>(bounds.y2 - bounds.y1);
    const std::size_t rowBytes = width * static_cast<std::size_t>(form.pixelBytes());
    memory_ = std::make_unique_for_overwrite<float[]>(rowBytes * height / sizeof(float));
    area_ = {memory_.get(), static_cast<std::ptrdiff_t>(rowBytes), bounds};
  }
  const PixelArea& area() const { return area_; }

 private:
  std::unique_ptr<float[]> memory_;
  PixelArea area_;
};

/// Size of the picture as a part of full resolution, from what the host says.
double scaleOf(const Properties& arguments, int axis, bool inverse) {
  double scale = arguments.get(prop::kRenderScale, axis, 1.0);
  if (inverse && scale != 0.0) scale = 1.0 / scale;
  if (!(scale > 0.0 && scale < 1.0)) return 1.0;
  // A third comes as 0.333333: its factor is 3, as After Effects has it.
  const double factor = std::round(1.0 / scale);
  return std::abs(1.0 / scale - factor) < 1e-4 ? 1.0 / factor : std::max(scale, 1e-6);
}

/// One render action.
class Renderer {
 public:
  Renderer(const Instance& instance, const Properties& arguments)
      : instance_(instance),
        time_(arguments.needDouble(prop::kTime)),
        output_(instance, instance.outputClip(), time_),
        source_(instance, instance.sourceClip(), time_),
        values_(instance.valuesAt(time_)) {
    if (output_.empty()) throw Failure(kFailed, "output: there is no image (see the host's log)");
    window_ = intersection(arguments.needRect(prop::kRenderWindow), output_.pixels().bounds);
    const std::string field = arguments.get(prop::kField, "");
    field_ = field == kFieldLower ? 0 : field == kFieldUpper ? 1 : -1;
    const std::string host =
        Properties(instance.suites(), instance.suites().host->host).get(prop::kName, "");
    // Fusion passes 2 for half the size.
    const bool inverse = host == "com.eyeonline.Fusion" || host == "com.blackmagicdesign.Fusion";
    settings_.scale_x = scaleOf(arguments, 0, inverse);
    settings_.scale_y = scaleOf(arguments, 1, inverse);
    settings_.time_seconds = instance.seconds(time_);
    settings_.values = values_.data();
    settings_.value_count = static_cast<std::int32_t>(values_.size());
    chooseForms();
    chooseArea();
  }

  void draw() {
    if (isEmpty(window_)) return;
    const OfxRectI part = intersection(window_, area_);
    if (!isEmpty(part) && !prepare()) return;
    const Bands::Work work = [this, &part](int first, int last) {
      // Rows count from the top of the window.
      drawBand({window_.x1, window_.y2 - last, window_.x2, window_.y2 - first}, part);
    };
    Bands(instance_, window_.y2 - window_.y1, work).run();
  }

 private:
  void chooseForms() {
    form_ = output_.form();
    if (source_.empty()) {
      sourceForm_ = form_;
      sourceForm_.premultiplied = false;
    } else {
      sourceForm_ = source_.form();
      if (sourceForm_.isFloat != form_.isFloat) {
        throw Failure(kFailed, "images: their depths differ (use one depth for both)");
      }
      // Hosts that do not say it of the output give it the source's state.
      if (!output_.saysPremultiplied()) form_.premultiplied = sourceForm_.premultiplied;
    }
    // A full blend is the source itself, also where dividing and multiplying by alpha would round.
    const bool identity =
        values_.back() == 100.0 && form_.premultiplied == sourceForm_.premultiplied;
    divide_ = sourceForm_.premultiplied && !identity;
    multiply_ = form_.premultiplied && !identity;
    swap_ = sourceForm_.bgra != form_.bgra;
  }

  // The frame covers the source's region of definition, whatever is in memory of it. Row 0 is its
  // top.
  void chooseArea() {
    area_ = source_.empty() ? output_.regionOfDefinition() : source_.regionOfDefinition();
    constexpr std::int64_t kMostPixels = 1 << 24;
    const auto tooLarge = [](const OfxRectI& rect) {
      return std::int64_t{rect.x2} - rect.x1 > kMostPixels ||
             std::int64_t{rect.y2} - rect.y1 > kMostPixels;
    };
    // An infinite source, such as a plain colour, has no size of its own.
    if (tooLarge(area_)) area_ = output_.regionOfDefinition();
    if (tooLarge(area_)) area_ = output_.pixels().bounds;
  }

  // Makes the frame. Returns false where the host ended the render.
  bool prepare() {
    PixelArea pixels = source_.pixels();
    if (source_.empty() || divide_ || !contains(pixels.bounds, area_) ||
        !isAligned(pixels, sourceForm_) || area_.y2 - area_.y1 == 1) {
      copy_ = std::make_unique<Scratch>(area_, form_);
      const Bands::Work work = [this](int first, int last) {
        for (int row = first; row < last; ++row) copyRow(area_.y1 + row);
      };
      if (!Bands(instance_, area_.y2 - area_.y1, work).run()) return false;
      pixels = copy_->area();
    }
    const lomix_image image = imageOf(pixels, area_, form_);
    lomix_frame* made = nullptr;
    lomix_error error = LOMIX_ERROR_INIT;
    lomix_frame_create_for_windows(&settings_, &image, image.width, image.height, &made, &error);
    check(error);
    frame_.reset(made);
    return true;
  }

  // Copies a row of the source; what is not in memory is transparent black.
  void copyRow(int y) const {
    const int pixelBytes = form_.pixelBytes();
    const PixelArea& to = copy_->area();
    std::byte* const row = to.address(area_.x1, y, pixelBytes);
    std::memset(row, 0, bytesOf(area_.x2 - area_.x1));
    const OfxRectI known = intersection(source_.pixels().bounds, {area_.x1, y, area_.x2, y + 1});
    if (source_.empty() || isEmpty(known)) return;
    std::byte* const first = to.address(known.x1, y, pixelBytes);
    std::memcpy(first, source_.pixels().address(known.x1, y, pixelBytes),
                bytesOf(known.x2 - known.x1));
    if (divide_) makeStraight(first, known.x2 - known.x1, form_.isFloat);
  }

  // Draws rows of the window: of part what the frame covers, transparent black around it.
  void drawBand(const OfxRectI& band, const OfxRectI& part) const {
    const PixelArea& output = output_.pixels();
    const OfxRectI inner = intersection(band, part);
    if (!(inner == band)) {
      for (int y = band.y1; y < band.y2; ++y) {
        if (isOfField(y)) std::memset(at(output, band.x1, y), 0, bytesOf(band.x2 - band.x1));
      }
    }
    if (isEmpty(inner)) return;
    if (isAligned(output, form_) && field_ < 0) return drawInto(output, inner);
    // Fields and misaligned floats: by way of memory of our own.
    const Scratch scratch(inner, form_);
    drawInto(scratch.area(), inner);
    for (int y = inner.y1; y < inner.y2; ++y) {
      if (!isOfField(y)) continue;
      std::memcpy(at(output, inner.x1, y), at(scratch.area(), inner.x1, y),
                  bytesOf(inner.x2 - inner.x1));
    }
  }

  void drawInto(const PixelArea& pixels, const OfxRectI& part) const {
    const lomix_image image = imageOf(pixels, part, form_);
    lomix_error error = LOMIX_ERROR_INIT;
    lomix_frame_draw_window(frame_.get(), part.x1 - area_.x1, area_.y2 - part.y2, &image, &error);
    check(error);
    for (int y = part.y1; y < part.y2; ++y) {
      std::byte* const row = at(pixels, part.x1, y);
      const int count = part.x2 - part.x1;
      if (multiply_) makePremultiplied(row, count, form_.isFloat, sourceForm_.premultiplied);
      if (swap_) swapRedAndBlue(row, count, form_.isFloat);
    }
  }

  bool isOfField(int y) const { return field_ < 0 || (y & 1) == field_; }
  std::size_t bytesOf(int pixels) const {
    return static_cast<std::size_t>(pixels) * static_cast<std::size_t>(form_.pixelBytes());
  }
  std::byte* at(const PixelArea& pixels, int x, int y) const {
    return pixels.address(x, y, form_.pixelBytes());
  }

  const Instance& instance_;
  const OfxTime time_;
  const Image output_;
  const Image source_;
  const std::vector<double> values_;
  lomix_frame_settings settings_ = LOMIX_FRAME_SETTINGS_INIT;
  OfxRectI window_{};  ///< Of the output, in memory.
  OfxRectI area_{};    ///< What the frame covers.
  int field_ = -1;     ///< 0: even rows only, 1: odd rows only, counted from below; -1: all.
  PixelForm form_;     ///< Of the output.
  PixelForm sourceForm_;
  bool divide_ = false, multiply_ = false, swap_ = false;
  std::unique_ptr<Scratch>
      copy_;  ///< Of the source, where the library cannot read the host's memory.
  FramePtr frame_;
};

}  // namespace

void render(const Instance& instance, PropertySet arguments) {
  Renderer(instance, Properties(instance.suites(), arguments)).draw();
}

}  // namespace lomix::ofx
