// Command numbers and flag words of the host's C interface.
#pragma once

#include "hostapi/Types.h"

inline constexpr PF_Cmd PF_Cmd_ABOUT = 0;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETUP = 1;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETDOWN = 3;
inline constexpr PF_Cmd PF_Cmd_PARAMS_SETUP = 4;
inline constexpr PF_Cmd PF_Cmd_RENDER = 11;
inline constexpr PF_Cmd PF_Cmd_USER_CHANGED_PARAM = 13;
inline constexpr PF_Cmd PF_Cmd_UPDATE_PARAMS_UI = 14;
inline constexpr PF_Cmd PF_Cmd_QUERY_DYNAMIC_FLAGS = 18;
inline constexpr PF_Cmd PF_Cmd_SMART_PRE_RENDER = 23;
inline constexpr PF_Cmd PF_Cmd_SMART_RENDER = 24;

inline constexpr PF_OutFlags PF_OutFlag_KEEP_RESOURCE_OPEN = 0x1;
inline constexpr PF_OutFlags PF_OutFlag_NON_PARAM_VARY = 0x4;
inline constexpr PF_OutFlags PF_OutFlag_DISPLAY_ERROR_MESSAGE = 0x100;

inline constexpr PF_OutFlags2 PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 0x1;
inline constexpr PF_OutFlags2 PF_OutFlag2_SUPPORTS_SMART_RENDER = 0x400;
inline constexpr PF_OutFlags2 PF_OutFlag2_FLOAT_COLOR_AWARE = 0x1000;
inline constexpr PF_OutFlags2 PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER = 0x8000;

inline constexpr PF_ParamType PF_Param_LAYER = 0;
inline constexpr PF_ParamType PF_Param_POPUP = 7;
inline constexpr PF_ParamType PF_Param_FLOAT_SLIDER = 10;

inline constexpr PF_ParamFlags PF_ParamFlag_CANNOT_TIME_VARY = 0x2;
inline constexpr PF_ParamFlags PF_ParamFlag_CANNOT_INTERP = 0x4;
inline constexpr PF_ParamFlags PF_ParamFlag_SUPERVISE = 0x40;

inline constexpr PF_ValueDisplayFlags PF_ValueDisplayFlag_NONE = 0;
inline constexpr PF_ValueDisplayFlags PF_ValueDisplayFlag_PERCENT = 1;

inline constexpr PF_WorldFlags PF_WorldFlag_DEEP = 1;
inline constexpr PF_WorldFlags PF_WorldFlag_WRITEABLE = 2;

inline constexpr PF_PixelFormat PF_PixelFormat_ARGB32 = 0x62677261;
inline constexpr PF_PixelFormat PF_PixelFormat_ARGB128 = 0x32336561;

/// The stage of a released version in a version word.
inline constexpr std::uint32_t PF_Stage_RELEASE = 3;

inline constexpr AEGP_DynStreamFlags AEGP_DynStreamFlag_HIDDEN = 2;

inline constexpr AEGP_LayerFlags AEGP_LayerFlag_VIDEO_ACTIVE = 1;
inline constexpr AEGP_LTimeMode AEGP_LTimeMode_LayerTime = 0;
inline constexpr AEGP_LTimeMode AEGP_LTimeMode_CompTime = 1;
inline constexpr AEGP_ObjectType AEGP_ObjectType_AV = 0;
inline constexpr AEGP_ObjectType AEGP_ObjectType_LIGHT = 1;
inline constexpr AEGP_ObjectType AEGP_ObjectType_CAMERA = 2;
inline constexpr AEGP_ObjectType AEGP_ObjectType_TEXT = 3;
inline constexpr AEGP_LightType AEGP_LightType_PARALLEL = 0;
inline constexpr AEGP_LightType AEGP_LightType_SPOT = 1;
inline constexpr AEGP_LightType AEGP_LightType_POINT = 2;

/// Returns the version word that hosts compare, packed from its parts. version: 0-7, subversion and
/// bugfix: 0-15, stage: 0-3, build: 0-511; larger values overwrite other parts.
constexpr A_u_long PF_VERSION(std::uint32_t version, std::uint32_t subversion, std::uint32_t bugfix,
                              std::uint32_t stage, std::uint32_t build) {
  return (version << 19) | (subversion << 15) | (bugfix << 11) | (stage << 9) | build;
}
