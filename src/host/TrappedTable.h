// Function tables whose unused slots report a call instead of crashing.
#pragma once

#include <array>
#include <bit>

#include "host/HostState.h"

namespace lomix::host {

/// Fills every slot that this host does not offer. Reports the call as a fault.
inline PF_Err unofferedSlot() {
  if (HostState* const state = HostState::current()) {
    state->faultNow("a slot that this host does not offer was called");
  }
  return PF_Err_INVALID_CALLBACK;
}

/// Returns a table of functions with unofferedSlot() in every slot.
template <class Table>
Table trappedTable() {
  static_assert(sizeof(Table) % sizeof(&unofferedSlot) == 0);
  std::array<PF_Err (*)(), sizeof(Table) / sizeof(&unofferedSlot)> slots;
  slots.fill(&unofferedSlot);
  return std::bit_cast<Table>(slots);
}

}  // namespace lomix::host
