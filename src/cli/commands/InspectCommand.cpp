#include <CLI/App.hpp>
#include <array>
#include <charconv>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "batch/Plugin.h"
#include "cli/commands/Commands.h"
#include "looks/JsonText.h"
#include "looks/ParameterReport.h"
#include "support/Text.h"
#include "support/VersionWord.h"

namespace lomix::cli {
namespace {

struct FlagName {
  std::int32_t bit;
  const char* name;
};

constexpr std::array kOutFlagNames{
    FlagName{PF_OutFlag_KEEP_RESOURCE_OPEN, "KEEP_RESOURCE_OPEN"},
    FlagName{PF_OutFlag_NON_PARAM_VARY, "NON_PARAM_VARY"},
    FlagName{PF_OutFlag_DISPLAY_ERROR_MESSAGE, "DISPLAY_ERROR_MESSAGE"},
};
constexpr std::array kOutFlag2Names{
    FlagName{PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS, "SUPPORTS_QUERY_DYNAMIC_FLAGS"},
    FlagName{PF_OutFlag2_SUPPORTS_SMART_RENDER, "SUPPORTS_SMART_RENDER"},
    FlagName{PF_OutFlag2_FLOAT_COLOR_AWARE, "FLOAT_COLOR_AWARE"},
    FlagName{PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER,
             "PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER"},
};

std::string hexadecimal(std::uint32_t word) {
  std::array<char, 16> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), word, 16).ptr;
  return "0x" + std::string(digits.data(), end);
}

/// Returns the names of the bits that are set; a bit that has no name as a number.
std::vector<std::string> namesOf(std::int32_t word, std::span<const FlagName> names) {
  std::vector<std::string> found;
  auto rest = static_cast<std::uint32_t>(word);
  for (const FlagName& flag : names) {
    const auto bit = static_cast<std::uint32_t>(flag.bit);
    if ((rest & bit) != 0) found.emplace_back(flag.name);
    rest &= ~bit;
  }
  for (std::uint32_t bit = 1; bit != 0; bit <<= 1) {
    if ((rest & bit) != 0) found.push_back(hexadecimal(bit));
  }
  return found;
}

std::string flagsText(std::vector<std::string> names, std::int32_t word) {
  names.push_back("(" + hexadecimal(static_cast<std::uint32_t>(word)) + ")");
  return joined(names, " ");
}

/// The options of `lomix inspect`.
struct InspectOptions {
  std::string module;
  bool json = false;
};

void declare(CLI::App& app, InspectOptions& options) {
  app.add_option("MODULE", options.module, "The plug-in module to load")
      ->type_name("FILE")
      ->required();
  app.add_flag("--json", options.json, "Print JSON for programs");
  app.footer(
      "Examples:\n"
      "  lomix inspect ./Lomix.so\n"
      "  lomix inspect ./Lomix.so --json\n");
}

void run(const InspectOptions& options, const Streams& streams) {
  batch::Plugin plugin(batch::findPlugin(options.module), host::Personality::AfterEffects);
  const std::string about = plugin.about();
  const host::GlobalInfo& info = plugin.info();
  const VersionWord version = decodeVersion(info.version);
  const auto outFlags = namesOf(info.outFlags, kOutFlagNames);
  const auto outFlags2 = namesOf(info.outFlags2, kOutFlag2Names);

  if (options.json) {
    const nlohmann::ordered_json report{
        {"module", options.module},
        {"about", about},
        {"version",
         {{"word", info.version},
          {"version", version.version},
          {"subversion", version.subversion},
          {"bugfix", version.bugfix},
          {"stage", version.stage},
          {"build", version.build}}},
        {"outFlags", {{"word", info.outFlags}, {"names", outFlags}}},
        {"outFlags2", {{"word", info.outFlags2}, {"names", outFlags2}}},
        {"parameters", toJson(plugin.parameters())}};
    streams.out << looks::jsonText(report);
  } else {
    std::string aboutLines = about;
    // Hosts break lines at a carriage return. Indents the lines after the first.
    for (std::size_t at; (at = aboutLines.find('\r')) != std::string::npos;) {
      aboutLines.replace(at, 1, "\n           ");
    }
    streams.out << "about      " << aboutLines << "\n"
                << "version    " << dotted(version.version, version.subversion, version.bugfix)
                << " " << version.stageName() << ", build " << version.build << " ("
                << hexadecimal(info.version) << ")\n"
                << "flags      " << flagsText(outFlags, info.outFlags) << "\n"
                << "flags 2    " << flagsText(outFlags2, info.outFlags2) << "\n\n";
    print(plugin.parameters(), streams.out);
  }
  plugin.finish();
}

}  // namespace

Command addInspectCommand(CLI::App& lomix) {
  return addCommand<InspectOptions>(
      lomix, "inspect", "Show the version, flags and parameters of a plug-in module", declare, run);
}

}  // namespace lomix::cli
