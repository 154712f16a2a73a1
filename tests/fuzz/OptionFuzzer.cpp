// Reads any text as the value of an option.
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "cli/FrameList.h"
#include "cli/LookOptions.h"
#include "cli/OptionValues.h"
#include "fuzz/Bytes.h"
#include "fuzz/Fuzzing.h"
#include "looks/Curve.h"
#include "looks/ParameterTable.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/Text.h"

namespace {

using lomix::fuzz::Bytes;
using lomix::fuzz::require;
using lomix::fuzz::requireMessage;
namespace cli = lomix::cli;
namespace looks = lomix::looks;

void readFrames(const std::string& text) {
  const lomix::media::FrameChoice choice = cli::parseFrames(text);
  require(!choice.isAll(), "a list of frames names none");
  for (std::size_t i = 1; i < choice.numbers.size(); ++i) {
    require(choice.numbers[i - 1] < choice.numbers[i], "frames are not in order");
  }
  for (const lomix::media::TimeSpan& span : choice.spans) {
    require(span.first >= 0.0 && span.first <= span.last, "a span of time runs backwards");
  }
}

void readTime(const std::string& text) {
  require(cli::parseTime(text).scale > 0, "a time has the denominator 0");
}

void readRate(const std::string& text) {
  const auto rate = cli::parseRate(text);
  require(rate.frames > 0 && rate.seconds > 0, "a rate is not above 0");
}

void readPairs(const std::string& text) {
  const auto factors = cli::parseDownsample(text);
  require(factors.first >= 1 && factors.second >= 1, "a factor is below 1");
}

void readSize(const std::string& text) {
  const auto size = cli::parseSize(text);
  require(size.first >= 1 && size.second >= 1, "a size is below 1");
}

void readValue(const looks::Parameter& parameter, const std::string& text) {
  const double value = looks::parseValue(parameter, text);
  require(value >= parameter.minimum && value <= parameter.maximum, "a value is out of range");
  const double again = looks::parseValue(parameter, looks::valueText(parameter, value));
  require(static_cast<float>(again) == static_cast<float>(value),
          "a value changes when it is shown and read");
}

void readKeys(const looks::Parameter& parameter, const std::string& text) {
  const looks::Curve curve = looks::parseCurve(parameter, text);
  for (const double seconds : {-1e12, 0.0, 0.25, 1.0, 1e12}) {
    const double value = curve.at(seconds);
    require(value >= parameter.minimum && value <= parameter.maximum, "a curve leaves its range");
  }
}

/// Reads lines as arguments of a command with the options of the effect's parameters.
void readLook(const std::string& text) {
  CLI::App app;
  cli::LookOptions options;
  options.addTo(app);
  std::vector<std::string> arguments;
  for (const std::string_view line : lomix::split(text, '\n')) {
    arguments.push_back(lomix::fuzz::withoutSlashes(line));
  }
  std::reverse(arguments.begin(), arguments.end());  // The parser reads them from the back.
  app.parse(std::move(arguments));
  options.files();
  options.read(looks::effectTable());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  lomix::fuzz::enterScratchFolder();
  // No presets but those that are built in.
  setenv("XDG_DATA_HOME", "/nonexistent", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  // A letter, so that the files of the corpus can be read.
  const char kind = static_cast<char>(bytes.byte());
  const auto& parameters = looks::effectTable().all();
  const looks::Parameter& parameter = parameters[bytes.byte() % parameters.size()];
  std::string text = bytes.remainder();
  std::erase(text, '\0');  // No argument has one.
  try {
    switch (kind) {
      case 'f':
        readFrames(text);
        break;
      case 't':
        readTime(text);
        break;
      case 'r':
        readRate(text);
        break;
      case 'd':
        readPairs(text);
        break;
      case 's':
        readSize(text);
        break;
      case 'v':
        readValue(parameter, text);
        break;
      case 'k':
        readKeys(parameter, text);
        break;
      default:
        readLook(text);
    }
  } catch (const lomix::UsageError& error) {
    requireMessage(error.what());
  } catch (const lomix::MediaError& error) {
    requireMessage(error.what());
  } catch (const CLI::ParseError&) {
  }
  return 0;
}
