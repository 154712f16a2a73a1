// Scalar types, handles and error codes of the host's C interface.
#pragma once

#include <cstdint>

using A_char = char;
using A_u_char = unsigned char;
using A_short = std::int16_t;
using A_long = std::int32_t;
using A_u_long = std::uint32_t;
using A_FpLong = double;
using A_FpShort = float;
using A_Err = std::int32_t;
using A_Boolean = unsigned char;

using PF_Err = std::int32_t;
using SPErr = std::int32_t;
using PF_Cmd = std::int32_t;
using PF_ParamIndex = std::int32_t;
using PF_ParamType = std::int32_t;
using PF_ParamFlags = std::int32_t;
using PF_ParamUIFlags = std::int32_t;
using PF_ParamValue = std::int32_t;
using PF_OutFlags = std::int32_t;
using PF_OutFlags2 = std::int32_t;
using PF_InFlags = std::int32_t;
using PF_Quality = std::int32_t;
using PF_Field = std::int32_t;
using PF_ChannelMask = std::int32_t;
using PF_WorldFlags = std::int32_t;
using PF_PixelFormat = std::int32_t;
using PF_Fixed = std::int32_t;
using PF_FSliderFlags = std::uint32_t;
using PF_Precision = std::int16_t;
using PF_ValueDisplayFlags = std::int16_t;
using PF_RenderOutputFlags = std::int16_t;
using PF_Boolean = unsigned char;
using PF_FpLong = double;
using PF_FpShort = float;

using AEGP_PluginID = std::int32_t;
/// The id that an effect passes: only plug-ins of other kinds get one from the host.
inline constexpr AEGP_PluginID kNoPluginId = 0;
using AEGP_LayerFlags = std::int32_t;
using AEGP_ObjectType = std::int32_t;
using AEGP_LayerStream = std::int32_t;
using AEGP_StreamType = std::int32_t;
using AEGP_LightType = std::uint32_t;
using AEGP_DynStreamFlags = std::uint32_t;
using AEGP_LTimeMode = std::int16_t;

// Objects of the host. Plug-ins hold their addresses only.
struct PF_ProgInfo;
struct AEGP_LayerRecord;
struct AEGP_CompRecord;
struct AEGP_ItemRecord;
struct AEGP_EffectRecord;
struct AEGP_StreamRecord;
struct _AEGP_World;

using PF_ProgPtr = PF_ProgInfo*;
using PF_Handle = char**;
using AEGP_LayerH = AEGP_LayerRecord*;
using AEGP_CompH = AEGP_CompRecord*;
using AEGP_ItemH = AEGP_ItemRecord*;
using AEGP_EffectRefH = AEGP_EffectRecord*;
using AEGP_StreamRefH = AEGP_StreamRecord*;

inline constexpr PF_Err PF_Err_NONE = 0;
inline constexpr PF_Err PF_Err_OUT_OF_MEMORY = 4;
inline constexpr PF_Err PF_Err_INTERNAL_STRUCT_DAMAGED = 512;
inline constexpr PF_Err PF_Err_INVALID_INDEX = 513;
inline constexpr PF_Err PF_Err_UNRECOGNIZED_PARAM_TYPE = 514;
inline constexpr PF_Err PF_Err_INVALID_CALLBACK = 515;
inline constexpr PF_Err PF_Err_BAD_CALLBACK_PARAM = 516;

/// Values of PF_InData::appl_id: four characters, the first in the high byte.
inline constexpr A_long kHostIdAfterEffects = 0x46585443;  // 'FXTC'
inline constexpr A_long kHostIdPremiere = 0x50724D72;      // 'PrMr'
