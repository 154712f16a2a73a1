// Single suites that are held longer than a function runs. A failure is not thrown: the host shows
// a message.
#pragma once

#include "hostapi/Records.h"

/// Acquires a suite of the host: sets *suite, which must be null on entry, and returns 0. Where the
/// host gives none, sets PF_OutFlag_DISPLAY_ERROR_MESSAGE, writes error_string to
/// out_data->return_msg and returns PF_Err_BAD_CALLBACK_PARAM. error_string: used as a printf
/// format without arguments; null: a general text. The caller releases the suite with
/// AEFX_ReleaseSuite.
PF_Err AEFX_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                         const char* error_string, void** suite);

/// Releases a suite and returns 0. Where the host has no basic suite, shows a message and returns
/// PF_Err_BAD_CALLBACK_PARAM as AEFX_AcquireSuite does.
PF_Err AEFX_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                         const char* error_string);
