#include "media/video/WebpFrames.h"

#include <webp/demux.h>

#include <climits>
#include <cstring>
#include <new>

#include "media/picture/Picture.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/TextFile.h"

namespace lomix::media {
namespace {

// The format's own limit is 4 GiB, which no animation on the web comes near.
constexpr std::size_t kMostBytes = std::size_t{1} << 30;

/// Returns the sum of the durations that the frames state, in milliseconds.
std::int64_t durationOf(const WebPDemuxer* file) {
  std::int64_t sum = 0;
  WebPIterator frame;
  if (WebPDemuxGetFrame(file, 1, &frame) != 0) {
    do sum += frame.duration;
    while (WebPDemuxNextFrame(&frame) != 0);
  }
  WebPDemuxReleaseIterator(&frame);
  return sum;
}

std::uint32_t flagsOf(const WebPAnimDecoder* decoder) {
  return WebPDemuxGetI(WebPAnimDecoderGetDemuxer(decoder), WEBP_FF_FORMAT_FLAGS);
}

}  // namespace

void WebpFrames::Deleter::operator()(WebPAnimDecoder* decoder) const {
  WebPAnimDecoderDelete(decoder);
}

WebpFrames::WebpFrames(const std::string& name) : bytes_(readText(name, kMostBytes)) {
  const WebPData data{reinterpret_cast<const std::uint8_t*>(bytes_.data()), bytes_.size()};
  // The decoder allocates the pictures that the header asks for: look at their size first.
  WebPDemuxState state = WEBP_DEMUX_PARSE_ERROR;
  const std::unique_ptr<WebPDemuxer, void (*)(WebPDemuxer*)> header(WebPDemuxPartial(&data, &state),
                                                                    WebPDemuxDelete);
  if (!header || state != WEBP_DEMUX_DONE) {
    throw MediaError(cannotRead(name) + "the WebP file is damaged or not whole (get it again)");
  }
  const std::uint32_t width = WebPDemuxGetI(header.get(), WEBP_FF_CANVAS_WIDTH);
  const std::uint32_t height = WebPDemuxGetI(header.get(), WEBP_FF_CANVAS_HEIGHT);
  // A frame is one packet, whose size is an int.
  if (width > Picture::kMaxSide || height > Picture::kMaxSide ||
      std::uint64_t{width} * height > INT_MAX / 4) {
    throw MediaError(cannotRead(name) + "its frames are too large (scale it down first)");
  }
  size_ = {static_cast<int>(width), static_cast<int>(height)};
  frames_ = static_cast<int>(WebPDemuxGetI(header.get(), WEBP_FF_FRAME_COUNT));
  decoder_.reset(WebPAnimDecoderNew(&data, nullptr));
  if (!decoder_) throw std::bad_alloc();
}

WebpFrames::~WebpFrames() = default;

AVFormatContext* WebpFrames::makeContainer() const {
  AVFormatContext* container = avformat_alloc_context();
  if (container == nullptr) throw std::bad_alloc();
  AVStream* stream = avformat_new_stream(container, nullptr);
  if (stream == nullptr) {
    avformat_free_context(container);
    throw std::bad_alloc();
  }
  stream->time_base = {1, 1000};
  stream->start_time = 0;
  stream->nb_frames = frames_;
  const std::int64_t duration = durationOf(WebPAnimDecoderGetDemuxer(decoder_.get()));
  if (duration > 0) {
    av_reduce(&stream->avg_frame_rate.num, &stream->avg_frame_rate.den,
              std::int64_t{1000} * frames_, duration, 1 << 30);
    stream->r_frame_rate = stream->avg_frame_rate;
  }
  AVCodecParameters& parameters = *stream->codecpar;
  parameters.codec_type = AVMEDIA_TYPE_VIDEO;
  parameters.codec_id = AV_CODEC_ID_RAWVIDEO;
  // Without the flag all pixels are opaque; the output then needs no alpha.
  const bool alpha = (flagsOf(decoder_.get()) & ALPHA_FLAG) != 0;
  parameters.format = alpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB0;
  parameters.width = size_.first;
  parameters.height = size_.second;
  parameters.color_space = AVCOL_SPC_RGB;
  parameters.color_range = AVCOL_RANGE_JPEG;
  return container;
}

int WebpFrames::read(AVPacket& packet) {
  if (WebPAnimDecoderHasMoreFrames(decoder_.get()) == 0) return AVERROR_EOF;
  std::uint8_t* pixels = nullptr;
  int end = 0;
  if (WebPAnimDecoderGetNext(decoder_.get(), &pixels, &end) == 0) return AVERROR_INVALIDDATA;
  const int error = av_new_packet(&packet, size_.first * size_.second * 4);
  if (error < 0) return error;
  std::memcpy(packet.data, pixels, static_cast<std::size_t>(packet.size));
  packet.pts = packet.dts = end_;
  packet.duration = end - end_;
  packet.flags |= AV_PKT_FLAG_KEY;
  end_ = end;
  return 0;
}

bool WebpFrames::hasMetadata() const {
  return (flagsOf(decoder_.get()) & (ICCP_FLAG | EXIF_FLAG | XMP_FLAG)) != 0;
}

}  // namespace lomix::media
