// Finds and loads a plug-in module and reads its parameters.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/Host.h"
#include "looks/ParameterTable.h"

namespace lomix::batch {

/// Returns the absolute path of the module to load: the given one or, when that is empty, the one
/// that is installed with this program. Throws AvoidableError when none is installed.
std::filesystem::path findPlugin(const std::filesystem::path& given);

/// A loaded module in a host that has set it up.
class Plugin {
 public:
  /// file: as findPlugin returns it. Throws CommandError or host::HostError when the module cannot
  /// be loaded or set up.
  Plugin(const std::filesystem::path& file, host::Personality personality);

  /// Returns the host around the module.
  host::Host& host() { return host_; }
  /// Returns the module's answer to GLOBAL_SETUP.
  const host::GlobalInfo& info() const { return info_; }
  /// Returns the parameters that the module declared, without the input layer.
  const looks::ParameterTable& parameters() const { return parameters_; }
  /// Sets the values of parameters(), by index. Throws host::HostError.
  void setValues(const std::vector<double>& values);
  /// Returns the about text. Throws CommandError when the module refuses it.
  std::string about();

  /// Throws CommandError when the module broke a rule of its host: leaked a suite, handle or
  /// check-out, or wrote outside its pictures.
  void requireRulesKept() const;

  /// Sends GLOBAL_SETDOWN. Throws CommandError when the module fails or has broken a rule, as
  /// requireRulesKept() does.
  void finish();

 private:
  host::Module module_;
  host::Host host_;
  host::GlobalInfo info_;
  looks::ParameterTable parameters_;
  std::vector<int> hostIndices_;  ///< Of the parameters in the host's array.
};

/// Throws CommandError unless error is 0. step: the failed step, such as "render the frame".
void requireSuccess(PF_Err error, const std::string& step, const host::Host& host);

}  // namespace lomix::batch
