#pragma once

#include <CLI/App.hpp>
#include <string>

#include "support/Streams.h"

namespace lomix::cli {

/// "lomix plot": the row profiles that shape a frame, drawn for people.
class PlotCommand : public Command {
 public:
  explicit PlotCommand(CLI::App& app);
  void run(const Streams& streams) override;

 private:
  std::string output_;
  int rows_ = 540;
  std::string time_ = "1";
  std::string over_ = "0:8";
  bool overwrite_ = false;
};

}  // namespace lomix::cli
