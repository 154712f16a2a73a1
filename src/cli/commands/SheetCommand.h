#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

#include "cli/LookOptions.h"
#include "cli/figures/SheetAxis.h"
#include "support/Streams.h"

namespace lomix::cli {

/// "lomix sheet": one picture with many looks, side by side.
class SheetCommand : public Command {
 public:
  explicit SheetCommand(CLI::App& app);
  void run(const Streams& streams) override;

 private:
  /// A picture of the sheet.
  struct Cell {
    std::vector<std::string> label;
    Moment moment;
  };
  std::vector<std::vector<Step>> axes(const looks::ParameterTable& table) const;
  std::vector<Cell> cells(const looks::ParameterTable& table,
                          const std::vector<std::vector<Step>>& axes) const;
  int columnsFor(const std::vector<std::vector<Step>>& axes, int count) const;

  std::string input_;
  std::string output_;
  LookOptions look_;
  std::vector<std::string> sweeps_;
  bool presets_ = false;
  std::string times_;
  std::string time_ = "0";
  std::string title_;
  int columns_ = 0;
  int width_ = 0;
  bool overwrite_ = false;
};

}  // namespace lomix::cli
