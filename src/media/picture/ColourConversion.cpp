// Converts colours with OpenImageIO, which uses OpenColorIO for configurations.
#include "media/picture/ColourConversion.h"

#include <OpenImageIO/color.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "media/picture/ImageLibrary.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/QuietStandardError.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

/// A colour space that needs no configuration.
struct BuiltIn {
  std::string_view name;
  float (*toLinear)(float);
  float (*fromLinear)(float);
  Encoding encoding;
  const char* tag;  ///< As OpenImageIO names it in files.
};

constexpr std::array kBuiltIn{
    BuiltIn{"linear", [](float v) { return v; }, [](float v) { return v; }, Encoding::Linear,
            "Linear"},
    BuiltIn{"srgb", [](float v) { return OIIO::sRGB_to_linear(v); },
            [](float v) { return OIIO::linear_to_sRGB(v); }, Encoding::Display, "sRGB"},
    BuiltIn{"rec709", [](float v) { return OIIO::Rec709_to_linear(v); },
            [](float v) { return OIIO::linear_to_Rec709(v); }, Encoding::Display, "Rec709"},
};

/// Returns null where no built-in space has that name.
const BuiltIn* builtIn(std::string_view name) {
  const std::string lower = lowerCase(name);
  const auto found = std::ranges::find(kBuiltIn, std::string_view(lower), &BuiltIn::name);
  return found == kBuiltIn.end() ? nullptr : &*found;
}

/// FROM and TO.
using Names = std::pair<std::string, std::string>;

/// Returns the ways to split "FROM:TO": names of configurations may contain colons.
std::vector<Names> splitsOf(const std::string& text, const std::string& option) {
  std::vector<Names> splits;
  for (std::size_t at = text.find(':'); at != std::string::npos; at = text.find(':', at + 1)) {
    Names names{trimmed(std::string_view(text).substr(0, at)),
                trimmed(std::string_view(text).substr(at + 1))};
    if (!names.first.empty() && !names.second.empty()) splits.push_back(std::move(names));
  }
  if (!splits.empty()) return splits;
  throw UsageError(option + ": '" + shortened(text) +
                   "' names no two colour spaces (write FROM:TO, such as linear:srgb)");
}

/// Returns those of the names that resemble one most, as "the nearest are 'a', 'b'".
std::string nearest(const std::string& wanted, std::vector<std::string> names) {
  constexpr std::size_t kMost = 5;
  const std::string lower = lowerCase(wanted);
  const auto distance = [&](const std::string& name) {
    const std::string other = lowerCase(name);
    // A name within another is nearer than any misspelling.
    const bool within = other.find(lower) != std::string::npos;
    return within ? 0 : 1 + editDistance(lower, other);
  };
  std::ranges::stable_sort(names, {}, distance);
  if (names.size() > kMost) names.resize(kMost);
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "'" : ", '") + name + "'";
  return "the nearest are " + list;
}

/// Returns a library's message without the names of its parts.
std::string causeOf(std::string message) {
  for (const std::string_view before : {" failed. ", "yaml-cpp: error "}) {
    const std::size_t at = message.find(before);
    if (at == std::string::npos) continue;
    message.erase(0, at + before.size());
    if (before.starts_with("yaml")) message.insert(0, "it is wrong ");
  }
  return message;
}

/// The OpenColorIO configuration of the environment.
class Configuration {
 public:
  /// file: the value of OCIO.
  Configuration(const std::string& file, const std::string& option) : file_(file), option_(option) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) fail("there is no such file");
    if (!std::ifstream(file).good()) fail("the system does not let it be read");
    const QuietStandardError quiet;
    config_.emplace(file);
    // Where it fails, the library uses spaces of its own instead.
    const bool failed = config_->has_error();
    if (failed || !config_->reset(file)) fail(causeOf(firstLine(config_->geterror())));
    names_ = config_->getColorSpaceNames();
    for (const std::string& space : config_->getColorSpaceNames()) {
      const std::vector<std::string> aliases = config_->getAliases(space);
      names_.insert(names_.end(), aliases.begin(), aliases.end());
    }
    const std::vector<std::string> roles = config_->getRoles();
    names_.insert(names_.end(), roles.begin(), roles.end());
  }

  const std::vector<std::string>& names() const { return names_; }
  const std::string& file() const { return file_; }
  bool has(const std::string& name) const {
    return std::ranges::any_of(
        names_, [&](const std::string& other) { return lowerCase(other) == lowerCase(name); });
  }
  bool isLinear(const std::string& name) const { return config_->isColorSpaceLinear(name); }
  /// Returns null where the conversion changes nothing.
  OIIO::ColorProcessorHandle processor(const Names& names) const {
    const QuietStandardError quiet;
    OIIO::ColorProcessorHandle processor = config_->createColorProcessor(names.first, names.second);
    if (!processor) {
      throw MediaError(option_ + ": the configuration '" + file_ + "' cannot convert '" +
                       names.first + "' to '" + names.second +
                       "': " + firstLine(config_->geterror()) + " (check its files)");
    }
    return processor->isNoOp() ? nullptr : processor;
  }

 private:
  [[noreturn]] void fail(const std::string& cause) const {
    throw MediaError(option_ + ": the OpenColorIO configuration '" + file_ +
                     "' cannot be used: " + cause + " (correct the environment's OCIO)");
  }

  std::string file_;
  std::string option_;
  mutable std::optional<OIIO::ColorConfig> config_;
  std::vector<std::string> names_;
};

/// Returns what to say of the first name that is unknown. configuration: null where there is none.
std::string unknownName(const Names& names, const Configuration* configuration) {
  std::vector<std::string> known;
  for (const BuiltIn& space : kBuiltIn) known.emplace_back(space.name);
  if (configuration == nullptr) {
    const std::string& name = builtIn(names.first) == nullptr ? names.first : names.second;
    return "there is no colour space '" + shortened(name) + "' (" + nearest(name, known) +
           "; for those of an OpenColorIO configuration set the environment's OCIO to its file)";
  }
  const bool firstKnown = configuration->has(names.first);
  const std::string& name = firstKnown ? names.second : names.first;
  if (builtIn(name) != nullptr) {
    return "'" + name + "' is built in, and '" + (firstKnown ? names.first : names.second) +
           "' is not; the configuration '" + configuration->file() +
           "' does not relate them (name two of its spaces; " +
           nearest(name, configuration->names()) + ")";
  }
  known.insert(known.end(), configuration->names().begin(), configuration->names().end());
  return "there is no colour space '" + shortened(name) + "' in '" + configuration->file() + "' (" +
         nearest(name, known) + ")";
}

}  // namespace

class ColourConversion::Implementation {
 public:
  Implementation(const std::string& text, const std::string& option) {
    const std::vector<Names> splits = splitsOf(text, option);
    for (const Names& names : splits) {
      from_ = builtIn(names.first);
      to_ = builtIn(names.second);
      if (from_ == nullptr || to_ == nullptr) continue;
      encoding_ = to_->encoding;
      tag_ = to_->tag;
      for (std::size_t i = 0; i < bytes_.size(); ++i) {
        bytes_[i] = curve(static_cast<float>(i) / 255.0f);
      }
      return;
    }
    from_ = to_ = nullptr;
    const char* file = std::getenv("OCIO");
    if (file == nullptr || *file == '\0') {
      throw UsageError(option + ": " + unknownName(splits.front(), nullptr));
    }
    const Configuration configuration(file, option);
    for (const Names& names : splits) {
      if (!configuration.has(names.first) || !configuration.has(names.second)) continue;
      processor_ = configuration.processor(names);
      if (configuration.isLinear(names.second)) encoding_ = Encoding::Linear;
      tag_ = names.second;
      return;
    }
    throw UsageError(option + ": " + unknownName(splits.front(), &configuration));
  }

  Picture convert(Picture picture) const {
    picture.info.encoding = encoding_;
    picture.info.isEncodingChosen = true;
    // The same space twice leaves also the tags as they are.
    if (from_ == to_ && !processor_) return picture;
    picture.info.convertedTo = tag_;
    if (processor_) {
      picture.info.hasNewPrimaries = true;
      picture = toDepth(std::move(picture), 32);
      processor_->apply(picture.row32(0).data() + 1, picture.width(), picture.height(), kColours,
                        sizeof(float), sizeof(float) * Picture::kChannels,
                        static_cast<OIIO::stride_t>(picture.row32(0).size_bytes()));
      return picture;
    }
    return picture.depth() == 32 ? convertFloats(std::move(picture)) : convertBytes(picture);
  }

 private:
  static constexpr int kColours = Picture::kChannels - 1;

  float curve(float value) const { return to_->fromLinear(from_->toLinear(value)); }

  Picture convertFloats(Picture picture) const {
    for (int y = 0; y < picture.height(); ++y) {
      const std::span<float> row = picture.row32(y);
      for (std::size_t i = 0; i < row.size(); ++i) {
        if (i % Picture::kChannels != 0) row[i] = curve(row[i]);
      }
    }
    return picture;
  }

  Picture convertBytes(const Picture& picture) const {
    // 8 bits hold no dark values of linear light.
    Picture converted(picture.width(), picture.height(), encoding_ == Encoding::Linear ? 32 : 8);
    converted.info = picture.info;
    for (int y = 0; y < picture.height(); ++y) {
      const std::span<const std::uint8_t> row = picture.row8(y);
      for (std::size_t i = 0; i < row.size(); ++i) {
        const bool alpha = i % Picture::kChannels == 0;
        const float value = alpha ? static_cast<float>(row[i]) / 255.0f : bytes_[row[i]];
        if (converted.depth() == 32) {
          converted.row32(y)[i] = value;
        } else {
          converted.row8(y)[i] = static_cast<std::uint8_t>(quantize(value, 255));
        }
      }
    }
    return converted;
  }

  const BuiltIn* from_ = nullptr;
  const BuiltIn* to_ = nullptr;
  OIIO::ColorProcessorHandle processor_;  ///< Of a configuration; null where it changes nothing.
  std::array<float, 256> bytes_{};        ///< Between built-in spaces: curve() of each 8-bit value.
  Encoding encoding_ = Encoding::Display;
  std::string tag_;
};

ColourConversion::ColourConversion(const std::string& text, const std::string& option)
    : text_(text), implementation_(std::make_unique<const Implementation>(text, option)) {}

ColourConversion::~ColourConversion() = default;

Picture ColourConversion::convert(Picture picture) const {
  return implementation_->convert(std::move(picture));
}

}  // namespace lomix::media
