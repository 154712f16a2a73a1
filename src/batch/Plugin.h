#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "host/Host.h"
#include "looks/ParameterTable.h"

namespace lomix::cli {

/// The module to load: the given one, or, when that is empty, the one that is installed with this
/// command. Throws CommandError when there is none.
std::filesystem::path findPlugin(const std::filesystem::path& given);

/// The effect, a loaded module or the one in this program, in a host that has set it up.
class Plugin {
 public:
  /// file: as findPlugin returns it. Throws CommandError or host::HostError when the module cannot
  /// be loaded or set up.
  Plugin(const std::filesystem::path& file, host::Personality personality);
  /// The effect that is part of this program. Throws CommandError when it cannot be set up.
  explicit Plugin(host::Personality personality);

  host::Host& host() { return host_; }
  const host::GlobalInfo& info() const { return info_; }
  const ParameterTable& parameters() const { return parameters_; }
  /// The about text. Throws CommandError when the module refuses it.
  std::string about();

  /// Throws CommandError when the module did something that a host does not forgive.
  void requireRulesKept() const;

  /// Sends the module home and looks at what it left behind. Throws CommandError when the module
  /// failed or did something that a host does not forgive.
  void finish();

 private:
  void setUp();

  std::optional<host::Module> module_;  // empty for the effect in this program
  host::Host host_;
  host::GlobalInfo info_;
  ParameterTable parameters_;
};

/// Throws CommandError unless error is 0. step: what the plug-in was to do, "render the frame".
void requireSuccess(PF_Err error, const std::string& step, const host::Host& host);

}  // namespace lomix::cli
