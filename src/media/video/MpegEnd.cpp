#include "media/video/MpegEnd.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "support/FileBytes.h"

namespace lomix::media {
namespace {

// Enough for the last packets of all streams.
constexpr std::uint64_t kTail = 1 << 20;

std::string tailOf(const std::filesystem::path& file) {
  FileBytes bytes(file);
  const std::uint64_t count = std::min(bytes.size(), kTail);
  return bytes.text(bytes.size() - count, static_cast<std::size_t>(count));
}

unsigned byteAt(std::string_view bytes, std::size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

/// Returns the length of a packet of a stream (PES) with its header; 0 where it states none.
std::size_t pesLength(std::string_view packet) {
  constexpr std::size_t kHeader = 6;
  const std::size_t length = byteAt(packet, 4) << 8 | byteAt(packet, 5);
  return length == 0 ? 0 : kHeader + length;
}

/// A packet of one stream, spread over transport packets.
struct Pes {
  std::size_t length = 0;  ///< Stated; 0: not.
  std::size_t found = 0;   ///< Bytes so far.
  bool isFull = false;     ///< The last transport packet has no stuffing.
  bool isCut() const { return found < length; }
};

}  // namespace

MpegEnd endOfTransportStream(const std::filesystem::path& file, int packetSize,
                             const std::vector<int>& used) {
  constexpr char kSync = 0x47;
  constexpr std::size_t kPacket = 188;
  constexpr std::size_t kHeader = 4;
  constexpr std::size_t kFewestPackets = 4;
  const auto step = static_cast<std::size_t>(packetSize);
  const std::size_t beforeSync = packetSize == 192 ? 4 : 0;
  const std::string tail = tailOf(file);
  // The file may begin within a packet too, so that its size alone tells nothing.
  std::optional<std::size_t> first;
  for (std::size_t i = 0; i < std::min(step, tail.size() / kFewestPackets) && !first; ++i) {
    std::size_t at = i + beforeSync;
    while (at < tail.size() && tail[at] == kSync) at += step;
    if (at >= tail.size()) first = i;
  }
  if (!first) return MpegEnd::Whole;
  if ((tail.size() - *first) % step != 0) return MpegEnd::Cut;

  std::map<unsigned, Pes> streams;
  unsigned last = 0;  // The stream of the last packet.
  for (std::size_t at = *first + beforeSync; at + kPacket <= tail.size(); at += step) {
    const std::string_view packet = std::string_view(tail).substr(at, kPacket);
    const unsigned id = (byteAt(packet, 1) & 0x1fU) << 8 | byteAt(packet, 2);
    const bool hasStuffing = (byteAt(packet, 3) & 0x20U) != 0;
    if ((byteAt(packet, 3) & 0x10U) == 0) continue;  // No payload.
    const std::size_t begin = kHeader + (hasStuffing ? 1 + byteAt(packet, kHeader) : 0);
    if (begin >= kPacket) continue;
    const std::string_view payload = packet.substr(begin);
    if ((byteAt(packet, 1) & 0x40U) != 0) {
      streams.erase(id);
      if (payload.starts_with(std::string_view("\0\0\1", 3))) streams[id] = {pesLength(payload), 0};
    }
    last = id;
    const auto stream = streams.find(id);
    if (stream == streams.end()) continue;
    stream->second.found += payload.size();
    stream->second.isFull = !hasStuffing;
  }
  for (const auto& [id, stream] : streams) {
    // Another stream may end within a packet earlier, but where the file ends in it, all are cut.
    const bool counts = id == last || std::ranges::count(used, static_cast<int>(id)) > 0;
    if (counts && stream.isCut()) return MpegEnd::Cut;
  }
  const auto pictures = streams.find(static_cast<unsigned>(used.front()));
  const bool isOpen =
      pictures != streams.end() && pictures->second.length == 0 && pictures->second.isFull;
  return isOpen ? MpegEnd::MaybeCut : MpegEnd::Whole;
}

MpegEnd endOfProgramStream(const std::filesystem::path& file) {
  const std::string tail = tailOf(file);
  const std::string_view pack("\0\0\1\xba", 4);
  std::size_t at = tail.find(pack);
  if (at == std::string::npos) return MpegEnd::Whole;
  while (at < tail.size()) {
    const std::string_view rest = std::string_view(tail).substr(at);
    if (rest.size() < pack.size()) return MpegEnd::Cut;
    const unsigned code = byteAt(rest, 3);
    // Something else, or a pack code within other data: nothing is known.
    if (!rest.starts_with(pack.substr(0, 3)) || code < 0xb9) return MpegEnd::Whole;
    constexpr std::size_t kPackOfMpeg1 = 12;
    constexpr std::size_t kPackOfMpeg2 = 14;
    if (code == 0xb9) {
      at += pack.size();  // The end of the program.
    } else if (code != 0xba) {
      at += std::max<std::size_t>(6, pesLength(rest));
    } else if ((byteAt(rest, 4) & 0xc0U) == 0x40U) {
      at += kPackOfMpeg2 + (byteAt(rest, 13) & 7U);
    } else {
      at += kPackOfMpeg1;
    }
  }
  return at > tail.size() ? MpegEnd::Cut : MpegEnd::Whole;
}

}  // namespace lomix::media
