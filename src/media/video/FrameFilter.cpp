#include "media/video/FrameFilter.h"

#include <new>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

#include "support/MediaError.h"

namespace lomix::media {
namespace {

void require(int error) {
  if (error >= 0) return;
  if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
  throw MediaError("FFmpeg cannot filter the frames: " + ffmpegMessage(error) +
                   " (install the whole FFmpeg, or try it with other frames)");
}

}  // namespace

FrameFilter::FrameFilter(const std::string& chain, const AVFrame& like, AVRational timeBase)
    : timeBase_(timeBase), graph_(avfilter_graph_alloc()) {
  if (graph_ == nullptr) throw std::bad_alloc();
  // The frames' threads are the decoder's, the renderer's and the encoder's.
  graph_->nb_threads = 1;
  try {
    configure(chain, like);
  } catch (...) {
    avfilter_graph_free(&graph_);
    throw;
  }
}

void FrameFilter::configure(const std::string& chain, const AVFrame& like) {
  source_ = avfilter_graph_alloc_filter(graph_, avfilter_get_by_name("buffer"), "source");
  AVBufferSrcParameters* parameters = av_buffersrc_parameters_alloc();
  if (source_ == nullptr || parameters == nullptr) throw std::bad_alloc();
  parameters->format = like.format;
  parameters->width = like.width;
  parameters->height = like.height;
  parameters->time_base = timeBase_;
  parameters->sample_aspect_ratio = like.sample_aspect_ratio;
  const int error = av_buffersrc_parameters_set(source_, parameters);
  av_free(parameters);
  require(error);
  require(avfilter_init_str(source_, nullptr));
  require(avfilter_graph_create_filter(&sink_, avfilter_get_by_name("buffersink"), "sink", nullptr,
                                       nullptr, graph_));
  AVFilterInOut* outputs = avfilter_inout_alloc();
  AVFilterInOut* inputs = avfilter_inout_alloc();
  if (outputs == nullptr || inputs == nullptr) {
    avfilter_inout_free(&outputs);
    avfilter_inout_free(&inputs);
    throw std::bad_alloc();
  }
  *outputs = {av_strdup("in"), source_, 0, nullptr};
  *inputs = {av_strdup("out"), sink_, 0, nullptr};
  const int parsed = avfilter_graph_parse_ptr(graph_, chain.c_str(), &inputs, &outputs, nullptr);
  avfilter_inout_free(&inputs);
  avfilter_inout_free(&outputs);
  require(parsed);
  require(avfilter_graph_config(graph_, nullptr));
}

void FrameFilter::send(AVFrame* frame) {
  require(av_buffersrc_add_frame_flags(source_, frame, AV_BUFFERSRC_FLAG_KEEP_REF));
}

FfmpegPtr<AVFrame> FrameFilter::receive() {
  FfmpegPtr<AVFrame> frame = newFrame();
  const int error = av_buffersink_get_frame(sink_, frame.get());
  if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) return nullptr;
  require(error);
  if (frame->pts != AV_NOPTS_VALUE) {
    frame->pts = av_rescale_q(frame->pts, av_buffersink_get_time_base(sink_), timeBase_);
  }
  return frame;
}

}  // namespace lomix::media
