#include "looks/ParameterTable.h"

#include <algorithm>
#include <numeric>

#include "looks/Numbers.h"
#include "support/Errors.h"

namespace lomix::cli {
namespace {

double parseChoice(const host::Parameter& parameter, std::string_view text) {
  std::string list;
  for (std::size_t i = 0; i < parameter.choices.size(); ++i) {
    if (normalisedName(parameter.choices[i]) == normalisedName(text)) {
      return static_cast<double>(i + 1);
    }
    list += (i == 0 ? "" : " or ") + parameter.choices[i];
  }
  const auto number = parseWhole(text);
  if (number && *number >= 1 && *number <= static_cast<std::int64_t>(parameter.choices.size())) {
    return static_cast<double>(*number);
  }
  throw UsageError(parameter.name() + ": '" + std::string(text) +
                   "' is not one of its choices (use " + list + ", or a number from 1 to " +
                   std::to_string(parameter.choices.size()) + ")");
}

double parseSliderValue(const host::Parameter& parameter, std::string_view text) {
  std::string_view digits = text;
  if (isPercent(parameter) && digits.ends_with('%')) {
    digits = trimmed(digits.substr(0, digits.size() - 1));
  }
  const auto number = parseNumber(digits);
  const std::string range = "(use " + valueText(parameter, parameter.minimum()) + " to " +
                            valueText(parameter, parameter.maximum()) + ")";
  if (!number) {
    throw UsageError(parameter.name() + ": '" + std::string(text) + "' is not a number " + range);
  }
  if (*number < parameter.minimum() || *number > parameter.maximum()) {
    throw UsageError(parameter.name() + ": " + std::string(text) + " is out of range " + range);
  }
  return *number;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

std::string normalisedName(std::string_view name) {
  std::string normalised;
  bool gap = false;
  for (const char c : name) {
    if (std::string_view(" \t-_/").find(c) != std::string_view::npos) {
      gap = !normalised.empty();
      continue;
    }
    if (gap) normalised += '-';
    gap = false;
    normalised += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return normalised;
}

ParameterTable::ParameterTable(const std::vector<host::Parameter>& declared) {
  std::ranges::copy_if(declared, std::back_inserter(parameters_),
                       [](const host::Parameter& p) { return p.isPopup() || p.isSlider(); });
}

const host::Parameter* ParameterTable::find(std::string_view name) const {
  const std::string wanted = normalisedName(name);
  const auto found = std::ranges::find_if(
      parameters_, [&](const host::Parameter& p) { return normalisedName(p.name()) == wanted; });
  return found == parameters_.end() ? nullptr : &*found;
}

const host::Parameter& ParameterTable::get(std::string_view name, std::string_view subject) const {
  if (const host::Parameter* parameter = find(name)) return *parameter;
  const std::string wanted = normalisedName(name);
  const auto nearest = std::ranges::min_element(parameters_, {}, [&](const host::Parameter& p) {
    return editDistance(wanted, normalisedName(p.name()));
  });
  const std::string hint =
      nearest == parameters_.end() ? "" : "did you mean '" + nearest->name() + "'? ";
  throw UsageError(std::string(subject) + ": there is no parameter '" + std::string(name) + "' (" +
                   hint + "'lomix params' lists all)");
}

ParameterTable::Setting ParameterTable::split(std::string_view text, const std::string& option,
                                              const std::string& form) const {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw UsageError(option + ": '" + std::string(text) + "' gives no value (write " + form + ")");
  }
  return {get(trimmed(text.substr(0, equals)), option), trimmed(text.substr(equals + 1))};
}

Assignment ParameterTable::parse(std::string_view text) const {
  const auto [parameter, value] = split(text, "--set", "NAME=VALUE, such as Noise=30");
  return {parameter.index, parseValue(parameter, value)};
}

double parseValue(const host::Parameter& parameter, std::string_view text) {
  return parameter.isPopup() ? parseChoice(parameter, text) : parseSliderValue(parameter, text);
}

bool isPercent(const host::Parameter& parameter) {
  return parameter.isSlider() &&
         parameter.definition.u.fs_d.display_flags == PF_ValueDisplayFlag_PERCENT;
}

bool canChangeOverTime(const host::Parameter& parameter) {
  return (parameter.definition.flags & PF_ParamFlag_CANNOT_TIME_VARY) == 0;
}

std::string valueText(const host::Parameter& parameter, double value) {
  if (parameter.isPopup()) {
    const auto choice = static_cast<std::size_t>(value) - 1;
    return choice < parameter.choices.size() ? parameter.choices[choice] : shortest(value);
  }
  return shortest(value) + (isPercent(parameter) ? " %" : "");
}

}  // namespace lomix::cli
