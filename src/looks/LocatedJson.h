// JSON whose values know their line, so that errors can name it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lomix::looks {

class LocatedJson {
 public:
  enum class Kind { Null, Boolean, Number, Text, List, Object };

  struct Member;

  /// A value of the text. Of a member of an object, line is its name's; else it is where the value
  /// begins.
  struct Value {
    Kind kind = Kind::Null;
    int line = 1;
    std::string text;          ///< Of a text, without quotes; of a number or a boolean, as written.
    std::vector<Value> items;  ///< Of a list.
    std::vector<Member> members;  ///< Of an object, in order.

    /// Finds a member by its name. Returns null when there is none.
    const Value* find(std::string_view name) const;
    /// Returns the value as messages show it: at most its first 40 bytes.
    std::string shown() const;
  };

  struct Member {
    std::string name;
    Value value;
  };

  /// Parses a text. source: what the text is, for messages: "'my.json'". Throws BadPreset, which
  /// names the line, for a text that is not JSON, for an object with two values of one name, and
  /// for brackets nested deeper than 32.
  LocatedJson(const std::string& text, std::string source);

  const Value& root() const { return root_; }

  /// Throws BadPreset about the line of a value. message: "cause (way out)".
  [[noreturn]] void fail(const Value& value, const std::string& message) const;

 private:
  std::string source_;
  Value root_;
};

}  // namespace lomix::looks
