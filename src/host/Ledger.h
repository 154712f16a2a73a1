// Counts what a plug-in takes from the host and gives back.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hostapi/Records.h"

namespace lomix::host {

/// The kinds of things that a plug-in checks out, acquires or starts, and of wrong returns.
enum class Item {
  Parameter,
  StrayParameterCheckin,
  LayerPixels,
  StrayLayerCheckin,
  Output,
  Suite,
  StraySuiteRelease,
  UndoGroup,
  StrayUndoGroupEnd,
  Stream,
  Effect
};

/// Open check-outs, suites, groups and references of one command.
struct Ledger {
  PF_Cmd command = 0;
  PF_Err result = PF_Err_NONE;
  int declaredParameters = 0;  ///< Without the input layer.
  std::vector<std::pair<const PF_ParamDef*, PF_ParamIndex>> parameters;
  int strayParameterCheckins = 0;
  std::map<A_long, int> layerPixels;  ///< By check-out id; below 0: checked in too often.
  int outputs = 0;
  std::map<std::string, int, std::less<>> suites;  ///< Below 0: released too often.
  int undoGroups = 0;                              ///< Below 0: ended too often.
  bool suiteRefused = false;
  int streams = 0;
  int effects = 0;
};

/// One imbalance of a finished command.
struct Imbalance {
  Item item{};
  std::string line;            ///< "SMART_RENDER: ...".
  const char* tolerated = "";  ///< Name of the deliberate imbalance that this is, "" for none.
};

/// Returns every imbalance of a finished command, the deliberate ones marked.
std::vector<Imbalance> settle(const Ledger& ledger);

/// Returns a command's name without prefix, or "command N".
std::string commandName(PF_Cmd command);

}  // namespace lomix::host
