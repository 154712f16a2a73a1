#include "looks/ParameterReport.h"

#include <iomanip>
#include <ostream>

namespace lomix::cli {

nlohmann::ordered_json toJson(const ParameterTable& table) {
  auto list = nlohmann::ordered_json::array();
  for (const host::Parameter& parameter : table.all()) {
    nlohmann::ordered_json entry{{"index", parameter.index},
                                 {"name", parameter.name()},
                                 {"id", parameter.definition.uu.id},
                                 {"kind", parameter.isPopup() ? "popup" : "slider"},
                                 {"minimum", parameter.minimum()},
                                 {"maximum", parameter.maximum()},
                                 {"default", parameter.defaultValue()},
                                 {"flags", parameter.definition.flags}};
    if (parameter.isPopup()) {
      entry["choices"] = parameter.choices;
    } else {
      const PF_FloatSliderDef& slider = parameter.definition.u.fs_d;
      entry["sliderMinimum"] = slider.slider_min;
      entry["sliderMaximum"] = slider.slider_max;
      entry["precision"] = slider.precision;
      entry["percent"] = isPercent(parameter);
    }
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
  for (const host::Parameter& parameter : table.all()) {
    column(parameter.name(), 22);
    column(valueText(parameter, parameter.defaultValue()), 12);
    if (parameter.isPopup()) {
      for (std::size_t i = 0; i < parameter.choices.size(); ++i) {
        out << (i == 0 ? "" : " or ") << parameter.choices[i];
      }
      out << "\n";
    } else {
      out << valueText(parameter, parameter.minimum()) << " to "
          << valueText(parameter, parameter.maximum()) << "\n";
    }
  }
}

}  // namespace lomix::cli
