// The host's suites: tables of functions that plug-ins acquire by name and version. Functions that
// this project does not call are opaque pointers, which keep the others at their offsets.
#pragma once

#include "hostapi/Records.h"

struct AEGP_TwoDVal {
  A_FpLong x, y;
};

struct AEGP_ThreeDVal {
  A_FpLong x, y, z;
};

struct AEGP_ColorVal {
  A_FpLong alphaF, redF, greenF, blueF;
};

union AEGP_StreamVal {
  A_FpLong four_d[4];
  AEGP_ThreeDVal three_d;
  AEGP_TwoDVal two_d;
  A_FpLong one_d;
  AEGP_ColorVal color;
  void* arbH;
  void* markerH;
  A_long layer_id;
  A_long mask_id;
  void* mask;
  void* text_documentH;
};

/// The name and version by which the host knows a suite.
struct SuiteId {
  const char* name;
  std::int32_t version;
};

inline constexpr SuiteId kAnsiSuite1Id{"PF ANSI Suite", 1};
inline constexpr SuiteId kHandleSuite1Id{"PF Handle Suite", 1};
inline constexpr SuiteId kWorldSuite2Id{"PF World Suite", 2};
inline constexpr SuiteId kAdvAppSuite1Id{"PF AE Adv App Suite", 1};
inline constexpr SuiteId kPFInterfaceSuite1Id{"AEGP PF Interface Suite", 1};
inline constexpr SuiteId kUtilitySuite3Id{"AEGP Utility Suite", 3};
inline constexpr SuiteId kStreamSuite7Id{"AEGP Stream Suite", 7};
inline constexpr SuiteId kDynamicStreamSuite2Id{"AEGP Dynamic Stream Suite", 2};
inline constexpr SuiteId kEffectSuite2Id{"AEGP Effect Suite", 2};
inline constexpr SuiteId kLayerSuite5Id{"AEGP Layer Suite", 5};
inline constexpr SuiteId kLayerSuite8Id{"AEGP Layer Suite", 8};
inline constexpr SuiteId kCompSuite4Id{"AEGP Comp Suite", 4};
inline constexpr SuiteId kItemSuite3Id{"AEGP Item Suite", 3};
inline constexpr SuiteId kLightSuite1Id{"AEGP Light Suite", 1};

struct PF_ANSICallbacksSuite1 {
  void* atan;
  void* atan2;
  void* ceil;
  void* cos;
  void* exp;
  void* fabs;
  void* floor;
  void* fmod;
  void* hypot;
  void* log;
  void* log10;
  void* pow;
  void* sin;
  void* sqrt;
  void* tan;
  int (*sprintf)(char* buffer, const char* format, ...);
  char* (*strcpy)(char* to, const char* from);
  void* asin;
  void* acos;
};

struct PF_HandleSuite1 {
  PF_Handle (*host_new_handle)(std::uint64_t size);
  void* (*host_lock_handle)(PF_Handle handle);
  void (*host_unlock_handle)(PF_Handle handle);
  void (*host_dispose_handle)(PF_Handle handle);
  void* host_get_handle_size;
  void* host_resize_handle;
};

struct PF_WorldSuite2 {
  void* PF_NewWorld;
  void* PF_DisposeWorld;
  PF_Err (*PF_GetPixelFormat)(const PF_EffectWorld* world, PF_PixelFormat* format);
};

struct PFAdvAppSuite1 {
  void* PF_SetProjectDirty;
  void* PF_SaveProject;
  void* PF_SaveBackgroundState;
  void* PF_ForceForeground;
  void* PF_RestoreBackgroundState;
  void* PF_RefreshAllWindows;
  void* PF_InfoDrawText;
  void* PF_InfoDrawColor;
  PF_Err (*PF_InfoDrawText3)(const A_char* line1, const A_char* line2, const A_char* line3);
  void* PF_InfoDrawText3Plus;
};

struct AEGP_PFInterfaceSuite1 {
  A_Err (*AEGP_GetEffectLayer)(PF_ProgPtr effect_ref, AEGP_LayerH* layer);
  A_Err (*AEGP_GetNewEffectForEffect)(AEGP_PluginID plugin, PF_ProgPtr effect_ref,
                                      AEGP_EffectRefH* effect);
  A_Err (*AEGP_ConvertEffectToCompTime)(PF_ProgPtr effect_ref, A_long time, A_u_long scale,
                                        A_Time* comp_time);
  void* AEGP_GetEffectCamera;
  void* AEGP_GetEffectCameraMatrix;
};

struct AEGP_UtilitySuite3 {
  A_Err (*AEGP_ReportInfo)(AEGP_PluginID plugin, const A_char* text);
  void* slots2to5[4];
  A_Err (*AEGP_StartUndoGroup)(const A_char* name);
  A_Err (*AEGP_EndUndoGroup)();
  void* slots8to9[2];
};

struct AEGP_StreamSuite7 {
  void* slots1to5[5];
  A_Err (*AEGP_GetNewEffectStreamByIndex)(AEGP_PluginID plugin, AEGP_EffectRefH effect,
                                          PF_ParamIndex index, AEGP_StreamRefH* stream);
  void* slot7;
  A_Err (*AEGP_DisposeStream)(AEGP_StreamRefH stream);
  void* slots9to16[8];
  A_Err (*AEGP_GetLayerStreamValue)(AEGP_LayerH layer, AEGP_LayerStream which, AEGP_LTimeMode mode,
                                    const A_Time* time, A_Boolean pre_expression,
                                    AEGP_StreamVal* value, AEGP_StreamType* type);
  void* slots18to22[5];
};

/// The positions of the two functions were inferred from a later version of this suite. If a host
/// differs, change them here.
struct AEGP_DynamicStreamSuite2 {
  void* slots1to6[6];
  A_Err (*AEGP_SetDynamicStreamFlag)(AEGP_StreamRefH stream, AEGP_DynStreamFlags flag,
                                     A_Boolean undoable, A_Boolean set);
  void* slots8to12[5];
  A_Err (*AEGP_SetStreamName)(AEGP_StreamRefH stream, const A_char* name);
  void* slots14to19[6];
};

struct AEGP_EffectSuite2 {
  void* slots1to8[8];
  A_Err (*AEGP_DisposeEffect)(AEGP_EffectRefH effect);
  void* slots10to17[8];
};

struct AEGP_LayerSuite5 {
  A_Err (*AEGP_GetCompNumLayers)(AEGP_CompH comp, A_long* count);
  A_Err (*AEGP_GetCompLayerByIndex)(AEGP_CompH comp, A_long index, AEGP_LayerH* layer);
  void* slots3to5[3];
  A_Err (*AEGP_GetLayerParentComp)(AEGP_LayerH layer, AEGP_CompH* comp);
  /// Writes up to 32 bytes to each buffer that is not null.
  A_Err (*AEGP_GetLayerName)(AEGP_LayerH layer, A_char* layer_name, A_char* source_name);
  void* slots8to9[2];
  A_Err (*AEGP_GetLayerFlags)(AEGP_LayerH layer, AEGP_LayerFlags* flags);
  void* slots11to27[17];
  A_Err (*AEGP_GetLayerObjectType)(AEGP_LayerH layer, AEGP_ObjectType* type);
  void* slots29to30[2];
  A_Err (*AEGP_IsVideoActive)(AEGP_LayerH layer, AEGP_LTimeMode mode, const A_Time* time,
                              A_Boolean* active);
  void* slots32to33[2];
  A_Err (*AEGP_ConvertCompToLayerTime)(AEGP_LayerH layer, const A_Time* comp_time,
                                       A_Time* layer_time);
  void* slots35to36[2];
  A_Err (*AEGP_GetLayerToWorldXform)(AEGP_LayerH layer, const A_Time* comp_time,
                                     A_Matrix4* transform);
  void* slots38to39[2];
};

struct AEGP_LayerSuite8 {
  void* slots1to17[17];
  A_Err (*AEGP_GetLayerOffset)(AEGP_LayerH layer, A_Time* offset);
  void* slots19to40[22];
};

struct AEGP_CompSuite4 {
  void* slot1;
  A_Err (*AEGP_GetItemFromComp)(AEGP_CompH comp, AEGP_ItemH* item);
  void* slots3to24[22];
};

struct AEGP_ItemSuite3 {
  void* slots1to13[13];
  A_Err (*AEGP_GetItemDimensions)(AEGP_ItemH item, A_long* width, A_long* height);
  void* slots15to16[2];
};

struct AEGP_LightSuite1 {
  A_Err (*AEGP_GetLightType)(AEGP_LayerH layer, AEGP_LightType* type);
  void* slot2;
};
