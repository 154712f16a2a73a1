// What an OpenFX image-effect plug-in and its host share, as far as this plug-in uses it: records,
// suites in the order of their slots, statuses and the exact strings. https://openfx.readthedocs.io
#pragma once

#include <cstddef>

namespace lomix::ofx {

using OfxStatus = int;
using OfxTime = double;  ///< Frames.
using PropertySet = struct OfxPropertySetStruct*;
using EffectHandle = struct OfxImageEffectStruct*;
using ParamSet = struct OfxParamSetStruct*;
using ParamHandle = struct OfxParamStruct*;
using ClipHandle = struct OfxImageClipStruct*;

struct OfxRectI {
  int x1, y1, x2, y2;  ///< x1 <= x < x2, and y points up.
};
struct OfxRectD {
  double x1, y1, x2, y2;
};

struct OfxHost {
  PropertySet host;
  const void* (*fetchSuite)(PropertySet host, const char* name, int version);
};

struct OfxPlugin {
  const char* pluginApi;
  int apiVersion;
  const char* pluginIdentifier;
  unsigned pluginVersionMajor;
  unsigned pluginVersionMinor;
  void (*setHost)(OfxHost* host);
  OfxStatus (*mainEntry)(const char* action, const void* handle, PropertySet inArgs,
                         PropertySet outArgs);
};

struct PropertySuite {
  OfxStatus (*setPointer)(PropertySet, const char* name, int index, void* value);
  OfxStatus (*setString)(PropertySet, const char* name, int index, const char* value);
  OfxStatus (*setDouble)(PropertySet, const char* name, int index, double value);
  OfxStatus (*setInt)(PropertySet, const char* name, int index, int value);
  OfxStatus (*setPointerN)(PropertySet, const char* name, int count, void* const* values);
  OfxStatus (*setStringN)(PropertySet, const char* name, int count, const char* const* values);
  OfxStatus (*setDoubleN)(PropertySet, const char* name, int count, const double* values);
  OfxStatus (*setIntN)(PropertySet, const char* name, int count, const int* values);
  OfxStatus (*getPointer)(PropertySet, const char* name, int index, void** value);
  OfxStatus (*getString)(PropertySet, const char* name, int index, char** value);
  OfxStatus (*getDouble)(PropertySet, const char* name, int index, double* value);
  OfxStatus (*getInt)(PropertySet, const char* name, int index, int* value);
  OfxStatus (*getPointerN)(PropertySet, const char* name, int count, void** values);
  OfxStatus (*getStringN)(PropertySet, const char* name, int count, char** values);
  OfxStatus (*getDoubleN)(PropertySet, const char* name, int count, double* values);
  OfxStatus (*getIntN)(PropertySet, const char* name, int count, int* values);
  OfxStatus (*reset)(PropertySet, const char* name);
  OfxStatus (*getDimension)(PropertySet, const char* name, int* count);
};

struct ImageEffectSuite {
  OfxStatus (*getPropertySet)(EffectHandle, PropertySet*);
  OfxStatus (*getParamSet)(EffectHandle, ParamSet*);
  OfxStatus (*clipDefine)(EffectHandle, const char* name, PropertySet*);
  OfxStatus (*clipGetHandle)(EffectHandle, const char* name, ClipHandle*, PropertySet*);
  OfxStatus (*clipGetPropertySet)(ClipHandle, PropertySet*);
  OfxStatus (*clipGetImage)(ClipHandle, OfxTime, const OfxRectD* region, PropertySet* image);
  OfxStatus (*clipReleaseImage)(PropertySet image);
  OfxStatus (*clipGetRegionOfDefinition)(ClipHandle, OfxTime, OfxRectD*);
  int (*abort)(EffectHandle);
  OfxStatus (*imageMemoryAlloc)(EffectHandle, std::size_t bytes, void** memory);
  OfxStatus (*imageMemoryFree)(void* memory);
  OfxStatus (*imageMemoryLock)(void* memory, void** data);
  OfxStatus (*imageMemoryUnlock)(void* memory);
};

// The "..." are pointers to receive values and values to set: double; int for choices.
struct ParameterSuite {
  OfxStatus (*define)(ParamSet, const char* type, const char* name, PropertySet*);
  OfxStatus (*getHandle)(ParamSet, const char* name, ParamHandle*, PropertySet*);
  OfxStatus (*setGetPropertySet)(ParamSet, PropertySet*);
  OfxStatus (*getPropertySet)(ParamHandle, PropertySet*);
  OfxStatus (*getValue)(ParamHandle, ...);
  OfxStatus (*getValueAtTime)(ParamHandle, OfxTime, ...);
  OfxStatus (*getDerivative)(ParamHandle, OfxTime, ...);
  OfxStatus (*getIntegral)(ParamHandle, OfxTime, OfxTime, ...);
  OfxStatus (*setValue)(ParamHandle, ...);
  OfxStatus (*setValueAtTime)(ParamHandle, OfxTime, ...);
  OfxStatus (*getNumKeys)(ParamHandle, unsigned*);
  OfxStatus (*getKeyTime)(ParamHandle, unsigned nth, OfxTime*);
  OfxStatus (*getKeyIndex)(ParamHandle, OfxTime, int direction, int* index);
  OfxStatus (*deleteKey)(ParamHandle, OfxTime);
  OfxStatus (*deleteAllKeys)(ParamHandle);
  OfxStatus (*copy)(ParamHandle to, ParamHandle from, OfxTime offset, const void* range);
  OfxStatus (*editBegin)(ParamSet, const char* name);
  OfxStatus (*editEnd)(ParamSet);
};

using ThreadFunction = void(unsigned index, unsigned count, void* argument);

struct MultiThreadSuite {
  OfxStatus (*multiThread)(ThreadFunction*, unsigned count, void* argument);
  OfxStatus (*numCpus)(unsigned*);
  OfxStatus (*index)(unsigned*);
  int (*isSpawnedThread)();
  OfxStatus (*mutexCreate)(void** mutex, int lockCount);
  OfxStatus (*mutexDestroy)(void* mutex);
  OfxStatus (*mutexLock)(void* mutex);
  OfxStatus (*mutexUnLock)(void* mutex);
  OfxStatus (*mutexTryLock)(void* mutex);
};

/// Version 1; version 2 begins with the same slot.
struct MessageSuite {
  OfxStatus (*message)(void* effect, const char* type, const char* id, const char* format, ...);
};

static_assert(sizeof(void*) == 8, "the offsets below are those of 64-bit systems");
static_assert(sizeof(OfxRectI) == 16 && sizeof(OfxRectD) == 32);
static_assert(sizeof(OfxHost) == 16 && offsetof(OfxHost, fetchSuite) == 8);
static_assert(sizeof(OfxPlugin) == 48 && offsetof(OfxPlugin, apiVersion) == 8 &&
              offsetof(OfxPlugin, pluginIdentifier) == 16 &&
              offsetof(OfxPlugin, pluginVersionMajor) == 24 &&
              offsetof(OfxPlugin, pluginVersionMinor) == 28 && offsetof(OfxPlugin, setHost) == 32 &&
              offsetof(OfxPlugin, mainEntry) == 40);
static_assert(sizeof(PropertySuite) == 18 * 8 && offsetof(PropertySuite, getPointer) == 8 * 8 &&
              offsetof(PropertySuite, getIntN) == 15 * 8);
static_assert(sizeof(ImageEffectSuite) == 13 * 8 && offsetof(ImageEffectSuite, abort) == 8 * 8 &&
              offsetof(ImageEffectSuite, clipGetImage) == 5 * 8);
static_assert(sizeof(ParameterSuite) == 18 * 8 && offsetof(ParameterSuite, setValue) == 8 * 8 &&
              offsetof(ParameterSuite, editEnd) == 17 * 8);
static_assert(sizeof(MultiThreadSuite) == 9 * 8 &&
              offsetof(MultiThreadSuite, mutexCreate) == 4 * 8);

inline constexpr char kPluginApi[] = "OfxImageEffectPluginAPI";
inline constexpr int kPluginApiVersion = 1;

// Statuses.
inline constexpr OfxStatus kOk = 0;
inline constexpr OfxStatus kFailed = 1;
inline constexpr OfxStatus kMissingHostFeature = 4;
inline constexpr OfxStatus kMemory = 8;
inline constexpr OfxStatus kBadHandle = 9;
inline constexpr OfxStatus kReplyDefault = 14;

namespace suite {
inline constexpr char kProperty[] = "OfxPropertySuite";
inline constexpr char kImageEffect[] = "OfxImageEffectSuite";
inline constexpr char kParameter[] = "OfxParameterSuite";
inline constexpr char kMultiThread[] = "OfxMultiThreadSuite";
inline constexpr char kMessage[] = "OfxMessageSuite";
}  // namespace suite

namespace action {
inline constexpr char kLoad[] = "OfxActionLoad";
inline constexpr char kUnload[] = "OfxActionUnload";
inline constexpr char kDescribe[] = "OfxActionDescribe";
inline constexpr char kDescribeInContext[] = "OfxImageEffectActionDescribeInContext";
inline constexpr char kCreateInstance[] = "OfxActionCreateInstance";
inline constexpr char kDestroyInstance[] = "OfxActionDestroyInstance";
inline constexpr char kInstanceChanged[] = "OfxActionInstanceChanged";
inline constexpr char kGetRegionsOfInterest[] = "OfxImageEffectActionGetRegionsOfInterest";
inline constexpr char kGetClipPreferences[] = "OfxImageEffectActionGetClipPreferences";
inline constexpr char kIsIdentity[] = "OfxImageEffectActionIsIdentity";
inline constexpr char kRender[] = "OfxImageEffectActionRender";
}  // namespace action

namespace prop {
inline constexpr char kType[] = "OfxPropType";
inline constexpr char kName[] = "OfxPropName";
inline constexpr char kLabel[] = "OfxPropLabel";
inline constexpr char kShortLabel[] = "OfxPropShortLabel";
inline constexpr char kLongLabel[] = "OfxPropLongLabel";
inline constexpr char kVersion[] = "OfxPropVersion";
inline constexpr char kVersionLabel[] = "OfxPropVersionLabel";
inline constexpr char kDescription[] = "OfxPropPluginDescription";
inline constexpr char kTime[] = "OfxPropTime";
inline constexpr char kChangeReason[] = "OfxPropChangeReason";
// The effect.
inline constexpr char kContexts[] = "OfxImageEffectPropSupportedContexts";
inline constexpr char kPixelDepths[] = "OfxImageEffectPropSupportedPixelDepths";
inline constexpr char kComponentsSupported[] = "OfxImageEffectPropSupportedComponents";
inline constexpr char kGrouping[] = "OfxImageEffectPluginPropGrouping";
inline constexpr char kSingleInstance[] = "OfxImageEffectPluginPropSingleInstance";
inline constexpr char kThreadSafety[] = "OfxImageEffectPluginRenderThreadSafety";
inline constexpr char kHostFrameThreading[] = "OfxImageEffectPluginPropHostFrameThreading";
inline constexpr char kMultiResolution[] = "OfxImageEffectPropSupportsMultiResolution";
inline constexpr char kTiles[] = "OfxImageEffectPropSupportsTiles";
inline constexpr char kTemporalAccess[] = "OfxImageEffectPropTemporalClipAccess";
inline constexpr char kFieldRenderTwice[] = "OfxImageEffectPluginPropFieldRenderTwiceAlways";
inline constexpr char kMultipleDepths[] = "OfxImageEffectPropMultipleClipDepths";
inline constexpr char kMultiplePixelAspects[] = "OfxImageEffectPropSupportsMultipleClipPARs";
inline constexpr char kSequentialRender[] = "OfxImageEffectInstancePropSequentialRender";
inline constexpr char kPreferencesParameters[] = "OfxImageEffectPropClipPreferencesSlaveParam";
inline constexpr char kFrameRate[] = "OfxImageEffectPropFrameRate";
// Images and clips.
inline constexpr char kPixelDepth[] = "OfxImageEffectPropPixelDepth";
inline constexpr char kComponents[] = "OfxImageEffectPropComponents";
inline constexpr char kPremultiplication[] = "OfxImageEffectPropPreMultiplication";
inline constexpr char kPixelOrder[] = "OfxImageEffectPropPixelOrder";  ///< Of one maker's hosts.
inline constexpr char kData[] = "OfxImagePropData";
inline constexpr char kBounds[] = "OfxImagePropBounds";
inline constexpr char kRegionOfDefinition[] = "OfxImagePropRegionOfDefinition";
inline constexpr char kRowBytes[] = "OfxImagePropRowBytes";
// Arguments of actions.
inline constexpr char kRenderWindow[] = "OfxImageEffectPropRenderWindow";
inline constexpr char kRenderScale[] = "OfxImageEffectPropRenderScale";
inline constexpr char kField[] = "OfxImageEffectPropFieldToRender";
inline constexpr char kSourceRegionOfInterest[] = "OfxImageClipPropRoI_Source";
inline constexpr char kFrameVarying[] = "OfxImageEffectFrameVarying";
inline constexpr char kContinuousSamples[] = "OfxImageClipPropContinuousSamples";
// Parameters.
inline constexpr char kDefault[] = "OfxParamPropDefault";
inline constexpr char kMinimum[] = "OfxParamPropMin";
inline constexpr char kMaximum[] = "OfxParamPropMax";
inline constexpr char kSliderMinimum[] = "OfxParamPropDisplayMin";
inline constexpr char kSliderMaximum[] = "OfxParamPropDisplayMax";
inline constexpr char kIncrement[] = "OfxParamPropIncrement";
inline constexpr char kDigits[] = "OfxParamPropDigits";
inline constexpr char kDoubleType[] = "OfxParamPropDoubleType";
inline constexpr char kAnimates[] = "OfxParamPropAnimates";
inline constexpr char kHint[] = "OfxParamPropHint";
inline constexpr char kScriptName[] = "OfxParamPropScriptName";
inline constexpr char kEnabled[] = "OfxParamPropEnabled";
inline constexpr char kPersistent[] = "OfxParamPropPersistant";
inline constexpr char kEvaluateOnChange[] = "OfxParamPropEvaluateOnChange";
inline constexpr char kCacheInvalidation[] = "OfxParamPropCacheInvalidation";
inline constexpr char kChoiceOption[] = "OfxParamPropChoiceOption";
inline constexpr char kPageChild[] = "OfxParamPropPageChild";
inline constexpr char kChoiceAnimation[] = "OfxParamHostPropSupportsChoiceAnimation";
}  // namespace prop

inline constexpr char kContextFilter[] = "OfxImageEffectContextFilter";
inline constexpr char kContextGeneral[] = "OfxImageEffectContextGeneral";
inline constexpr char kSourceClip[] = "Source";
inline constexpr char kOutputClip[] = "Output";
inline constexpr char kRgba[] = "OfxImageComponentRGBA";
inline constexpr char kDepthByte[] = "OfxBitDepthByte";
inline constexpr char kDepthFloat[] = "OfxBitDepthFloat";
inline constexpr char kDepthByteBgra[] = "OfxBitDepthByteBGR";    ///< Of one maker's hosts.
inline constexpr char kDepthFloatBgra[] = "OfxBitDepthFloatBGR";  ///< Of one maker's hosts.
inline constexpr char kOrderBgra[] = "OfxImagePixelOrderBGRA";
inline constexpr char kOpaque[] = "OfxImageOpaque";
inline constexpr char kPremultiplied[] = "OfxImageAlphaPremultiplied";
inline constexpr char kStraight[] = "OfxImageAlphaUnPremultiplied";
inline constexpr char kFieldLower[] = "OfxFieldLower";
inline constexpr char kFieldUpper[] = "OfxFieldUpper";
inline constexpr char kRenderFullySafe[] = "OfxImageEffectRenderFullySafe";
inline constexpr char kTypeParameter[] = "OfxTypeParameter";
inline constexpr char kChangedByTime[] = "OfxChangeTime";
inline constexpr char kParamDouble[] = "OfxParamTypeDouble";
inline constexpr char kParamChoice[] = "OfxParamTypeChoice";
inline constexpr char kParamPage[] = "OfxParamTypePage";
inline constexpr char kDoublePlain[] = "OfxParamDoubleTypePlain";
inline constexpr char kInvalidateValueChange[] = "OfxParamInvalidateValueChange";
inline constexpr char kMessageError[] = "OfxMessageError";

}  // namespace lomix::ofx
