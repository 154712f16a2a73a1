// The packets of the streams that are copied: sound and subtitles, cut where frames are.
#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// A time in units of a stream or container: value * base seconds.
struct Moment {
  std::int64_t value = 0;
  AVRational base{1, 1};

  /// Returns the time in units of another base, rounded to nearest.
  std::int64_t in(AVRational other) const { return av_rescale_q(value, base, other); }
};
inline bool operator<(const Moment& a, const Moment& b) {
  return av_compare_ts(a.value, a.base, b.value, b.base) < 0;
}

/// Returns whether the codec's packets can be cut between any two samples: PCM.
bool isCutAnywhere(const AVCodecParameters& codec);

/// Packets that were read and not yet written. One thread at a time.
class CopiedPackets {
 public:
  /// container: must outlive the object.
  explicit CopiedPackets(const AVFormatContext& container) : container_(container) {}

  /// Takes a packet. Gives it the timestamp and the duration that it lacks, where they are known.
  void add(FfmpegPtr<AVPacket> packet);

  /// Removes packets that end so long before that time that no cut there can need them.
  void forgetBefore(const Moment& time);

  /// Cuts what is before that time. A subtitle begins then. PCM is cut to the sample. Of other
  /// sound the packet that plays at that time stays whole; lead: with the packets before it that
  /// its decoder needs to give the exact samples. The container has to say where playing begins.
  void cutBefore(const Moment& time, bool lead);

  /// Cuts what is after that time, now and in packets that come later. PCM is cut to the sample.
  /// Other sound keeps the packet that plays at the end, with the duration and the number of
  /// samples to discard set.
  void cutAfter(const Moment& time) { end_ = time; }

  /// Returns the timestamp of a stream's first packet, in the stream's time base; nothing where
  /// there is none yet.
  std::optional<std::int64_t> first(int stream) const;
  /// Returns the largest end of a stream's packets so far, also of those taken.
  std::optional<Moment> reached(int stream) const;

  /// Removes and returns the packets that begin before that time, in the order of the file. Before
  /// cutAfter() was called, packets that end later are kept.
  std::vector<FfmpegPtr<AVPacket>> takeUntil(const Moment& time);
  /// Removes and returns all packets.
  std::vector<FfmpegPtr<AVPacket>> takeAll();

 private:
  const AVStream& streamOf(const AVPacket& packet) const;
  Moment beginOf(const AVPacket& packet) const;
  Moment endOf(const AVPacket& packet) const;
  bool cutEnd(AVPacket& packet) const;

  const AVFormatContext& container_;
  std::deque<FfmpegPtr<AVPacket>> packets_;
  std::vector<std::optional<std::int64_t>> reached_;  ///< By stream, in its time base.
  std::optional<Moment> end_;
};

}  // namespace lomix::media
