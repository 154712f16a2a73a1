#include "media/video/Writer.h"

#include <algorithm>
#include <cstring>

#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {

/// A converted frame with the packets of the other streams that come before it.
class Writer::PreparedFrame : public EncodableFrame {
 public:
  explicit PreparedFrame(Writer& writer) : writer_(writer) {}
  void append() override { writer_.append(*this); }

  FfmpegPtr<AVFrame> frame;
  std::vector<FfmpegPtr<AVPacket>> packets;

 private:
  Writer& writer_;
};

namespace {

/// Returns the orientation that undoes another one.
int inverse(int orientation) { return orientation == 6 ? 8 : orientation == 8 ? 6 : orientation; }

template <typename T>
T* required(T* pointer) {
  if (pointer == nullptr) throw std::bad_alloc();
  return pointer;
}

}  // namespace

Writer::Writer(const VideoOutput& output, Reader* source)
    : output_(output),
      source_(source),
      codec_(chooseCodec(output)),
      format_(chooseContainer(output, codec_)) {
  muteFfmpeg();
  if (codec_.isPlain()) output_.videoOnly = true;
  if (output_.name != kStandardStream) checkNewFile(output_.name, output_.overwrite);
  if (source_ == nullptr || output_.videoOnly) return;
  const AVFormatContext& from = source_->container();
  for (unsigned i = 0; i < from.nb_streams; ++i) requireCarriable(*from.streams[i]);
}

Writer::~Writer() {
  if (container_ == nullptr) return;
  avio_closep(&container_->pb);
  avformat_free_context(container_);
}

void Writer::require(int error) const {
  if (error >= 0) return;
  throw MediaError(cannotWrite(output_.name) + ffmpegMessage(error) +
                   " (check the free space, or try another codec)");
}

void Writer::requireCarriable(const AVStream& stream) const {
  if (&stream == &source_->stream() || stream.discard == AVDISCARD_ALL) return;
  const AVCodecParameters& codec = *stream.codecpar;
  if (avformat_query_codec(format_, codec.codec_id, FF_COMPLIANCE_NORMAL) != 0) return;
  throw AvoidableError(Remedy::VideoOnly,
                       cannotWrite(output_.name) + "such a file cannot hold the " +
                           av_get_media_type_string(codec.codec_type) + " stream " +
                           std::to_string(stream.index) + " (" + avcodec_get_name(codec.codec_id) +
                           ") of the input",
                       "use another extension such as .mkv, or leave sound and subtitles out");
}

bool Writer::keepsRotation() const {
  const std::string_view name = format_->name;
  return name == "mp4" || name == "mov" || name == "ipod" || name == "3gp";
}

void Writer::open(const Picture& picture) {
  const std::lock_guard lock(mutex_);
  if (depth_ != 0) return;
  if (output_.name != kStandardStream) file_.emplace(output_.name);
  const std::string url = file_ ? "file:" + file_->path().string() : "pipe:1";
  require(avformat_alloc_output_context2(&container_, format_, nullptr, url.c_str()));
  // Allows Y4M of more than 8 bits, an extension that all common readers support.
  container_->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
  openEncoder(picture);
  addStreams();
  require(avio_open(&container_->pb, url.c_str(), AVIO_FLAG_WRITE));
  FfmpegOptions options;
  require(avformat_write_header(container_, options.address()));
  // Where the pixels are the same bytes in another order, and the encoder does not keep a frame
  // after it returns, a frame refers to the picture's memory instead of a copy.
  const AVCodecID codec = encoder_->codec_id;
  wraps_ = picture.depth() == 8 && FrameConverter::isReordered(encoder_->pix_fmt) &&
           (codec == AV_CODEC_ID_FFV1 || codec == AV_CODEC_ID_RAWVIDEO);
  depth_ = picture.depth();
}

void Writer::openEncoder(const Picture& picture) {
  const AVCodec* codec = avcodec_find_encoder_by_name(codec_.encoder);
  encoder_.reset(required(avcodec_alloc_context3(codec)));
  AVCodecContext& encoder = *encoder_;
  encoder.width = picture.width();
  encoder.height = picture.height();
  encoder.pix_fmt = codec_.formatFor(picture.depth(), picture.info.hasAlpha && codec_.alpha);
  const bool odd = picture.width() % 2 != 0 || picture.height() % 2 != 0;
  if (encoder.pix_fmt == AV_PIX_FMT_YUV420P && odd) encoder.pix_fmt = AV_PIX_FMT_YUV444P;
  if (source_ != nullptr && source_->isRaw() && std::string_view(codec_.name) == "raw") {
    encoder.pix_fmt = source_->decoder().pix_fmt;
  }
  encoder.sample_aspect_ratio = av_d2q(picture.info.pixelAspect, 10000);
  if (source_ != nullptr) {
    encoder.time_base = source_->stream().time_base;
    encoder.framerate = source_->stream().avg_frame_rate;
  } else {
    encoder.framerate = toAv(output_.rate);
    encoder.time_base = av_inv_q(encoder.framerate);
  }
  if (codec_.isPlain() && encoder.framerate.num > 0) {
    encoder.time_base = av_inv_q(encoder.framerate);
  }
  encoder.thread_count = output_.threads;
  encoder.strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
  setColours(encoder);
  if ((format_->flags & AVFMT_GLOBALHEADER) != 0) encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  FfmpegOptions options;
  if (codec->id == AV_CODEC_ID_H264) options.set("crf", std::to_string(output_.crf));
  if (codec->id == AV_CODEC_ID_PRORES) options.set("profile", "4444");
  if (codec->id == AV_CODEC_ID_FFV1) {
    // Only key frames, so that every frame can be cut at; 16 slices for threads, each with a
    // checksum.
    encoder.gop_size = 1;
    encoder.level = 3;
    options.set("slices", "16");
    options.set("slicecrc", "1");
  }
  require(avcodec_open2(encoder_.get(), codec, options.address()));
}

/// Copies the source's colour tags where they apply to the pixels that are written.
void Writer::setColours(AVCodecContext& encoder) const {
  const AVCodecContext* from = source_ != nullptr ? &source_->decoder() : nullptr;
  if (from != nullptr) {
    encoder.color_primaries = from->color_primaries;
    encoder.color_trc = from->color_trc;
  }
  if (isRgb(encoder.pix_fmt)) {
    encoder.colorspace = AVCOL_SPC_RGB;
    encoder.color_range = AVCOL_RANGE_JPEG;
    return;
  }
  if (from != nullptr && !isRgb(from->pix_fmt)) {
    encoder.colorspace = from->colorspace;
    encoder.color_range = from->color_range;
    encoder.chroma_sample_location = from->chroma_sample_location;
  } else {
    encoder.colorspace = effectiveMatrix(AVCOL_SPC_UNSPECIFIED, encoder.height);
    encoder.color_range = AVCOL_RANGE_MPEG;
  }
}

void Writer::addStreams() {
  if (source_ == nullptr) {
    addVideoStream();
    return;
  }
  const AVFormatContext& from = source_->container();
  copies_.assign(from.nb_streams, -1);
  for (unsigned i = 0; i < from.nb_streams; ++i) {
    if (from.streams[i] == &source_->stream()) {
      addVideoStream();
    } else if (!output_.videoOnly && from.streams[i]->discard != AVDISCARD_ALL) {
      addCopiedStream(*from.streams[i]);
    }
  }
  av_dict_copy(&container_->metadata, from.metadata, 0);
  copyChapters();
}

void Writer::addVideoStream() {
  stream_ = required(avformat_new_stream(container_, nullptr));
  require(avcodec_parameters_from_context(stream_->codecpar, encoder_.get()));
  stream_->time_base = encoder_->time_base;
  stream_->avg_frame_rate = encoder_->framerate;
  stream_->sample_aspect_ratio = encoder_->sample_aspect_ratio;
  if (source_ == nullptr) return;
  const AVStream& from = source_->stream();
  stream_->disposition = from.disposition;
  av_dict_copy(&stream_->metadata, from.metadata, 0);
  // Names the encoder of the source.
  av_dict_set(&stream_->metadata, "encoder", nullptr, 0);
  for (int i = 0; i < from.nb_side_data; ++i) {
    const AVPacketSideData& data = from.side_data[i];
    if (data.type == AV_PKT_DATA_DISPLAYMATRIX && !keepsRotation()) continue;
    std::uint8_t* copy = required(av_stream_new_side_data(stream_, data.type, data.size));
    std::memcpy(copy, data.data, data.size);
  }
}

void Writer::addCopiedStream(const AVStream& from) {
  AVStream* to = required(avformat_new_stream(container_, nullptr));
  require(avcodec_parameters_copy(to->codecpar, from.codecpar));
  // The codec's tag depends on the container. 0: the container chooses.
  to->codecpar->codec_tag = 0;
  to->time_base = from.time_base;
  to->disposition = from.disposition;
  av_dict_copy(&to->metadata, from.metadata, 0);
  copies_[static_cast<std::size_t>(from.index)] = to->index;
}

void Writer::copyChapters() {
  const AVFormatContext& from = source_->container();
  if (from.nb_chapters == 0) return;
  container_->chapters =
      static_cast<AVChapter**>(required(av_calloc(from.nb_chapters, sizeof(AVChapter*))));
  for (unsigned i = 0; i < from.nb_chapters; ++i) {
    auto* chapter = static_cast<AVChapter*>(required(av_mallocz(sizeof(AVChapter))));
    chapter->id = from.chapters[i]->id;
    chapter->time_base = from.chapters[i]->time_base;
    chapter->start = from.chapters[i]->start;
    chapter->end = from.chapters[i]->end;
    av_dict_copy(&chapter->metadata, from.chapters[i]->metadata, 0);
    container_->chapters[container_->nb_chapters++] = chapter;
  }
}

std::unique_ptr<EncodableFrame> Writer::prepare(std::shared_ptr<Picture> picture,
                                                const VideoFrame* origin, std::int64_t place) {
  if (source_ != nullptr && source_->orientation() != 1 && keepsRotation() && origin != nullptr) {
    picture =
        std::make_shared<Picture>(upright(std::move(*picture), inverse(source_->orientation())));
  }
  return prepareTurned(std::move(picture), origin, place);
}

std::unique_ptr<EncodableFrame> Writer::prepareTurned(std::shared_ptr<Picture> picture,
                                                      const VideoFrame* origin,
                                                      std::int64_t place) {
  open(*picture);
  if (picture->width() != encoder_->width || picture->height() != encoder_->height ||
      picture->depth() != depth_) {
    throw MediaError(cannotWrite(output_.name) +
                     "the frames differ in size or depth (make them alike first)");
  }
  auto prepared = std::make_unique<PreparedFrame>(*this);
  prepared->frame = newFrame();
  AVFrame& frame = *prepared->frame;
  frame.format = encoder_->pix_fmt;
  frame.width = encoder_->width;
  frame.height = encoder_->height;
  frame.colorspace = encoder_->colorspace;
  frame.color_range = encoder_->color_range;
  frame.color_primaries = encoder_->color_primaries;
  frame.color_trc = encoder_->color_trc;
  frame.sample_aspect_ratio = encoder_->sample_aspect_ratio;
  frame.pts = place;
  frame.pkt_duration = 1;
  fill(frame, std::move(picture));
  if (origin != nullptr) {
    const auto& decoded = static_cast<const DecodedFrame&>(*origin);
    const AVRational from = source_->stream().time_base;
    frame.pts = av_rescale_q(decoded.frame->pts, from, encoder_->time_base);
    frame.pkt_duration = av_rescale_q(decoded.frame->pkt_duration, from, encoder_->time_base);
    for (const FfmpegPtr<AVPacket>& packet : decoded.packets) {
      prepared->packets.emplace_back(required(av_packet_clone(packet.get())));
    }
  }
  return prepared;
}

void Writer::fill(AVFrame& frame, std::shared_ptr<Picture> picture) {
  if (!wraps_) {
    if (av_frame_get_buffer(&frame, 0) < 0) throw std::bad_alloc();
    converters_.use([&](FrameConverter& converter) { converter.toFrame(*picture, frame); });
    return;
  }
  FrameConverter::reorderInPlace(*picture, encoder_->pix_fmt);
  const std::span<std::uint8_t> row = picture->row8(0);
  const std::size_t size = row.size() * static_cast<std::size_t>(picture->height());
  auto owner = std::make_unique<std::shared_ptr<Picture>>(std::move(picture));
  const auto release = [](void* kept, std::uint8_t*) {
    delete static_cast<std::shared_ptr<Picture>*>(kept);
  };
  frame.buf[0] = required(av_buffer_create(row.data(), size, release, owner.get(), 0));
  static_cast<void>(owner.release());
  frame.data[0] = row.data();
  frame.linesize[0] = static_cast<int>(row.size());
}

/// Writes a raw frame from the picture's memory: the encoder would only copy it.
void Writer::writeWrapped(AVFrame& frame) {
  packet_->buf = required(av_buffer_ref(frame.buf[0]));
  packet_->data = frame.data[0];
  packet_->size = static_cast<int>(frame.buf[0]->size);
  packet_->pts = packet_->dts = frame.pts;
  packet_->stream_index = stream_->index;
  write(*packet_);
}

void Writer::append(PreparedFrame& prepared) {
  copy(prepared.packets);
  if (wraps_ && encoder_->codec_id == AV_CODEC_ID_RAWVIDEO) {
    writeWrapped(*prepared.frame);
  } else {
    durations_[prepared.frame->pts] = prepared.frame->pkt_duration;
    encode(prepared.frame.get());
  }
  prepared.frame.reset();
}

void Writer::copy(std::vector<FfmpegPtr<AVPacket>>& packets) {
  if (output_.videoOnly) return;
  for (FfmpegPtr<AVPacket>& packet : packets) {
    const AVStream& from = *source_->container().streams[packet->stream_index];
    const int index = copies_[static_cast<std::size_t>(packet->stream_index)];
    const AVStream& to = *container_->streams[index];
    av_packet_rescale_ts(packet.get(), from.time_base, to.time_base);
    packet->stream_index = index;
    packet->pos = -1;
    write(*packet);
  }
}

void Writer::encode(const AVFrame* frame) {
  require(avcodec_send_frame(encoder_.get(), frame));
  for (;;) {
    const int error = avcodec_receive_packet(encoder_.get(), packet_.get());
    if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) return;
    require(error);
    if (const auto duration = durations_.extract(packet_->pts)) {
      packet_->duration = duration.mapped();
    }
    av_packet_rescale_ts(packet_.get(), encoder_->time_base, stream_->time_base);
    packet_->stream_index = stream_->index;
    write(*packet_);
  }
}

void Writer::write(AVPacket& packet) {
  require(av_interleaved_write_frame(container_, &packet));
  require(container_->pb->error);
}

void Writer::finish() {
  if (encoder_ == nullptr) {
    throw MediaError(cannotWrite(output_.name) + "there is no frame to write (check the input)");
  }
  encode(nullptr);
  if (source_ != nullptr) {
    std::vector<FfmpegPtr<AVPacket>> rest = source_->takePackets();
    copy(rest);
  }
  require(av_write_trailer(container_));
  avio_flush(container_->pb);
  require(container_->pb->error);
  require(avio_closep(&container_->pb));
  if (file_) file_->publish(output_.overwrite);
}

std::unique_ptr<VideoWriter> createVideo(const VideoOutput& output, VideoReader* source) {
  return std::make_unique<Writer>(output, static_cast<Reader*>(source));
}

}  // namespace lomix::media
