#pragma once

#include <CLI/App.hpp>
#include <string>

#include "support/Streams.h"

namespace lomix::cli {

/// "lomix inspect": what a module says about itself.
class InspectCommand : public Command {
 public:
  explicit InspectCommand(CLI::App& app);
  void run(const Streams& streams) override;

 private:
  std::string module_;
  bool json_ = false;
};

}  // namespace lomix::cli
