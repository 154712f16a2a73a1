// The records that host and plug-in pass to each other. Their layout is defined by the host; every
// size and offset is checked in LayoutChecks.cpp. Fields keep the host's names.
#pragma once

#include "hostapi/Types.h"

struct PF_Pixel {
  A_u_char alpha, red, green, blue;
};

struct PF_PixelFloat {
  PF_FpShort alpha, red, green, blue;
};

using PF_PixelPtr = PF_Pixel*;

struct PF_LRect {
  A_long left, top, right, bottom;
};
using PF_UnionableRect = PF_LRect;

/// The host's older rectangle, with coordinates of 16 bits.
struct PF_LegacyRect {
  A_short top, left, bottom, right;
};

struct PF_RationalScale {
  A_long num;
  A_u_long den;
};
/// Returns num / den; infinite or NaN where den is 0.
inline double quotientOf(const PF_RationalScale& scale) {
  return static_cast<double>(scale.num) / static_cast<double>(scale.den);
}

struct PF_Point {
  A_long h, v;
};

/// value / scale seconds.
struct A_Time {
  A_long value;
  A_u_long scale;
};

struct A_Matrix4 {
  A_FpLong mat[4][4];
};

/// A world: a picture in memory. Row y starts rowbytes * y bytes after data. Rows may be padded,
/// and rowbytes may be negative.
struct PF_LayerDef {
  void* reserved0;
  void* reserved1;
  PF_WorldFlags world_flags;
  PF_PixelPtr data;
  A_long rowbytes;
  A_long width;
  A_long height;
  PF_UnionableRect extent_hint;
  void* platform_ref;
  A_long reserved_long1;
  void* reserved_long4;
  PF_RationalScale pix_aspect_ratio;
  void* reserved_long2;
  A_long origin_x;
  A_long origin_y;
  A_long reserved_long3;
  A_long dephault;
};
using PF_EffectWorld = PF_LayerDef;

struct PF_PopupDef {
  PF_ParamValue value;  ///< 1 is the first choice.
  A_short num_choices;
  A_short dephault;
  union {
    const A_char* namesptr;  ///< Choices, separated by '|'.
  } u;
};

struct PF_FloatSliderDef {
  PF_FpLong value;
  PF_FpLong phase;
  A_char value_desc[32];
  PF_FpShort valid_min, valid_max;
  PF_FpShort slider_min, slider_max;
  PF_FpShort dephault;
  PF_Precision precision;
  PF_ValueDisplayFlags display_flags;
  PF_FSliderFlags fs_flags;
  PF_FpShort curve_tolerance;
  PF_Boolean useExponent;
  PF_FpShort exponent;
};

union PF_ParamDefUnion {
  PF_LayerDef ld;
  PF_PopupDef pd;
  PF_FloatSliderDef fs_d;
};

struct PF_ParamDef {
  union {
    A_long id;
    A_long change_flags;
  } uu;
  PF_ParamUIFlags ui_flags;
  A_short ui_width;
  A_short ui_height;
  PF_ParamType param_type;
  A_char name[32];
  PF_ParamFlags flags;
  A_long unused;
  PF_ParamDefUnion u;
};

struct PF_InteractCallbacks {
  PF_Err (*checkout_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long what_time,
                           A_long time_step, A_u_long time_scale, PF_ParamDef* param);
  PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
  PF_Err (*add_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, PF_ParamDef* def);
  PF_Err (*abort)(PF_ProgPtr effect_ref);
  PF_Err (*progress)(PF_ProgPtr effect_ref, A_long current, A_long total);
  void* register_ui;
  void* checkout_layer_audio;
  void* checkin_layer_audio;
  void* get_audio_data;
  void* reserved_str[3];
  void* reserved[10];
};

struct PF_ANSICallbacks {
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
  A_long unused_longA;
};

struct PF_UtilCallbacks {
  void* begin_sampling;
  void* subpixel_sample;
  void* area_sample;
  void* get_batch_func_is_deprecated;
  void* end_sampling;
  void* composite_rect;
  void* blend;
  void* convolve;
  void* copy;
  /// Fills a world of any depth. Null colour: transparent black. Null rectangle: the whole world.
  PF_Err (*fill)(PF_ProgPtr effect_ref, const PF_Pixel* color, const PF_LRect* dst_rect,
                 PF_EffectWorld* world);
  void* gaussian_kernel;
  void* iterate;
  void* premultiply;
  void* premultiply_color;
  void* new_world;
  void* dispose_world;
  void* iterate_origin;
  void* iterate_lut;
  void* transfer_rect;
  void* transform_world;
  void* host_new_handle;
  void* host_lock_handle;
  void* host_unlock_handle;
  void* host_dispose_handle;
  void* get_callback_addr;
  void* app;
  PF_ANSICallbacks ansi;
  void* colorCB[8];
  void* get_platform_data;
  void* host_get_handle_size;
  void* iterate_origin_non_clip_src;
  void* iterate_generic;
  void* host_resize_handle;
  void* subpixel_sample16;
  void* area_sample16;
  void* fill16;
  void* premultiply_color16;
  void* iterate16;
  void* iterate_origin16;
  void* iterate_origin_non_clip_src16;
  void* get_pixel_data8;
  void* get_pixel_data16;
  A_long reserved[1];
};

struct PF_SoundFormatInfo {
  PF_FpLong rate;
  A_short num_channels;
  A_short format;
  A_short sample_size;
  A_short reserved;
};

struct PF_SoundWorld {
  PF_SoundFormatInfo fi;
  A_long num_samples;
  void* dataP;
};

struct SPBasicSuite {
  SPErr (*AcquireSuite)(const char* name, std::int32_t version, const void** suite);
  SPErr (*ReleaseSuite)(const char* name, std::int32_t version);
  void* IsEqual;
  void* AllocateBlock;
  void* FreeBlock;
  void* ReallocateBlock;
  void* Undefined;
};

struct PF_InData {
  PF_InteractCallbacks inter;
  PF_UtilCallbacks* utils;
  PF_ProgPtr effect_ref;
  PF_Quality quality;
  A_long version;
  A_long serial_num;
  A_long appl_id;
  A_long num_params;
  A_long reserved;
  A_long what_cpu;
  A_long what_fpu;
  A_long current_time;
  A_long time_step;
  A_long total_time;
  A_long local_time_step;
  A_u_long time_scale;
  PF_Field field;
  PF_Fixed shutter_angle;
  A_long width;
  A_long height;
  PF_UnionableRect extent_hint;
  A_long output_origin_x;
  A_long output_origin_y;
  PF_RationalScale downsample_x;
  PF_RationalScale downsample_y;
  PF_RationalScale pixel_aspect_ratio;
  PF_InFlags in_flags;
  PF_Handle global_data;
  PF_Handle sequence_data;
  PF_Handle frame_data;
  A_long start_sampL;
  A_long dur_sampL;
  A_long total_sampL;
  PF_SoundWorld src_snd;
  const SPBasicSuite* pica_basicP;
  A_long pre_effect_source_origin_x;
  A_long pre_effect_source_origin_y;
  PF_Fixed shutter_phase;
};

struct PF_OutData {
  A_u_long my_version;
  A_char name[32];
  PF_Handle global_data;
  A_long num_params;
  PF_Handle sequence_data;
  A_long flat_sdata_size;
  PF_Handle frame_data;
  A_long width;
  A_long height;
  PF_Point origin;
  PF_OutFlags out_flags;
  A_char return_msg[256];
  A_long start_sampL;
  A_long dur_sampL;
  PF_SoundWorld dest_snd;
  PF_OutFlags2 out_flags2;
};

struct PF_RenderRequest {
  PF_LRect rect;
  PF_Field field;
  PF_ChannelMask channel_mask;
  PF_Boolean preserve_rgb_of_zero_alpha;
  char unused[3];
  A_long reserved[4];
};

struct PF_CheckoutResult {
  PF_LRect result_rect;
  PF_LRect max_result_rect;
  PF_RationalScale par;
  PF_Boolean solid;
  PF_Boolean reservedB[3];
  A_long ref_width;
  A_long ref_height;
  A_long reserved[6];
};

struct PF_PreRenderInput {
  PF_RenderRequest output_request;
  A_short bitdepth;
  const void* gpu_data;
  A_long what_gpu;
  A_u_long device_index;
};

struct PF_PreRenderOutput {
  PF_LRect result_rect;
  PF_LRect max_result_rect;
  PF_Boolean solid;
  PF_Boolean reserved;
  PF_RenderOutputFlags flags;
  void* pre_render_data;
  void (*delete_pre_render_data_func)(void* pre_render_data);
};

struct PF_PreRenderCallbacks {
  PF_Err (*checkout_layer)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long checkout_id,
                           const PF_RenderRequest* request, A_long what_time, A_long time_step,
                           A_u_long time_scale, PF_CheckoutResult* result);
  void* GuidMixInPtr;
};

struct PF_PreRenderExtra {
  PF_PreRenderInput* input;
  PF_PreRenderOutput* output;
  PF_PreRenderCallbacks* cb;
};

struct PF_SmartRenderInput {
  PF_RenderRequest output_request;
  A_short bitdepth;
  void* pre_render_data;
  const void* gpu_data;
  A_long what_gpu;
  A_u_long device_index;
};

struct PF_SmartRenderCallbacks {
  PF_Err (*checkout_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_id,
                                  PF_EffectWorld** pixels);
  PF_Err (*checkin_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_id);
  PF_Err (*checkout_output)(PF_ProgPtr effect_ref, PF_EffectWorld** output);
};

struct PF_SmartRenderExtra {
  PF_SmartRenderInput* input;
  PF_SmartRenderCallbacks* cb;
};
