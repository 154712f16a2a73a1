#include "media/video/CopiedPackets.h"

#include <algorithm>
#include <map>
#include <utility>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace lomix::media {
namespace {

bool isSound(const AVStream& stream) { return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO; }

/// Returns how many packets before the wanted one a decoder needs to give the exact samples.
std::size_t leadOf(const AVCodecParameters& codec) {
  switch (codec.codec_id) {
    case AV_CODEC_ID_FLAC:
    case AV_CODEC_ID_ALAC:
    case AV_CODEC_ID_WAVPACK:
      return 0;
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
      return 3;
    case AV_CODEC_ID_OPUS:
      return 4;  // 80 ms, as RFC 7845 recommends for seeking.
    default:
      return isCutAnywhere(codec) ? 0 : 1;
  }
}

int bytesPerSample(const AVCodecParameters& codec) {
  return av_get_exact_bits_per_sample(codec.codec_id) / 8 * codec.ch_layout.nb_channels;
}

/// Removes samples from a packet of PCM.
void cutSamples(const AVStream& stream, AVPacket& packet, std::int64_t atBegin,
                std::int64_t atEnd) {
  const int sample = bytesPerSample(*stream.codecpar);
  const std::int64_t all = packet.size / sample;
  atBegin = std::clamp<std::int64_t>(atBegin, 0, all);
  atEnd = std::clamp<std::int64_t>(atEnd, 0, all - atBegin);
  packet.data += atBegin * sample;
  packet.size = static_cast<int>((all - atBegin - atEnd) * sample);
}

}  // namespace

bool isCutAnywhere(const AVCodecParameters& codec) {
  return codec.codec_type == AVMEDIA_TYPE_AUDIO && codec.codec_id != AV_CODEC_ID_PCM_BLURAY &&
         codec.codec_id != AV_CODEC_ID_PCM_DVD &&
         av_get_exact_bits_per_sample(codec.codec_id) >= 8 &&
         std::string_view(avcodec_get_name(codec.codec_id)).starts_with("pcm_") &&
         codec.ch_layout.nb_channels > 0 && codec.sample_rate > 0;
}

const AVStream& CopiedPackets::streamOf(const AVPacket& packet) const {
  return *container_.streams[packet.stream_index];
}

Moment CopiedPackets::beginOf(const AVPacket& packet) const {
  return {packet.pts, streamOf(packet).time_base};
}

Moment CopiedPackets::endOf(const AVPacket& packet) const {
  return {packet.pts + packet.duration, streamOf(packet).time_base};
}

void CopiedPackets::add(FfmpegPtr<AVPacket> packet) {
  const auto index = static_cast<std::size_t>(packet->stream_index);
  if (reached_.size() <= index) reached_.resize(index + 1);
  const AVStream& stream = streamOf(*packet);
  if (packet->pts == AV_NOPTS_VALUE) packet->pts = packet->dts;
  if (packet->pts == AV_NOPTS_VALUE) packet->pts = reached_[index].value_or(0);
  if (packet->dts == AV_NOPTS_VALUE) packet->dts = packet->pts;
  if (packet->duration <= 0 && isSound(stream) && stream.codecpar->sample_rate > 0) {
    const int samples = av_get_audio_frame_duration2(stream.codecpar, packet->size);
    packet->duration = av_rescale_q(samples, {1, stream.codecpar->sample_rate}, stream.time_base);
  }
  const std::int64_t end = packet->pts + packet->duration;
  reached_[index] = std::max(reached_[index].value_or(end), end);
  packets_.push_back(std::move(packet));
}

void CopiedPackets::forgetBefore(const Moment& time) {
  // Longer than any decoder's lead.
  constexpr std::int64_t kMargin = 500'000;
  const Moment oldest{time.in(AV_TIME_BASE_Q)-kMargin, AV_TIME_BASE_Q};
  std::erase_if(packets_, [&](const auto& packet) { return endOf(*packet) < oldest; });
}

void CopiedPackets::cutBefore(const Moment& time, bool lead) {
  // From the back: counts the packets that are entirely before that time.
  std::map<int, std::size_t> before;
  std::deque<FfmpegPtr<AVPacket>> kept;
  for (auto packet = packets_.rbegin(); packet != packets_.rend(); ++packet) {
    AVPacket& p = **packet;
    const AVStream& stream = streamOf(p);
    const AVCodecParameters& codec = *stream.codecpar;
    const std::int64_t start = time.in(stream.time_base);
    const bool endsBefore = !(time < endOf(p)) && (p.duration > 0 || beginOf(p) < time);
    const std::size_t needed = lead && isSound(stream) ? leadOf(codec) : 0;
    if (endsBefore && before[p.stream_index]++ >= needed) continue;
    if (beginOf(p) < time && isCutAnywhere(codec)) {
      cutSamples(stream, p, av_rescale_q(start - p.pts, stream.time_base, {1, codec.sample_rate}),
                 0);
    }
    if (beginOf(p) < time && (isCutAnywhere(codec) || codec.codec_type == AVMEDIA_TYPE_SUBTITLE)) {
      p.duration -= start - p.pts;
      p.pts = p.dts = start;
    } else if (beginOf(p) < time && !lead) {
      continue;
    }
    kept.push_front(std::move(*packet));
  }
  packets_ = std::move(kept);
}

/// Cuts a packet at the end. Returns false for a packet that is entirely after it.
bool CopiedPackets::cutEnd(AVPacket& packet) const {
  if (!end_) return true;
  if (!(beginOf(packet) < *end_)) return false;
  if (!(*end_ < endOf(packet))) return true;
  const AVStream& stream = streamOf(packet);
  const std::int64_t excess = packet.pts + packet.duration - end_->in(stream.time_base);
  packet.duration -= excess;
  if (!isSound(stream) || stream.codecpar->sample_rate <= 0) return true;
  const std::int64_t samples =
      av_rescale_q(excess, stream.time_base, {1, stream.codecpar->sample_rate});
  if (isCutAnywhere(*stream.codecpar)) {
    cutSamples(stream, packet, 0, samples);
    return packet.size > 0;
  }
  // Bytes 0 to 3: samples to skip at the begin; 4 to 7: to discard at the end.
  constexpr std::size_t kSkipSize = 10;
  std::uint8_t* skip = av_packet_new_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, kSkipSize);
  if (skip == nullptr) throw std::bad_alloc();
  std::fill_n(skip, kSkipSize, std::uint8_t{0});
  AV_WL32(skip + 4, static_cast<std::uint32_t>(samples));
  return true;
}

std::optional<std::int64_t> CopiedPackets::first(int stream) const {
  const auto found = std::ranges::find_if(
      packets_, [&](const auto& packet) { return packet->stream_index == stream; });
  if (found == packets_.end()) return std::nullopt;
  return (*found)->pts;
}

std::optional<Moment> CopiedPackets::reached(int stream) const {
  const auto index = static_cast<std::size_t>(stream);
  if (index >= reached_.size() || !reached_[index]) return std::nullopt;
  return Moment{*reached_[index], container_.streams[stream]->time_base};
}

std::vector<FfmpegPtr<AVPacket>> CopiedPackets::takeUntil(const Moment& time) {
  std::vector<FfmpegPtr<AVPacket>> taken;
  std::deque<FfmpegPtr<AVPacket>> left;
  for (auto& packet : packets_) {
    // What plays on may be cut there.
    const bool endsLater = !end_ && time < endOf(*packet);
    if (!(beginOf(*packet) < time) || endsLater) {
      left.push_back(std::move(packet));
    } else if (cutEnd(*packet)) {
      taken.push_back(std::move(packet));
    }
  }
  packets_ = std::move(left);
  return taken;
}

std::vector<FfmpegPtr<AVPacket>> CopiedPackets::takeAll() {
  std::vector<FfmpegPtr<AVPacket>> taken;
  for (auto& packet : std::exchange(packets_, {})) {
    if (cutEnd(*packet)) taken.push_back(std::move(packet));
  }
  return taken;
}

}  // namespace lomix::media
