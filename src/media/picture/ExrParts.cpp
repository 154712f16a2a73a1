#include "media/picture/ExrParts.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {
namespace {

using Bytes = std::vector<unsigned char>;

/// The stored type of a channel.
OIIO::TypeDesc typeOf(const OIIO::ImageSpec& spec, int channel) {
  return spec.channelformat(channel);
}

/// Returns how many rows to hold in memory at a time: those of a tile, or of the largest block that
/// the compression has.
int rowsAtATime(const OIIO::ImageSpec& spec) {
  if (spec.tile_height > 0) return spec.tile_height;
  constexpr int kRows = 32;
  constexpr int kRowsOfDwab = 256;
  const std::string compression = spec.get_string_attribute("compression");
  return compression.starts_with("dwab") ? kRowsOfDwab : kRows;
}

/// Reads the rows of one part in their stored types, top to bottom.
class StoredRows {
 public:
  /// All arguments must outlive the object. file: for messages.
  StoredRows(OIIO::ImageInput& input, int part, const OIIO::ImageSpec& spec,
             const std::filesystem::path& file)
      : input_(input), part_(part), spec_(spec), file_(file), end_(spec.y) {}

  /// Lets the next call of row() begin at the rows that are stored with row y.
  void skipTo(int y) { end_ = y - (y - spec_.y) % rowsAtATime(spec_); }

  /// Returns row y of the display, spec.width pixels; null where the part has no such row. y: not
  /// less than that of the last call. Throws MediaError.
  const unsigned char* row(int y) {
    if (y < spec_.y || y >= spec_.y + spec_.height) return nullptr;
    while (y >= end_) readMore();
    return bytes_.data() + static_cast<std::size_t>(y - begin_) * rowBytes();
  }

 private:
  std::size_t rowBytes() const {
    return static_cast<std::size_t>(spec_.width) * spec_.pixel_bytes(true);
  }
  void readMore() {
    begin_ = end_;
    end_ = std::min(begin_ + rowsAtATime(spec_), spec_.y + spec_.height);
    bytes_.resize(static_cast<std::size_t>(end_ - begin_) * rowBytes());
    const bool done =
        spec_.tile_width > 0
            ? input_.read_tiles(part_, 0, spec_.x, spec_.x + spec_.width, begin_, end_, 0, 1, 0,
                                spec_.nchannels, OIIO::TypeUnknown, bytes_.data())
            : input_.read_scanlines(part_, 0, begin_, end_, 0, 0, spec_.nchannels,
                                    OIIO::TypeUnknown, bytes_.data());
    if (done) return;
    throw MediaError(cannotRead(file_) + firstLine(input_.geterror()) +
                     " (check that it is a whole picture)");
  }

  OIIO::ImageInput& input_;
  const int part_;
  const OIIO::ImageSpec& spec_;
  const std::filesystem::path& file_;
  Bytes bytes_;
  int begin_ = 0;
  int end_;
};

/// Where a channel of the output comes from.
struct ChannelSource {
  int stored = 0;  ///< Channel of the input.
  int drawn = -1;  ///< Channel of the picture, which replaces it within the display window.
};

/// One part of the output.
struct PartCopy {
  OIIO::ImageSpec from;
  OIIO::ImageSpec to;
  std::vector<ChannelSource> channels;  ///< Of the output.
};

/// Returns a part whose channels are all copied. drawn: the picture, for the part that it replaces;
/// null for others.
PartCopy copyOf(const OIIO::ImageSpec& from, const Metadata& metadata, const PictureInfo* drawn) {
  PartCopy part{from, from, {}};
  part.to.extra_attribs.clear();
  for (const OIIO::ParamValue& attribute : from.extra_attribs) {
    const bool isTrue = drawn == nullptr || !describesColours(attribute.name().string(), *drawn);
    if (isTrue && isInherited(attribute, metadata, "openexr", true)) {
      part.to.extra_attribs.push_back(attribute);
    }
  }
  part.to.attribute("PixelAspectRatio", from.get_float_attribute("PixelAspectRatio", 1.0f));
  // One level, also where an attribute tells of a texture.
  if (from.tile_width > 0) part.to.attribute("openexr:levelmode", 0);
  for (int i = 0; i < from.nchannels; ++i) part.channels.push_back({i, -1});
  return part;
}

/// Lets the picture replace the decoded channels of a part. Grey is replaced by red, green and
/// blue.
void draw(const Metadata& metadata, PartCopy& part) {
  OIIO::ImageSpec& to = part.to;
  const bool grey = metadata.channels[1] == metadata.channels[2];
  std::vector<std::string> names;
  std::vector<OIIO::TypeDesc> types;
  part.channels.clear();
  const auto add = [&](int stored, int drawn, const std::string& name) {
    part.channels.push_back({stored, drawn});
    names.push_back(name);
    types.push_back(typeOf(part.from, stored));
  };
  for (int i = 0; i < part.from.nchannels; ++i) {
    const std::string name = part.from.channel_name(i);
    if (grey && i == metadata.channels[1]) {
      for (int c = 1; c < Picture::kChannels; ++c) add(i, c, std::string(1, " RGB"[c]));
      continue;
    }
    const auto found = std::ranges::find(metadata.channels, i);
    const bool drawn = found != metadata.channels.end();
    add(i, drawn ? static_cast<int>(found - metadata.channels.begin()) : -1, name);
  }
  to.nchannels = static_cast<int>(names.size());
  to.channelnames = names;
  to.channelformats = types;
  // All of the display window has pixels now.
  const int right = std::max(to.x + to.width, to.full_x + to.full_width);
  const int bottom = std::max(to.y + to.height, to.full_y + to.full_height);
  to.x = std::min(to.x, to.full_x);
  to.y = std::min(to.y, to.full_y);
  to.width = right - to.x;
  to.height = bottom - to.y;
}

/// Writes the parts one after the other.
class Writer {
 public:
  Writer(const Picture& picture, OIIO::ImageOutput& output, const std::filesystem::path& file)
      : picture_(picture), metadata_(*picture.info.metadata), output_(output), file_(file) {
    input_ = openAs("openexr", metadata_.file);
    if (!input_) failToRead("it cannot be opened any more");
    for (int i = 0; input_->seek_subimage(i, 0); ++i) {
      parts_.push_back(copyOf(input_->spec(), metadata_, nullptr));
    }
    input_->geterror();  // Of the part that does not exist.
    const auto chosen = static_cast<std::size_t>(metadata_.part);
    if (chosen >= parts_.size() || !isAsBefore(parts_[chosen].from)) {
      failToRead("it was changed since it was rendered");
    }
    // It has the display window that was drawn.
    parts_[chosen].from = parts_[chosen].to = metadata_.spec;
    parts_[chosen] = copyOf(metadata_.spec, metadata_, &picture.info);
    draw(metadata_, parts_[chosen]);
    parts_[chosen].to.attribute("PixelAspectRatio", static_cast<float>(picture.info.pixelAspect));
  }

  bool write() {
    const std::string name = file_.string();
    std::vector<OIIO::ImageSpec> specs;
    for (const PartCopy& part : parts_) specs.push_back(part.to);
    const bool several = specs.size() > 1;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
      const bool opened = i > 0 ? output_.open(name, specs[i], OIIO::ImageOutput::AppendSubimage)
                          : several
                              ? output_.open(name, static_cast<int>(specs.size()), specs.data())
                              : output_.open(name, specs[0]);
      if (!opened || !writePart(static_cast<int>(i))) return false;
    }
    return true;
  }

 private:
  bool isAsBefore(const OIIO::ImageSpec& spec) const {
    const OIIO::ImageSpec& before = metadata_.spec;
    return spec.x == before.x && spec.y == before.y && spec.width == before.width &&
           spec.height == before.height && spec.channelnames == before.channelnames;
  }

  bool writePart(int number) {
    const PartCopy& part = parts_[static_cast<std::size_t>(number)];
    const OIIO::ImageSpec& to = part.to;
    StoredRows stored(*input_, number, part.from, metadata_.file);
    const std::size_t rowBytes = static_cast<std::size_t>(to.width) * to.pixel_bytes(true);
    const int step = rowsAtATime(to);
    Bytes bytes;
    for (int begin = to.y; begin < to.y + to.height; begin += step) {
      const int end = std::min(begin + step, to.y + to.height);
      bytes.assign(static_cast<std::size_t>(end - begin) * rowBytes, 0);
      for (int y = begin; y < end; ++y) {
        unsigned char* row = bytes.data() + static_cast<std::size_t>(y - begin) * rowBytes;
        if (const unsigned char* source = stored.row(y)) copyStored(part, source, row);
        copyDrawn(part, y, row);
      }
      const bool done =
          to.tile_width > 0
              ? output_.write_tiles(to.x, to.x + to.width, begin, end, 0, 1, OIIO::TypeUnknown,
                                    bytes.data())
              : output_.write_scanlines(begin, end, 0, OIIO::TypeUnknown, bytes.data());
      if (!done) return false;
    }
    return true;
  }

  /// Copies a row of the input to its place in a row of the output.
  static void copyStored(const PartCopy& part, const unsigned char* source, unsigned char* row) {
    const std::size_t pixelBytes = part.from.pixel_bytes(true);
    const std::size_t targetBytes = part.to.pixel_bytes(true);
    row += static_cast<std::size_t>(part.from.x - part.to.x) * targetBytes;
    const auto width = static_cast<std::size_t>(part.from.width);
    if (part.from.nchannels == part.to.nchannels) {
      std::memcpy(row, source, width * pixelBytes);
      return;
    }
    for (std::size_t i = 0; i < part.channels.size(); ++i) {
      const int channel = part.channels[i].stored;
      const unsigned char* from = source + part.from.pixel_bytes(0, channel, true);
      unsigned char* to = row + part.to.pixel_bytes(0, static_cast<int>(i), true);
      const std::size_t size = typeOf(part.from, channel).size();
      for (std::size_t x = 0; x < width; ++x, from += pixelBytes, to += targetBytes) {
        std::memcpy(to, from, size);
      }
    }
  }

  /// Puts the picture's row at y of the display into a row of the output.
  void copyDrawn(const PartCopy& part, int y, unsigned char* row) {
    const OIIO::ImageSpec& to = part.to;
    if (y < to.full_y || y >= to.full_y + to.full_height) return;
    const std::size_t pixelBytes = to.pixel_bytes(true);
    const auto width = static_cast<std::size_t>(picture_.width());
    const std::span<const float> pixels = picture_.row32(y - to.full_y);
    std::vector<float> values(width);
    for (std::size_t i = 0; i < part.channels.size(); ++i) {
      if (part.channels[i].drawn < 0) continue;
      const auto drawn = static_cast<std::size_t>(part.channels[i].drawn);
      for (std::size_t x = 0; x < width; ++x) values[x] = pixels[x * Picture::kChannels + drawn];
      const OIIO::TypeDesc type = typeOf(to, static_cast<int>(i));
      Bytes converted(width * type.size());
      OIIO::convert_pixel_values(OIIO::TypeFloat, values.data(), type, converted.data(),
                                 picture_.width());
      // Parts that are drawn into begin at the display window's left side, or further left.
      unsigned char* target = row + static_cast<std::size_t>(to.full_x - to.x) * pixelBytes +
                              to.pixel_bytes(0, static_cast<int>(i), true);
      for (std::size_t x = 0; x < width; ++x, target += pixelBytes) {
        std::memcpy(target, converted.data() + x * type.size(), type.size());
      }
    }
  }

  [[noreturn]] void failToRead(const std::string& reason) const {
    throw MediaError(cannotRead(metadata_.file) + reason + " (render it again)");
  }

  const Picture& picture_;
  const Metadata& metadata_;
  OIIO::ImageOutput& output_;
  const std::filesystem::path& file_;
  std::unique_ptr<OIIO::ImageInput> input_;
  std::vector<PartCopy> parts_;
};

}  // namespace

bool hasExrParts(const Picture& picture) {
  const Metadata* metadata = picture.info.metadata.get();
  if (metadata == nullptr || metadata->format != "openexr") return false;
  if (picture.width() != metadata->width || picture.height() != metadata->height) return false;
  const OIIO::ImageSpec& spec = metadata->spec;
  // The display window is what was decoded, unless it was turned.
  if (picture.width() != spec.full_width || picture.height() != spec.full_height) return false;
  if (spec.get_int_attribute("Orientation", 1) != 1) return false;
  const bool outside = spec.x < spec.full_x || spec.y < spec.full_y ||
                       spec.x + spec.width > spec.full_x + spec.full_width ||
                       spec.y + spec.height > spec.full_y + spec.full_height;
  bool further = false;
  bool mixed = false;
  for (int i = 0; i < spec.nchannels; ++i) {
    further = further || std::ranges::find(metadata->channels, i) == metadata->channels.end();
    mixed = mixed || spec.channelformat(i) != spec.channelformat(metadata->channels[1]);
  }
  return metadata->hasOtherParts || outside || further || mixed || spec.tile_width > 0;
}

bool writeExrParts(const Picture& picture, OIIO::ImageOutput& output,
                   const std::filesystem::path& file) {
  return Writer(picture, output, file).write();
}

bool isWholeExr(const std::filesystem::path& file) {
  const auto input = openAs("openexr", file);
  bool whole = input != nullptr;
  for (int part = 0; whole && input->seek_subimage(part, 0); ++part) {
    const OIIO::ImageSpec spec = input->spec();
    try {
      StoredRows rows(*input, part, spec, file);
      rows.row(spec.y);
      StoredRows last(*input, part, spec, file);
      last.skipTo(spec.y + spec.height - 1);
      last.row(spec.y + spec.height - 1);
    } catch (const MediaError&) {
      whole = false;
    }
  }
  if (input) input->geterror();  // Of the part that does not exist.
  return whole;
}

}  // namespace lomix::media
