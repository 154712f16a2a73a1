#pragma once

#include <CLI/App.hpp>
#include <string>

#include "support/Streams.h"

namespace lomix::cli {

/// "lomix testcard": a picture to try the effect on.
class TestCardCommand : public Command {
 public:
  explicit TestCardCommand(CLI::App& app);
  void run(const Streams& streams) override;

 private:
  std::string output_;
  std::string size_ = "1280x720";
  bool overwrite_ = false;
};

}  // namespace lomix::cli
