#pragma once

#include <CLI/App.hpp>
#include <string>

#include "media/picture/Difference.h"
#include "media/picture/Picture.h"
#include "support/Streams.h"

namespace lomix::cli {

/// "lomix compare": how far two pictures are apart.
class CompareCommand : public Command {
 public:
  explicit CompareCommand(CLI::App& app);
  void run(const Streams& streams) override;

 private:
  media::Picture draw(const media::Picture& a, const media::Picture& b,
                      const std::string& finding) const;

  std::string a_;
  std::string b_;
  std::string output_;
  std::string view_ = "side";
  double gain_ = 8.0;
  bool overwrite_ = false;
};

}  // namespace lomix::cli
