// Checks of the layout of every record that host and plug-in share. A compiler or an edit that
// moves a field fails here and not in a user's project. Each line names field, offset and size in
// bytes. The hosts have 64-bit pointers; a build with others, as WebAssembly, meets no host, and
// its records are laid out in its own way.

#include <cstddef>

#include "hostapi/Records.h"
#include "hostapi/Suites.h"

namespace {

constexpr bool kMeetsHosts = sizeof(void*) == 8;

#define LOMIX_RECORD(record, bytes) \
  static_assert(!kMeetsHosts || sizeof(record) == (bytes), #record " has the wrong size")
#define LOMIX_FIELD(record, field, offset, bytes)                                                \
  static_assert(                                                                                 \
      !kMeetsHosts || (offsetof(record, field) == (offset) && sizeof(record::field) == (bytes)), \
      #record "." #field " is misplaced")

LOMIX_RECORD(PF_Pixel, 4);
LOMIX_FIELD(PF_Pixel, alpha, 0, 1);
LOMIX_FIELD(PF_Pixel, red, 1, 1);
LOMIX_FIELD(PF_Pixel, green, 2, 1);
LOMIX_FIELD(PF_Pixel, blue, 3, 1);

LOMIX_RECORD(PF_PixelFloat, 16);
LOMIX_FIELD(PF_PixelFloat, alpha, 0, 4);
LOMIX_FIELD(PF_PixelFloat, red, 4, 4);
LOMIX_FIELD(PF_PixelFloat, green, 8, 4);
LOMIX_FIELD(PF_PixelFloat, blue, 12, 4);

LOMIX_RECORD(PF_LRect, 16);
LOMIX_FIELD(PF_LRect, left, 0, 4);
LOMIX_FIELD(PF_LRect, top, 4, 4);
LOMIX_FIELD(PF_LRect, right, 8, 4);
LOMIX_FIELD(PF_LRect, bottom, 12, 4);

LOMIX_RECORD(PF_LegacyRect, 8);
LOMIX_FIELD(PF_LegacyRect, top, 0, 2);
LOMIX_FIELD(PF_LegacyRect, left, 2, 2);
LOMIX_FIELD(PF_LegacyRect, bottom, 4, 2);
LOMIX_FIELD(PF_LegacyRect, right, 6, 2);

LOMIX_RECORD(PF_RationalScale, 8);
LOMIX_FIELD(PF_RationalScale, num, 0, 4);
LOMIX_FIELD(PF_RationalScale, den, 4, 4);

LOMIX_RECORD(PF_Point, 8);
LOMIX_FIELD(PF_Point, h, 0, 4);
LOMIX_FIELD(PF_Point, v, 4, 4);

LOMIX_RECORD(A_Time, 8);
LOMIX_FIELD(A_Time, value, 0, 4);
LOMIX_FIELD(A_Time, scale, 4, 4);

LOMIX_RECORD(A_Matrix4, 128);
LOMIX_FIELD(A_Matrix4, mat, 0, 128);

LOMIX_RECORD(PF_LayerDef, 120);
LOMIX_FIELD(PF_LayerDef, reserved0, 0, 8);
LOMIX_FIELD(PF_LayerDef, reserved1, 8, 8);
LOMIX_FIELD(PF_LayerDef, world_flags, 16, 4);
LOMIX_FIELD(PF_LayerDef, data, 24, 8);
LOMIX_FIELD(PF_LayerDef, rowbytes, 32, 4);
LOMIX_FIELD(PF_LayerDef, width, 36, 4);
LOMIX_FIELD(PF_LayerDef, height, 40, 4);
LOMIX_FIELD(PF_LayerDef, extent_hint, 44, 16);
LOMIX_FIELD(PF_LayerDef, platform_ref, 64, 8);
LOMIX_FIELD(PF_LayerDef, reserved_long1, 72, 4);
LOMIX_FIELD(PF_LayerDef, reserved_long4, 80, 8);
LOMIX_FIELD(PF_LayerDef, pix_aspect_ratio, 88, 8);
LOMIX_FIELD(PF_LayerDef, reserved_long2, 96, 8);
LOMIX_FIELD(PF_LayerDef, origin_x, 104, 4);
LOMIX_FIELD(PF_LayerDef, origin_y, 108, 4);
LOMIX_FIELD(PF_LayerDef, reserved_long3, 112, 4);
LOMIX_FIELD(PF_LayerDef, dephault, 116, 4);

LOMIX_RECORD(PF_PopupDef, 16);
LOMIX_FIELD(PF_PopupDef, value, 0, 4);
LOMIX_FIELD(PF_PopupDef, num_choices, 4, 2);
LOMIX_FIELD(PF_PopupDef, dephault, 6, 2);
LOMIX_FIELD(PF_PopupDef, u, 8, 8);

LOMIX_RECORD(PF_FloatSliderDef, 88);
LOMIX_FIELD(PF_FloatSliderDef, value, 0, 8);
LOMIX_FIELD(PF_FloatSliderDef, phase, 8, 8);
LOMIX_FIELD(PF_FloatSliderDef, value_desc, 16, 32);
LOMIX_FIELD(PF_FloatSliderDef, valid_min, 48, 4);
LOMIX_FIELD(PF_FloatSliderDef, valid_max, 52, 4);
LOMIX_FIELD(PF_FloatSliderDef, slider_min, 56, 4);
LOMIX_FIELD(PF_FloatSliderDef, slider_max, 60, 4);
LOMIX_FIELD(PF_FloatSliderDef, dephault, 64, 4);
LOMIX_FIELD(PF_FloatSliderDef, precision, 68, 2);
LOMIX_FIELD(PF_FloatSliderDef, display_flags, 70, 2);
LOMIX_FIELD(PF_FloatSliderDef, fs_flags, 72, 4);
LOMIX_FIELD(PF_FloatSliderDef, curve_tolerance, 76, 4);
LOMIX_FIELD(PF_FloatSliderDef, useExponent, 80, 1);
LOMIX_FIELD(PF_FloatSliderDef, exponent, 84, 4);

LOMIX_RECORD(PF_ParamDef, 176);
LOMIX_FIELD(PF_ParamDef, uu, 0, 4);
LOMIX_FIELD(PF_ParamDef, ui_flags, 4, 4);
LOMIX_FIELD(PF_ParamDef, ui_width, 8, 2);
LOMIX_FIELD(PF_ParamDef, ui_height, 10, 2);
LOMIX_FIELD(PF_ParamDef, param_type, 12, 4);
LOMIX_FIELD(PF_ParamDef, name, 16, 32);
LOMIX_FIELD(PF_ParamDef, flags, 48, 4);
LOMIX_FIELD(PF_ParamDef, unused, 52, 4);
LOMIX_FIELD(PF_ParamDef, u, 56, 120);

LOMIX_RECORD(PF_InteractCallbacks, 176);
LOMIX_FIELD(PF_InteractCallbacks, checkout_param, 0, 8);
LOMIX_FIELD(PF_InteractCallbacks, checkin_param, 8, 8);
LOMIX_FIELD(PF_InteractCallbacks, add_param, 16, 8);
LOMIX_FIELD(PF_InteractCallbacks, abort, 24, 8);
LOMIX_FIELD(PF_InteractCallbacks, progress, 32, 8);
LOMIX_FIELD(PF_InteractCallbacks, register_ui, 40, 8);
LOMIX_FIELD(PF_InteractCallbacks, checkout_layer_audio, 48, 8);
LOMIX_FIELD(PF_InteractCallbacks, checkin_layer_audio, 56, 8);
LOMIX_FIELD(PF_InteractCallbacks, get_audio_data, 64, 8);
LOMIX_FIELD(PF_InteractCallbacks, reserved_str, 72, 24);
LOMIX_FIELD(PF_InteractCallbacks, reserved, 96, 80);

LOMIX_RECORD(PF_ANSICallbacks, 160);
LOMIX_FIELD(PF_ANSICallbacks, atan, 0, 8);
LOMIX_FIELD(PF_ANSICallbacks, atan2, 8, 8);
LOMIX_FIELD(PF_ANSICallbacks, ceil, 16, 8);
LOMIX_FIELD(PF_ANSICallbacks, cos, 24, 8);
LOMIX_FIELD(PF_ANSICallbacks, exp, 32, 8);
LOMIX_FIELD(PF_ANSICallbacks, fabs, 40, 8);
LOMIX_FIELD(PF_ANSICallbacks, floor, 48, 8);
LOMIX_FIELD(PF_ANSICallbacks, fmod, 56, 8);
LOMIX_FIELD(PF_ANSICallbacks, hypot, 64, 8);
LOMIX_FIELD(PF_ANSICallbacks, log, 72, 8);
LOMIX_FIELD(PF_ANSICallbacks, log10, 80, 8);
LOMIX_FIELD(PF_ANSICallbacks, pow, 88, 8);
LOMIX_FIELD(PF_ANSICallbacks, sin, 96, 8);
LOMIX_FIELD(PF_ANSICallbacks, sqrt, 104, 8);
LOMIX_FIELD(PF_ANSICallbacks, tan, 112, 8);
LOMIX_FIELD(PF_ANSICallbacks, sprintf, 120, 8);
LOMIX_FIELD(PF_ANSICallbacks, strcpy, 128, 8);
LOMIX_FIELD(PF_ANSICallbacks, asin, 136, 8);
LOMIX_FIELD(PF_ANSICallbacks, acos, 144, 8);
LOMIX_FIELD(PF_ANSICallbacks, unused_longA, 152, 4);

LOMIX_RECORD(PF_UtilCallbacks, 552);
LOMIX_FIELD(PF_UtilCallbacks, begin_sampling, 0, 8);
LOMIX_FIELD(PF_UtilCallbacks, subpixel_sample, 8, 8);
LOMIX_FIELD(PF_UtilCallbacks, area_sample, 16, 8);
LOMIX_FIELD(PF_UtilCallbacks, get_batch_func_is_deprecated, 24, 8);
LOMIX_FIELD(PF_UtilCallbacks, end_sampling, 32, 8);
LOMIX_FIELD(PF_UtilCallbacks, composite_rect, 40, 8);
LOMIX_FIELD(PF_UtilCallbacks, blend, 48, 8);
LOMIX_FIELD(PF_UtilCallbacks, convolve, 56, 8);
LOMIX_FIELD(PF_UtilCallbacks, copy, 64, 8);
LOMIX_FIELD(PF_UtilCallbacks, fill, 72, 8);
LOMIX_FIELD(PF_UtilCallbacks, gaussian_kernel, 80, 8);
LOMIX_FIELD(PF_UtilCallbacks, iterate, 88, 8);
LOMIX_FIELD(PF_UtilCallbacks, premultiply, 96, 8);
LOMIX_FIELD(PF_UtilCallbacks, premultiply_color, 104, 8);
LOMIX_FIELD(PF_UtilCallbacks, new_world, 112, 8);
LOMIX_FIELD(PF_UtilCallbacks, dispose_world, 120, 8);
LOMIX_FIELD(PF_UtilCallbacks, iterate_origin, 128, 8);
LOMIX_FIELD(PF_UtilCallbacks, iterate_lut, 136, 8);
LOMIX_FIELD(PF_UtilCallbacks, transfer_rect, 144, 8);
LOMIX_FIELD(PF_UtilCallbacks, transform_world, 152, 8);
LOMIX_FIELD(PF_UtilCallbacks, host_new_handle, 160, 8);
LOMIX_FIELD(PF_UtilCallbacks, host_lock_handle, 168, 8);
LOMIX_FIELD(PF_UtilCallbacks, host_unlock_handle, 176, 8);
LOMIX_FIELD(PF_UtilCallbacks, host_dispose_handle, 184, 8);
LOMIX_FIELD(PF_UtilCallbacks, get_callback_addr, 192, 8);
LOMIX_FIELD(PF_UtilCallbacks, app, 200, 8);
LOMIX_FIELD(PF_UtilCallbacks, ansi, 208, 160);
LOMIX_FIELD(PF_UtilCallbacks, colorCB, 368, 64);
LOMIX_FIELD(PF_UtilCallbacks, get_platform_data, 432, 8);
LOMIX_FIELD(PF_UtilCallbacks, host_get_handle_size, 440, 8);
LOMIX_FIELD(PF_UtilCallbacks, iterate_origin_non_clip_src, 448, 8);
LOMIX_FIELD(PF_UtilCallbacks, iterate_generic, 456, 8);
LOMIX_FIELD(PF_UtilCallbacks, host_resize_handle, 464, 8);
LOMIX_FIELD(PF_UtilCallbacks, subpixel_sample16, 472, 8);
LOMIX_FIELD(PF_UtilCallbacks, area_sample16, 480, 8);
LOMIX_FIELD(PF_UtilCallbacks, fill16, 488, 8);
LOMIX_FIELD(PF_UtilCallbacks, premultiply_color16, 496, 8);
LOMIX_FIELD(PF_UtilCallbacks, iterate16, 504, 8);
LOMIX_FIELD(PF_UtilCallbacks, iterate_origin16, 512, 8);
LOMIX_FIELD(PF_UtilCallbacks, iterate_origin_non_clip_src16, 520, 8);
LOMIX_FIELD(PF_UtilCallbacks, get_pixel_data8, 528, 8);
LOMIX_FIELD(PF_UtilCallbacks, get_pixel_data16, 536, 8);
LOMIX_FIELD(PF_UtilCallbacks, reserved, 544, 4);

LOMIX_RECORD(PF_SoundWorld, 32);
LOMIX_FIELD(PF_SoundWorld, fi, 0, 16);
LOMIX_FIELD(PF_SoundWorld, num_samples, 16, 4);
LOMIX_FIELD(PF_SoundWorld, dataP, 24, 8);

LOMIX_RECORD(PF_InData, 408);
LOMIX_FIELD(PF_InData, inter, 0, 176);
LOMIX_FIELD(PF_InData, utils, 176, 8);
LOMIX_FIELD(PF_InData, effect_ref, 184, 8);
LOMIX_FIELD(PF_InData, quality, 192, 4);
LOMIX_FIELD(PF_InData, version, 196, 4);
LOMIX_FIELD(PF_InData, serial_num, 200, 4);
LOMIX_FIELD(PF_InData, appl_id, 204, 4);
LOMIX_FIELD(PF_InData, num_params, 208, 4);
LOMIX_FIELD(PF_InData, reserved, 212, 4);
LOMIX_FIELD(PF_InData, what_cpu, 216, 4);
LOMIX_FIELD(PF_InData, what_fpu, 220, 4);
LOMIX_FIELD(PF_InData, current_time, 224, 4);
LOMIX_FIELD(PF_InData, time_step, 228, 4);
LOMIX_FIELD(PF_InData, total_time, 232, 4);
LOMIX_FIELD(PF_InData, local_time_step, 236, 4);
LOMIX_FIELD(PF_InData, time_scale, 240, 4);
LOMIX_FIELD(PF_InData, field, 244, 4);
LOMIX_FIELD(PF_InData, shutter_angle, 248, 4);
LOMIX_FIELD(PF_InData, width, 252, 4);
LOMIX_FIELD(PF_InData, height, 256, 4);
LOMIX_FIELD(PF_InData, extent_hint, 260, 16);
LOMIX_FIELD(PF_InData, output_origin_x, 276, 4);
LOMIX_FIELD(PF_InData, output_origin_y, 280, 4);
LOMIX_FIELD(PF_InData, downsample_x, 284, 8);
LOMIX_FIELD(PF_InData, downsample_y, 292, 8);
LOMIX_FIELD(PF_InData, pixel_aspect_ratio, 300, 8);
LOMIX_FIELD(PF_InData, in_flags, 308, 4);
LOMIX_FIELD(PF_InData, global_data, 312, 8);
LOMIX_FIELD(PF_InData, sequence_data, 320, 8);
LOMIX_FIELD(PF_InData, frame_data, 328, 8);
LOMIX_FIELD(PF_InData, start_sampL, 336, 4);
LOMIX_FIELD(PF_InData, dur_sampL, 340, 4);
LOMIX_FIELD(PF_InData, total_sampL, 344, 4);
LOMIX_FIELD(PF_InData, src_snd, 352, 32);
LOMIX_FIELD(PF_InData, pica_basicP, 384, 8);
LOMIX_FIELD(PF_InData, pre_effect_source_origin_x, 392, 4);
LOMIX_FIELD(PF_InData, pre_effect_source_origin_y, 396, 4);
LOMIX_FIELD(PF_InData, shutter_phase, 400, 4);

LOMIX_RECORD(PF_OutData, 408);
LOMIX_FIELD(PF_OutData, my_version, 0, 4);
LOMIX_FIELD(PF_OutData, name, 4, 32);
LOMIX_FIELD(PF_OutData, global_data, 40, 8);
LOMIX_FIELD(PF_OutData, num_params, 48, 4);
LOMIX_FIELD(PF_OutData, sequence_data, 56, 8);
LOMIX_FIELD(PF_OutData, flat_sdata_size, 64, 4);
LOMIX_FIELD(PF_OutData, frame_data, 72, 8);
LOMIX_FIELD(PF_OutData, width, 80, 4);
LOMIX_FIELD(PF_OutData, height, 84, 4);
LOMIX_FIELD(PF_OutData, origin, 88, 8);
LOMIX_FIELD(PF_OutData, out_flags, 96, 4);
LOMIX_FIELD(PF_OutData, return_msg, 100, 256);
LOMIX_FIELD(PF_OutData, start_sampL, 356, 4);
LOMIX_FIELD(PF_OutData, dur_sampL, 360, 4);
LOMIX_FIELD(PF_OutData, dest_snd, 368, 32);
LOMIX_FIELD(PF_OutData, out_flags2, 400, 4);

LOMIX_RECORD(PF_RenderRequest, 44);
LOMIX_FIELD(PF_RenderRequest, rect, 0, 16);
LOMIX_FIELD(PF_RenderRequest, field, 16, 4);
LOMIX_FIELD(PF_RenderRequest, channel_mask, 20, 4);
LOMIX_FIELD(PF_RenderRequest, preserve_rgb_of_zero_alpha, 24, 1);
LOMIX_FIELD(PF_RenderRequest, unused, 25, 3);
LOMIX_FIELD(PF_RenderRequest, reserved, 28, 16);

LOMIX_RECORD(PF_CheckoutResult, 76);
LOMIX_FIELD(PF_CheckoutResult, result_rect, 0, 16);
LOMIX_FIELD(PF_CheckoutResult, max_result_rect, 16, 16);
LOMIX_FIELD(PF_CheckoutResult, par, 32, 8);
LOMIX_FIELD(PF_CheckoutResult, solid, 40, 1);
LOMIX_FIELD(PF_CheckoutResult, reservedB, 41, 3);
LOMIX_FIELD(PF_CheckoutResult, ref_width, 44, 4);
LOMIX_FIELD(PF_CheckoutResult, ref_height, 48, 4);
LOMIX_FIELD(PF_CheckoutResult, reserved, 52, 24);

LOMIX_RECORD(PF_PreRenderInput, 64);
LOMIX_FIELD(PF_PreRenderInput, output_request, 0, 44);
LOMIX_FIELD(PF_PreRenderInput, bitdepth, 44, 2);
LOMIX_FIELD(PF_PreRenderInput, gpu_data, 48, 8);
LOMIX_FIELD(PF_PreRenderInput, what_gpu, 56, 4);
LOMIX_FIELD(PF_PreRenderInput, device_index, 60, 4);

LOMIX_RECORD(PF_PreRenderOutput, 56);
LOMIX_FIELD(PF_PreRenderOutput, result_rect, 0, 16);
LOMIX_FIELD(PF_PreRenderOutput, max_result_rect, 16, 16);
LOMIX_FIELD(PF_PreRenderOutput, solid, 32, 1);
LOMIX_FIELD(PF_PreRenderOutput, reserved, 33, 1);
LOMIX_FIELD(PF_PreRenderOutput, flags, 34, 2);
LOMIX_FIELD(PF_PreRenderOutput, pre_render_data, 40, 8);
LOMIX_FIELD(PF_PreRenderOutput, delete_pre_render_data_func, 48, 8);

LOMIX_RECORD(PF_PreRenderCallbacks, 16);
LOMIX_FIELD(PF_PreRenderCallbacks, checkout_layer, 0, 8);
LOMIX_FIELD(PF_PreRenderCallbacks, GuidMixInPtr, 8, 8);

LOMIX_RECORD(PF_PreRenderExtra, 24);
LOMIX_FIELD(PF_PreRenderExtra, input, 0, 8);
LOMIX_FIELD(PF_PreRenderExtra, output, 8, 8);
LOMIX_FIELD(PF_PreRenderExtra, cb, 16, 8);

LOMIX_RECORD(PF_SmartRenderInput, 72);
LOMIX_FIELD(PF_SmartRenderInput, output_request, 0, 44);
LOMIX_FIELD(PF_SmartRenderInput, bitdepth, 44, 2);
LOMIX_FIELD(PF_SmartRenderInput, pre_render_data, 48, 8);
LOMIX_FIELD(PF_SmartRenderInput, gpu_data, 56, 8);
LOMIX_FIELD(PF_SmartRenderInput, what_gpu, 64, 4);
LOMIX_FIELD(PF_SmartRenderInput, device_index, 68, 4);

LOMIX_RECORD(PF_SmartRenderCallbacks, 24);
LOMIX_FIELD(PF_SmartRenderCallbacks, checkout_layer_pixels, 0, 8);
LOMIX_FIELD(PF_SmartRenderCallbacks, checkin_layer_pixels, 8, 8);
LOMIX_FIELD(PF_SmartRenderCallbacks, checkout_output, 16, 8);

LOMIX_RECORD(PF_SmartRenderExtra, 16);
LOMIX_FIELD(PF_SmartRenderExtra, input, 0, 8);
LOMIX_FIELD(PF_SmartRenderExtra, cb, 8, 8);

LOMIX_RECORD(SPBasicSuite, 56);
LOMIX_FIELD(SPBasicSuite, AcquireSuite, 0, 8);
LOMIX_FIELD(SPBasicSuite, ReleaseSuite, 8, 8);
LOMIX_FIELD(SPBasicSuite, IsEqual, 16, 8);
LOMIX_FIELD(SPBasicSuite, AllocateBlock, 24, 8);
LOMIX_FIELD(SPBasicSuite, FreeBlock, 32, 8);
LOMIX_FIELD(SPBasicSuite, ReallocateBlock, 40, 8);
LOMIX_FIELD(SPBasicSuite, Undefined, 48, 8);

LOMIX_RECORD(AEGP_StreamVal, 32);
LOMIX_FIELD(AEGP_StreamVal, four_d, 0, 32);
LOMIX_FIELD(AEGP_StreamVal, three_d, 0, 24);
LOMIX_FIELD(AEGP_StreamVal, two_d, 0, 16);
LOMIX_FIELD(AEGP_StreamVal, one_d, 0, 8);
LOMIX_FIELD(AEGP_StreamVal, color, 0, 32);
LOMIX_FIELD(AEGP_StreamVal, arbH, 0, 8);
LOMIX_FIELD(AEGP_StreamVal, markerH, 0, 8);
LOMIX_FIELD(AEGP_StreamVal, layer_id, 0, 4);
LOMIX_FIELD(AEGP_StreamVal, mask_id, 0, 4);
LOMIX_FIELD(AEGP_StreamVal, mask, 0, 8);
LOMIX_FIELD(AEGP_StreamVal, text_documentH, 0, 8);

LOMIX_RECORD(AEGP_TwoDVal, 16);
LOMIX_FIELD(AEGP_TwoDVal, x, 0, 8);
LOMIX_FIELD(AEGP_TwoDVal, y, 8, 8);

LOMIX_RECORD(AEGP_ThreeDVal, 24);
LOMIX_FIELD(AEGP_ThreeDVal, x, 0, 8);
LOMIX_FIELD(AEGP_ThreeDVal, y, 8, 8);
LOMIX_FIELD(AEGP_ThreeDVal, z, 16, 8);

LOMIX_RECORD(AEGP_ColorVal, 32);
LOMIX_FIELD(AEGP_ColorVal, alphaF, 0, 8);
LOMIX_FIELD(AEGP_ColorVal, redF, 8, 8);
LOMIX_FIELD(AEGP_ColorVal, greenF, 16, 8);
LOMIX_FIELD(AEGP_ColorVal, blueF, 24, 8);

LOMIX_RECORD(PF_ANSICallbacksSuite1, 152);
LOMIX_FIELD(PF_ANSICallbacksSuite1, atan, 0, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, atan2, 8, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, ceil, 16, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, cos, 24, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, exp, 32, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, fabs, 40, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, floor, 48, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, fmod, 56, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, hypot, 64, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, log, 72, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, log10, 80, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, pow, 88, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, sin, 96, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, sqrt, 104, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, tan, 112, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, sprintf, 120, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, strcpy, 128, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, asin, 136, 8);
LOMIX_FIELD(PF_ANSICallbacksSuite1, acos, 144, 8);

LOMIX_RECORD(PF_HandleSuite1, 48);
LOMIX_FIELD(PF_HandleSuite1, host_new_handle, 0, 8);
LOMIX_FIELD(PF_HandleSuite1, host_lock_handle, 8, 8);
LOMIX_FIELD(PF_HandleSuite1, host_unlock_handle, 16, 8);
LOMIX_FIELD(PF_HandleSuite1, host_dispose_handle, 24, 8);
LOMIX_FIELD(PF_HandleSuite1, host_get_handle_size, 32, 8);
LOMIX_FIELD(PF_HandleSuite1, host_resize_handle, 40, 8);

LOMIX_RECORD(PF_WorldSuite2, 24);
LOMIX_FIELD(PF_WorldSuite2, PF_NewWorld, 0, 8);
LOMIX_FIELD(PF_WorldSuite2, PF_DisposeWorld, 8, 8);
LOMIX_FIELD(PF_WorldSuite2, PF_GetPixelFormat, 16, 8);

LOMIX_RECORD(PFAdvAppSuite1, 80);
LOMIX_FIELD(PFAdvAppSuite1, PF_SetProjectDirty, 0, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_SaveProject, 8, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_SaveBackgroundState, 16, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_ForceForeground, 24, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_RestoreBackgroundState, 32, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_RefreshAllWindows, 40, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_InfoDrawText, 48, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_InfoDrawColor, 56, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_InfoDrawText3, 64, 8);
LOMIX_FIELD(PFAdvAppSuite1, PF_InfoDrawText3Plus, 72, 8);

LOMIX_RECORD(AEGP_PFInterfaceSuite1, 40);
LOMIX_FIELD(AEGP_PFInterfaceSuite1, AEGP_GetEffectLayer, 0, 8);
LOMIX_FIELD(AEGP_PFInterfaceSuite1, AEGP_GetNewEffectForEffect, 8, 8);
LOMIX_FIELD(AEGP_PFInterfaceSuite1, AEGP_ConvertEffectToCompTime, 16, 8);
LOMIX_FIELD(AEGP_PFInterfaceSuite1, AEGP_GetEffectCamera, 24, 8);
LOMIX_FIELD(AEGP_PFInterfaceSuite1, AEGP_GetEffectCameraMatrix, 32, 8);

// Suites with functions that are not called: the number of functions, and the position of each
// called function, counted from 1.
#define LOMIX_SLOTS(suite, count) LOMIX_RECORD(suite, (count) * sizeof(void*))
#define LOMIX_SLOT(suite, call, number) \
  LOMIX_FIELD(suite, call, ((number)-1) * sizeof(void*), sizeof(void*))

LOMIX_SLOTS(PF_ANSICallbacksSuite1, 19);
LOMIX_SLOT(PF_ANSICallbacksSuite1, sprintf, 16);
LOMIX_SLOT(PF_ANSICallbacksSuite1, strcpy, 17);

LOMIX_SLOTS(PF_HandleSuite1, 6);
LOMIX_SLOT(PF_HandleSuite1, host_new_handle, 1);
LOMIX_SLOT(PF_HandleSuite1, host_lock_handle, 2);
LOMIX_SLOT(PF_HandleSuite1, host_unlock_handle, 3);
LOMIX_SLOT(PF_HandleSuite1, host_dispose_handle, 4);

LOMIX_SLOTS(PF_WorldSuite2, 3);
LOMIX_SLOT(PF_WorldSuite2, PF_GetPixelFormat, 3);

LOMIX_SLOTS(PFAdvAppSuite1, 10);
LOMIX_SLOT(PFAdvAppSuite1, PF_InfoDrawText3, 9);

LOMIX_SLOTS(AEGP_PFInterfaceSuite1, 5);
LOMIX_SLOT(AEGP_PFInterfaceSuite1, AEGP_GetEffectLayer, 1);
LOMIX_SLOT(AEGP_PFInterfaceSuite1, AEGP_GetNewEffectForEffect, 2);
LOMIX_SLOT(AEGP_PFInterfaceSuite1, AEGP_ConvertEffectToCompTime, 3);

LOMIX_SLOTS(AEGP_UtilitySuite3, 9);
LOMIX_SLOT(AEGP_UtilitySuite3, AEGP_ReportInfo, 1);
LOMIX_SLOT(AEGP_UtilitySuite3, AEGP_StartUndoGroup, 6);
LOMIX_SLOT(AEGP_UtilitySuite3, AEGP_EndUndoGroup, 7);

LOMIX_SLOTS(AEGP_StreamSuite7, 22);
LOMIX_SLOT(AEGP_StreamSuite7, AEGP_GetNewEffectStreamByIndex, 6);
LOMIX_SLOT(AEGP_StreamSuite7, AEGP_DisposeStream, 8);
LOMIX_SLOT(AEGP_StreamSuite7, AEGP_GetLayerStreamValue, 17);

LOMIX_SLOTS(AEGP_DynamicStreamSuite2, 19);
LOMIX_SLOT(AEGP_DynamicStreamSuite2, AEGP_SetDynamicStreamFlag, 7);
LOMIX_SLOT(AEGP_DynamicStreamSuite2, AEGP_SetStreamName, 13);

LOMIX_SLOTS(AEGP_EffectSuite2, 17);
LOMIX_SLOT(AEGP_EffectSuite2, AEGP_DisposeEffect, 9);

LOMIX_SLOTS(AEGP_LayerSuite5, 39);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_GetCompNumLayers, 1);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_GetCompLayerByIndex, 2);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_GetLayerParentComp, 6);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_GetLayerName, 7);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_GetLayerFlags, 10);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_GetLayerObjectType, 28);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_IsVideoActive, 31);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_ConvertCompToLayerTime, 34);
LOMIX_SLOT(AEGP_LayerSuite5, AEGP_GetLayerToWorldXform, 37);

LOMIX_SLOTS(AEGP_LayerSuite8, 40);
LOMIX_SLOT(AEGP_LayerSuite8, AEGP_GetLayerOffset, 18);

LOMIX_SLOTS(AEGP_CompSuite4, 24);
LOMIX_SLOT(AEGP_CompSuite4, AEGP_GetItemFromComp, 2);

LOMIX_SLOTS(AEGP_ItemSuite3, 16);
LOMIX_SLOT(AEGP_ItemSuite3, AEGP_GetItemDimensions, 14);

LOMIX_SLOTS(AEGP_LightSuite1, 2);
LOMIX_SLOT(AEGP_LightSuite1, AEGP_GetLightType, 1);

}  // namespace
