// Compares what the header of a picture file claims with what a file of its length can hold. For
// src/media only.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "support/FileBytes.h"

namespace lomix::media {

/// Checks the header of a JPEG, PNG or DPX file, whose decoders may reserve memory already when
/// they open a file. Throws MediaError where the file, whose bytes these are, is too short for what
/// it claims.
void requirePossibleHeader(const std::filesystem::path& file, FileBytes& bytes);

/// Throws MediaError, which names the file, for a size that a Picture cannot have.
void requirePossibleSize(const std::filesystem::path& file, std::int64_t width,
                         std::int64_t height);

/// Throws MediaError where the file is too short for a picture of that size. To be called before
/// memory is reserved for it. format, compression: OpenImageIO's names, empty where they are not
/// known; pixelBytes: of all pixels, in the file's own number of bits. Small pictures always pass.
void requireBytesFor(const std::filesystem::path& file, std::string_view format,
                     std::string_view compression, std::int64_t width, std::int64_t height,
                     std::uint64_t pixelBytes);

}  // namespace lomix::media
