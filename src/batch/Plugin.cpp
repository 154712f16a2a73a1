#include "batch/Plugin.h"

#include <system_error>

#include "support/Errors.h"
#include "support/ExecutablePath.h"
#include "support/MediaError.h"

namespace lomix::batch {
namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)
constexpr const char* kModuleName = "Lomix.aex";
#elif defined(__APPLE__)
constexpr const char* kModuleName = "Lomix.plugin";
#else
constexpr const char* kModuleName = "Lomix.so";
#endif

looks::Parameter declaredParameter(const host::Parameter& declared, int index) {
  const PF_ParamDef& definition = declared.definition;
  looks::Parameter parameter;
  parameter.index = index;
  parameter.name = declared.name();
  parameter.id = definition.uu.id;
  parameter.flags = definition.flags;
  parameter.isChoice = declared.isPopup();
  parameter.canChangeOverTime = (definition.flags & PF_ParamFlag_CANNOT_TIME_VARY) == 0;
  parameter.minimum = declared.minimum();
  parameter.maximum = declared.maximum();
  parameter.defaultValue = declared.defaultValue();
  parameter.choices = declared.choices;
  if (!parameter.isChoice) {
    const PF_FloatSliderDef& slider = definition.u.fs_d;
    if (slider.display_flags == PF_ValueDisplayFlag_PERCENT) parameter.unit = "%";
    parameter.sliderMinimum = slider.slider_min;
    parameter.sliderMaximum = slider.slider_max;
    parameter.decimals = slider.precision;
  }
  return parameter;
}

}  // namespace

fs::path findPlugin(const fs::path& given) {
  std::error_code error;
  // Absolute, because the system would search its library folders for a bare name.
  if (!given.empty()) return fs::absolute(given);

  const std::string wayOut = "name the module";
  const fs::path program = executablePath(error);
  if (error) {
    throw AvoidableError(Remedy::NameModule,
                         "plug-in: the folder of this program is unknown, " + error.message(),
                         wayOut);
  }
  const fs::path folder = program.parent_path();
  const fs::path beside = folder / kModuleName;
  const fs::path installed = (folder / "../lib/lomix" / kModuleName).lexically_normal();
  for (const fs::path& candidate : {beside, installed}) {
    if (fs::exists(candidate, error)) return candidate;
  }
  throw AvoidableError(
      Remedy::NameModule,
      "plug-in: it is neither '" + beside.string() + "' nor '" + installed.string() + "'", wayOut);
}

Plugin::Plugin(const fs::path& file, host::Personality personality)
    : module_(file),
      host_(module_, host::HostOptions{.personality = personality}),
      parameters_({}) {
  requireSuccess(host_.globalSetup(info_), "set itself up", host_);
  requireSuccess(host_.paramsSetup(), "declare its parameters", host_);
  std::vector<looks::Parameter> declared;
  for (const host::Parameter& parameter : host_.parameters()) {
    if (!parameter.isPopup() && !parameter.isSlider()) continue;
    hostIndices_.push_back(parameter.index);
    declared.push_back(declaredParameter(parameter, static_cast<int>(declared.size())));
  }
  parameters_ = looks::ParameterTable(std::move(declared));
}

void Plugin::setValues(const std::vector<double>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) host_.setValue(hostIndices_.at(i), values[i]);
}

std::string Plugin::about() {
  std::string text;
  requireSuccess(host_.about(text), "return its about text", host_);
  return text;
}

void Plugin::finish() {
  requireSuccess(host_.globalSetdown(), "shut itself down", host_);
  requireRulesKept();
}

void Plugin::requireRulesKept() const {
  if (const auto findings = host_.audit(); !findings.empty()) {
    throw CommandError("plug-in: it broke a rule of its host, " + findings.front() +
                       " (try another version of the module)");
  }
}

void requireSuccess(PF_Err error, const std::string& step, const host::Host& host) {
  if (error == PF_Err_NONE) return;
  std::string message = host.message();
  if (!message.empty()) message = ", \"" + message + "\"";
  throw CommandError("plug-in: it could not " + step + ", error " + std::to_string(error) +
                     message + " (check the module and the picture)");
}

}  // namespace lomix::batch
