// Looks at the end of MPEG streams, which state no length.
#pragma once

#include <filesystem>

namespace lomix::media {

/// How a stream ends.
enum class MpegEnd {
  Whole,    ///< Between two packets, as far as can be told.
  Cut,      ///< Within a packet.
  MaybeCut  ///< The last frame fills its packets to the last byte, as hardly any whole one does.
};

/// Returns how a transport stream ends. packetSize: 188 bytes, 192 with a time before each packet
/// (M2TS), or 204 with error correction behind it. video: the packet identifier of the pictures.
MpegEnd endOfTransportStream(const std::filesystem::path& file, int packetSize, int video);

/// Returns how a program stream ends (MPEG, VOB).
MpegEnd endOfProgramStream(const std::filesystem::path& file);

}  // namespace lomix::media
