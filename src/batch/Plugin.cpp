#include "batch/Plugin.h"

#include <algorithm>
#include <system_error>

#include "effect/shell/EntryPoint.h"
#include "support/Errors.h"
#include "support/ExecutablePath.h"

namespace lomix::cli {
namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)
constexpr const char* kModuleName = "Lomix.aex";
#elif defined(__APPLE__)
constexpr const char* kModuleName = "Lomix.plugin";
#else
constexpr const char* kModuleName = "Lomix.so";
#endif

}  // namespace

fs::path findPlugin(const fs::path& given) {
  std::error_code error;
  // A bare name would be searched for where the system keeps its libraries.
  if (!given.empty()) return fs::absolute(given);

  const fs::path folder = executablePath().parent_path();
  const fs::path beside = folder / kModuleName;
  const fs::path installed = (folder / "../lib/lomix" / kModuleName).lexically_normal();
  for (const fs::path& candidate : {beside, installed}) {
    if (fs::exists(candidate, error)) return candidate;
  }
  throw CommandError("plug-in: it is neither '" + beside.string() + "' nor '" + installed.string() +
                     "' (name the module with --plugin FILE)");
}

Plugin::Plugin(const fs::path& file, host::Personality personality)
    : module_(file),
      host_(*module_, host::HostOptions{.personality = personality}),
      parameters_({}) {
  setUp();
}

Plugin::Plugin(host::Personality personality)
    : host_(EntryPointFunc, host::HostOptions{.personality = personality}), parameters_({}) {
  setUp();
}

void Plugin::setUp() {
  requireSuccess(host_.globalSetup(info_), "set itself up", host_);
  requireSuccess(host_.paramsSetup(), "declare its parameters", host_);
  parameters_ = ParameterTable(host_.parameters());
}

std::string Plugin::about() {
  std::string text;
  requireSuccess(host_.about(text), "tell about itself", host_);
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

}  // namespace lomix::cli
