// Helpers for OpenImageIO that reading and writing share. For src/media only: includes its headers.
#pragma once

#include <OpenImageIO/imageio.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "media/picture/Picture.h"

namespace lomix::media {

/// Indices of a file's channels in the order alpha, red, green, blue; -1: the file has none. A grey
/// file has the same index three times.
using ChannelMap = std::array<int, Picture::kChannels>;

/// What a picture's file has besides the pixels that were decoded.
struct Metadata {
  std::filesystem::path file;  ///< What is copied without being decoded is read from here again.
  std::string format;          ///< The library's name of the file's format.
  OIIO::ImageSpec spec;        ///< Of the part that was decoded, with all its attributes.
  ChannelMap channels{};       ///< Those that were decoded.
  int part = 0;                ///< The number of that part, from 0.
  bool hasOtherParts = false;  ///< OpenEXR: other parts. Other formats: further pictures or layers.
  bool hasSmallerLevels = false;  ///< The part has smaller copies of itself (mipmap).
  int width = 0;                  ///< Of the decoded picture.
  int height = 0;
};

/// Opens a file as one of that format. Without it the library would try all its readers on a file
/// whose name does not tell, and some crash. Returns null where it cannot be opened.
std::unique_ptr<OIIO::ImageInput> openAs(const std::string& format,
                                         const std::filesystem::path& file);

/// Returns whether an attribute describes the colours of its file, so that it is not true of a
/// picture that ColourConversion has converted.
bool describesColours(std::string_view name, const PictureInfo& picture);

/// Returns whether an attribute of a file is for its output too: not those that describe how the
/// file is stored, such as its compression, unless the output is stored alike. format: of the
/// output; sameStorage: the channels keep their precision.
bool isInherited(const OIIO::ParamValue& attribute, const Metadata& metadata,
                 std::string_view format, bool sameStorage);

/// Returns whether a colour profile (ICC) can be written to an output, whose pixels are red, green
/// and blue: one of grey or of printing inks cannot, and writers of PNG refuse a damaged one.
/// format: of the output.
bool isUsableProfile(const OIIO::ParamValue& profile, std::string_view format);

/// Sets the inherited attributes on a file about to be written, and the origin of its display
/// window. picture: has metadata. spec: has the size of the picture.
void applyMetadata(const PictureInfo& picture, const std::string& format, bool sameStorage,
                   OIIO::ImageSpec& spec);

/// Returns the first line of a library message that is not empty, without control characters. name:
/// a file name in it that is replaced by shownAs; empty for none.
std::string firstLine(const std::string& message, const std::string& name = {},
                      const std::string& shownAs = {});

}  // namespace lomix::media
