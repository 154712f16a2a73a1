// Looks at the end of MPEG streams, which state no length.
#pragma once

#include <filesystem>
#include <vector>

namespace lomix::media {

/// How a stream ends.
enum class MpegEnd {
  Whole,    ///< Between two packets, as far as can be told.
  Cut,      ///< Within a packet.
  MaybeCut  ///< The last frame fills its packets to the last byte, as hardly any whole one does.
};

/// Returns how a transport stream ends. packetSize: 188 bytes, 192 with a time before each packet
/// (M2TS), or 204 with error correction behind it. used: the packet identifiers of the streams that
/// count, that of the pictures first; the stream of the last packet counts too. Throws EndOfFile
/// where the file cannot be read.
MpegEnd endOfTransportStream(const std::filesystem::path& file, int packetSize,
                             const std::vector<int>& used);

/// Returns how a program stream ends (MPEG, VOB). Throws EndOfFile where it cannot be read.
MpegEnd endOfProgramStream(const std::filesystem::path& file);

}  // namespace lomix::media
