#include "media/video/Writer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/timecode.h>
}

#include "media/picture/PictureFile.h"
#include "support/Errors.h"
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

/// Copies tags without those that describe how the input was encoded.
void copyTagsOf(const AVDictionary* from, AVDictionary** to) {
  constexpr std::array<std::string_view, 6> kOfTheFile{
      "DURATION", "BPS", "NUMBER_OF_FRAMES", "NUMBER_OF_BYTES", "_STATISTICS_", "rotate"};
  const AVDictionaryEntry* tag = nullptr;
  while ((tag = av_dict_get(from, "", tag, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
    const std::string_view key = tag->key;
    const bool ofTheFile = std::ranges::any_of(
        kOfTheFile, [&](std::string_view start) { return key.starts_with(start); });
    if (!ofTheFile) av_dict_set(to, tag->key, tag->value, 0);
  }
}

/// Returns whether stream data of this type describe the whole video and are written.
bool isOfWholeVideo(AVPacketSideDataType type) {
  return type == AV_PKT_DATA_DISPLAYMATRIX || type == AV_PKT_DATA_MASTERING_DISPLAY_METADATA ||
         type == AV_PKT_DATA_CONTENT_LIGHT_LEVEL || type == AV_PKT_DATA_STEREO3D ||
         type == AV_PKT_DATA_SPHERICAL;
}

/// Returns the tag for a colour space that a picture was converted to.
AVColorTransferCharacteristic transferOf(const std::string& space) {
  if (space == "Linear") return AVCOL_TRC_LINEAR;
  if (space == "sRGB") return AVCOL_TRC_IEC61966_2_1;
  return space == "Rec709" ? AVCOL_TRC_BT709 : AVCOL_TRC_UNSPECIFIED;
}

/// Advances a tag "timecode" by a number of frames.
void advanceTimecode(AVDictionary** tags, AVRational rate, std::int64_t frames) {
  const AVDictionaryEntry* tag = av_dict_get(*tags, "timecode", nullptr, 0);
  AVTimecode timecode;
  if (tag == nullptr || frames == 0 ||
      av_timecode_init_from_string(&timecode, rate, tag->value, nullptr) < 0) {
    return;
  }
  std::array<char, AV_TIMECODE_STR_SIZE> text;
  av_dict_set(tags, tag->key,
              av_timecode_make_string(&timecode, text.data(), static_cast<int>(frames)), 0);
}

}  // namespace

Writer::Writer(const VideoOutput& output, Reader* source)
    : output_(output),
      source_(source),
      codec_(chooseCodec(output)),
      format_(chooseContainer(output, codec_)) {
  muteFfmpeg();
  if (output_.crf && codec_.crf == 0) {
    throw UsageError("video codec '" + std::string(codec_.name) +
                     "': it has no constant rate factor (leave it out, or use h264, hevc or vp9)");
  }
  if (output_.crf && *output_.crf > 51 && codec_.name != "vp9") {
    throw UsageError("video codec '" + std::string(codec_.name) +
                     "': its constant rate factor is 0 to 51 (use one of these)");
  }
  if (output_.name != kStandardStream) checkNewFile(output_.name, output_.overwrite);
  if (source_ == nullptr) return;
  treatments_ = planCopies(*source_, *format_, output_);
  Reader::Copying copying;
  // Without a beginning at 0 there is no place for what is decoded before it.
  copying.lead = isMp4Family(*format_) && !output_.keepTimestamps;
  copying.keepTimestamps = output_.keepTimestamps;
  copying.framesOnly = output_.segment.has_value();
  for (const Treatment treatment : treatments_) {
    copying.streams.push_back(treatment == Treatment::Copy || treatment == Treatment::ConvertText);
  }
  source_->copy(copying);
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

/// Throws where the header could not be written. Most containers say only by that which streams
/// they do not take: of other rates than theirs, for instance.
void Writer::requireHeader(int error) const {
  if (error >= 0 || error == AVERROR(ENOSPC) || error == AVERROR(EIO)) return require(error);
  std::string streams;
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    const AVCodecParameters& codec = *container_->streams[i]->codecpar;
    streams += (i == 0 ? "" : ", ") + std::string(avcodec_get_name(codec.codec_id));
    if (codec.codec_type == AVMEDIA_TYPE_AUDIO) {
      streams += " of " + std::to_string(codec.sample_rate) + " Hz";
    } else if (i == static_cast<unsigned>(stream_->index)) {
      const AVRational rate = container_->streams[i]->avg_frame_rate;
      streams += " of " + std::to_string(codec.width) + "x" + std::to_string(codec.height) +
                 " pixels at " + std::to_string(rate.num) + "/" + std::to_string(rate.den) +
                 " frames a second";
    }
  }
  throw MediaError(cannotWrite(output_.name) + "such a file cannot hold these streams: " + streams +
                   " (use the extension .mkv or .mov)");
}

void Writer::warn(const std::string& subject, const std::string& what) const {
  output_.warn("'" + subject + "': " + what);
}

void Writer::open(const Picture& picture) {
  const std::lock_guard lock(mutex_);
  if (depth_ != 0) return;
  // Frames of other threads may follow before the run ends.
  if (openError_) std::rethrow_exception(openError_);
  try {
    createContainer();
    openEncoder(picture);
    writeHeader();
  } catch (...) {
    openError_ = std::current_exception();
    throw;
  }
  // Where the pixels are the same bytes in another order, and the encoder does not keep a frame
  // after it returns, a frame refers to the picture's memory instead of a copy.
  const AVCodecID codec = encoder_->codec_id;
  wraps_ = picture.depth() == 8 && FrameConverter::isReordered(encoder_->pix_fmt) &&
           (codec == AV_CODEC_ID_FFV1 || codec == AV_CODEC_ID_RAWVIDEO);
  depth_ = picture.depth();
}

void Writer::openLike(const AVStream& like, AVRational rate) {
  like_ = &like;
  likeRate_ = rate;
  createContainer();
  writeHeader();
  like_ = nullptr;
}

void Writer::createContainer() {
  if (output_.name != kStandardStream) file_.emplace(output_.name);
  const std::string url = file_ ? "file:" + file_->path().string() : "pipe:1";
  require(avformat_alloc_output_context2(&container_, format_, nullptr, url.c_str()));
  // Allows Y4M of more than 8 bits, an extension that all common readers support.
  container_->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
}

void Writer::writeHeader() {
  addStreams();
  require(avio_open(&container_->pb, container_->url, AVIO_FLAG_WRITE));
  FfmpegOptions options;
  // MP4 gets a track of timecodes, as QuickTime does, where the source has one.
  if (isMp4Family(*format_)) options.set("write_tmcd", "1");
  requireHeader(avformat_write_header(container_, options.address()));
  if (!output_.segment) writeCovers();
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
  if (encoder.pix_fmt == AV_PIX_FMT_YUV420P10 && odd) encoder.pix_fmt = AV_PIX_FMT_YUV444P10;
  if (source_ != nullptr && source_->isRaw() && codec_.name == "raw") {
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
  converts_ = !picture.info.convertedTo.empty();
  setColours(picture.info, encoder);
  frameFormat_ = encoder.pix_fmt;
  warnOfEncoding(picture.info);
  if (codec->id == AV_CODEC_ID_GIF) {
    encoder.pix_fmt = AV_PIX_FMT_PAL8;
    if (picture.info.hasAlpha) {
      warn(output_.name,
           "GIF has no translucent pixels: alpha becomes all or nothing (.webp and "
           ".apng files keep it)");
    }
    // A hundredth of a second is the unit of its times.
    if (av_q2d(encoder.framerate) > 50.0) {
      warn(output_.name,
           "most programs show GIF frames for 0.02 seconds at least, so that it plays "
           "too slowly (choose fewer frames a second, or .webp)");
    }
  }
  setFieldOrder(encoder);
  if ((format_->flags & AVFMT_GLOBALHEADER) != 0) encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  FfmpegOptions options;
  if (codec_.crf != 0) options.set("crf", std::to_string(output_.crf.value_or(codec_.crf)));
  // This encoder prints by itself.
  if (codec->id == AV_CODEC_ID_HEVC) {
    // Its comment in the header names the number of threads, and segments need equal headers.
    options.set("x265-params", output_.segment ? "log-level=none:info=0" : "log-level=none");
  }
  if (codec->id == AV_CODEC_ID_VP9) {
    // Constant quality, and rows in parallel.
    encoder.bit_rate = 0;
    options.set("row-mt", "1");
    options.set("cpu-used", "2");
  }
  if (codec->id == AV_CODEC_ID_WEBP) options.set("lossless", "1");
  if (codec->id == AV_CODEC_ID_H264 && (encoder.flags & AV_CODEC_FLAG_INTERLACED_DCT) != 0) {
    options.set("x264-params", encoder.field_order == AV_FIELD_BB ? "bff=1" : "tff=1");
  }
  if (codec->id == AV_CODEC_ID_PRORES) options.set("profile", "4444");
  if (codec->id == AV_CODEC_ID_FFV1) {
    // Only key frames, so that every frame can be cut at; 16 slices for threads, each with a
    // checksum. Of fewer than 8 rows or columns some slices would have one, which the library
    // encodes wrongly. The first version of the format has no slices.
    encoder.gop_size = 1;
    constexpr int kLeastSide = 8;
    if (std::min(encoder.width, encoder.height) < kLeastSide) {
      encoder.level = 1;
    } else {
      encoder.level = 3;
      options.set("slices", "16");
      options.set("slicecrc", "1");
    }
  }
  require(avcodec_open2(encoder_.get(), codec, options.address()));
  transparency_.emplace(hasAlphaChannel(frameFormat_), output_.name,
                        std::string(codec_.name) + " has none; prores, ffv1 and png do",
                        output_.warn);
}

/// Sets the colour tags: those of the source where they apply to the pixels that are written.
void Writer::setColours(const PictureInfo& info, AVCodecContext& encoder) const {
  const AVCodecContext* from = source_ != nullptr ? &source_->decoder() : nullptr;
  if (from != nullptr) {
    encoder.color_primaries = from->color_primaries;
    encoder.color_trc = from->color_trc;
  }
  if (converts_) encoder.color_trc = transferOf(info.convertedTo);
  if (info.hasNewPrimaries) encoder.color_primaries = AVCOL_PRI_UNSPECIFIED;
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

/// Warns where programs read the values otherwise than they are meant.
void Writer::warnOfEncoding(const PictureInfo& info) const {
  if (info.isEncodingChosen) return;
  // Of the others neither the codec nor the container says what the values mean.
  const bool tagged = isMp4Family(*format_) || isMatroska(*format_) || codec_.name == "h264" ||
                      codec_.name == "hevc" || codec_.name == "prores";
  if (source_ == nullptr || !tagged) {
    const std::string display = source_ == nullptr ? "srgb" : "rec709";
    const std::string note = encodingNote(info.encoding, Encoding::Display, display);
    if (!note.empty()) warn(output_.name, note);
    return;
  }
  const bool isHdr = info.encoding == Encoding::Pq || info.encoding == Encoding::Hlg;
  if (isHdr && channelBits(frameFormat_) <= 8) {
    warn(output_.name,
         "HDR values are stored in 8 bits, which are too few for them: gradients become steps "
         "(leave --depth out and choose a codec of 10 bits, such as hevc)");
  }
}

/// Keeps the source's order of fields where codec and container have it.
void Writer::setFieldOrder(AVCodecContext& encoder) {
  if (source_ == nullptr) return;
  const AVFrame& first = source_->firstFrame();
  AVFieldOrder order = source_->stream().codecpar->field_order;
  if (source_->deinterlaces()) order = AV_FIELD_PROGRESSIVE;
  if (first.interlaced_frame != 0) order = first.top_field_first != 0 ? AV_FIELD_TT : AV_FIELD_BB;
  if (order == AV_FIELD_UNKNOWN) return;
  encoder.field_order = order;
  if (order == AV_FIELD_PROGRESSIVE) return;
  const AVCodecID id = encoder.codec_id;
  const bool inCodec = id == AV_CODEC_ID_H264 || id == AV_CODEC_ID_PRORES;
  const bool inContainer = isMatroska(*format_) || std::string_view(format_->name) == "mov" ||
                           std::string_view(format_->name) == "yuv4mpegpipe";
  if (inCodec) encoder.flags |= AV_CODEC_FLAG_INTERLACED_DCT;
  if (!inCodec && !inContainer) {
    warn(output_.name, "that the pictures are interlaced is left out (the output cannot hold it)");
  }
}

/// Returns what joining the segment takes. Call after openEncoder().
SegmentNote Writer::segmentNote() const {
  SegmentNote note;
  note.segment = *output_.segment;
  const AVRational rate = encoder_->framerate;
  if (rate.den > 0) note.rate = {rate.num, rate.den};
  note.keepsTimestamps = output_.keepTimestamps;
  if (source_ == nullptr) {
    note.start = {note.segment.place * rate.den, rate.num};
    return note;
  }
  const AVRational base = source_->stream().time_base;
  note.start = {(source_->start().in(base)-source_->zero().in(base)) * base.num, base.den};
  std::error_code ignored;
  note.sourceBytes = static_cast<std::int64_t>(
      std::filesystem::file_size(std::filesystem::path(source_->name()), ignored));
  note.sound = output_.sound;
  note.subtitles = output_.subtitles;
  note.data = output_.data;
  return note;
}

void Writer::addStreams() {
  if (output_.segment) {
    addVideoStream();
    av_dict_set(&container_->metadata, "comment", segmentNote().text().c_str(), 0);
    return;
  }
  if (source_ == nullptr) {
    addVideoStream();
    return;
  }
  const AVFormatContext& from = source_->container();
  copies_.assign(from.nb_streams, -1);
  for (unsigned i = 0; i < from.nb_streams; ++i) {
    if (from.streams[i] == &source_->stream()) {
      addVideoStream();
      continue;
    }
    switch (treatments_[i]) {
      case Treatment::LeaveOut:
        break;
      case Treatment::CoverArt:
        addCover(*from.streams[i]);
        break;
      default:
        addCopiedStream(*from.streams[i]);
    }
  }
  copyTags();
  copyChapters();
}

void Writer::copyTags() {
  copyTagsOf(source_->container().metadata, &container_->metadata);
  const AVRational rate = source_->stream().avg_frame_rate;
  advanceTimecode(&container_->metadata, rate, source_->firstNumber());
  advanceTimecode(&stream_->metadata, rate, source_->firstNumber());
}

/// Describes what the encoder gives.
void Writer::describeEncoded(AVStream& stream) const {
  require(avcodec_parameters_from_context(stream.codecpar, encoder_.get()));
  stream.time_base = encoder_->time_base;
  stream.avg_frame_rate = encoder_->framerate;
  stream.sample_aspect_ratio = encoder_->sample_aspect_ratio;
  // The encoder does not say it, and MXF needs it.
  if (encoder_->codec_id == AV_CODEC_ID_PRORES) {
    stream.codecpar->profile = FF_PROFILE_PRORES_4444;
  }
  // The tag by which QuickTime plays HEVC.
  if (encoder_->codec_id == AV_CODEC_ID_HEVC && isMp4Family(*format_)) {
    stream.codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
  }
}

void Writer::addVideoStream() {
  stream_ = required(avformat_new_stream(container_, nullptr));
  if (like_ != nullptr) {
    require(avcodec_parameters_copy(stream_->codecpar, like_->codecpar));
    stream_->time_base = like_->time_base;
    stream_->avg_frame_rate = likeRate_;
    stream_->sample_aspect_ratio = like_->sample_aspect_ratio;
    stream_->codecpar->sample_aspect_ratio = like_->sample_aspect_ratio;
    // A segment has only those that apply to its pixels.
    for (int i = 0; i < like_->nb_side_data; ++i) {
      const AVPacketSideData& data = like_->side_data[i];
      if (isOfWholeVideo(data.type)) addSideData(data.type, data.data, data.size);
    }
  } else {
    describeEncoded(*stream_);
    if (source_ != nullptr) copySideData(source_->stream());
  }
  if (source_ == nullptr || output_.segment) return;
  const AVStream& from = source_->stream();
  stream_->disposition = from.disposition;
  copyTagsOf(from.metadata, &stream_->metadata);
  // Names the encoder of the source.
  av_dict_set(&stream_->metadata, "encoder", nullptr, 0);
}

void Writer::addSideData(AVPacketSideDataType type, const std::uint8_t* data, std::size_t size) {
  std::memcpy(required(av_stream_new_side_data(stream_, type, size)), data, size);
}

/// Copies what belongs to the whole video: its orientation, and the light levels of HDR, which some
/// files have in the stream and others in the frames.
void Writer::copySideData(const AVStream& from) {
  bool light = false;
  for (int i = 0; i < from.nb_side_data; ++i) {
    const AVPacketSideData& data = from.side_data[i];
    switch (data.type) {
      case AV_PKT_DATA_DISPLAYMATRIX:
        if (isMp4Family(*format_)) addSideData(data.type, data.data, data.size);
        break;
      case AV_PKT_DATA_MASTERING_DISPLAY_METADATA:
      case AV_PKT_DATA_CONTENT_LIGHT_LEVEL:
        light = true;
        if (converts_) break;
        addSideData(data.type, data.data, data.size);
        break;
      case AV_PKT_DATA_STEREO3D:
      case AV_PKT_DATA_SPHERICAL:
        addSideData(data.type, data.data, data.size);
        break;
      case AV_PKT_DATA_DOVI_CONF:
        warn(output_.name, "the data of Dolby Vision are left out (no encoder here writes them)");
        break;
      default:
        break;
    }
  }
  struct Kind {
    AVFrameSideDataType inFrame;
    AVPacketSideDataType inStream;
  };
  for (const auto& [inFrame, inStream] :
       {Kind{AV_FRAME_DATA_MASTERING_DISPLAY_METADATA, AV_PKT_DATA_MASTERING_DISPLAY_METADATA},
        Kind{AV_FRAME_DATA_CONTENT_LIGHT_LEVEL, AV_PKT_DATA_CONTENT_LIGHT_LEVEL}}) {
    const AVFrameSideData* data = av_frame_get_side_data(&source_->firstFrame(), inFrame);
    if (data == nullptr) continue;
    light = true;
    if (converts_) break;
    if (av_stream_get_side_data(stream_, inStream, nullptr) != nullptr) continue;
    addSideData(inStream, data->data, data->size);
  }
  if (light && converts_) {
    warn(output_.name,
         "the mastering display and light levels of HDR are left out (they are not true of "
         "converted colours)");
  } else if (light && !isMp4Family(*format_) && !isMatroska(*format_)) {
    warn(output_.name,
         "the mastering display and light levels of HDR are left out (the output cannot hold "
         "them)");
  }
  if (av_frame_get_side_data(&source_->firstFrame(), AV_FRAME_DATA_DYNAMIC_HDR_PLUS) != nullptr) {
    warn(output_.name, "the dynamic data of HDR10+ are left out (no encoder here writes them)");
  }
}

void Writer::addCopiedStream(const AVStream& from) {
  AVStream* to = required(avformat_new_stream(container_, nullptr));
  if (treatments_[static_cast<std::size_t>(from.index)] == Treatment::ConvertText) {
    const auto converter = converted_.try_emplace(from.index, from, textSubtitleCodec(*format_));
    converter.first->second.describe(*to->codecpar);
  } else {
    require(avcodec_parameters_copy(to->codecpar, from.codecpar));
    setPadding(from, *to);
  }
  // The codec's tag depends on the container. 0: the container chooses.
  to->codecpar->codec_tag = 0;
  to->time_base = from.time_base;
  to->disposition = from.disposition;
  copyTagsOf(from.metadata, &to->metadata);
  copies_[static_cast<std::size_t>(from.index)] = to->index;
}

/// Matroska says with a number of samples what MP4 says with an edit list: how much is decoded
/// before the sound begins.
void Writer::setPadding(const AVStream& from, AVStream& to) const {
  if (!isMatroska(*format_) || from.codecpar->codec_type != AVMEDIA_TYPE_AUDIO) return;
  if (source_->span()) {
    // A trim has no packet before its begin.
    to.codecpar->initial_padding = 0;
    return;
  }
  const std::optional<std::int64_t> first = source_->firstPacket(from.index);
  const std::int64_t zero = source_->zero().in(from.time_base);
  if (!first || *first >= zero || from.codecpar->sample_rate <= 0) return;
  if (to.codecpar->initial_padding == 0) {
    to.codecpar->initial_padding = static_cast<int>(
        av_rescale_q(zero - *first, from.time_base, {1, from.codecpar->sample_rate}));
  }
  // The container adds the padding to the stream's timestamps, so that none is below 0. Without
  // this the library would move all streams instead.
  container_->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
}

void Writer::addCover(const AVStream& from) {
  AVStream* to = required(avformat_new_stream(container_, nullptr));
  require(avcodec_parameters_copy(to->codecpar, from.codecpar));
  to->codecpar->codec_tag = 0;
  to->time_base = from.time_base;
  copyTagsOf(from.metadata, &to->metadata);
  if (!isMatroska(*format_)) {
    to->disposition = AV_DISPOSITION_ATTACHED_PIC;
    copies_[static_cast<std::size_t>(from.index)] = to->index;
    return;
  }
  // An attached file there.
  const bool png = from.codecpar->codec_id == AV_CODEC_ID_PNG;
  const auto size = static_cast<std::size_t>(from.attached_pic.size);
  AVCodecParameters& parameters = *to->codecpar;
  parameters.codec_type = AVMEDIA_TYPE_ATTACHMENT;
  av_freep(&parameters.extradata);
  parameters.extradata =
      static_cast<std::uint8_t*>(required(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE)));
  parameters.extradata_size = from.attached_pic.size;
  std::memcpy(parameters.extradata, from.attached_pic.data, size);
  av_dict_set(&to->metadata, "filename", png ? "cover.png" : "cover.jpg", 0);
  av_dict_set(&to->metadata, "mimetype", png ? "image/png" : "image/jpeg", 0);
}

void Writer::writeCovers() {
  for (std::size_t i = 0; i < copies_.size(); ++i) {
    if (treatments_[i] != Treatment::CoverArt || copies_[i] < 0) continue;
    const AVPacket& picture = source_->container().streams[i]->attached_pic;
    const FfmpegPtr<AVPacket> copy(required(av_packet_clone(&picture)));
    copy->stream_index = copies_[i];
    copy->pts = copy->dts = 0;
    write(*copy);
  }
}

/// Copies the chapters that the output shows, cut where it is.
void Writer::copyChapters() {
  const AVFormatContext& from = source_->container();
  if (from.nb_chapters == 0 || codec_.isPlain()) return;
  container_->chapters =
      static_cast<AVChapter**>(required(av_calloc(from.nb_chapters, sizeof(AVChapter*))));
  for (unsigned i = 0; i < from.nb_chapters; ++i) {
    const AVChapter& old = *from.chapters[i];
    std::int64_t start = old.start;
    std::int64_t end = old.end;
    if (const auto span = source_->span()) {
      start = std::max(start, span->first.in(old.time_base));
      end = std::min(end, span->second.in(old.time_base));
      if (start >= end) continue;
    }
    auto* chapter = static_cast<AVChapter*>(required(av_mallocz(sizeof(AVChapter))));
    const std::int64_t zero = source_->zero().in(old.time_base);
    chapter->id = old.id;
    chapter->time_base = old.time_base;
    chapter->start = std::max<std::int64_t>(0, start - zero);
    chapter->end = std::max(chapter->start, end - zero);
    av_dict_copy(&chapter->metadata, old.metadata, 0);
    container_->chapters[container_->nb_chapters++] = chapter;
  }
}

std::unique_ptr<EncodableFrame> Writer::prepare(std::shared_ptr<Picture> picture,
                                                const VideoFrame* origin, std::int64_t place) {
  if (source_ != nullptr && source_->orientation() != 1 && isMp4Family(*format_) &&
      origin != nullptr) {
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
  frame.format = frameFormat_;
  frame.width = encoder_->width;
  frame.height = encoder_->height;
  frame.colorspace = encoder_->colorspace;
  frame.color_range = encoder_->color_range;
  frame.color_primaries = encoder_->color_primaries;
  frame.color_trc = encoder_->color_trc;
  frame.sample_aspect_ratio = encoder_->sample_aspect_ratio;
  // MP4 and QuickTime round a late beginning, so that segments begin at 0 there. In Matroska, which
  // rounds all times, they have those of the film.
  const bool fromZero = output_.segment && isMp4Family(*format_);
  frame.pts = fromZero ? place - output_.segment->place : place;
  frame.pkt_duration = 1;
  transparency_->check(*picture);
  fill(frame, std::move(picture));
  if (origin != nullptr) {
    const auto& decoded = static_cast<const DecodedFrame&>(*origin);
    const AVRational from = source_->stream().time_base;
    frame.interlaced_frame = (encoder_->flags & AV_CODEC_FLAG_INTERLACED_DCT) != 0 ? 1 : 0;
    frame.top_field_first = encoder_->field_order == AV_FIELD_TT ? 1 : 0;
    const Moment zero = fromZero ? source_->start() : source_->zero();
    frame.pts = av_rescale_q(decoded.frame->pts - zero.in(from), from, encoder_->time_base);
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
    if (encoder_->pix_fmt == AV_PIX_FMT_PAL8) {
      if (!palettes_) {
        palettes_ = std::make_unique<FrameFilter>(
            "[in]split[a][b];[a]palettegen=stats_mode=single[p];[b][p]paletteuse=new=1[out]",
            *prepared.frame, encoder_->time_base);
      }
      palettes_->send(prepared.frame.get());
      encodeFiltered();
    } else {
      encode(prepared.frame.get());
    }
  }
  prepared.frame.reset();
}

/// Encodes the frames that have got their palettes.
void Writer::encodeFiltered() {
  while (const FfmpegPtr<AVFrame> frame = palettes_->receive()) encode(frame.get());
}

void Writer::copy(std::vector<FfmpegPtr<AVPacket>>& packets) {
  for (FfmpegPtr<AVPacket>& packet : packets) {
    const int from = packet->stream_index;
    if (const auto converter = converted_.find(from); converter != converted_.end()) {
      packet = converter->second.convert(*packet);
      if (!packet) continue;
    }
    const AVRational base = source_->container().streams[from]->time_base;
    const std::int64_t zero = source_->zero().in(base);
    packet->pts -= zero;
    packet->dts -= zero;
    packet->stream_index = copies_[static_cast<std::size_t>(from)];
    packet->pos = -1;
    av_packet_rescale_ts(packet.get(), base, container_->streams[packet->stream_index]->time_base);
    write(*packet);
  }
}

void Writer::writeEncoded(AVPacket& packet, AVRational base) {
  packet.stream_index = stream_->index;
  packet.pos = -1;
  av_packet_rescale_ts(&packet, base, stream_->time_base);
  write(packet);
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
  if (stream_ == nullptr) {
    throw MediaError(cannotWrite(output_.name) +
                     "there is no frame to write (check the input and the chosen frames)");
  }
  if (palettes_) {
    palettes_->send(nullptr);
    encodeFiltered();
  }
  if (encoder_) encode(nullptr);
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
