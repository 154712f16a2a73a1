#include "cli/figures/SheetAxis.h"

#include <cmath>
#include <limits>

#include "cli/LookOptions.h"
#include "cli/OptionValues.h"
#include "looks/PresetStore.h"
#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

constexpr const char* kForms = "FROM:TO:COUNT or VALUE,VALUE,...";

/// Reads the values of an axis in either form of kForms. read: returns the value of a text, or
/// throws.
template <typename Read>
std::vector<double> valuesOf(std::string_view text, const std::string& subject, Read read) {
  std::vector<double> values;
  const auto parts = split(text, ':');
  if (parts.size() == 1) {
    for (const std::string_view value : split(text, ',')) values.push_back(read(trimmed(value)));
    return values;
  }
  const auto count = parts.size() == 3 ? parseWhole(trimmed(parts[2])) : std::nullopt;
  if (!count || *count < 2 || *count > kMaxSheetCells) {
    throw UsageError(subject + ": '" + std::string(text) + "' is not a range (write " + kForms +
                     ", with a count from 2 to " + std::to_string(kMaxSheetCells) + ")");
  }
  const double from = read(trimmed(parts[0]));
  const double to = read(trimmed(parts[1]));
  for (std::int64_t i = 0; i < *count; ++i) {
    const double part = static_cast<double>(i) / static_cast<double>(*count - 1);
    // To three decimals, so that the label shows the exact value.
    values.push_back(std::round((from + (to - from) * part) * 1000.0) / 1000.0);
  }
  return values;
}

batch::FrameTime inThousandths(double seconds) {
  constexpr double kMost = std::numeric_limits<std::int32_t>::max() / 1000;
  if (std::abs(seconds) > kMost) {
    throw UsageError("--times: " + shortest(seconds) + " s is too far away (use up to " +
                     shortest(kMost) + " s)");
  }
  return {static_cast<std::int32_t>(std::lround(seconds * 1000.0)), 1000};
}

}  // namespace

std::vector<Step> parameterAxis(const looks::ParameterTable& table, std::string_view text) {
  const auto [parameter, value] =
      splitSetting(table, text, "--sweep", "NAME=FROM:TO:COUNT, such as Noise=0:100:5");
  if (parameter.isChoice && value.find(':') != std::string_view::npos) {
    throw UsageError(parameter.name +
                     ": there is nothing between two choices (list them with commas)");
  }
  std::vector<Step> steps;
  for (const double v : valuesOf(value, parameter.name, [&parameter = parameter](auto number) {
         return looks::parseValue(parameter, number);
       })) {
    steps.push_back({{parameter.name, looks::valueWithUnit(parameter, v)},
                     [index = parameter.index, v](Moment& moment) { moment.look.set(index, v); }});
  }
  return steps;
}

std::vector<Step> timeAxis(std::string_view text) {
  std::vector<Step> steps;
  for (const double seconds : valuesOf(text, "--times", [](std::string_view time) {
         return batch::inSeconds(parseTime(time));
       })) {
    const batch::FrameTime time = inThousandths(seconds);
    steps.push_back({{"", shortest(batch::inSeconds(time)) + " s"},
                     [time](Moment& moment) { moment.time = time; }});
  }
  return steps;
}

std::vector<Step> presetAxis(const looks::ParameterTable& table) {
  std::vector<Step> steps;
  for (const looks::BuiltInPreset& builtIn : looks::builtInPresets()) {
    looks::Preset preset = looks::parsePreset(builtIn.text, builtIn.id, table);
    steps.push_back({{"", preset.name}, [look = std::move(preset.look)](Moment& moment) {
                       looks::Look whole = look;
                       for (const auto& [index, curve] : moment.look.curves()) {
                         whole.set(index, curve);
                       }
                       moment.look = std::move(whole);
                     }});
  }
  return steps;
}

}  // namespace lomix::cli
