#include "plugins/frei0r/LookText.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string_view>

namespace lomix::frei0r {
namespace {

using plugins::LookPtr;

std::string trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(" \t") - first + 1));
}

LookPtr presetNamed(const std::string& name, lomix_error& error) {
  lomix_look* look = nullptr;
  lomix_look_create_from_preset(name.c_str(), &look, &error);
  return LookPtr(look);
}

LookPtr presetFile(std::ifstream& file, const std::string& name, lomix_error& error) {
  constexpr std::streamsize kMostBytes = 1 << 20;  // More than that is no preset.
  std::string text(kMostBytes + 1, '\0');
  file.read(text.data(), kMostBytes + 1);
  lomix_look* look = nullptr;
  lomix_look_create_from_json(text.data(), static_cast<std::size_t>(file.gcount()), name.c_str(),
                              &look, &error);
  return LookPtr(look);
}

LookPtr listOfValues(std::string_view list, lomix_error& error) {
  lomix_look* made = nullptr;
  lomix_look_create(&made, &error);
  LookPtr look(made);
  while (look && !list.empty()) {
    const std::string_view item = list.substr(0, list.find(','));
    list.remove_prefix(std::min(item.size() + 1, list.size()));
    if (trimmed(item).empty()) continue;
    const std::size_t sign = std::min(item.find('='), item.size());
    const std::string name = trimmed(item.substr(0, sign));
    const std::string value = trimmed(item.substr(std::min(sign + 1, item.size())));
    if (lomix_look_set_text(look.get(), name.c_str(), value.c_str(), &error) != LOMIX_OK) {
      look.reset();
    }
  }
  return look;
}

}  // namespace

LookPtr readLook(const std::string& text, std::string& message) {
  lomix_error error = LOMIX_ERROR_INIT;
  LookPtr look = presetNamed(trimmed(text), error);
  if (!look) {
    if (std::ifstream file(text, std::ios::binary); file && file.peek() != EOF) {
      look = presetFile(file, "'" + text + "'", error);
    } else if (text.find('=') != std::string::npos) {
      look = listOfValues(text, error);
    }
  }
  if (!look) message = error.message;
  return look;
}

}  // namespace lomix::frei0r
