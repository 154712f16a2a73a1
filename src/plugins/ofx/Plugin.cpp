// Lomix as an OpenFX image effect: its entry points and actions.

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string_view>

#include "plugins/Export.h"
#include "plugins/ofx/Describe.h"
#include "plugins/ofx/Instance.h"
#include "plugins/ofx/Render.h"

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

void load() {
  const Suites suites = Suites::of(theHost);
  const std::lock_guard lock(suitesMutex);
  theSuites = suites;
}

/// The instances by their handles. A property of the host could hold the pointer, but one that
/// cannot be read in the end would leak.
class Instances {
 public:
  void add(EffectHandle handle, std::shared_ptr<const Instance> instance) {
    const std::unique_lock lock(mutex_);
    instances_[handle] = std::move(instance);
  }
  void remove(EffectHandle handle) {
    const std::unique_lock lock(mutex_);
    instances_.erase(handle);
  }
  std::shared_ptr<const Instance> get(EffectHandle handle) const {
    const std::shared_lock lock(mutex_);
    const auto found = instances_.find(handle);
    if (found == instances_.end()) {
      throw Failure(kBadHandle, "instance: it was not created (create it first)");
    }
    return found->second;
  }

 private:
  mutable std::shared_mutex mutex_;
  std::map<EffectHandle, std::shared_ptr<const Instance>> instances_;
};

Instances& instances() {
  static Instances all;
  return all;
}

void createInstance(EffectHandle handle) {
  const auto instance = std::make_shared<const Instance>(loadedSuites(), handle);
  instance->enableTime();
  instances().add(handle, instance);
}

OfxStatus instanceChanged(const Instance& instance, const Properties& arguments) {
  if (arguments.get(prop::kType, "") != kTypeParameter) return kReplyDefault;
  const std::string name = arguments.get(prop::kName, "");
  if (name == kTimeControl) {
    instance.enableTime();
    return kOk;
  }
  if (name != kPresetParameter || arguments.get(prop::kChangeReason, "") == kChangedByTime) {
    return kReplyDefault;
  }
  instance.applyPreset(arguments.get(prop::kTime, 0, 0.0));
  instance.enableTime();
  return kOk;
}

OfxStatus regionsOfInterest(const Instance& instance, const Properties& in, const Properties& out) {
  OfxRectD whole{};
  const OfxStatus status = instance.suites().effect->clipGetRegionOfDefinition(
      instance.sourceClip(), in.needDouble(prop::kTime), &whole);
  if (status != kOk) return kReplyDefault;
  int index = 0;
  for (const double side : {whole.x1, whole.y1, whole.x2, whole.y2}) {
    out.require(prop::kSourceRegionOfInterest, side, index++);
  }
  return kOk;
}

void clipPreferences(const Instance& instance, const Properties& out) {
  const int varying = instance.changesByItself() ? 1 : 0;
  out.require(prop::kFrameVarying, varying);
  out.set(prop::kContinuousSamples, varying);
}

OfxStatus isIdentity(const Instance& instance, const Properties& in, const Properties& out) {
  if (!instance.isIdentity(in.needDouble(prop::kTime))) return kReplyDefault;
  out.require(prop::kName, kSourceClip);
  return kOk;
}

OfxStatus perform(std::string_view name, EffectHandle handle, PropertySet in, PropertySet out) {
  if (name == action::kLoad) {
    load();
  } else if (name == action::kUnload) {
    return kOk;
  } else if (name == action::kDescribe) {
    describe(loadedSuites(), handle);
  } else if (name == action::kDescribeInContext) {
    describeInContext(loadedSuites(), handle);
  } else if (name == action::kCreateInstance) {
    createInstance(handle);
  } else if (name == action::kDestroyInstance) {
    instances().remove(handle);
  } else if (name == action::kRender) {
    render(*instances().get(handle), in);
  } else if (name == action::kInstanceChanged) {
    const auto instance = instances().get(handle);
    return instanceChanged(*instance, {instance->suites(), in});
  } else if (name == action::kGetRegionsOfInterest) {
    const auto instance = instances().get(handle);
    return regionsOfInterest(*instance, {instance->suites(), in}, {instance->suites(), out});
  } else if (name == action::kGetClipPreferences) {
    const auto instance = instances().get(handle);
    clipPreferences(*instance, {instance->suites(), out});
  } else if (name == action::kIsIdentity) {
    const auto instance = instances().get(handle);
    return isIdentity(*instance, {instance->suites(), in}, {instance->suites(), out});
  } else {
    return kReplyDefault;
  }
  return kOk;
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
    return failure.status();
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
