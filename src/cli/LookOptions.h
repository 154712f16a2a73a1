#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

#include "looks/Look.h"

namespace lomix::cli {

/// The options of a command that say what the effect's parameters are.
class LookOptions {
 public:
  /// Declares the options.
  void addTo(CLI::App& app);

  /// The look that they ask for: --preset, then --set, then --key; what comes later wins. Throws
  /// UsageError, CommandError for a preset that is not sound, media::MediaError.
  Look read(const ParameterTable& table) const;

 private:
  std::string preset_;
  std::vector<std::string> settings_;
  std::vector<std::string> keys_;
};

}  // namespace lomix::cli
