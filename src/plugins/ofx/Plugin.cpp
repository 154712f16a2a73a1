// Lomix as an OpenFX image effect: its entry points and actions.

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

#include "plugins/Export.h"
#include "plugins/ofx/Describe.h"
#include "plugins/ofx/Instance.h"

namespace lomix::ofx {
namespace {

// Some hosts load, describe, draw and unload on several threads at once, and unload more often than
// they load. So unloading forgets nothing: another thread may be about to describe.
std::atomic<const OfxHost*> theHost;
std::mutex suitesMutex;
Suites theSuites;  ///< Guarded by suitesMutex.

Suites loadedSuites() {
  const std::lock_guard lock(suitesMutex);
  if (theSuites.property == nullptr) throw Failure(kMissingHostFeature, "host: it did not load");
  return theSuites;
}

// The instances by their handles. A property of the host could hold the pointer, but one that
// cannot be read in the end would leak.
using InstancePtr = std::shared_ptr<const Instance>;
std::mutex instancesMutex;
std::map<EffectHandle, InstancePtr> instances;  ///< Guarded by instancesMutex.

InstancePtr instanceOf(EffectHandle handle) {
  const std::lock_guard lock(instancesMutex);
  const auto found = instances.find(handle);
  if (found != instances.end()) return found->second;
  throw Failure(kBadHandle, "instance: it was not created (create it first)");
}

void load() {
  const Suites suites = Suites::of(theHost);
  const std::lock_guard lock(suitesMutex);
  theSuites = suites;
}

void createInstance(EffectHandle handle) {
  const auto instance = std::make_shared<const Instance>(loadedSuites(), handle);
  const std::lock_guard lock(instancesMutex);
  instances[handle] = instance;
}

void destroyInstance(EffectHandle handle) {
  const std::lock_guard lock(instancesMutex);
  instances.erase(handle);
}

constexpr std::pair<std::string_view, void (*)(EffectHandle)> kActions[] = {
    {action::kLoad, [](EffectHandle) { load(); }},
    {action::kUnload, [](EffectHandle) {}},
    {action::kDescribe, [](EffectHandle handle) { describe(loadedSuites(), handle); }},
    {action::kDescribeInContext,
     [](EffectHandle handle) { describeInContext(loadedSuites(), handle); }},
    {action::kCreateInstance, createInstance},
    {action::kDestroyInstance, destroyInstance},
};

using InstanceAction = OfxStatus (Instance::*)(const Properties& in, const Properties& out) const;
constexpr std::pair<std::string_view, InstanceAction> kInstanceActions[] = {
    {action::kInstanceChanged, &Instance::changed},
    {action::kGetRegionsOfInterest, &Instance::regionsOfInterest},
    {action::kGetClipPreferences, &Instance::clipPreferences},
    {action::kIsIdentity, &Instance::identity},
    {action::kRender, &Instance::render},
};

OfxStatus perform(std::string_view name, EffectHandle handle, PropertySet in, PropertySet out) {
  for (const auto& [action, act] : kActions) {
    if (action != name) continue;
    act(handle);
    return kOk;
  }
  for (const auto& [action, act] : kInstanceActions) {
    if (action != name) continue;
    const InstancePtr instance = instanceOf(handle);
    const Suites& suites = instance->suites();
    return (*instance.*act)({suites, in}, {suites, out});
  }
  return kReplyDefault;
}

/// Tells the user where the host has means.
void show(EffectHandle handle, const char* text) noexcept {
  const MessageSuite* suite = nullptr;
  {
    const std::lock_guard lock(suitesMutex);
    suite = theSuites.message;
  }
  if (suite == nullptr || suite->message == nullptr || handle == nullptr) return;
  suite->message(handle, kMessageError, "", "%s", text);
}

OfxStatus mainEntry(const char* name, const void* handle, PropertySet in, PropertySet out) {
  const auto effect = static_cast<EffectHandle>(const_cast<void*>(handle));
  try {
    return perform(name == nullptr ? "" : name, effect, in, out);
  } catch (const Failure& failure) {
    show(effect, failure.what());
    return failure.status;
  } catch (const std::bad_alloc&) {
    return kMemory;
  } catch (...) {
    return kFailed;
  }
}

void setHost(OfxHost* host) { theHost = host; }

OfxPlugin thePlugin{
    kPluginApi, kPluginApiVersion, "lomix.effect.lomix", LOMIX_VERSION_MAJOR, LOMIX_VERSION_MINOR,
    setHost,    mainEntry};

}  // namespace
}  // namespace lomix::ofx

LOMIX_PLUGIN_EXPORT int OfxGetNumberOfPlugins() { return 1; }

LOMIX_PLUGIN_EXPORT lomix::ofx::OfxPlugin* OfxGetPlugin(int nth) {
  return nth == 0 ? &lomix::ofx::thePlugin : nullptr;
}

/// Hosts of version 1.5 call it before the others.
LOMIX_PLUGIN_EXPORT lomix::ofx::OfxStatus OfxSetHost(const lomix::ofx::OfxHost* host) {
  lomix::ofx::theHost = host;
  return host == nullptr ? lomix::ofx::kFailed : lomix::ofx::kOk;
}
