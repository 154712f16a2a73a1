// The basic suite, and the suites that both hosts offer.
#include <algorithm>

#include "host/GuardPattern.h"
#include "host/HostState.h"
#include "host/TrappedTable.h"

namespace lomix::host {
namespace {

constexpr SPErr kNoSuchSuite = 0x53214664;                 // 'S!Fd', as the real hosts answer
constexpr PF_PixelFormat kPixelFormatArgb64 = 0x36316561;  // 'ae16'; the float format is 'ae32'
constexpr std::size_t kHandleGuard = 64;

const std::vector<OfferedSuite>& allSuites() {
  static const std::vector<OfferedSuite> kSuites = [] {
    std::vector<OfferedSuite> suites = pictureSuites();
    const std::vector<OfferedSuite> more = projectSuites();
    suites.insert(suites.end(), more.begin(), more.end());
    return suites;
  }();
  return kSuites;
}

SPErr acquireSuite(const char* name, std::int32_t version, const void** suite) {
  const std::string id = suiteName(name, version);
  const SPErr result = answer("acquire:" + id, "", [&](HostState& s) -> PF_Err {
    for (const OfferedSuite& offered : allSuites()) {
      const bool here = offered.inPremiere || s.options.personality == Personality::AfterEffects;
      if (here && suiteName(offered.id.name, offered.id.version) == id) {
        *suite = offered.table;
        ++s.ledger.suites[id];
        return PF_Err_NONE;
      }
    }
    return kNoSuchSuite;
  });
  if (result != PF_Err_NONE) {
    *suite = nullptr;
    if (HostState* const s = HostState::current()) s->ledger.suiteRefused = true;
  }
  return result;
}

SPErr releaseSuite(const char* name, std::int32_t version) {
  const std::string id = suiteName(name, version);
  return answer(
      "release:" + id, "",
      [&](HostState& s) {
        --s.ledger.suites[id];
        return PF_Err_NONE;
      },
      Giving::Back);
}

HandleBlock* findHandle(HostState& s, PF_Handle handle, const char* action) {
  for (const auto& block : s.handles) {
    if (&block->memory != handle) continue;
    if (!block->disposed) return block.get();
    s.faultNow(std::string("a handle that was disposed of was ") + action);
    return nullptr;
  }
  s.faultNow(std::string("an unknown handle was ") + action);
  return nullptr;
}

PF_Handle newHandle(std::uint64_t size) {
  PF_Handle handle = nullptr;
  answer("PF Handle Suite 1.host_new_handle", std::to_string(size), [&](HostState& s) {
    auto block = std::make_unique<HandleBlock>();
    block->size = static_cast<std::size_t>(size);
    block->storage.resize(block->size + 2 * kHandleGuard);
    writeGuard(block->storage, 0);
    block->memory = reinterpret_cast<char*>(block->storage.data() + kHandleGuard);
    handle = &s.handles.emplace_back(std::move(block))->memory;
    return PF_Err_NONE;
  });
  return handle;
}

// Plug-ins lock a null handle after a failed allocation. It has no address.
void* lockHandle(PF_Handle handle) {
  void* address = nullptr;
  answer("PF Handle Suite 1.host_lock_handle", handle ? "handle" : "null", [&](HostState& s) {
    HandleBlock* const block = handle ? findHandle(s, handle, "locked") : nullptr;
    if (block) {
      ++block->locks;
      address = block->memory;
    }
    return PF_Err_NONE;
  });
  return address;
}

void unlockHandle(PF_Handle handle) {
  answer("PF Handle Suite 1.host_unlock_handle", handle ? "handle" : "null", [&](HostState& s) {
    HandleBlock* const block = findHandle(s, handle, "unlocked");
    if (block && --block->locks < 0) s.faultNow("a handle was unlocked more often than locked");
    return PF_Err_NONE;
  });
}

bool handleGuardsHold(const HandleBlock& block) {
  const std::span<const std::byte> all(block.storage);
  const std::size_t end = kHandleGuard + block.size;
  return guardHolds(all.first(kHandleGuard), 0) && guardHolds(all.subspan(end), end);
}

void disposeHandle(PF_Handle handle) {
  answer("PF Handle Suite 1.host_dispose_handle", handle ? "handle" : "null", [&](HostState& s) {
    HandleBlock* const block = findHandle(s, handle, "disposed of");
    if (!block) return PF_Err_NONE;
    if (block->locks > 0) s.faultNow("a locked handle was disposed of");
    if (!handleGuardsHold(*block)) s.faultNow("bytes around a handle's block were written");
    block->disposed = true;
    block->memory = nullptr;
    block->storage = {};
    return PF_Err_NONE;
  });
}

PF_Err getPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
  return answer("PF World Suite 2.PF_GetPixelFormat", "", [&](HostState& s) -> PF_Err {
    const int depth = world && format ? depthOf(*world) : 0;
    if (depth == 8) {
      *format = PF_PixelFormat_ARGB32;
    } else if (depth == 32) {
      *format = PF_PixelFormat_ARGB128;
    } else if (depth == 16) {
      *format = kPixelFormatArgb64;
    } else {
      s.faultNow("pixel format of a world that is not this host's");
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    return PF_Err_NONE;
  });
}

}  // namespace

std::vector<OfferedSuite> pictureSuites() {
  static const PF_ANSICallbacksSuite1 kAnsi = [] {
    auto table = trappedTable<PF_ANSICallbacksSuite1>();
    table.sprintf = hostSprintf;
    table.strcpy = hostStrcpy;
    return table;
  }();
  static const PF_HandleSuite1 kHandle = [] {
    auto table = trappedTable<PF_HandleSuite1>();
    table.host_new_handle = newHandle;
    table.host_lock_handle = lockHandle;
    table.host_unlock_handle = unlockHandle;
    table.host_dispose_handle = disposeHandle;
    return table;
  }();
  static const PF_WorldSuite2 kWorld = [] {
    auto table = trappedTable<PF_WorldSuite2>();
    table.PF_GetPixelFormat = getPixelFormat;
    return table;
  }();
  return {{kAnsiSuite1Id, &kAnsi, true},
          {kHandleSuite1Id, &kHandle, true},
          {kWorldSuite2Id, &kWorld, true}};
}

SPBasicSuite basicSuiteTable() {
  auto table = trappedTable<SPBasicSuite>();
  table.AcquireSuite = acquireSuite;
  table.ReleaseSuite = releaseSuite;
  return table;
}

std::string suiteName(const char* name, std::int32_t version) {
  return std::string(name ? name : "(null)") + ' ' + std::to_string(version);
}

}  // namespace lomix::host
