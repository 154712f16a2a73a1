#include "looks/LocatedJson.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "looks/LookErrors.h"
#include "support/Text.h"

namespace lomix::looks {
namespace {

using nlohmann::json;
using Kind = LocatedJson::Kind;
using Value = LocatedJson::Value;

// Far deeper than any preset.
constexpr std::size_t kMaxDepth = 32;
// Names are compared with all before them.
constexpr std::size_t kMaxMembers = 256;
// Of one name or text, in bytes, and of all values of a preset. They bound the memory.
constexpr std::size_t kMaxText = 4096;
constexpr std::size_t kMaxValues = 100'000;

[[noreturn]] void failAt(const std::string& source, int line, const std::string& message) {
  throw BadPreset(source + " line " + std::to_string(line) + ": " + message);
}

/// Iterates over the characters of a text and counts how many were read. All copies of an iterator
/// share the count.
class CountingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  CountingIterator(const char* at, std::size_t& count) : at_(at), count_(&count) {}

  const char& operator*() const { return *at_; }
  CountingIterator& operator++() {
    ++at_;
    ++*count_;
    return *this;
  }
  bool operator==(const CountingIterator& other) const { return at_ == other.at_; }

 private:
  const char* at_;
  std::size_t* count_;
};

/// Builds the values as the parser meets them. The library's own values do not keep their lines,
/// and their destructors allocate, which ends a program that has no memory left.
class Builder : public nlohmann::json_sax<json> {
 public:
  Builder(const std::string& text, const std::string& source) : text_(text), source_(source) {}

  Value build() {
    const char* const begin = text_.data();
    json::sax_parse(CountingIterator(begin, read_), CountingIterator(begin + text_.size(), read_),
                    this);
    return std::move(root_);
  }

  bool null() override { return leaf(Kind::Null, "null"); }
  bool boolean(bool value) override { return leaf(Kind::Boolean, value ? "true" : "false"); }
  bool number_integer(number_integer_t value) override {
    return leaf(Kind::Number, std::to_string(value));
  }
  bool number_unsigned(number_unsigned_t value) override {
    return leaf(Kind::Number, std::to_string(value));
  }
  bool number_float(number_float_t, const string_t& text) override {
    return leaf(Kind::Number, text);
  }
  bool string(string_t& text) override { return leaf(Kind::Text, text); }
  bool binary(binary_t&) override { return leaf(Kind::Null, ""); }
  bool start_object(std::size_t) override { return open(Kind::Object); }
  bool start_array(std::size_t) override { return open(Kind::List); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& name) override {
    Value& object = *open_.back();
    requireShort(name);
    if (object.members.size() == kMaxMembers) {
      failAt(source_, line(),
             "an object has too many names (the limit is " + std::to_string(kMaxMembers) + ")");
    }
    if (object.find(name) != nullptr) {
      failAt(source_, line(),
             "\"" + shortened(name) + "\" is already in this object (remove one of the two)");
    }
    object.members.push_back({name, Value{}});
    object.members.back().value.line = line();
    return true;
  }

  bool parse_error(std::size_t, const std::string&, const json::exception& error) override {
    std::string cause = error.what();
    // Up to the first ": " the library counts lines and columns in its own way.
    if (const std::size_t at = cause.find(": "); at != std::string::npos) cause.erase(0, at + 2);
    failAt(source_, line(), "it is not JSON, " + cause + " (check commas, quotes and braces)");
  }

 private:
  /// Returns the line up to which the parser has read.
  int line() {
    for (; counted_ < read_; ++counted_) line_ += text_[counted_] == '\n' ? 1 : 0;
    return line_;
  }

  /// Returns the place of the value that begins now.
  Value& next() {
    if (++values_ > kMaxValues) {
      failAt(source_, line(),
             "there are too many values (the limit is " + std::to_string(kMaxValues) + ")");
    }
    if (open_.empty()) {
      root_.line = line();
      return root_;
    }
    Value& parent = *open_.back();
    if (parent.kind == Kind::Object) return parent.members.back().value;
    parent.items.emplace_back().line = line();
    return parent.items.back();
  }

  void requireShort(const std::string& text) {
    if (text.size() <= kMaxText) return;
    failAt(source_, line(),
           "a text is too long (the limit is " + std::to_string(kMaxText) + " bytes)");
  }

  bool leaf(Kind kind, std::string text) {
    requireShort(text);
    Value& value = next();
    value.kind = kind;
    value.text = std::move(text);
    return true;
  }
  // Pointers to open values stay good: a list or object grows only while its last value is closed.
  bool open(Kind kind) {
    if (open_.size() == kMaxDepth) {
      failAt(source_, line(),
             "brackets are nested too deeply (the limit is " + std::to_string(kMaxDepth) + ")");
    }
    Value& value = next();
    value.kind = kind;
    open_.push_back(&value);
    return true;
  }
  bool close() {
    open_.pop_back();
    return true;
  }

  const std::string& text_;
  const std::string& source_;
  std::size_t read_ = 0;  ///< Characters that the parser has read.
  Value root_;
  std::vector<Value*> open_;
  std::size_t values_ = 0;
  std::size_t counted_ = 0;
  int line_ = 1;
};

}  // namespace

const Value* LocatedJson::Value::find(std::string_view name) const {
  const auto found = std::ranges::find(members, name, &Member::name);
  return found == members.end() ? nullptr : &found->value;
}

std::string LocatedJson::Value::shown() const {
  if (kind == Kind::List) return "[...]";
  if (kind == Kind::Object) return "{...}";
  constexpr std::size_t kLength = 40;
  const std::string whole =
      kind == Kind::Text ? json(text).dump(-1, ' ', true, json::error_handler_t::replace) : text;
  if (whole.size() <= kLength) return whole;
  std::string start(whole, 0, kLength);
  return start.append("...");
}

LocatedJson::LocatedJson(const std::string& text, std::string source)
    : source_(std::move(source)), root_(Builder(text, source_).build()) {}

void LocatedJson::fail(const Value& value, const std::string& message) const {
  failAt(source_, value.line, message);
}

}  // namespace lomix::looks
