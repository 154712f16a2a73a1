#include "batch/Route.h"

#include <utility>

#include "batch/VideoFrames.h"
#include "media/picture/SequenceName.h"
#include "support/Errors.h"
#include "support/NewFile.h"

namespace lomix::batch {
namespace {

using media::SequenceName;

/// Returns the sequence that a name is the pattern of; nothing when a file has that very name.
std::optional<SequenceName> inputSequence(const std::string& name) {
  if (fileExists(name)) return std::nullopt;
  return SequenceName::parse(name);
}

/// Builds a route from its options.
class Planner {
 public:
  explicit Planner(const RouteOptions& options) : options_(options) {}

  Route plan() {
    const bool toStream = options_.output == media::kStandardStream;
    if (options_.existing == Existing::Skip && !toStream && !SequenceName::parse(options_.output) &&
        fileExists(options_.output)) {
      route_.done = true;
      return std::move(route_);
    }
    if (media::isVideoName(options_.output)) {
      openInput();
      openVideoOutput();
    } else if (const auto sequence = SequenceName::parse(options_.output)) {
      openInput();
      auto sink = std::make_unique<SequenceSink>(*sequence, options_.existing);
      sink->checkFree(numbers_);
      route_.sink = std::move(sink);
    } else {
      // Checked before the input is opened, which may take long.
      route_.sink = std::make_unique<PictureSink>(options_.output, options_.existing);
      openInput();
      requireOneFrame();
    }
    return std::move(route_);
  }

 private:
  void openInput() {
    if (options_.input == media::kStandardStream || options_.rawFormat.size() > 0) {
      openVideoInput();
    } else if (const auto sequence = inputSequence(options_.input)) {
      openSequence(*sequence);
    } else if (media::isVideoName(options_.input)) {
      openVideoInput();
    } else {
      openStill();
    }
  }

  void openSequence(const SequenceName& sequence) {
    refuseTime("the times of a sequence come from the frame numbers (use --fps)");
    SequenceSelection selection = selectFrames(sequence, options_.frames);
    if (!selection.gaps.empty()) {
      route_.note = "'" + options_.input + "': frames " + media::listed(selection.gaps) +
                    " do not exist (they are left out)";
    }
    numbers_ = selection.numbers;
    route_.source = std::make_unique<SequenceSource>(sequence, std::move(selection), rate());
  }

  void openStill() {
    if (options_.frames.empty()) {
      numbers_ = {0};
      route_.source =
          std::make_unique<StillSource>(options_.input, options_.time.value_or(FrameTime{0, 1}));
      return;
    }
    refuseTime("with --frames the times come from the frame numbers (use --fps)");
    numbers_ = options_.frames;
    route_.source = std::make_unique<StillSource>(options_.input, numbers_, rate());
  }

  void openVideoInput() {
    refuseTime("the times of a video come from its timestamps (choose frames with --frames)");
    if (options_.rate && options_.rawFormat.empty()) {
      throw UsageError("--fps: a video has its own timestamps (leave it out)");
    }
    numbers_ = options_.frames;
    media::VideoInput input;
    input.name = options_.input;
    input.threads = options_.threads;
    input.rawFormat = options_.rawFormat;
    input.rawWidth = options_.rawSize.first;
    input.rawHeight = options_.rawSize.second;
    input.rawRate = {rate().frames, rate().seconds};
    auto source = std::make_unique<VideoSource>(input, options_.frames);
    reader_ = &source->reader();
    route_.source = std::move(source);
  }

  void openVideoOutput() {
    media::VideoOutput output;
    output.name = options_.output;
    output.codec = options_.codec;
    output.crf = options_.crf;
    output.threads = options_.threads;
    output.rate = {rate().frames, rate().seconds};
    output.videoOnly = options_.videoOnly;
    output.overwrite = options_.existing == Existing::Overwrite;
    route_.sink =
        std::make_unique<VideoSink>(output, reader_, numbers_.empty() ? 0 : numbers_.front());
  }

  void requireOneFrame() const {
    const bool many = reader_ != nullptr ? numbers_.size() != 1 : numbers_.size() > 1;
    const std::size_t missing = route_.source->missing().size();
    if (!many && numbers_.size() + missing == 1) return;
    throw UsageError("OUTPUT: '" + options_.output +
                     "' is one picture for several frames (name a sequence such as out.####.png, "
                     "or choose one with --frames)");
  }

  void refuseTime(const char* cause) const {
    if (options_.time) throw UsageError(std::string("--time: ") + cause);
  }
  FrameRate rate() const { return options_.rate.value_or(FrameRate{}); }

  const RouteOptions& options_;
  Route route_;
  std::vector<std::int64_t> numbers_;  ///< Of the frames; of a video only those of --frames.
  media::VideoReader* reader_ = nullptr;
};

}  // namespace

Route makeRoute(const RouteOptions& options) { return Planner(options).plan(); }

}  // namespace lomix::batch
