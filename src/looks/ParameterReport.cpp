#include "looks/ParameterReport.h"

#include <iomanip>
#include <limits>
#include <ostream>

namespace lomix::looks {

nlohmann::ordered_json toJson(const ParameterTable& table) {
  auto list = nlohmann::ordered_json::array();
  for (const Parameter& parameter : table.all()) {
    // Hosts count the input layer as parameter 0.
    nlohmann::ordered_json entry{{"index", parameter.index + 1}};
    if (!parameter.key.empty()) entry["key"] = parameter.key;
    entry.update({{"name", parameter.name},
                  {"id", parameter.id},
                  {"kind", parameter.isChoice ? "popup" : "slider"},
                  {"minimum", parameter.minimum},
                  {"maximum", parameter.maximum},
                  {"default", parameter.defaultValue},
                  {"flags", parameter.flags}});
    if (parameter.isChoice) {
      entry["choices"] = parameter.choices;
    } else {
      entry["sliderMinimum"] = parameter.sliderMinimum;
      entry["sliderMaximum"] = parameter.sliderMaximum;
      entry["precision"] = parameter.decimals;
      entry["percent"] = parameter.isPercent();
    }
    if (!parameter.key.empty()) entry["unit"] = parameter.unit;
    if (!parameter.help.empty()) entry["help"] = parameter.help;
    list.push_back(std::move(entry));
  }
  return list;
}

void print(const ParameterTable& table, std::ostream& out) {
  const auto column = [&out](const std::string& text, int width) {
    out << std::left << std::setw(width) << text;
  };
  column("NAME", 22);
  column("DEFAULT", 12);
  out << "VALUES\n";
  for (const Parameter& parameter : table.all()) {
    column(parameter.name, 22);
    column(valueWithUnit(parameter, parameter.defaultValue), 12);
    if (parameter.isChoice) {
      for (std::size_t i = 0; i < parameter.choices.size(); ++i) {
        out << (i == 0 ? "" : " or ") << parameter.choices[i];
      }
      out << "\n";
    } else {
      // The largest float means no limit.
      const bool limited = parameter.maximum < std::numeric_limits<float>::max();
      out << valueWithUnit(parameter, parameter.minimum)
          << (limited ? " to " + valueWithUnit(parameter, parameter.maximum) : " and up") << "\n";
    }
  }
}

}  // namespace lomix::looks
