#pragma once

#include <array>
#include <bit>

#include "host/HostState.h"

namespace lomix::host {

/// Stands in every slot that this host does not offer: the call is a fault, not a crash.
inline PF_Err unofferedSlot() {
  if (HostState* const state = HostState::current()) {
    state->faultNow("a slot that this host does not offer was called");
  }
  return PF_Err_INVALID_CALLBACK;
}

/// A table of functions with unofferedSlot in every place.
template <class Table>
Table trappedTable() {
  static_assert(sizeof(Table) % sizeof(&unofferedSlot) == 0);
  std::array<PF_Err (*)(), sizeof(Table) / sizeof(&unofferedSlot)> slots;
  slots.fill(&unofferedSlot);
  return std::bit_cast<Table>(slots);
}

}  // namespace lomix::host
