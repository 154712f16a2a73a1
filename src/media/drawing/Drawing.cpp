#include "media/drawing/Drawing.h"

#include <cairo-ft.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numbers>

#include "support/MediaError.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

template <auto Destroy>
struct With {
  template <typename T>
  void operator()(T* object) const {
    Destroy(object);
  }
};
using Surface = std::unique_ptr<cairo_surface_t, With<cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, With<cairo_destroy>>;
using Font = std::unique_ptr<cairo_font_face_t, With<cairo_font_face_destroy>>;
using Pattern = std::unique_ptr<FcPattern, With<FcPatternDestroy>>;

/// Returns the installed font nearest to DejaVu Sans. Throws MediaError when there is none, where
/// cairo would silently use a crude built-in one.
Font findFont(int weight) {
  const auto* family = reinterpret_cast<const FcChar8*>("DejaVu Sans");
  const Pattern wanted(FcPatternBuild(nullptr, FC_FAMILY, FcTypeString, family, FC_FAMILY,
                                      FcTypeString, "sans-serif", FC_WEIGHT, FcTypeInteger, weight,
                                      FC_SCALABLE, FcTypeBool, FcTrue, nullptr));
  FcResult result = FcResultNoMatch;
  Pattern found;
  if (wanted && FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern) == FcTrue) {
    FcDefaultSubstitute(wanted.get());
    found.reset(FcFontMatch(nullptr, wanted.get(), &result));
  }
  FcChar8* file = nullptr;
  if (!found || FcPatternGetString(found.get(), FC_FILE, 0, &file) != FcResultMatch) {
    throw MediaError(
        "text in pictures: no font is installed (install the package fonts-dejavu-core)");
  }
  return Font(cairo_ft_font_face_create_for_pattern(found.get()));
}

cairo_status_t append(void* text, const unsigned char* bytes, unsigned length) {
  static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), length);
  return CAIRO_STATUS_SUCCESS;
}

/// Copies a picture to cairo's form: premultiplied, one 32-bit word per pixel.
Surface surfaceOf(const Picture& picture) {
  Surface surface(
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, picture.width(), picture.height()));
  unsigned char* data = cairo_image_surface_get_data(surface.get());
  if (data == nullptr) throw std::bad_alloc();
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (int y = 0; y < picture.height(); ++y) {
    const auto row = picture.row8(y);
    unsigned char* target = data + std::ptrdiff_t{y} * stride;
    for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) {
      // The effect may leave alpha slightly below 255 in pictures without alpha.
      const std::uint32_t alpha = picture.info.hasAlpha ? row[i] : 255;
      std::uint32_t word = alpha;
      for (std::size_t c = 1; c < Picture::kChannels; ++c) {
        word = word << 8 | (row[i + c] * alpha + 127) / 255;
      }
      std::memcpy(target + i, &word, sizeof word);
    }
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

}  // namespace

std::vector<std::string> drawingLibraries() {
  const int fonts = FcGetVersion();
  return {std::string("cairo ") + cairo_version_string(),
          "fontconfig " + dotted(fonts / 10000, fonts / 100 % 100, fonts % 100)};
}

struct Drawing::Cairo {
  std::string svg;
  Surface surface;
  Context context;
  Font regular = findFont(FC_WEIGHT_REGULAR);
  Font bold = findFont(FC_WEIGHT_BOLD);
};

Drawing::Drawing(Kind kind, int width, int height, const Colour& background)
    : cairo_(std::make_unique<Cairo>()) {
  // Throws MediaError for an impossible size, which cairo would report less clearly.
  if (kind == Kind::Pixels) Picture(width, height, 8);
  cairo_->surface.reset(
      kind == Kind::Svg ? cairo_svg_surface_create_for_stream(append, &cairo_->svg, width, height)
                        : cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
  if (cairo_surface_status(cairo_->surface.get()) != CAIRO_STATUS_SUCCESS) {
    throw MediaError(
        "picture: it cannot be drawn, " +
        std::string(cairo_status_to_string(cairo_surface_status(cairo_->surface.get()))) +
        " (use a smaller one)");
  }
  cairo_->context.reset(cairo_create(cairo_->surface.get()));
  fill({0, 0, static_cast<double>(width), static_cast<double>(height)}, background);
}

Drawing::~Drawing() = default;

void Drawing::setColour(const Colour& colour) {
  cairo_set_source_rgb(cairo_->context.get(), colour.red / 255.0, colour.green / 255.0,
                       colour.blue / 255.0);
}

void Drawing::fill(const Box& box, const Colour& colour) {
  setColour(colour);
  cairo_rectangle(cairo_->context.get(), box.left, box.top, box.right - box.left,
                  box.bottom - box.top);
  cairo_fill(cairo_->context.get());
}

void Drawing::frame(const Box& box, const Colour& colour, double thickness) {
  const double half = thickness / 2;
  setColour(colour);
  cairo_set_line_width(cairo_->context.get(), thickness);
  cairo_rectangle(cairo_->context.get(), box.left + half, box.top + half,
                  box.right - box.left - thickness, box.bottom - box.top - thickness);
  cairo_stroke(cairo_->context.get());
}

void Drawing::line(std::span<const Point> points, const Colour& colour, double thickness) {
  setColour(colour);
  cairo_set_line_width(cairo_->context.get(), thickness);
  cairo_set_line_join(cairo_->context.get(), CAIRO_LINE_JOIN_ROUND);
  for (const Point& point : points) cairo_line_to(cairo_->context.get(), point.x, point.y);
  cairo_stroke(cairo_->context.get());
}

void Drawing::setText(const TextStyle& style) {
  cairo_set_font_face(cairo_->context.get(),
                      style.bold ? cairo_->bold.get() : cairo_->regular.get());
  cairo_set_font_size(cairo_->context.get(), style.size);
  setColour(style.colour);
}

void Drawing::text(Point at, std::string_view text, const TextStyle& style) {
  const std::string whole(text);
  const double width = widthOf(text, style);
  if (style.anchor == Anchor::Middle) at.x -= width / 2;
  if (style.anchor == Anchor::End) at.x -= width;
  cairo_move_to(cairo_->context.get(), at.x, at.y);
  cairo_show_text(cairo_->context.get(), whole.c_str());
  cairo_new_path(cairo_->context.get());
}

void Drawing::textUpwards(Point at, std::string_view text, const TextStyle& style) {
  cairo_save(cairo_->context.get());
  cairo_translate(cairo_->context.get(), at.x, at.y);
  cairo_rotate(cairo_->context.get(), -std::numbers::pi / 2);
  this->text({0, 0}, text, style);
  cairo_restore(cairo_->context.get());
}

double Drawing::widthOf(std::string_view text, const TextStyle& style) {
  setText(style);
  cairo_text_extents_t extents;
  cairo_text_extents(cairo_->context.get(), std::string(text).c_str(), &extents);
  return extents.x_advance;
}

std::string Drawing::fitted(std::string_view text, double width, const TextStyle& style) {
  std::string shown(text);
  std::size_t kept = shown.size();
  for (;;) {
    if (kept == 0 || widthOf(shown, style) <= width) return shown;
    // Does not cut within a UTF-8 sequence.
    do --kept;
    while (kept > 0 && (static_cast<unsigned char>(text[kept]) & 0xC0U) == 0x80U);
    shown = std::string(text.substr(0, kept)) + "…";
  }
}

void Drawing::place(const Picture& picture, const Box& box) {
  const Surface source = surfaceOf(picture);
  cairo_t* context = cairo_->context.get();
  cairo_save(context);
  cairo_translate(context, box.left, box.top);
  cairo_scale(context, (box.right - box.left) / picture.width(),
              (box.bottom - box.top) / picture.height());
  cairo_set_source_surface(context, source.get(), 0, 0);
  // Repeats the edge pixels outside, so that scaling does not blend the edge with the background.
  cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD);
  cairo_rectangle(context, 0, 0, picture.width(), picture.height());
  cairo_fill(context);
  cairo_restore(context);
}

Picture Drawing::picture() {
  cairo_surface_t* surface = cairo_->surface.get();
  cairo_surface_flush(surface);
  const unsigned char* data = cairo_image_surface_get_data(surface);
  Picture picture(cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface),
                  8);
  const int stride = cairo_image_surface_get_stride(surface);
  for (int y = 0; y < picture.height(); ++y) {
    const auto row = picture.row8(y);
    for (std::size_t i = 0; i < row.size(); i += Picture::kChannels) {
      std::uint32_t word = 0;
      std::memcpy(&word, data + std::ptrdiff_t{y} * stride + i, sizeof word);
      row[i] = 255;
      for (std::size_t c = 1; c < Picture::kChannels; ++c) {
        row[i + c] = static_cast<std::uint8_t>(word >> (24 - 8 * c));
      }
    }
  }
  return picture;
}

std::string Drawing::svg() && {
  cairo_surface_finish(cairo_->surface.get());
  const cairo_status_t status = cairo_surface_status(cairo_->surface.get());
  if (status != CAIRO_STATUS_SUCCESS) {
    throw MediaError("picture: it cannot be drawn, " + std::string(cairo_status_to_string(status)) +
                     " (try another format)");
  }
  return std::move(cairo_->svg);
}

}  // namespace lomix::media
