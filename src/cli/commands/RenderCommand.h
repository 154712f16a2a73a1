#pragma once

#include <CLI/App.hpp>
#include <string>

#include "cli/LookOptions.h"
#include "support/Streams.h"

namespace lomix::cli {

/// "lomix render": pictures through the effect. Reads the options.
class RenderCommand : public Command {
 public:
  explicit RenderCommand(CLI::App& app);
  void run(const Streams& streams) override;

 private:
  std::string input_;
  std::string output_;
  LookOptions look_;
  std::string savedPreset_;
  std::string time_;
  std::string frames_;
  std::string fps_;
  std::string depth_;
  std::string downsample_ = "1";
  std::string host_ = "ae";
  std::string engine_;
  std::string plugin_;
  int threads_ = 0;
  std::string report_;
  std::string codec_;
  int crf_ = 16;
  std::string raw_;
  bool videoOnly_ = false;
  bool overwrite_ = false;
  bool skipExisting_ = false;
  bool quiet_ = false;
};

}  // namespace lomix::cli
