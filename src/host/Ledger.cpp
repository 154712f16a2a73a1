#include "host/Ledger.h"

#include <array>
#include <cstdlib>

#include "hostapi/Commands.h"

namespace lomix::host {
namespace {

/// An imbalance that the effect has on purpose.
struct Deliberate {
  const char* name;
  Item item;
  bool (*applies)(const Ledger&);
};

bool panelCommand(PF_Cmd command) {
  return command == PF_Cmd_USER_CHANGED_PARAM || command == PF_Cmd_UPDATE_PARAMS_UI;
}

bool failedSmartRender(const Ledger& l) {
  return l.command == PF_Cmd_SMART_RENDER && l.result != PF_Err_NONE;
}

// A missing suite ends the update at once and leaks the references that it held then.
bool panelUpdateMissedSuite(const Ledger& l) {
  return panelCommand(l.command) && l.result != PF_Err_NONE && l.suiteRefused;
}

// Every parameter once and in order; when the command failed, only the first ones.
bool declaredDependencies(const Ledger& l) {
  if (l.command != PF_Cmd_SMART_PRE_RENDER) return false;
  PF_ParamIndex expected = 0;
  for (const auto& [definition, index] : l.parameters) {
    if (index != ++expected) return false;
  }
  return l.result != PF_Err_NONE || expected == l.declaredParameters;
}

// Every imbalance that the effect has on purpose. Any other is a fault.
constexpr Deliberate kDeliberate[] = {
    {"pre-render leaves its parameters checked out", Item::Parameter, declaredDependencies},
    {"failed smart render leaves parameters checked out", Item::Parameter, failedSmartRender},
    {"failed smart render leaves the input pixels checked out", Item::LayerPixels,
     failedSmartRender},
    {"smart render never checks its output in", Item::Output,
     [](const Ledger& l) { return l.command == PF_Cmd_SMART_RENDER && l.outputs == 1; }},
    {"failed panel update leaves its undo group open", Item::UndoGroup,
     [](const Ledger& l) {
       return panelCommand(l.command) && l.result != PF_Err_NONE && l.undoGroups == 1;
     }},
    {"panel update without a suite keeps its effect handle", Item::Effect, panelUpdateMissedSuite},
    {"panel update without a suite keeps its stream", Item::Stream, panelUpdateMissedSuite},
    {"dynamic-flags query checks in after a failed check-out", Item::StrayParameterCheckin,
     [](const Ledger& l) {
       return l.command == PF_Cmd_QUERY_DYNAMIC_FLAGS && l.result != PF_Err_NONE &&
              l.strayParameterCheckins == 1;
     }},
};

class Settlement {
 public:
  explicit Settlement(const Ledger& ledger) : ledger_(ledger) {}

  void add(Item item, const std::string& what) {
    Imbalance& found = found_.emplace_back();
    found.item = item;
    found.line = commandName(ledger_.command) + ": " + what;
    for (const Deliberate& deliberate : kDeliberate) {
      if (deliberate.item == item && deliberate.applies(ledger_)) found.tolerated = deliberate.name;
    }
  }

  void addCount(Item item, int count, const char* what) {
    if (count > 0) add(item, std::string(what) + " (" + std::to_string(count) + ")");
  }

  std::vector<Imbalance> take() { return std::move(found_); }

 private:
  const Ledger& ledger_;
  std::vector<Imbalance> found_;
};

}  // namespace

std::vector<Imbalance> settle(const Ledger& ledger) {
  Settlement result(ledger);
  if (!ledger.parameters.empty()) {
    std::string indices;
    for (const auto& [definition, index] : ledger.parameters) {
      indices += ' ' + std::to_string(index);
    }
    result.add(Item::Parameter, "parameters never checked in:" + indices);
  }
  result.addCount(Item::StrayParameterCheckin, ledger.strayParameterCheckins,
                  "parameters checked in that were not checked out");
  for (const auto& [id, count] : ledger.layerPixels) {
    if (count > 0) {
      result.add(Item::LayerPixels, "pixels of check-out " + std::to_string(id) +
                                        " never checked in (" + std::to_string(count) + ")");
    } else if (count < 0) {
      result.add(Item::StrayLayerCheckin,
                 "pixels of check-out " + std::to_string(id) + " checked in without check-out");
    }
  }
  result.addCount(Item::Output, ledger.outputs, "output world never checked in");
  for (const auto& [name, count] : ledger.suites) {
    if (count > 0) {
      result.add(Item::Suite, name + " never released (" + std::to_string(count) + ")");
    } else if (count < 0) {
      result.add(Item::StraySuiteRelease, name + " released without being acquired");
    }
  }
  result.addCount(Item::UndoGroup, ledger.undoGroups, "undo groups never ended");
  result.addCount(Item::StrayUndoGroupEnd, -ledger.undoGroups, "undo groups ended without start");
  result.addCount(Item::Stream, ledger.streams, "streams never disposed of");
  result.addCount(Item::Effect, ledger.effects, "effect handles never disposed of");
  return result.take();
}

std::string commandName(PF_Cmd command) {
  switch (command) {
    case PF_Cmd_ABOUT:
      return "ABOUT";
    case PF_Cmd_GLOBAL_SETUP:
      return "GLOBAL_SETUP";
    case PF_Cmd_GLOBAL_SETDOWN:
      return "GLOBAL_SETDOWN";
    case PF_Cmd_PARAMS_SETUP:
      return "PARAMS_SETUP";
    case PF_Cmd_RENDER:
      return "RENDER";
    case PF_Cmd_USER_CHANGED_PARAM:
      return "USER_CHANGED_PARAM";
    case PF_Cmd_UPDATE_PARAMS_UI:
      return "UPDATE_PARAMS_UI";
    case PF_Cmd_QUERY_DYNAMIC_FLAGS:
      return "QUERY_DYNAMIC_FLAGS";
    case PF_Cmd_SMART_PRE_RENDER:
      return "SMART_PRE_RENDER";
    case PF_Cmd_SMART_RENDER:
      return "SMART_RENDER";
    default:
      return "command " + std::to_string(command);
  }
}

}  // namespace lomix::host
