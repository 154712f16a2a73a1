#include "effect/framework/AEBase.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

#include "effect/shell/AEFX_Suites.h"
#include "effect/shell/AEGP_SuiteHandler.h"

namespace lomix {
namespace {

constexpr std::uint32_t kContextTag = 0x4C6F6D78;  // 'Lomx'
constexpr std::size_t kReportBytes = 512;
constexpr std::size_t kInfoBytes = 1024;
constexpr std::size_t kLayerNameBytes = 256;

}  // namespace
}  // namespace lomix

AEBase::AEBase(PF_InData* inData, PF_OutData* outData) { InitBase(inData, outData); }

PF_Err AEBase::InitBase(PF_InData* inData, PF_OutData* outData) {
  in_data = inData;
  out_data = outData;
  suites = nullptr;
  xDown = quotientOf(in_data->downsample_x);
  yDown = quotientOf(in_data->downsample_y);
  pixelAspect = quotientOf(in_data->pixel_aspect_ratio);
  layerWidth = in_data->width;
  layerHeight = in_data->height;
  width = layerWidth * xDown * pixelAspect;
  height = layerHeight * yDown;
  layerAspect = layerWidth / layerHeight;
  invXDown = 1.0 / xDown;
  invYDown = 1.0 / yDown;
  if (!InAfterEffects()) return PF_Err_NONE;

  suites = new AEGP_SuiteHandler(in_data->pica_basicP);
  pfWorldSuite = nullptr;
  // A missing suite throws: what was acquired until then is released here.
  const auto release = [](AEBase* base) { base->ReleaseHostSuites(); };
  std::unique_ptr<AEBase, decltype(release)> guard(this, release);
  CaptureComposition();
  guard.release();
  return PF_Err_NONE;
}

void AEBase::CaptureComposition() {
  const PF_ProgPtr effect = in_data->effect_ref;
  effectLayer = nullptr;
  suites->PFInterfaceSuite1()->AEGP_GetEffectLayer(effect, &effectLayer);
  const int time = in_data->current_time;
  const int step = in_data->time_step;
  const int scale = static_cast<int>(in_data->time_scale);
  effectCompTime = GetCompTime(time, step, scale);
  layerTimeValue = {};
  suites->LayerSuite8()->AEGP_GetLayerOffset(effectLayer, &layerTimeValue);
  compTime = GetCompTime(time, step, scale);
  layerTime = {};
  suites->LayerSuite5()->AEGP_ConvertCompToLayerTime(effectLayer, &compTime, &layerTime);
  comp = nullptr;
  suites->LayerSuite5()->AEGP_GetLayerParentComp(effectLayer, &comp);
  numLayers = 0;
  suites->LayerSuite5()->AEGP_GetCompNumLayers(comp, &numLayers);
  compItem = nullptr;
  suites->CompSuite4()->AEGP_GetItemFromComp(comp, &compItem);
  A_long itemWidth = 0;
  A_long itemHeight = 0;
  suites->ItemSuite3()->AEGP_GetItemDimensions(compItem, &itemWidth, &itemHeight);
  compWidth = static_cast<float>(itemWidth);
  compHeight = static_cast<float>(itemHeight);
  tag = lomix::kContextTag;
  reserved1 = 0;
  void* worldSuite = nullptr;
  AEFX_AcquireSuite(in_data, out_data, kWorldSuite2Id.name, kWorldSuite2Id.version,
                    "Couldn't load suite.", &worldSuite);
  pfWorldSuite = static_cast<const PF_WorldSuite2*>(worldSuite);
  reserved2 = 0;
}

void AEBase::ReleaseHostSuites() {
  if (suites == nullptr) return;
  if (pfWorldSuite != nullptr) {
    AEFX_ReleaseSuite(in_data, out_data, kWorldSuite2Id.name, kWorldSuite2Id.version, nullptr);
    pfWorldSuite = nullptr;
  }
  delete suites;
  suites = nullptr;
}

bool AEBase::InAfterEffects() const { return in_data->appl_id == kHostIdAfterEffects; }

A_Time AEBase::GetCompTime(int time, int /*step*/, int scale) {
  A_Time converted{};
  suites->PFInterfaceSuite1()->AEGP_ConvertEffectToCompTime(
      in_data->effect_ref, time, static_cast<A_u_long>(scale), &converted);
  return converted;
}

Vec3<double> AEBase::GetLayerCenter() const { return {width * 0.5, height * 0.5, 0.0}; }

PF_Err AEBase::ReportInfo(const char* format, ...) {
  if (!InAfterEffects()) return PF_Err_NONE;
  std::array<char, lomix::kReportBytes> text{};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  suites->UtilitySuite3()->AEGP_ReportInfo(kNoPluginId, text.data());
  return PF_Err_NONE;
}

PF_Err AEBase::InfoText(const char* format, ...) {
  if (!InAfterEffects()) return PF_Err_NONE;
  std::array<char, lomix::kInfoBytes> text{};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);

  // Split like strtok, where several line ends in a row count as one, but without its static state.
  std::array<const char*, 3> lines{};
  char* rest = text.data();
  for (const char*& line : lines) {
    rest += std::strspn(rest, "\n");
    if (*rest == '\0') break;
    line = rest;
    rest += std::strcspn(rest, "\n");
    if (*rest != '\0') *rest++ = '\0';
  }
  return suites->AdvAppSuite1()->PF_InfoDrawText3(lines[0], lines[1], lines[2]);
}

AEGP_ObjectType AEBase::GetLayerType(AEGP_LayerH* layer) {
  AEGP_ObjectType type = AEGP_ObjectType_AV;
  suites->LayerSuite5()->AEGP_GetLayerObjectType(*layer, &type);
  return type;
}

bool AEBase::IsLayerLight(AEGP_LayerH* layer) {
  return GetLayerType(layer) == AEGP_ObjectType_LIGHT;
}

bool AEBase::IsLayerText(AEGP_LayerH* layer) { return GetLayerType(layer) == AEGP_ObjectType_TEXT; }

AEGP_LightType AEBase::GetLightType(AEGP_LayerH* layer) {
  AEGP_LightType type = AEGP_LightType_PARALLEL;
  suites->LightSuite1()->AEGP_GetLightType(*layer, &type);
  return type;
}

bool AEBase::IsLayerPointLight(AEGP_LayerH* layer) {
  return IsLayerLight(layer) && GetLightType(layer) == AEGP_LightType_POINT;
}

bool AEBase::IsLayerSpotLight(AEGP_LayerH* layer) {
  return IsLayerLight(layer) && GetLightType(layer) == AEGP_LightType_SPOT;
}

AEGP_StreamVal AEBase::GetLayerStreamValue(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                           bool preExpression, A_Time time) {
  AEGP_StreamVal value{};
  AEGP_StreamType type = 0;
  suites->StreamSuite7()->AEGP_GetLayerStreamValue(*layer, stream, AEGP_LTimeMode_CompTime, &time,
                                                   preExpression, &value, &type);
  return value;
}

double AEBase::GetLayerOneDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                    bool preExpression) {
  return GetLayerOneDPropertyAtTime(layer, stream, preExpression, compTime);
}

double AEBase::GetLayerOneDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                          bool preExpression, A_Time time) {
  return GetLayerStreamValue(layer, stream, preExpression, time).one_d;
}

Vec2<double> AEBase::GetLayerTwoDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                          bool preExpression) {
  return GetLayerTwoDPropertyAtTime(layer, stream, preExpression, compTime);
}

Vec2<double> AEBase::GetLayerTwoDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                                bool preExpression, A_Time time) {
  const AEGP_TwoDVal v = GetLayerStreamValue(layer, stream, preExpression, time).two_d;
  return {v.x, v.y};
}

Vec3<double> AEBase::GetLayerThreeDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                            bool preExpression) {
  return GetLayerThreeDPropertyAtTime(layer, stream, preExpression, compTime);
}

Vec3<double> AEBase::GetLayerThreeDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                                  bool preExpression, A_Time time) {
  const AEGP_ThreeDVal v = GetLayerStreamValue(layer, stream, preExpression, time).three_d;
  return {v.x, v.y, v.z};
}

Vec4<double> AEBase::GetLayerFourDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                           bool preExpression, bool rotate) {
  return GetLayerFourDPropertyAtTime(layer, stream, preExpression, rotate, compTime);
}

Vec4<double> AEBase::GetLayerFourDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                                 bool preExpression, bool rotate, A_Time time) {
  const AEGP_StreamVal value = GetLayerStreamValue(layer, stream, preExpression, time);
  const double* v = value.four_d;
  if (rotate) return {v[1], v[2], v[3], v[0]};
  return {v[0], v[1], v[2], v[3]};
}

Vec3<double> AEBase::GetLayerWorldPosition(AEGP_LayerH* layer) {
  return GetLayerWorldPositionAtTime(layer, compTime);
}

Vec3<double> AEBase::GetLayerWorldPositionAtTime(AEGP_LayerH* layer, A_Time time) {
  A_Matrix4 transform{};
  suites->LayerSuite5()->AEGP_GetLayerToWorldXform(*layer, &time, &transform);
  const double* translation = transform.mat[3];
  return {translation[0], translation[1], translation[2]};
}

AEGP_LayerH AEBase::GetCompLayerByIndex(int index) {
  AEGP_LayerH layer = nullptr;
  suites->LayerSuite5()->AEGP_GetCompLayerByIndex(comp, index, &layer);
  return layer;
}

bool AEBase::IsLayerActive(AEGP_LayerH* layer) {
  AEGP_LayerFlags flags = 0;
  suites->LayerSuite5()->AEGP_GetLayerFlags(*layer, &flags);
  return (flags & AEGP_LayerFlag_VIDEO_ACTIVE) != 0;
}

bool AEBase::IsLayerRenderActive(AEGP_LayerH* layer) {
  return IsLayerRenderActiveAtTime(layer, compTime);
}

bool AEBase::IsLayerRenderActiveAtTime(AEGP_LayerH* layer, A_Time time) {
  A_Boolean active = 0;
  suites->LayerSuite5()->AEGP_IsVideoActive(*layer, AEGP_LTimeMode_CompTime, &time, &active);
  return active != 0;
}

std::string AEBase::GetLayerName(AEGP_LayerH* layer) {
  std::array<char, lomix::kLayerNameBytes> name{};
  suites->LayerSuite5()->AEGP_GetLayerName(*layer, name.data(), nullptr);
  return name.data();
}

bool AEBase::DoesLayerNameBeginWith(AEGP_LayerH* layer, const std::string& prefix) {
  return GetLayerName(layer).compare(0, prefix.size(), prefix) == 0;
}
