#include "batch/Route.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>
#include <utility>

#include "batch/PipedPicture.h"
#include "batch/VideoFrames.h"
#include "media/picture/PictureContent.h"
#include "media/picture/PictureFile.h"
#include "media/picture/SequenceName.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/TemporaryFile.h"
#include "support/Text.h"

namespace lomix::batch {
namespace {

using media::SequenceName;

/// Returns the sequence that a name is the pattern of; nothing when a file has that very name.
std::optional<SequenceName> inputSequence(const std::string& name) {
  if (fileExists(name)) return std::nullopt;
  return SequenceName::parse(name);
}

enum class Kind { Still, Sequence, Video };

/// Builds a route from its options.
class Planner {
 public:
  explicit Planner(const RouteOptions& options) : options_(options) {}

  Route plan() {
    classifyInput();
    classifyOutput();
    route_.isVideo = writesVideo_;
    if (options_.share) takeShare(*options_.share);
    route_.output = options_.output;
    requireDistinct();
    if (options_.removesLeftovers && options_.existing != Existing::Refuse &&
        options_.output != media::kStandardStream) {
      TemporaryFile::removeLeftovers(linkedFile(options_.output).parent_path());
    }
    for (const NamedFile& other : options_.otherOutputs) {
      checkNewFile(other.file, options_.existing == Existing::Overwrite ||
                                   other.role == options_.replacedOutput);
      // Fails where the folder takes no files.
      const TemporaryFile probe(other.file);
    }
    if (options_.share && route_.frames == 0) return std::move(route_);
    const bool one = !outputSequence_ && options_.output != media::kStandardStream;
    if (options_.existing == Existing::Skip && one && fileExists(options_.output)) {
      route_.done = true;
      return std::move(route_);
    }
    if (writesVideo_) {
      openInput();
      try {
        openVideoOutput();
      } catch (const FileExistsError&) {
        // Another process has finished it meanwhile.
        if (options_.existing != Existing::Skip) throw;
        route_.done = true;
      }
    } else if (outputSequence_) {
      auto sink = std::make_unique<SequenceSink>(*outputSequence_, writing());
      openInput();
      sink->checkFree(numbers_);
      noteLostStreams();
      route_.sink = std::move(sink);
    } else if (writesStream()) {
      PictureWriting piped = writing();
      piped.existing = Existing::Overwrite;  // Of a temporary file.
      route_.sink = std::make_unique<PipedSink>(piped);
      openInput();
      requireOneFrame();
    } else {
      // Checked before the input is opened, which may take long.
      route_.sink = std::make_unique<PictureSink>(options_.output, writing());
      openInput();
      requireOneFrame();
    }
    return std::move(route_);
  }

  std::unique_ptr<FrameSource> openAlone() {
    classifyInput();
    openInput();
    return std::move(route_.source);
  }

 private:
  bool readsStream() const { return options_.input == media::kStandardStream; }
  bool writesStream() const { return options_.output == media::kStandardStream; }
  bool choosesCodec() const { return !options_.codec.empty() || options_.crf.has_value(); }

  /// Returns how pictures are written. Call after classifyOutput().
  PictureWriting writing() const {
    return {options_.existing, extension_, options_.quality.value_or(media::kJpegQuality),
            options_.warn};
  }

  /// Returns whether standard input may be a single picture; a name of frames or of a video, or a
  /// codec, says that it is not.
  bool mayReadPicture() const {
    if (!readsStream() || !options_.rawFormat.empty() || choosesCodec()) return false;
    return writesStream() ||
           (!media::isVideoName(options_.output) && !SequenceName::parse(options_.output));
  }

  void classifyInput() {
    if (mayReadPicture()) standardInput_ = readStandardPicture(options_.format);
    if (standardInput_.picture) {
      wanted_ = wantedPictures();
      return;
    }
    if (readsStream() || !options_.rawFormat.empty()) {
      kind_ = Kind::Video;
    } else if ((inputSequence_ = inputSequence(options_.input))) {
      kind_ = Kind::Sequence;
      refuseTime("the times of a sequence come from the frame numbers (use --fps)");
    } else if (media::isVideoName(options_.input) || media::isVideoFile(options_.input)) {
      kind_ = Kind::Video;
    }
    wanted_ = kind_ == Kind::Video ? options_.frames.numbers : wantedPictures();
    if (inputSequence_) selection_ = selectFrames(*inputSequence_, wanted_);
  }

  void classifyOutput() {
    const bool onePicture = kind_ == Kind::Still && options_.frames.isAll();
    // Such files hold one picture or several.
    const std::string extension =
        lowerCase(std::filesystem::path(options_.output).extension().string());
    const bool several = (extension == ".webp" || extension == ".gif") &&
                         !options_.frames.isOne() && !onePicture &&
                         !SequenceName::parse(options_.output);
    const bool toStream = writesStream() && !choosesCodec() && options_.rawFormat.empty() &&
                          (onePicture || !options_.format.empty());
    writesVideo_ = (media::isVideoName(options_.output) || several) && !toStream;
    if (!writesVideo_ && !onePicture && !toStream) {
      outputSequence_ = SequenceName::parse(options_.output);
    }
    chooseFormat();
    if (writesVideo_) return;
    for (const auto& [given, option] :
         {std::pair{!options_.codec.empty(), "--codec"}, {options_.crf.has_value(), "--crf"}}) {
      if (!given) continue;
      throw UsageError(std::string(option) + ": '" + options_.output +
                       "' is no video (leave it out, or name a video)");
    }
  }

  /// Chooses the format of pictures, and checks the options that concern it.
  void chooseFormat() {
    const std::string name = std::filesystem::path(options_.output).extension().string();
    const std::string shown = "'" + options_.output + "'";
    extension_ = options_.format;
    if (!extension_.empty()) {
      const std::string named = media::formatOf(name);
      if (writesVideo_) {
        throw UsageError("--format: " + shown + " is a video (leave it out, or use --codec)");
      }
      if (media::formatOf(extension_).empty()) {
        throw UsageError("--format: pictures cannot be written as '" + extension_.substr(1) +
                         "' (use one such as png, jpg, tif or exr)");
      }
      if (!named.empty() && named != media::formatOf(extension_)) {
        throw UsageError("--format: the name " + shown + " says another format (leave it out, or " +
                         "name a " + extension_ + " file)");
      }
    } else if (writesStream() && !writesVideo_) {
      extension_ = formatOfInput();
      if (media::formatOf(extension_).empty()) {
        throw UsageError("OUTPUT: '" + options_.input + "' has a format that cannot be written " +
                         "(choose one with --format png)");
      }
    }
    const std::string format = media::formatOf(extension_.empty() ? name : extension_);
    if (!writesVideo_ && format == "jpeg") {
      route_.jpegQuality = options_.quality.value_or(media::kJpegQuality);
    } else if (options_.quality) {
      throw UsageError("--quality: " + shown + " is no JPEG (leave it out, or choose .jpg)");
    }
  }

  /// Returns an extension of the single picture's format.
  std::string formatOfInput() const {
    const std::string format =
        standardInput_.picture ? standardInput_.format : media::contentFormatOf(options_.input);
    if (!format.empty()) return media::extensionOf(format);
    return std::filesystem::path(options_.input).extension().string();
  }

  /// Returns the numbers of the chosen frames of pictures, whose times follow from the rate.
  std::vector<std::int64_t> wantedPictures() const {
    media::FrameChoice choice = options_.frames;
    if (!choice.timecodes.empty()) {
      throw UsageError(
          "--frames: pictures have no timecode (use frame numbers, or times as 2s-5s)");
    }
    constexpr double kMost = 10'000'000;
    const double perSecond = static_cast<double>(rate().frames) / rate().seconds;
    for (const media::TimeSpan& span : choice.spans) {
      // A thousandth of a frame, so that 0.04 s is frame 1 at 25.
      const auto first = std::ceil(span.first * perSecond - 0.001);
      const auto last = std::ceil(span.last * perSecond - 0.001);
      if (last > kMost) {
        throw UsageError("--frames: the times are too long (choose fewer frames)");
      }
      if (span.first == span.last) {
        choice.numbers.push_back(
            static_cast<std::int64_t>(std::floor(span.first * perSecond + 0.001)));
      }
      for (double n = first; n < last; ++n) choice.numbers.push_back(static_cast<std::int64_t>(n));
    }
    choice.sortNumbers();
    return std::move(choice.numbers);
  }

  /// Chooses the frames of the share and, of a film, its segment.
  void takeShare(Share share) {
    const std::string shown = "'" + options_.output + "'";
    if (readsStream() || writesStream()) {
      throw UsageError("--share: standard input and output cannot be shared (name files)");
    }
    const bool onePicture = kind_ == Kind::Still && options_.frames.isAll();
    if (onePicture || (!writesVideo_ && !outputSequence_)) {
      throw UsageError("--share: " + shown +
                       " is one picture (leave it out, or render several, to out.####.png)");
    }
    share.blocks = share.blocks || writesVideo_;
    std::vector<std::int64_t> all =
        kind_ == Kind::Sequence && wanted_.empty() ? selection_.numbers : wanted_;
    if (kind_ == Kind::Video) {
      // The frames are counted before they are read.
      if (media::isReadOnce(options_.input)) {
        throw UsageError("--share: '" + options_.input +
                         "' cannot be read twice (copy it to a file)");
      }
      if (!options_.frames.spans.empty() || !options_.frames.timecodes.empty()) {
        throw UsageError("--share: it takes frames by their numbers (use --frames 0-99)");
      }
      if (all.empty()) all = numbersOfVideo();
    }
    if (all.empty()) throw UsageError("--share: no frame is chosen (use --frames 0-99)");
    std::vector<std::int64_t> own = partOf(all, share);
    route_.frames = static_cast<std::int64_t>(own.size());
    if (writesVideo_) chooseSegment(share, all);
    if (kind_ == Kind::Video) {
      film_ =
          media::Film{static_cast<std::int64_t>(all.size()), all.front(), options_.frames.isAll()};
      if (film_->isAll && !own.empty()) options_.frames.series = endOfVideo(share, own);
      options_.frames.numbers = own;
    }
    keepOnly(selection_.numbers, own);
    keepOnly(selection_.missing, own);
    wanted_ = std::move(own);
    route_.whole = std::move(all);
  }

  /// Removes the numbers that others does not have. Both ascend.
  static void keepOnly(std::vector<std::int64_t>& numbers,
                       const std::vector<std::int64_t>& others) {
    std::vector<std::int64_t> kept;
    std::ranges::set_intersection(numbers, others, std::back_inserter(kept));
    numbers = std::move(kept);
  }

  std::vector<std::int64_t> numbersOfVideo() const {
    const std::int64_t count = media::countFrames(videoInput());
    if (count == 0) throw MediaError(cannotRead(options_.input) + "it has no frame (name another)");
    std::vector<std::int64_t> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), std::int64_t{0});
    return numbers;
  }

  /// Returns the share's frames after those that were counted. The count may be too small, and no
  /// frame may be lost.
  static std::optional<media::FrameSeries> endOfVideo(const Share& share,
                                                      const std::vector<std::int64_t>& own) {
    if (!share.blocks) return media::FrameSeries{own.back() + share.count, share.count};
    if (share.number < share.count) return std::nullopt;
    return media::FrameSeries{own.back() + 1, 1};
  }

  void chooseSegment(const Share& share, const std::vector<std::int64_t>& all) {
    const std::string shown = "'" + options_.output + "'";
    if (!media::holdsSegments(options_.output)) {
      throw UsageError("--share: " + shown +
                       " is no file for segments of a film (use .mp4, .mov, .mkv or .webm)");
    }
    const auto pattern = SequenceName::parse(options_.output);
    if (!pattern) {
      throw UsageError("--share: the name " + shown +
                       " has no place for the number of the segment (name it as film.##.mkv)");
    }
    options_.output = pattern->file(share.number).string();
    media::Segment segment;
    segment.number = share.number;
    segment.count = share.count;
    segment.frames = route_.frames;
    segment.film = {static_cast<std::int64_t>(all.size()), all.front(), options_.frames.isAll()};
    const std::size_t place = static_cast<std::size_t>(
        media::blockBegin(segment.film.frames, share.number - 1, share.count));
    if (route_.frames > 0) segment.place = all[place] - all.front();
    segment.job = options_.job;
    segment_ = segment;
  }

  /// Checks that no file is used twice.
  void requireDistinct() const {
    std::vector<NamedFile> inputs = options_.otherInputs;
    std::vector<NamedFile> outputs = options_.otherOutputs;
    const std::vector<std::int64_t>& numbers = inputSequence_ ? selection_.numbers : wanted_;
    if (inputSequence_) {
      for (const std::int64_t n : numbers) inputs.push_back({"INPUT", inputSequence_->file(n)});
    } else if (!readsStream()) {
      inputs.push_back({"INPUT", options_.input});
    }
    if (outputSequence_) {
      if (numbers.empty()) {
        for (const auto& files : {inputs, outputs}) refuseFrameNames(files);
      }
      for (const std::int64_t n : numbers) outputs.push_back({"OUTPUT", outputSequence_->file(n)});
    } else if (options_.output != media::kStandardStream) {
      outputs.push_back({"OUTPUT", options_.output});
    }
    requireDistinctFiles(outputs, inputs);
  }

  /// Refuses files that have the name of a frame of the output sequence, whichever frames there
  /// are.
  void refuseFrameNames(const std::vector<NamedFile>& files) const {
    const auto folder = linkedFile(outputSequence_->file(0)).parent_path();
    for (const NamedFile& other : files) {
      const auto number = outputSequence_->numberOf(other.file.filename().string());
      if (number && linkedFile(other.file).parent_path() == folder) {
        throw UsageError("OUTPUT: '" + options_.output + "' has the file '" + other.file.string() +
                         "' of " + other.role + " as frame " + std::to_string(*number) +
                         " (name another file)");
      }
    }
  }

  void openInput() {
    if (options_.deinterlace && kind_ != Kind::Video) {
      throw UsageError("--deinterlace: '" + options_.input +
                       "' is no video (leave it out, or name a video)");
    }
    switch (kind_) {
      case Kind::Still:
        return openStill();
      case Kind::Sequence:
        return openSequence();
      case Kind::Video:
        return openVideoInput();
    }
  }

  void openSequence() {
    if (!selection_.gaps.empty()) {
      options_.warn("'" + options_.input + "': frames " + media::listed(selection_.gaps) +
                    " do not exist (they are left out)");
    }
    numbers_ = selection_.numbers;
    route_.source =
        std::make_unique<SequenceSource>(*inputSequence_, std::move(selection_), rate());
  }

  void openStill() {
    const FrameTime time = options_.time.value_or(FrameTime{0, 1});
    const std::shared_ptr<TemporaryFile>& piped = standardInput_.picture;
    if (options_.frames.isAll()) {
      numbers_ = {0};
      route_.source = piped ? std::make_unique<PipedSource>(piped, options_.format, time)
                            : std::make_unique<StillSource>(options_.input, time);
      return;
    }
    refuseTime("with --frames the times come from the frame numbers (use --fps)");
    numbers_ = wanted_;
    route_.source = piped ? std::make_unique<PipedSource>(piped, options_.format, numbers_, rate())
                          : std::make_unique<StillSource>(options_.input, numbers_, rate());
  }

  void openVideoInput() {
    refuseTime("the times of a video come from its timestamps (choose frames with --frames)");
    if (options_.rate && options_.rawFormat.empty()) {
      throw UsageError("--fps: a video has its own timestamps (leave it out)");
    }
    numbers_ = wanted_;
    auto source = std::make_unique<VideoSource>(videoInput());
    reader_ = &source->reader();
    route_.source = std::move(source);
  }

  media::VideoInput videoInput() const {
    media::VideoInput input;
    input.name = options_.input;
    input.start = standardInput_.start;
    input.threads = options_.threads;
    input.deinterlace = options_.deinterlace;
    input.allowsPlaylists = options_.allowsPlaylists;
    input.warn = options_.warn;
    input.rawFormat = options_.rawFormat;
    input.rawWidth = options_.rawSize.first;
    input.rawHeight = options_.rawSize.second;
    input.rawRate = {rate().frames, rate().seconds};
    input.frames = options_.frames;
    input.film = film_;
    return input;
  }

  /// Warns of what a sequence of pictures does not keep of a video.
  void noteLostStreams() const {
    if (reader_ == nullptr) return;
    const auto note = [this](media::StreamKind kind, const char* name, const char* option) {
      if (!reader_->has(kind)) return;
      options_.warn("'" + options_.output + "': " + name +
                    " left out, since pictures have none (name a video, or add " + option + ")");
    };
    if (options_.sound) note(media::StreamKind::Sound, "sound is", "--no-audio");
    if (options_.subtitles) note(media::StreamKind::Subtitles, "subtitles are", "--no-subtitles");
  }

  void openVideoOutput() {
    media::VideoOutput output;
    output.name = options_.output;
    output.codec = options_.codec;
    output.crf = options_.crf;
    output.threads = options_.threads;
    output.rate = {rate().frames, rate().seconds};
    output.sound = options_.sound;
    output.subtitles = options_.subtitles;
    output.data = options_.data;
    output.keepTimestamps = options_.keepTimestamps;
    output.segment = segment_;
    output.warn = options_.warn;
    output.overwrite = options_.existing == Existing::Overwrite;
    std::int64_t first = numbers_.empty() ? 0 : numbers_.front();
    if (segment_) first = segment_->film.first;
    route_.sink = std::make_unique<VideoSink>(output, reader_, first);
  }

  void requireOneFrame() const {
    if (reader_ != nullptr ? options_.frames.isOne()
                           : numbers_.size() + route_.source->missing().size() == 1) {
      return;
    }
    throw UsageError("OUTPUT: '" + options_.output +
                     "' is one picture for several frames (name a sequence such as out.####.png, "
                     "or choose one with --frames)");
  }

  void refuseTime(const char* cause) const {
    if (options_.time) throw UsageError(std::string("--time: ") + cause);
  }
  FrameRate rate() const { return options_.rate.value_or(FrameRate{}); }

  RouteOptions options_;
  Route route_;
  Kind kind_ = Kind::Still;
  std::optional<SequenceName> inputSequence_;
  /// The frames that --frames chooses by number; of pictures also those that it chooses by time.
  std::vector<std::int64_t> wanted_;
  SequenceSelection selection_;  ///< Of the input sequence.
  StandardInput standardInput_;  ///< Where it is the input.
  std::string extension_;        ///< Of pictures, where it is not that of the output's name.
  bool writesVideo_ = false;
  std::optional<media::Film> film_;        ///< Of a share of a video.
  std::optional<media::Segment> segment_;  ///< Of a share of a film.
  std::optional<SequenceName> outputSequence_;
  std::vector<std::int64_t> numbers_;  ///< Of the frames; of a video only those of --frames.
  media::VideoReader* reader_ = nullptr;
};

}  // namespace

Route makeRoute(const RouteOptions& options) { return Planner(options).plan(); }

std::unique_ptr<FrameSource> openSource(const RouteOptions& options) {
  return Planner(options).openAlone();
}

}  // namespace lomix::batch
