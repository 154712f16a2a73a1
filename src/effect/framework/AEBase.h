// The host context of one render call: sizes, times and, in After Effects, the composition.
#pragma once

#include <cstdint>
#include <string>

#include "effect/geometry/Vec.h"
#include "hostapi/Commands.h"
#include "hostapi/Suites.h"

class AEGP_SuiteHandler;

/// Captures sizes, downsample factors and times and, in After Effects only, the effect's layer, its
/// composition and the suites for later queries. In other hosts the members from compTime on,
/// except in_data and out_data, stay unset and the layer queries must not be called. One thread at
/// a time may use an object; the host's records must outlive it.
///
/// There is no destructor: copies share the suite handler and the world suite. The owner of the
/// original calls ReleaseHostSuites() once, when the frame ends.
class AEBase {
 public:
  double width;               ///< Layer width x downsample x pixel aspect ratio.
  double height;              ///< Layer height x downsample; no aspect ratio.
  double layerWidth;          ///< Full resolution, pixels.
  double layerHeight;         ///< Full resolution, pixels.
  double xDown;               ///< Horizontal downsample factor: 0.5 at half resolution.
  double yDown;               ///< Vertical downsample factor.
  double pixelAspect;         ///< Width of a pixel / its height.
  double layerAspect;         ///< layerWidth / layerHeight.
  double invXDown;            ///< 1 / xDown: 2 at half resolution.
  double invYDown;            ///< 1 / yDown.
  AEGP_SuiteHandler* suites;  ///< Null outside After Effects.
  A_Time compTime;        ///< Time of this call in the composition; default of every layer query.
  A_Time effectCompTime;  ///< The same conversion, made first and kept separately.
  A_Time layerTimeValue;  ///< Offset of the effect's layer in composition time.
  PF_InData* in_data;
  PF_OutData* out_data;
  AEGP_LayerH effectLayer;             ///< The layer that the effect is applied to.
  AEGP_CompH comp;                     ///< That layer's composition.
  AEGP_ItemH compItem;                 ///< The composition's project item.
  std::uint32_t tag;                   ///< A fixed four-character code; nothing reads it.
  std::uint32_t reserved1;             ///< 0.
  float compWidth;                     ///< Pixels.
  float compHeight;                    ///< Pixels.
  const PF_WorldSuite2* pfWorldSuite;  ///< Null where the host refused it.
  A_long numLayers;                    ///< Layers in the composition.
  std::uint32_t reserved2;             ///< 0.
  A_Time layerTime;                    ///< compTime in the effect layer's own time.

  /// Runs InitBase.
  AEBase(PF_InData* in_data, PF_OutData* out_data);

  /// Fills all members from the host's records and, in After Effects, from its suites; returns 0.
  /// Throws the int of AEGP_SuiteHandler where a suite is missing and releases what it had acquired
  /// until then. Only a missing world suite is no error: the host shows a message.
  PF_Err InitBase(PF_InData* in_data, PF_OutData* out_data);

  /// Releases the suite handler and the world suite. The pointers of copies dangle afterwards; a
  /// second call on the same object does nothing.
  void ReleaseHostSuites();

  double GetWidth() const { return width; }
  double GetHeight() const { return height; }
  double GetXDown() const { return xDown; }
  /// Returns the horizontal factor, like GetXDown: scanlines follow it even where the axes differ.
  double GetYDown() const { return xDown; }
  /// Converts an effect time of time / scale seconds to composition time; step is ignored. In After
  /// Effects only.
  A_Time GetCompTime(int time, int step, int scale);
  /// Returns the centre of the layer in downsampled pixels; z is 0.
  Vec3<double> GetLayerCenter() const;

  /// Shows printf-formatted text, cut after 511 characters, in a dialogue of the host; returns 0.
  /// Does nothing outside After Effects.
  PF_Err ReportInfo(const char* format, ...);
  /// Shows printf-formatted text, cut after 1023 characters, as up to three lines in the host's
  /// info panel; returns the host's result. Does nothing outside After Effects and returns 0.
  PF_Err InfoText(const char* format, ...);

  // Layer queries, in After Effects only. Errors of the host are not checked: the result is then
  // zero, false or empty. Each may throw the int of AEGP_SuiteHandler at its suite's first use.

  AEGP_ObjectType GetLayerType(AEGP_LayerH* layer);
  bool IsLayerLight(AEGP_LayerH* layer);
  bool IsLayerText(AEGP_LayerH* layer);
  bool IsLayerPointLight(AEGP_LayerH* layer);
  bool IsLayerSpotLight(AEGP_LayerH* layer);

  // Return the value of a layer's stream, at compTime or at another composition time, before or
  // after the stream's expression.

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
  /// rotate: whether the first value moves to the end, which turns an alpha-first colour into an
  /// alpha-last one.
  Vec4<double> GetLayerFourDProperty(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                     bool preExpression, bool rotate);
  Vec4<double> GetLayerFourDPropertyAtTime(AEGP_LayerH* layer, AEGP_LayerStream stream,
                                           bool preExpression, bool rotate, A_Time time);

  /// Returns the position of a layer in the composition's space, in pixels.
  Vec3<double> GetLayerWorldPosition(AEGP_LayerH* layer);
  Vec3<double> GetLayerWorldPositionAtTime(AEGP_LayerH* layer, A_Time time);
  /// Returns a layer of the effect's composition. index: 0 is the top layer.
  AEGP_LayerH GetCompLayerByIndex(int index);
  /// Returns whether the layer's video switch is on.
  bool IsLayerActive(AEGP_LayerH* layer);
  /// Returns whether the layer is visible at a time, by its video switch, in and out point and solo
  /// switch.
  bool IsLayerRenderActive(AEGP_LayerH* layer);
  bool IsLayerRenderActiveAtTime(AEGP_LayerH* layer, A_Time time);
  /// Returns the layer's name, empty where it has none.
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
