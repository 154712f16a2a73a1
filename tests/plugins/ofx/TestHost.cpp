#include "plugins/ofx/TestHost.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace lomix::ofx_test {
namespace {

constexpr OfxStatus kUnknown = 3, kBadIndex = 10, kExists = 6, kUnsupported = 5;

// Suites have no argument for the host: one host at a time.
TestHost* theHost = nullptr;
thread_local bool isSpawned = false;
thread_local unsigned threadIndex = 0;

template <typename Object, typename Handle>
Object* objectOf(Handle handle) {
  return reinterpret_cast<Object*>(handle);
}

}  // namespace

std::vector<std::string> Set::strings(const std::string& name) const {
  std::vector<std::string> list;
  for (const Value& value : values.at(name)) list.push_back(std::get<std::string>(value));
  return list;
}

double Parameter::valueAt(double time) const {
  if (keys.empty()) return value;
  const auto after = keys.upper_bound(time);
  if (after == keys.begin()) return after->second;
  const auto before = std::prev(after);
  if (after == keys.end()) return before->second;
  const double part = (time - before->first) / (after->first - before->first);
  return before->second + part * (after->second - before->second);
}

Plane::Plane(const OfxRectI& bounds, int pixelBytes, bool topDown, int padding, int shift)
    : bounds_(bounds), pixelBytes_(pixelBytes) {
  constexpr int kGuardBytes = 64;
  const int width = bounds.x2 - bounds.x1, height = bounds.y2 - bounds.y1;
  const int stride = width * pixelBytes + padding;
  rowBytes_ = topDown ? -stride : stride;
  first_ = static_cast<std::size_t>(kGuardBytes + shift + (topDown ? stride * (height - 1) : 0));
  bytes_.assign(static_cast<std::size_t>(stride * height + 2 * kGuardBytes + shift), kGuard);
  isPixel_.assign(bytes_.size(), false);
  for (int y = bounds.y1; y < bounds.y2; ++y) {
    const auto row = static_cast<std::size_t>(at(bounds.x1, y) - bytes_.data());
    std::fill_n(isPixel_.begin() + static_cast<std::ptrdiff_t>(row), width * pixelBytes, true);
  }
}

std::uint8_t* Plane::at(int x, int y) {
  return bytes_.data() + static_cast<std::ptrdiff_t>(first_) +
         std::ptrdiff_t{y - bounds_.y1} * rowBytes_ + std::ptrdiff_t{x - bounds_.x1} * pixelBytes_;
}

bool Plane::guardsIntact() const {
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (!isPixel_[i] && bytes_[i] != kGuard) return false;
  }
  return true;
}

/// The suites' functions.
struct SuiteFunctions {
  // Properties.
  template <typename Type>
  static OfxStatus setValue(PropertySet handle, const char* name, int index, Type value) {
    if (theHost->fails()) return kFailed;
    const std::lock_guard lock(theHost->mutex_);
    Set* const set = objectOf<Set>(handle);
    if (set == nullptr) return kBadHandle;
    const auto found = set->values.find(name);
    if (found == set->values.end() || !theHost->known(name)) return kUnknown;
    std::vector<Value>& values = found->second;
    if (index < 0) return kBadIndex;
    if (static_cast<std::size_t>(index) >= values.size()) {
      if (!set->anyDimension.contains(name)) return kBadIndex;
      if (static_cast<std::size_t>(index) > values.size()) {
        theHost->violate(std::string(name) + ": set with a gap");
      }
      values.resize(static_cast<std::size_t>(index) + 1, Value(value));
    }
    Value& place = values[static_cast<std::size_t>(index)];
    if (!set->anyDimension.contains(name) && place.index() != Value(value).index()) {
      theHost->violate(std::string(name) + ": set with a value of another type");
      return kUnknown;
    }
    place = value;
    return kOk;
  }
  template <typename Type>
  static OfxStatus getValue(PropertySet handle, const char* name, int index, Type* value) {
    if (theHost->fails()) return kFailed;
    const std::lock_guard lock(theHost->mutex_);
    const Set* const set = objectOf<Set>(handle);
    if (set == nullptr) return kBadHandle;
    const auto found = set->values.find(name);
    if (found == set->values.end() || !theHost->known(name)) return kUnknown;
    if (index < 0 || static_cast<std::size_t>(index) >= found->second.size()) return kBadIndex;
    const Value& place = found->second[static_cast<std::size_t>(index)];
    if constexpr (std::is_same_v<Type, char*>) {
      if (!std::holds_alternative<std::string>(place)) return wrongType(name);
      *value = const_cast<char*>(std::get<std::string>(place).c_str());
    } else {
      if (!std::holds_alternative<Type>(place)) return wrongType(name);
      *value = std::get<Type>(place);
    }
    return kOk;
  }
  static OfxStatus wrongType(const char* name) {
    theHost->violate(std::string(name) + ": read as another type");
    return kUnknown;
  }
  static OfxStatus setString(PropertySet set, const char* name, int index, const char* value) {
    return setValue(set, name, index, std::string(value));
  }

  // Effects.
  static OfxStatus getPropertySet(EffectHandle effect, PropertySet* set) {
    if (theHost->fails()) return kFailed;
    *set = reinterpret_cast<PropertySet>(&objectOf<Effect>(effect)->properties);
    return kOk;
  }
  static OfxStatus getParamSet(EffectHandle effect, ParamSet* set) {
    if (theHost->fails()) return kFailed;
    *set = reinterpret_cast<ParamSet>(effect);
    return kOk;
  }
  static OfxStatus clipDefine(EffectHandle handle, const char* name, PropertySet* set) {
    if (theHost->fails()) return kFailed;
    if (!theHost->isNow(action::kDescribeInContext)) theHost->violate("clip defined too late");
    Effect& effect = *objectOf<Effect>(handle);
    effect.clipOrder.push_back(name);
    Set& clip = effect.clips[name].properties;
    for (const char* label : {prop::kLabel, prop::kShortLabel, prop::kLongLabel}) {
      clip.declare(label, {std::string(name)});
    }
    clip.declare(prop::kComponentsSupported, {}, true);
    clip.declare(prop::kTiles, {1});
    clip.declare(prop::kTemporalAccess, {0});
    *set = reinterpret_cast<PropertySet>(&clip);
    return kOk;
  }
  static OfxStatus clipGetHandle(EffectHandle handle, const char* name, ClipHandle* clip,
                                 PropertySet* set) {
    if (theHost->fails()) return kFailed;
    Effect& effect = *objectOf<Effect>(handle);
    if (!effect.isInstance) theHost->violate("clip of a descriptor fetched");
    const auto found = effect.clips.find(name);
    if (found == effect.clips.end()) return kUnknown;
    *clip = reinterpret_cast<ClipHandle>(&found->second);
    if (set != nullptr) *set = reinterpret_cast<PropertySet>(&found->second.properties);
    return kOk;
  }
  static OfxStatus clipGetPropertySet(ClipHandle clip, PropertySet* set) {
    if (theHost->fails()) return kFailed;
    *set = reinterpret_cast<PropertySet>(&objectOf<Clip>(clip)->properties);
    return kOk;
  }
  static OfxStatus clipGetImage(ClipHandle handle, OfxTime, const OfxRectD* region,
                                PropertySet* set) {
    if (theHost->fails()) return kMemory;
    const std::lock_guard lock(theHost->mutex_);
    if (!theHost->isNow(action::kRender) || region != nullptr) {
      theHost->violate("image fetched outside of render, or with a region");
    }
    Clip& clip = *objectOf<Clip>(handle);
    *set = nullptr;
    if (!clip.plane) return kFailed;
    auto image = std::make_unique<Set>();
    const OfxRectI& bounds = clip.plane->bounds();
    image->declare(prop::kPixelDepth,
                   {std::string(clip.plane->pixelBytes() == 16 ? kDepthFloat : kDepthByte)});
    image->declare(prop::kComponents, {std::string(kRgba)});
    image->declare(prop::kPremultiplication, {std::string(kStraight)});
    image->declare(prop::kData, {clip.plane->data()});
    image->declare(prop::kRowBytes, {clip.plane->rowBytes()});
    image->declare(prop::kBounds, {bounds.x1, bounds.y1, bounds.x2, bounds.y2});
    image->declare(prop::kRegionOfDefinition,
                   {clip.region.x1, clip.region.y1, clip.region.x2, clip.region.y2});
    image->declare("OfxImageEffectPropRenderScale", {1.0, 1.0});
    for (const auto& [name, value] : clip.image) image->declare(name, {value});
    *set = reinterpret_cast<PropertySet>(image.get());
    theHost->images_[image.get()] = std::move(image);
    return kOk;
  }
  static OfxStatus clipReleaseImage(PropertySet image) {
    const bool fails = theHost->fails();
    const std::lock_guard lock(theHost->mutex_);
    if (theHost->images_.erase(objectOf<Set>(image)) == 0) theHost->violate("image released twice");
    return fails ? kFailed : kOk;
  }
  static OfxStatus clipGetRegionOfDefinition(ClipHandle clip, OfxTime, OfxRectD* region) {
    if (theHost->fails()) return kFailed;
    *region = objectOf<Clip>(clip)->canonicalRegion;
    return kOk;
  }
  static int abort(EffectHandle) {
    const int count = ++theHost->aborts_;
    return theHost->abortAt_ > 0 && count >= theHost->abortAt_ ? 1 : 0;
  }

  // Parameters.
  static OfxStatus paramDefine(ParamSet handle, const char* type, const char* name,
                               PropertySet* properties) {
    if (theHost->fails()) return kFailed;
    Effect& effect = *objectOf<Effect>(handle);
    if (!theHost->isNow(action::kDescribeInContext)) theHost->violate("parameter defined late");
    if (effect.parameters.contains(name)) return kExists;
    if (std::string(type) == kParamPage && theHost->habits_.noPages) return kUnsupported;
    effect.parameterOrder.push_back(name);
    Parameter& parameter = effect.parameters[name];
    parameter.type = type;
    Set& set = parameter.properties;
    for (const char* text : {prop::kLabel, prop::kShortLabel, prop::kLongLabel, prop::kScriptName,
                             prop::kHint, prop::kCacheInvalidation}) {
      set.declare(text, {std::string()});
    }
    for (const char* flag :
         {prop::kAnimates, prop::kEnabled, prop::kPersistent, prop::kEvaluateOnChange}) {
      set.declare(flag, {1});
    }
    if (parameter.type == kParamDouble) {
      for (const char* number : {prop::kDefault, prop::kMinimum, prop::kMaximum,
                                 prop::kSliderMinimum, prop::kSliderMaximum, prop::kIncrement}) {
        set.declare(number, {0.0});
      }
      set.declare(prop::kDigits, {2});
      set.declare(prop::kDoubleType, {std::string()});
    } else if (parameter.type == kParamChoice) {
      set.declare(prop::kDefault, {0});
      set.declare(prop::kChoiceOption, {}, true);
    } else {
      set.declare(prop::kPageChild, {}, true);
    }
    *properties = reinterpret_cast<PropertySet>(&set);
    return kOk;
  }
  static OfxStatus paramGetHandle(ParamSet handle, const char* name, ParamHandle* parameter,
                                  PropertySet* set) {
    if (theHost->fails()) return kFailed;
    Effect& effect = *objectOf<Effect>(handle);
    const auto found = effect.parameters.find(name);
    if (found == effect.parameters.end()) return kUnknown;
    *parameter = reinterpret_cast<ParamHandle>(&found->second);
    if (set != nullptr) *set = reinterpret_cast<PropertySet>(&found->second.properties);
    return kOk;
  }
  static OfxStatus paramGetPropertySet(ParamHandle handle, PropertySet* set) {
    if (theHost->fails()) return kFailed;
    *set = reinterpret_cast<PropertySet>(&objectOf<Parameter>(handle)->properties);
    return kOk;
  }
  static void store(const Parameter& parameter, double time, va_list arguments) {
    const double value = parameter.valueAt(time);
    if (parameter.type == kParamDouble) {
      *va_arg(arguments, double*) = value;
    } else {
      *va_arg(arguments, int*) = static_cast<int>(value);
    }
  }
  static OfxStatus paramGetValue(ParamHandle handle, ...) {
    if (theHost->fails()) return kFailed;
    if (theHost->isNow(action::kRender)) theHost->violate("parameter read without its time");
    va_list arguments;
    va_start(arguments, handle);
    store(*objectOf<Parameter>(handle), 0.0, arguments);
    va_end(arguments);
    return kOk;
  }
  static OfxStatus paramGetValueAtTime(ParamHandle handle, OfxTime time, ...) {
    if (theHost->fails()) return kFailed;
    va_list arguments;
    va_start(arguments, time);
    store(*objectOf<Parameter>(handle), time, arguments);
    va_end(arguments);
    return kOk;
  }
  static double taken(const Parameter& parameter, va_list arguments) {
    if (!theHost->isNow(action::kInstanceChanged)) theHost->violate("parameter set too late");
    if (theHost->hasUndo_ && theHost->openEdits_ == 0)
      theHost->violate("parameter set outside of an undo step");
    return parameter.type == kParamDouble ? va_arg(arguments, double) : va_arg(arguments, int);
  }
  static OfxStatus paramSetValue(ParamHandle handle, ...) {
    if (theHost->fails()) return kFailed;
    Parameter& parameter = *objectOf<Parameter>(handle);
    va_list arguments;
    va_start(arguments, handle);
    parameter.value = taken(parameter, arguments);
    va_end(arguments);
    return kOk;
  }
  static OfxStatus paramSetValueAtTime(ParamHandle handle, OfxTime time, ...) {
    if (theHost->fails()) return kFailed;
    if (theHost->habits_.plain) return kMissingHostFeature;
    Parameter& parameter = *objectOf<Parameter>(handle);
    if (parameter.properties.get<int>(prop::kAnimates) == 0) return kUnsupported;
    va_list arguments;
    va_start(arguments, time);
    parameter.keys[time] = taken(parameter, arguments);
    va_end(arguments);
    return kOk;
  }
  static OfxStatus paramGetNumKeys(ParamHandle handle, unsigned* count) {
    if (theHost->fails()) return kFailed;
    if (theHost->habits_.plain) return kMissingHostFeature;
    *count = static_cast<unsigned>(objectOf<Parameter>(handle)->keys.size());
    return kOk;
  }
  static OfxStatus paramDeleteAllKeys(ParamHandle handle) {
    if (theHost->fails()) return kFailed;
    if (theHost->habits_.plain) return kMissingHostFeature;
    if (theHost->hasUndo_ && theHost->openEdits_ == 0)
      theHost->violate("keys deleted outside of an undo step");
    objectOf<Parameter>(handle)->keys.clear();
    return kOk;
  }
  static OfxStatus paramEditBegin(ParamSet, const char* name) {
    if (theHost->fails() || theHost->habits_.plain) {
      theHost->hasUndo_ = false;
      return theHost->habits_.plain ? kMissingHostFeature : kFailed;
    }
    ++theHost->openEdits_;
    theHost->edits.emplace_back(name);
    return kOk;
  }
  static OfxStatus paramEditEnd(ParamSet) {
    const bool fails = theHost->fails();
    if (--theHost->openEdits_ < 0) theHost->violate("an undo step ended twice");
    return fails ? kFailed : kOk;
  }

  // Threads.
  static OfxStatus multiThread(ThreadFunction* function, unsigned count, void* argument) {
    if (theHost->fails()) return kFailed;
    const Threads threads = theHost->habits_.threads;
    if (isSpawned) return kExists;
    if (threads == Threads::Fail) return kFailed;
    if (threads == Threads::DoNothing) return kOk;
    if (count > theHost->habits_.cpus) theHost->violate("more threads asked for than there are");
    if (threads == Threads::FailHalfway) count = 1;
    std::vector<std::thread> list;
    for (unsigned i = 0; i < count; ++i) {
      list.emplace_back([=] {
        isSpawned = true;
        threadIndex = i;
        ++theHost->threadsUsed_;
        function(i, count, argument);
      });
    }
    for (std::thread& thread : list) thread.join();
    return threads == Threads::FailHalfway ? kFailed : kOk;
  }
  static OfxStatus numCpus(unsigned* count) {
    if (theHost->fails()) return kFailed;
    *count = theHost->habits_.cpus;
    return kOk;
  }
  static OfxStatus index(unsigned* index) {
    *index = threadIndex;
    return kOk;
  }
  static int isSpawnedThread() { return isSpawned ? 1 : 0; }

  static OfxStatus message(void*, const char* type, const char*, const char* format, ...) {
    char text[1000];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::lock_guard lock(theHost->mutex_);
    if (std::string(type) != kMessageError) theHost->violate("message of an unknown type");
    theHost->messages.emplace_back(text);
    return theHost->fails() ? kFailed : kOk;
  }

  static const void* fetchSuite(PropertySet, const char* name, int version) {
    using Functions = SuiteFunctions;
    // Slots that the plug-in has no business with are null: using one ends the test.
    static const PropertySuite properties = [] {
      PropertySuite suite{};
      suite.setPointer = setValue<void*>;
      suite.setString = Functions::setString;
      suite.setDouble = setValue<double>;
      suite.setInt = setValue<int>;
      suite.getPointer = getValue<void*>;
      suite.getString = getValue<char*>;
      suite.getDouble = getValue<double>;
      suite.getInt = getValue<int>;
      return suite;
    }();
    static const ImageEffectSuite effects{Functions::getPropertySet,
                                          Functions::getParamSet,
                                          clipDefine,
                                          clipGetHandle,
                                          clipGetPropertySet,
                                          clipGetImage,
                                          clipReleaseImage,
                                          clipGetRegionOfDefinition,
                                          Functions::abort,
                                          nullptr,
                                          nullptr,
                                          nullptr,
                                          nullptr};
    static const ParameterSuite parameters = [] {
      ParameterSuite suite{};
      suite.define = paramDefine;
      suite.getHandle = paramGetHandle;
      suite.getPropertySet = paramGetPropertySet;
      suite.getValue = paramGetValue;
      suite.getValueAtTime = paramGetValueAtTime;
      suite.setValue = paramSetValue;
      suite.setValueAtTime = paramSetValueAtTime;
      suite.getNumKeys = paramGetNumKeys;
      suite.deleteAllKeys = paramDeleteAllKeys;
      suite.editBegin = paramEditBegin;
      suite.editEnd = paramEditEnd;
      return suite;
    }();
    static const MultiThreadSuite threads = [] {
      MultiThreadSuite suite{};
      suite.multiThread = Functions::multiThread;
      suite.numCpus = Functions::numCpus;
      suite.index = Functions::index;
      suite.isSpawnedThread = Functions::isSpawnedThread;
      return suite;
    }();
    static const MultiThreadSuite noThreads{};
    static const MessageSuite messages{Functions::message};
    const Habits& habits = theHost->habits_;
    if (theHost->fails() || version != 1 || habits.missingSuite == name) return nullptr;
    const std::string wanted = name;
    if (wanted == suite::kProperty) return &properties;
    if (wanted == suite::kImageEffect) return &effects;
    if (wanted == suite::kParameter) return &parameters;
    if (wanted == suite::kMultiThread) {
      if (habits.threads == Threads::None) return nullptr;
      return habits.threads == Threads::NullSlots ? &noThreads : &threads;
    }
    if (wanted == suite::kMessage && !habits.old) return &messages;
    return nullptr;
  }
};

TestHost::TestHost(Habits habits) : habits_(std::move(habits)) {
  if (theHost != nullptr) throw std::runtime_error("one host at a time");
  theHost = this;
  properties_.declare(prop::kName, {habits_.name});
  properties_.declare(prop::kChoiceAnimation, {1});
  record_ = {reinterpret_cast<PropertySet>(&properties_), SuiteFunctions::fetchSuite};
}

TestHost::~TestHost() { theHost = nullptr; }

bool TestHost::fails() {
  const int count = ++calls_;
  return failAt_ > 0 && (count == failAt_ || (failAllAfter_ && count > failAt_));
}

void TestHost::violate(const std::string& what) {
  const std::lock_guard lock(mutex_);
  violations.push_back(action_ + ": " + what);
}

bool TestHost::isNow(const char* action) {
  const std::lock_guard lock(mutex_);
  return habits_.concurrent || action_ == action;
}

bool TestHost::known(const std::string& property) const {
  static const std::set<std::string> newer{prop::kDescription, prop::kVersion, prop::kVersionLabel,
                                           prop::kSequentialRender};
  return !(habits_.old && newer.contains(property)) &&
         !habits_.missingProperties.contains(property);
}

OfxStatus TestHost::send(const char* action, Effect* effect, Set* in, Set* out) {
  {
    const std::lock_guard lock(mutex_);
    action_ = action;
  }
  ++sending_;
  const OfxStatus status = loadedPlugin()->mainEntry(
      action, effect, reinterpret_cast<PropertySet>(in), reinterpret_cast<PropertySet>(out));
  if (--sending_ == 0) {
    const std::lock_guard lock(mutex_);
    if (!images_.empty()) violate("images are not released");
    images_.clear();
    if (openEdits_ != 0) violate("an undo step is open");
    openEdits_ = 0;
  }
  return status;
}

OfxStatus TestHost::load() {
  OfxPlugin* const plugin = loadedPlugin();
  plugin->setHost(&record_);
  if (const OfxStatus status = send(action::kLoad, nullptr); status != kOk) return status;
  descriptor_ = {};
  Set& set = descriptor_.properties;
  for (const char* text : {prop::kLabel, prop::kShortLabel, prop::kLongLabel, prop::kVersionLabel,
                           prop::kDescription, prop::kGrouping, prop::kThreadSafety}) {
    set.declare(text, {std::string()});
  }
  for (const char* list : {prop::kContexts, prop::kPixelDepths, prop::kPreferencesParameters}) {
    set.declare(list, {}, true);
  }
  set.declare(prop::kVersion, {0}, true);
  for (const char* flag :
       {prop::kSingleInstance, prop::kHostFrameThreading, prop::kMultiResolution, prop::kTiles,
        prop::kTemporalAccess, prop::kFieldRenderTwice, prop::kMultipleDepths,
        prop::kMultiplePixelAspects, prop::kSequentialRender}) {
    set.declare(flag, {-1});
  }
  if (const OfxStatus status = send(action::kDescribe, &descriptor_); status != kOk) return status;
  for (const char* context : {kContextGeneral, kContextFilter}) {
    context_ = {};
    Set in;
    in.declare("OfxImageEffectPropContext", {std::string(context)});
    if (const OfxStatus status = send(action::kDescribeInContext, &context_, &in); status != kOk) {
      return status;
    }
  }
  return kOk;
}

std::unique_ptr<Effect> TestHost::create(double framesPerSecond) {
  auto effect = std::make_unique<Effect>(context_);
  effect->isInstance = true;
  effect->properties.declare(prop::kFrameRate, {framesPerSecond});
  for (auto& [name, parameter] : effect->parameters) {
    if (parameter.type == kParamDouble) {
      parameter.value = parameter.properties.get<double>(prop::kDefault);
    } else if (parameter.type == kParamChoice) {
      parameter.value = parameter.properties.get<int>(prop::kDefault);
    }
  }
  for (auto& [name, clip] : effect->clips) {
    clip.properties.declare(prop::kFrameRate, {25.0});
    clip.properties.declare(prop::kPixelDepth, {std::string(kDepthByte)});
    clip.properties.declare(prop::kPremultiplication, {std::string(kStraight)});
  }
  return send(action::kCreateInstance, effect.get()) == kOk ? std::move(effect) : nullptr;
}

OfxStatus TestHost::change(Effect& effect, const std::string& name, double value, double time) {
  effect.parameters.at(name).value = value;
  Set in;
  in.declare(prop::kType, {std::string(kTypeParameter)});
  in.declare(prop::kName, {name});
  in.declare(prop::kChangeReason, {std::string("OfxChangeUserEdited")});
  in.declare(prop::kTime, {time});
  in.declare(prop::kRenderScale, {1.0, 1.0});
  send("OfxActionBeginInstanceChanged", &effect, &in);
  const OfxStatus status = send(action::kInstanceChanged, &effect, &in);
  send("OfxActionEndInstanceChanged", &effect, &in);
  return status;
}

Set TestHost::renderArguments(double time, const OfxRectI& window, double scaleX, double scaleY,
                              const char* field) {
  Set in;
  in.declare(prop::kTime, {time});
  in.declare(prop::kRenderWindow, {window.x1, window.y1, window.x2, window.y2});
  in.declare(prop::kRenderScale, {scaleX, scaleY});
  in.declare(prop::kField, {std::string(field)});
  return in;
}

OfxStatus TestHost::render(Effect& effect, double time, const OfxRectI& window, double scaleX,
                           double scaleY, const char* field) {
  Set in = renderArguments(time, window, scaleX, scaleY, field);
  return send(action::kRender, &effect, &in);
}

std::string TestHost::identity(Effect& effect, double time) {
  Set in = renderArguments(time, {0, 0, 1, 1}, 1.0, 1.0);
  Set out;
  out.declare(prop::kName, {std::string()});
  out.declare(prop::kTime, {time});
  const OfxStatus status = send(action::kIsIdentity, &effect, &in, &out);
  if (status != kOk && status != kReplyDefault) violate("identity: unexpected status");
  return status == kOk ? out.get<std::string>(prop::kName) : "";
}

Set TestHost::preferences(Effect& effect) {
  Set out;
  out.declare(prop::kFrameVarying, {0});
  out.declare(prop::kContinuousSamples, {0});
  if (send(action::kGetClipPreferences, &effect, nullptr, &out) != kOk) violate("no preferences");
  return out;
}

void* exported(const char* name) {
#if defined(_WIN32)
  static const HMODULE file = LoadLibraryA(LOMIX_OFX_FILE);
  return file == nullptr ? nullptr : reinterpret_cast<void*>(GetProcAddress(file, name));
#else
  static void* const file = dlopen(LOMIX_OFX_FILE, RTLD_NOW | RTLD_LOCAL);
  return file == nullptr ? nullptr : dlsym(file, name);
#endif
}

OfxPlugin* loadedPlugin() {
  static OfxPlugin* const plugin = []() -> OfxPlugin* {
    const auto count = reinterpret_cast<int (*)()>(exported("OfxGetNumberOfPlugins"));
    const auto get = reinterpret_cast<OfxPlugin* (*)(int)>(exported("OfxGetPlugin"));
    if (count == nullptr || get == nullptr || count() != 1 || get(1) != nullptr ||
        get(-1) != nullptr || get(0) == nullptr) {
      std::fprintf(stderr, "%s cannot be loaded\n", LOMIX_OFX_FILE);
      std::exit(1);
    }
    return get(0);
  }();
  return plugin;
}

}  // namespace lomix::ofx_test
