#include "looks/LocatedJson.h"

#include <algorithm>
#include <sstream>
#include <utility>
#include <vector>

#include "looks/LookErrors.h"

namespace lomix::looks {
namespace {

// Far deeper than anything that is meant; the places of what is deeper would fill the memory.
constexpr std::size_t kMaxDepth = 32;

using nlohmann::ordered_json;

[[noreturn]] void failAt(const std::string& source, int line, const std::string& message) {
  throw BadPreset(source + " line " + std::to_string(line) + ": " + message);
}

/// Follows the parser and notes the line at which each value begins. The library's own values do
/// not keep it.
class LineFinder : public nlohmann::json_sax<ordered_json> {
 public:
  LineFinder(const std::string& text, const std::string& source)
      : text_(text), source_(source), stream_(text) {}

  std::map<std::string, int> find() {
    ordered_json::sax_parse(stream_, this);
    return std::move(lines_);
  }

  bool null() override { return leaf(); }
  bool boolean(bool) override { return leaf(); }
  bool number_integer(number_integer_t) override { return leaf(); }
  bool number_unsigned(number_unsigned_t) override { return leaf(); }
  bool number_float(number_float_t, const string_t&) override { return leaf(); }
  bool string(string_t&) override { return leaf(); }
  bool binary(binary_t&) override { return leaf(); }
  bool start_object(std::size_t) override { return start(); }
  bool start_array(std::size_t) override {
    start();
    steps_.back().index = 0;
    return true;
  }
  bool end_object() override { return end(); }
  bool end_array() override { return end(); }

  bool key(string_t& name) override {
    steps_.back().place = parent() / name;
    if (!lines_.emplace(steps_.back().place.to_string(), line()).second) {
      failAt(source_, line(), "\"" + name + "\" stands here for the second time (take one out)");
    }
    return true;
  }

  bool parse_error(std::size_t, const std::string&, const ordered_json::exception& error) override {
    std::string cause = error.what();
    // What the library says before is its own count of lines and columns.
    if (const std::size_t at = cause.find(": "); at != std::string::npos) cause.erase(0, at + 2);
    failAt(source_, line(), "this is no JSON, " + cause + " (check commas, quotes and braces)");
  }

 private:
  /// An array or object that is open.
  struct Step {
    LocatedJson::Pointer self;
    LocatedJson::Pointer place;  ///< Of the value that comes next, in an object.
    int index = -1;              ///< Of the value that comes next, in an array.
  };

  const LocatedJson::Pointer& parent() const { return steps_.back().self; }

  /// The line up to which the parser has read.
  int line() {
    const auto read = stream_.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
    const auto end = std::min(static_cast<std::size_t>(read), text_.size());
    for (; counted_ < end; ++counted_) line_ += text_[counted_] == '\n' ? 1 : 0;
    return line_;
  }

  /// Where the value that begins now stands.
  LocatedJson::Pointer place() {
    if (steps_.empty()) return LocatedJson::Pointer();
    Step& step = steps_.back();
    if (step.index < 0) return step.place;
    return step.self / static_cast<std::size_t>(step.index++);
  }

  bool leaf() {
    lines_.emplace(place().to_string(), line());
    return true;
  }
  bool start() {
    if (steps_.size() == kMaxDepth) {
      failAt(source_, line(), "brackets stand in brackets without end (take some out)");
    }
    const LocatedJson::Pointer self = place();
    lines_.emplace(self.to_string(), line());
    steps_.push_back({self, LocatedJson::Pointer(), -1});
    return true;
  }
  bool end() {
    steps_.pop_back();
    return true;
  }

  const std::string& text_;
  const std::string& source_;
  std::istringstream stream_;
  std::map<std::string, int> lines_;
  std::vector<Step> steps_;
  std::size_t counted_ = 0;
  int line_ = 1;
};

}  // namespace

LocatedJson::LocatedJson(const std::string& text, std::string source)
    : source_(std::move(source)), lines_(LineFinder(text, source_).find()) {
  root_ = ordered_json::parse(text);
}

void LocatedJson::fail(const Pointer& place, const std::string& message) const {
  failAt(source_, lines_.at(place.to_string()), message);
}

}  // namespace lomix::looks
