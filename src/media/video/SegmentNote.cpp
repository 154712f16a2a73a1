#include "media/video/SegmentNote.h"

#include <cstdlib>
#include <map>

#include "support/Text.h"

namespace lomix::media {
namespace {

constexpr std::string_view kBeginning = "lomix segment";

std::string textOf(const Ratio& ratio) {
  return std::to_string(ratio.num) + "/" + std::to_string(ratio.den);
}

/// Finds the words "name=value" of a note.
class Words {
 public:
  explicit Words(std::string_view text) {
    for (const std::string_view word : split(text, ' ')) {
      const std::size_t end = word.find('=');
      if (end != std::string_view::npos) words_[word.substr(0, end)] = word.substr(end + 1);
    }
  }

  std::string_view text(std::string_view name) {
    const auto found = words_.find(name);
    isWhole = isWhole && found != words_.end();
    return found == words_.end() ? std::string_view() : found->second;
  }
  std::int64_t whole(std::string_view name, std::int64_t least) {
    return number(text(name), least);
  }
  bool flag(std::string_view name) { return whole(name, 0) != 0; }
  Ratio ratio(std::string_view name, std::int64_t leastDen) {
    const auto parts = split(text(name), '/');
    isWhole = isWhole && parts.size() == 2;
    if (!isWhole) return {};
    return {number(parts[0], kLimit * -1), number(parts[1], leastDen)};
  }

  bool isWhole = true;  ///< Whether all words were there and could be read.

 private:
  static constexpr std::int64_t kLimit = std::int64_t{1} << 56;

  std::int64_t number(std::string_view text, std::int64_t least) {
    const auto number = parseWhole(text);
    isWhole = isWhole && number && *number >= least && *number <= kLimit;
    return isWhole ? *number : 0;
  }

  std::map<std::string_view, std::string_view> words_;
};

}  // namespace

std::string SegmentNote::common() const {
  const Film& film = segment.film;
  return "of=" + std::to_string(segment.count) + " film=" + std::to_string(film.frames) +
         " first=" + std::to_string(film.first) + " all=" + std::to_string(film.isAll ? 1 : 0) +
         " rate=" + textOf(rate) + " timestamps=" + std::to_string(keepsTimestamps ? 1 : 0) +
         " source=" + std::to_string(sourceBytes) + " sound=" + std::to_string(sound ? 1 : 0) +
         " subtitles=" + std::to_string(subtitles ? 1 : 0) +
         " data=" + std::to_string(data ? 1 : 0) + " job=" + segment.job;
}

std::string SegmentNote::text() const {
  return std::string(kBeginning) + " number=" + std::to_string(segment.number) +
         " frames=" + std::to_string(segment.frames) + " start=" + textOf(start) + " " + common();
}

std::optional<SegmentNote> SegmentNote::parse(std::string_view text) {
  if (!text.starts_with(kBeginning)) return std::nullopt;
  Words words(text);
  SegmentNote note;
  note.segment.number = words.whole("number", 1);
  note.segment.count = words.whole("of", note.segment.number);
  note.segment.frames = words.whole("frames", 1);
  note.segment.film.frames = words.whole("film", note.segment.frames);
  note.segment.film.first = words.whole("first", -(std::int64_t{1} << 32));
  note.segment.film.isAll = words.flag("all");
  note.segment.job = words.text("job");
  note.start = words.ratio("start", 1);
  note.rate = words.ratio("rate", 1);
  note.keepsTimestamps = words.flag("timestamps");
  note.sourceBytes = words.whole("source", 0);
  note.sound = words.flag("sound");
  note.subtitles = words.flag("subtitles");
  note.data = words.flag("data");
  constexpr std::int64_t kMostSegments = 1'000'000;
  constexpr std::int64_t kMostFrames = std::int64_t{1} << 40;
  constexpr std::int64_t kMostTicks = std::int64_t{1} << 48;
  if (!words.isWhole || note.segment.count > kMostSegments ||
      note.segment.film.frames > kMostFrames || std::abs(note.start.num) > kMostTicks) {
    return std::nullopt;
  }
  return note;
}

}  // namespace lomix::media
