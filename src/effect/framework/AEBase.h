// What the framework knows about the host during one render call.
#pragma once

#include <cstdint>
#include <string>

#include "effect/geometry/Vec.h"
#include "hostapi/Commands.h"
#include "hostapi/Suites.h"

class AEGP_SuiteHandler;

/// Captures sizes, downsampling and times and, in After Effects only, the effect's place in its
/// composition and the suites for later queries. In other hosts the members from compTime on,
/// except in_data and out_data, stay unset and the layer queries must not be used.
///
/// There is no destructor: copies share the suite handler and the world suite, so that whoever owns
/// the first of them calls ReleaseHostSuites() once, when the frame ends.
class AEBase {
 public:
  double width;        ///< Layer width x downsample x pixel aspect ratio.
  double height;       ///< Layer height x downsample; no aspect ratio.
  double layerWidth;   ///< Full resolution, pixels.
  double layerHeight;  ///< Full resolution, pixels.
  double xDown;        ///< Horizontal downsample factor: 0.5 at half resolution.
  double yDown;        ///< Vertical downsample factor.
  double pixelAspect;
  double layerAspect;
  double invXDown;
  double invYDown;
  AEGP_SuiteHandler* suites;  ///< Null outside After Effects.
  A_Time compTime;        ///< Time of this call in the composition; default of every layer query.
  A_Time effectCompTime;  ///< The same conversion, made first and kept apart.
  A_Time layerTimeValue;  ///< Offset of the effect's layer.
  PF_InData* in_data;
  PF_OutData* out_data;
  AEGP_LayerH effectLayer;
  AEGP_CompH comp;
  AEGP_ItemH compItem;
  std::uint32_t tag;
  std::uint32_t reserved1;
  float compWidth;   ///< Pixels.
  float compHeight;  ///< Pixels.
  const PF_WorldSuite2* pfWorldSuite;
  A_long numLayers;
  std::uint32_t reserved2;
  A_Time layerTime;  ///< compTime in the effect layer's own time.

  /// Throws the int of AEGP_SuiteHandler where a suite is missing; nothing stays acquired then.
  AEBase(PF_InData* in_data, PF_OutData* out_data);

  /// Fills all members; returns 0. Throws as the constructor does.
  PF_Err InitBase(PF_InData* in_data, PF_OutData* out_data);

  /// Releases the suite handler and the world suite, for all copies at once.
  void ReleaseHostSuites();

  double GetWidth() const { return width; }
  double GetHeight() const { return height; }
  double GetXDown() const { return xDown; }
  /// The horizontal factor, as GetXDown: scanlines follow it even where the axes differ.
  double GetYDown() const { return xDown; }
  /// Effect time in composition time; the step is ignored.
  A_Time GetCompTime(int time, int step, int scale);
  Vec3<double> GetLayerCenter() const;

  /// Shows printf-formatted text (up to 511 characters) in a host dialogue; returns 0. Nothing
  /// outside After Effects.
  PF_Err ReportInfo(const char* format, ...);
  /// Shows up to three lines (1023 characters in all) in the host's info panel; returns the host's
  /// result. Outside After Effects nothing, 0.
  PF_Err InfoText(const char* format, ...);

  // Layer queries, in After Effects only. Host errors are not checked.

  AEGP_ObjectType GetLayerType(AEGP_LayerH* layer);
  bool IsLayerLight(AEGP_LayerH* layer);
  bool IsLayerText(AEGP_LayerH* layer);
  bool IsLayerPointLight(AEGP_LayerH* layer);
  bool IsLayerSpotLight(AEGP_LayerH* layer);

  /// Values of a layer's stream, at compTime or at a composition time.
  double GetLayerOneDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream, bool preExpression);
  double GetLayerOneDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream, bool preExpression,
                                    A_Time time);
  Vec2<double> GetLayerTwoDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                    bool preExpression);
  Vec2<double> GetLayerTwoDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                          bool preExpression, A_Time time);
  Vec3<double> GetLayerThreeDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                      bool preExpression);
  Vec3<double> GetLayerThreeDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                            bool preExpression, A_Time time);
  /// rotate turns an alpha-first colour into alpha-last.
  Vec4<double> GetLayerFourDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                     bool preExpression, bool rotate);
  Vec4<double> GetLayerFourDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                           bool preExpression, bool rotate, A_Time time);

  Vec3<double> GetLayerWorldPosition(AEGP_LayerH* layer);
  Vec3<double> GetLayerWorldPositionAtTime(AEGP_LayerH* layer, A_Time time);
  /// index counts from 0 at the top of the effect's composition.
  AEGP_LayerH GetCompLayerByIndex(int index);
  /// Whether the layer's video switch is on.
  bool IsLayerActive(AEGP_LayerH* layer);
  /// Whether the layer shows at a time: switch, in and out point, solo.
  bool IsLayerRenderActive(AEGP_LayerH* layer);
  bool IsLayerRenderActiveAtTime(AEGP_LayerH* layer, A_Time time);
  std::string GetLayerName(AEGP_LayerH* layer);
  bool DoesLayerNameBeginWith(AEGP_LayerH* layer, const std::string& prefix);

 protected:
  /// Returns whether the host is After Effects, by its application id.
  bool InAfterEffects() const;

 private:
  void CaptureComposition();
  AEGP_LightType GetLightType(AEGP_LayerH* layer);
  AEGP_StreamVal GetLayerStreamValue(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                     bool preExpression, A_Time time);
};
