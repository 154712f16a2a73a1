#pragma once

#include <CLI/App.hpp>
#include <string>

#include "support/Streams.h"

namespace lomix::cli {

/// "lomix params": the parameters, as the module declares them.
class ParamsCommand : public Command {
 public:
  explicit ParamsCommand(CLI::App& app);
  void run(const Streams& streams) override;

 private:
  std::string plugin_;
  bool json_ = false;
};

}  // namespace lomix::cli
