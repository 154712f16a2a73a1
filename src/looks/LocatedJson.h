// JSON whose values know where they stand, so that errors can say so.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>

namespace lomix::looks {

class LocatedJson {
 public:
  using Pointer = nlohmann::ordered_json::json_pointer;

  /// Parses a text. source: what the text is, for messages: "'my.json'". Throws BadPreset, which
  /// names the line, for a text that is no JSON and for an object with two values of one name.
  LocatedJson(const std::string& text, std::string source);

  const nlohmann::ordered_json& root() const { return root_; }

  /// Throws BadPreset about the line of a value: its name's in an object, its beginning's
  /// elsewhere. message: "cause (way out)".
  [[noreturn]] void fail(const Pointer& place, const std::string& message) const;

 private:
  std::string source_;
  nlohmann::ordered_json root_;
  std::map<std::string, int> lines_;  // by JSON pointer
};

}  // namespace lomix::looks
