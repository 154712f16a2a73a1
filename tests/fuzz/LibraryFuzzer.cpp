// Calls lomix.h with any arguments that a careless program could pass: names, numbers, keys, images
// of which every field may be wrong but whose memory is as large as they say. A frame must have the
// same bytes whether it is drawn whole, by rows or by windows.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/Bytes.h"
#include "fuzz/Fuzzing.h"
#include "lomix/lomix.h"

namespace {

using lomix::fuzz::Bytes;
using lomix::fuzz::require;

struct Destroy {
  void operator()(lomix_look* look) const { lomix_look_destroy(look); }
  void operator()(lomix_frame* frame) const { lomix_frame_destroy(frame); }
  void operator()(lomix_context* context) const { lomix_context_destroy(context); }
};
using LookPtr = std::unique_ptr<lomix_look, Destroy>;
using FramePtr = std::unique_ptr<lomix_frame, Destroy>;
using ContextPtr = std::unique_ptr<lomix_context, Destroy>;

/// The error record of one call, which require()s that status and message are as the header says.
class Checked {
 public:
  operator lomix_error*() { return &error_; }

  /// Returns whether the call succeeded.
  bool operator()(lomix_status status) const {
    require(std::memchr(error_.message, 0, sizeof error_.message) != nullptr, "an endless message");
    const std::string message = error_.message;
    require(status == error_.status, "a status differs from that of its record");
    require(status >= LOMIX_OK && status < LOMIX_INTERNAL_ERROR, "status: " + message);
    require(message.empty() == (status == LOMIX_OK), "a message does not fit its status");
    require(message.find_first_of("\r\n") == std::string::npos, "two lines: " + message);
    return status == LOMIX_OK;
  }

  std::string message() const { return error_.message; }

 private:
  lomix_error error_ = LOMIX_ERROR_INIT;
};

/// Takes the name of a parameter, mostly of one that exists.
std::string takeName(Bytes& bytes) {
  const int index = bytes.byte() % 16;
  lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
  if (lomix_parameter_get(index, &info, nullptr) == LOMIX_OK) return info.key;
  return bytes.text();
}

double takeNumber(Bytes& bytes) {
  return bytes.flag() ? bytes.number<double>() : bytes.between(-1000, 10000) / 64.0;
}

lomix_key takeKey(Bytes& bytes) {
  lomix_key key = LOMIX_KEY_INIT;
  key.interpolation = bytes.between(-1, 4);
  key.seconds = takeNumber(bytes);
  key.value = takeNumber(bytes);
  return key;
}

void changeLook(lomix_look* look, Bytes& bytes) {
  const int kind = bytes.byte() % 10;
  const std::string name = takeName(bytes);
  Checked checked;
  switch (kind) {
    case 0:
    case 1:
      checked(lomix_look_set_number(look, name.c_str(), takeNumber(bytes), checked));
      break;
    case 2:
      checked(lomix_look_set_text(look, name.c_str(), bytes.text().c_str(), checked));
      break;
    case 3: {
      std::vector<lomix_key> keys(static_cast<std::size_t>(bytes.between(0, 4)));
      for (lomix_key& key : keys) key = takeKey(bytes);
      const auto count = static_cast<std::int32_t>(keys.size());
      checked(lomix_look_set_keys(look, name.c_str(), keys.data(), count, checked));
      break;
    }
    case 4:
      checked(lomix_look_set_keys_text(look, name.c_str(), bytes.text().c_str(), checked));
      break;
    case 5: {
      const lomix_key key = takeKey(bytes);
      checked(lomix_look_add_key(look, name.c_str(), &key, checked));
      break;
    }
    case 6:
      checked(lomix_look_reset(look, name.c_str(), checked));
      break;
    case 7: {
      std::array<lomix_key, 3> keys;
      keys.fill(LOMIX_KEY_INIT);
      std::int32_t count = 0;
      checked(lomix_look_get_keys(look, name.c_str(), keys.data(), bytes.between(-1, 3), &count,
                                  checked));
      break;
    }
    case 8: {
      std::array<double, 16> values{};
      std::int64_t first = 0;
      std::int32_t count = 0;
      checked(lomix_look_get_frames(look, name.c_str(), takeNumber(bytes), &first, values.data(),
                                    bytes.between(-1, 16), &count, checked));
      break;
    }
    default: {
      std::vector<char> text(static_cast<std::size_t>(bytes.between(0, 3000)));
      const std::string title = bytes.text();
      std::size_t length = 0;
      if (!checked(lomix_look_write_json(look, title.c_str(), nullptr, text.data(), text.size(),
                                         &length, checked))) {
        break;
      }
      lomix_look* read = nullptr;
      const bool good =
          checked(lomix_look_create_from_json(text.data(), length, nullptr, &read, checked));
      require(good, "a preset that was written cannot be read: " + checked.message());
      lomix_look_destroy(read);
    }
  }
}

LookPtr takeLook(Bytes& bytes) {
  Checked checked;
  lomix_look* look = nullptr;
  const int kind = bytes.byte() % 4;
  if (kind == 0) {
    const std::string text = bytes.text() + bytes.text();
    checked(lomix_look_create_from_json(text.data(), text.size(), nullptr, &look, checked));
  } else if (kind == 1) {
    lomix_preset_info info = LOMIX_PRESET_INFO_INIT;
    const int index = bytes.byte() % lomix_preset_count();
    require(lomix_preset_get(index, &info, nullptr) == LOMIX_OK, "a preset is missing");
    checked(lomix_look_create_from_preset(info.id, &look, checked));
  } else if (kind == 2) {
    checked(lomix_look_create_from_preset(bytes.text().c_str(), &look, checked));
  }
  if (look == nullptr) require(checked(lomix_look_create(&look, checked)), "no look");
  LookPtr result(look);
  for (int count = bytes.byte() % 6; count > 0; --count) changeLook(look, bytes);
  return result;
}

/// An image and its memory, of the very size that its fields say.
class Image {
 public:
  Image(Bytes& bytes, int format, int width, int height) {
    image.format = format;
    image.width = width;
    image.height = height;
    image.alpha = bytes.byte() % 8 == 0 ? bytes.between(-1, 3) : bytes.byte() % 3;
    const int padding = bytes.byte() % 4 == 0 ? bytes.between(0, 9) : 0;
    const int pixelBytes = format >= LOMIX_ARGB32F ? 16 : 4;
    const int rowBytes = width * pixelBytes + padding;
    // The last row has no padding behind it.
    memory_.resize(static_cast<std::size_t>(rowBytes * height - padding));
    image.row_bytes = rowBytes;
    image.data = memory_.data();
    if (bytes.byte() % 4 == 0) {
      image.row_bytes = -rowBytes;
      image.data = memory_.data() + static_cast<std::ptrdiff_t>(rowBytes) * (height - 1);
    }
    if (bytes.byte() % 16 == 0) spoil(bytes);
  }

  void fill(const std::string& content) {
    for (std::size_t i = 0; i < memory_.size() && !content.empty(); ++i) {
      memory_[i] = static_cast<std::uint8_t>(content[i % content.size()]);
    }
  }
  /// Makes the image a part of a larger or smaller picture.
  void placeInPicture(Bytes& bytes) {
    image.picture_width = bytes.between(1, 40);
    image.picture_height = bytes.between(1, 40);
    image.left = bytes.byte() % 8 == 0 ? bytes.number<std::int32_t>() : bytes.between(-30, 30);
    image.top = bytes.byte() % 8 == 0 ? bytes.number<std::int32_t>() : bytes.between(-30, 30);
  }

  const std::vector<std::uint8_t>& memory() const { return memory_; }
  void clear() { std::ranges::fill(memory_, std::uint8_t{0}); }

  lomix_image image = LOMIX_IMAGE_INIT;

 private:
  /// Makes one field wrong in a way that asks for no more memory than there is.
  void spoil(Bytes& bytes) {
    switch (bytes.byte() % 8) {
      case 0:
        image.format = bytes.flag() ? 0 : bytes.between(7, 400);
        break;
      case 1:
        image.width = -bytes.between(0, 400);
        break;
      case 2:
        image.height = -bytes.between(0, 400);
        break;
      case 3:
        image.row_bytes /= 2;
        break;
      case 4:
        image.data = nullptr;
        break;
      case 5:
        image.alpha = bytes.number<std::int32_t>();
        break;
      case 6:
        image.reserved = bytes.number<std::int32_t>();
        break;
      default:
        image.struct_size = bytes.number<std::uint8_t>();
    }
  }

  std::vector<std::uint8_t> memory_;
};

/// Returns whether an image has these bytes. Of floats, NaN equals NaN: which of two remains
/// depends on the instructions that add them.
bool areSame(const Image& image, const std::vector<std::uint8_t>& expected) {
  if (image.memory() == expected || image.image.format < LOMIX_ARGB32F) {
    return image.memory() == expected;
  }
  const auto stride = static_cast<std::size_t>(std::abs(image.image.row_bytes));
  const auto channels = static_cast<std::size_t>(image.image.width) * 4;
  for (std::size_t y = 0; y < static_cast<std::size_t>(image.image.height); ++y) {
    for (std::size_t i = 0; i < channels; ++i) {
      const std::size_t at = y * stride + i * sizeof(float);
      if (std::memcmp(&image.memory()[at], &expected[at], sizeof(float)) == 0) continue;
      float left = 0.0f, right = 0.0f;
      std::memcpy(&left, &image.memory()[at], sizeof left);
      std::memcpy(&right, &expected[at], sizeof right);
      if (!std::isnan(left) || !std::isnan(right)) return false;
    }
  }
  return true;
}

void drawRows(const lomix_frame* frame, int height, Bytes& bytes) {
  Checked checked;
  if (bytes.byte() % 8 == 0) {
    checked(lomix_frame_draw_rows(frame, bytes.number<std::int32_t>(), bytes.number<std::int32_t>(),
                                  checked));
  }
  for (int y = 0; y < height;) {
    const int end = std::min(height, y + bytes.between(1, 8));
    require(checked(lomix_frame_draw_rows(frame, y, end, checked)), "rows cannot be drawn");
    y = end;
  }
  std::array<float, 8> profile{};
  checked(lomix_frame_get_profile(frame, bytes.between(-1, 4), bytes.between(-1, 30),
                                  bytes.between(-1, 8), profile.data(), checked));
}

void drawWindows(const lomix_frame_settings& settings, const lomix_image& source, Image& output,
                 Bytes& bytes) {
  Checked checked;
  lomix_frame* made = nullptr;
  const lomix_image& whole = output.image;
  if (!checked(lomix_frame_create_for_windows(&settings, &source, whole.width, whole.height, &made,
                                              checked))) {
    return;
  }
  const FramePtr frame(made);
  // Some window anywhere, then those that the output consists of.
  Image tile(bytes, whole.format, bytes.between(1, 9), bytes.between(1, 9));
  checked(lomix_frame_draw_window(frame.get(), bytes.number<std::int32_t>(),
                                  bytes.number<std::int32_t>(), &tile.image, checked));
  const int step = bytes.between(1, 30);
  for (int x = 0; x < whole.width; x += step) {
    lomix_image window = whole;
    const int pixelBytes = whole.format >= LOMIX_ARGB32F ? 16 : 4;
    window.data = static_cast<std::uint8_t*>(whole.data) + std::ptrdiff_t{x} * pixelBytes;
    window.width = std::min(step, whole.width - x);
    require(checked(lomix_frame_draw_window(frame.get(), x, 0, &window, checked)),
            "a window cannot be drawn");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  Checked checked;
  const LookPtr look = takeLook(bytes);
  std::vector<double> values(static_cast<std::size_t>(lomix_parameter_count()));
  if (!checked(lomix_look_values(look.get(), takeNumber(bytes), values.data(),
                                 static_cast<std::int32_t>(values.size()), checked))) {
    return 0;
  }
  if (bytes.byte() % 8 == 0) values[bytes.byte() % values.size()] = bytes.number<double>();

  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = bytes.byte() % 8 == 0 ? bytes.between(-1, 13) : 13;
  if (bytes.flag()) {
    settings.time_numerator = bytes.number<std::int64_t>();
    settings.time_denominator = bytes.number<std::int64_t>();
  }
  settings.time_seconds = takeNumber(bytes);
  if (bytes.byte() % 4 == 0) {
    settings.scale_x = takeNumber(bytes);
    settings.scale_y = bytes.between(0, 8) / 8.0;
  }

  const int format = bytes.between(LOMIX_ARGB8, LOMIX_BGRA32F);
  const int base = format >= LOMIX_ARGB32F ? LOMIX_ARGB32F : LOMIX_ARGB8;
  const int width = bytes.between(1, 24), height = bytes.between(1, 24);
  const bool sameSize = bytes.byte() % 4 != 0;
  Image source(bytes, format, width, height);
  Image output(bytes, bytes.flag() ? format : base + bytes.byte() % 3,
               sameSize ? width : bytes.between(1, 24), sameSize ? height : bytes.between(1, 24));
  if (bytes.byte() % 4 == 0) source.placeInPicture(bytes);
  Bytes drawing = bytes;
  source.fill(bytes.remainder());

  std::int32_t identity = -1;
  checked(lomix_settings_are_identity(&settings, format, source.image.alpha, &identity, checked));
  lomix_context* made = nullptr;
  const int threads = drawing.byte() % 8 == 0 ? drawing.between(-1, 3) : 1;
  if (!checked(lomix_context_create(threads, &made, checked))) return 0;
  const ContextPtr context(made);
  const bool drawn = checked(lomix_context_render(context.get(), &settings, &source.image,
                                                  &output.image, nullptr, nullptr, checked));
  const std::vector<std::uint8_t> whole = output.memory();

  lomix_frame* prepared = nullptr;
  require(checked(lomix_frame_create(&settings, &source.image, &output.image, &prepared,
                                     checked)) == drawn,
          "a frame can be drawn whole or by rows, but not both");
  const FramePtr frame(prepared);
  if (!drawn) return 0;
  output.clear();
  drawRows(frame.get(), output.image.height, drawing);
  require(areSame(output, whole), "rows differ from the whole frame");
  output.clear();
  drawWindows(settings, source.image, output, drawing);
  require(areSame(output, whole), "windows differ from the whole frame");
  // Skips LOMIX_OPAQUE: its alpha bytes may change.
  if (identity == 1 && sameSize && source.image.alpha != LOMIX_OPAQUE &&
      source.image.format == output.image.format &&
      source.image.row_bytes == output.image.row_bytes && source.image.picture_width == 0 &&
      source.image.alpha == output.image.alpha && source.memory().size() == whole.size()) {
    // Bytes between rows are the caller's.
    const auto rowBytes = static_cast<std::size_t>(width * (format >= LOMIX_ARGB32F ? 16 : 4));
    const auto stride = static_cast<std::size_t>(std::abs(source.image.row_bytes));
    for (std::size_t row = 0; row < static_cast<std::size_t>(height); ++row) {
      require(std::memcmp(&source.memory()[row * stride], &whole[row * stride], rowBytes) == 0,
              "a frame that is said to be its source is not");
    }
  }
  return 0;
}
