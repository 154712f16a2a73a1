#include "media/picture/Losses.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "media/picture/CameraData.h"
#include "media/picture/PictureFile.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

constexpr const char* kOnlyExr = " (only OpenEXR files rendered to OpenEXR at full size keep this)";

/// Returns the names separated by commas, those beyond the eighth as their number.
std::string listOf(const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 8;
  std::string list;
  for (std::size_t i = 0; i < std::min(names.size(), kMost); ++i) {
    list += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
  }
  if (names.size() > kMost) list += " and " + std::to_string(names.size() - kMost) + " more";
  return list;
}

std::string leftOut(const std::vector<std::string>& names) {
  return listOf(names) + (names.size() == 1 ? " is left out" : " are left out");
}

/// Returns the channels of the decoded part that were not decoded.
std::vector<std::string> furtherChannels(const Metadata& metadata) {
  std::vector<std::string> names;
  for (int i = 0; i < metadata.spec.nchannels; ++i) {
    if (std::ranges::find(metadata.channels, i) != metadata.channels.end()) continue;
    names.emplace_back(metadata.spec.channel_name(i));
  }
  return names;
}

bool hasPixelsOutside(const OIIO::ImageSpec& spec) {
  return spec.x < spec.full_x || spec.y < spec.full_y ||
         spec.x + spec.width > spec.full_x + spec.full_width ||
         spec.y + spec.height > spec.full_y + spec.full_height;
}

/// Says into which channels the effect was drawn, where others have colours too.
void noteDrawnChannels(const Metadata& metadata, const std::vector<std::string>& further,
                       std::vector<std::string>& notes) {
  const bool colours = std::ranges::any_of(further, [](const std::string& name) {
    const std::string lower = lowerCase(name);
    return lower.ends_with(".r") || lower.ends_with(".red");
  });
  if (!colours && !metadata.hasOtherParts) return;
  std::vector<std::string> drawn;
  for (const int i :
       {metadata.channels[1], metadata.channels[2], metadata.channels[3], metadata.channels[0]}) {
    if (i < 0) continue;
    const std::string name = metadata.spec.channel_name(i);
    if (std::ranges::find(drawn, name) == drawn.end()) drawn.push_back(name);
  }
  const std::string part = metadata.spec.get_string_attribute("oiio:subimagename");
  notes.push_back("the effect is drawn into " + listOf(drawn) +
                  (metadata.hasOtherParts && !part.empty() ? " of part '" + part + "'" : "") +
                  " only; other " + (metadata.hasOtherParts ? "parts and " : "") +
                  "channels are kept as they are (extract one to draw into it)");
}

/// Returns whether an attribute has the value that it has in files which do not say.
bool isDefault(const OIIO::ParamValue& attribute) {
  const std::string_view name = attribute.name().string();
  if (name == "screenWindowWidth") return attribute.get_float() == 1.0f;
  if (name == "screenWindowCenter") {
    return attribute.get_float_indexed(0) == 0.0f && attribute.get_float_indexed(1) == 0.0f;
  }
  constexpr std::array<std::string_view, 5> kOfNoUse{"ResolutionUnit", "compression", "name",
                                                     "textureformat", "DateTime"};
  return name.starts_with("oiio:") || std::ranges::find(kOfNoUse, name) != kOfNoUse.end();
}

/// Returns the name under which a lost attribute is listed: its own, or that of its kind where the
/// file has none of that.
std::string kindOf(const std::string& name, bool fromCamera, const OIIO::ImageSpec& written) {
  const std::size_t colon = name.find(':');
  if (colon == std::string::npos) return "'" + name + "'";
  const std::string prefix = name.substr(0, colon);
  if (prefix != "Exif" && prefix != "GPS" && prefix != "IPTC") {
    return fromCamera ? "XMP" : "'" + name + "'";
  }
  const bool hasSome =
      std::ranges::any_of(written.extra_attribs, [&](const OIIO::ParamValue& attribute) {
        return attribute.name().string().starts_with(prefix + ":");
      });
  return hasSome ? "'" + name + "'" : prefix;
}

void noteAttributes(const Picture& picture, const WrittenFile& written,
                    std::vector<std::string>& notes) {
  const Metadata& metadata = *picture.info.metadata;
  const bool fromCamera = holdsCameraData(metadata.format);
  const bool copied = fromCamera && holdsCameraData(written.format);
  std::vector<std::string> lost = written.lostCameraData;
  const auto add = [&](const std::string& name) {
    if (std::ranges::find(lost, name) == lost.end()) lost.push_back(name);
  };
  for (const OIIO::ParamValue& attribute : metadata.spec.extra_attribs) {
    const std::string name = attribute.name().string();
    // Exif data was copied, but PNG has text beside it.
    const bool isText = metadata.format == "png" && attribute.type() == OIIO::TypeString &&
                        name.find(':') == std::string::npos;
    const bool wanted = copied ? isText && written.format != "png"
                               : isInherited(attribute, metadata, written.format, false);
    if (name == "ICCProfile" && !isUsableProfile(attribute, written.format)) continue;
    if (!wanted || describesColours(name, picture.info) || isDefault(attribute) ||
        written.spec.find_attribute(name) != nullptr)
      continue;
    add(kindOf(name, fromCamera, written.spec));
  }
  if (fromCamera && !copied) {
    const std::vector<std::string> kinds = cameraDataOf(metadata.file);
    if (std::ranges::find(kinds, "XMP") != kinds.end()) add("XMP");
  }
  if (picture.info.pixelAspect != 1.0 &&
      std::abs(written.spec.get_float_attribute("PixelAspectRatio", 1.0f) -
               picture.info.pixelAspect) > 0.01) {
    add("the pixel aspect");
  }
  if (lost.empty()) return;
  // Kinds of data before single names, which have quotes.
  std::ranges::stable_partition(lost, [](const std::string& name) { return name[0] != '\''; });
  notes.push_back(leftOut(lost) + " (" + written.extension + " files do not hold " +
                  (lost.size() == 1 ? "it" : "them") + "; choose the format of the input)");
}

/// Names a colour profile that is not true of the output. format: of the output.
void noteProfile(const PictureInfo& info, std::string_view format,
                 std::vector<std::string>& notes) {
  const OIIO::ImageSpec& spec = info.metadata->spec;
  const OIIO::ParamValue* profile = spec.find_attribute("ICCProfile");
  if (profile == nullptr) return;
  const std::string name = spec.get_string_attribute("ICCProfile:profile_description");
  const std::string subject =
      "the colour profile" + (name.empty() ? "" : " '" + name + "'") + " is left out, ";
  if (!isUsableProfile(*profile, format)) {
    notes.push_back(subject +
                    "since it is damaged or not of red, green and blue as the output (convert the "
                    "input to RGB first where that matters)");
  } else if (!info.convertedTo.empty() && name.find("sRGB") == std::string::npos) {
    // A built-in name stands for that of sRGB.
    notes.push_back(subject +
                    "since the colours are converted without it (use a program that converts by "
                    "profiles where that matters)");
  }
}

/// Names the pixels that a file does not keep beside those of the picture.
void notePixels(const Metadata& metadata, const std::vector<std::string>& further,
                std::vector<std::string>& notes) {
  if (!further.empty()) {
    notes.push_back((further.size() == 1 ? "channel " : "channels ") + leftOut(further) + kOnlyExr);
  }
  if (metadata.hasOtherParts && metadata.format == "openexr") {
    const std::string part = metadata.spec.get_string_attribute("oiio:subimagename");
    notes.push_back("all parts but " + (part.empty() ? "one" : "'" + part + "'") + " are left out" +
                    kOnlyExr);
  } else if (metadata.hasOtherParts) {
    notes.emplace_back(
        "further pictures of the input are left out (extract those that are to be rendered)");
  }
  if (hasPixelsOutside(metadata.spec)) {
    notes.push_back(std::string("pixels outside the display window are left out") + kOnlyExr);
  }
}

}  // namespace

std::vector<std::string> lossesInVideo(const Picture& picture) {
  std::vector<std::string> notes;
  if (!picture.info.metadata) return notes;
  notePixels(*picture.info.metadata, furtherChannels(*picture.info.metadata), notes);
  return notes;
}

std::vector<std::string> lossesOf(const Picture& picture, const WrittenFile& written) {
  std::vector<std::string> notes;
  if (!picture.info.metadata) return notes;
  const Metadata& metadata = *picture.info.metadata;
  const std::vector<std::string> further = furtherChannels(metadata);
  if (written.keepsParts) {
    noteDrawnChannels(metadata, further, notes);
  } else {
    notePixels(metadata, further, notes);
  }
  if (metadata.hasSmallerLevels) {
    notes.emplace_back("smaller levels of the picture are left out (make them again)");
  }
  noteAttributes(picture, written, notes);
  noteProfile(picture.info, written.format, notes);
  return notes;
}

}  // namespace lomix::media
