#pragma once

#include <CLI/App.hpp>
#include <iosfwd>
#include <string>

#include "looks/ParameterTable.h"
#include "support/Streams.h"

namespace lomix::cli {

/// "lomix presets": the looks that come with the program.
class PresetsCommand : public Command {
 public:
  explicit PresetsCommand(CLI::App& app);
  void run(const Streams& streams) override;

 private:
  void printAll(const looks::ParameterTable& table, std::ostream& out) const;

  std::string shown_;
  bool json_ = false;
  bool schema_ = false;
};

}  // namespace lomix::cli
