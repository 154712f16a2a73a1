// Single suites held longer than a function's scope. Failure is shown through the host's error
// message instead of thrown.
#pragma once

#include "hostapi/Records.h"

/// Sets *suite and returns 0, or asks the host to display error_string (a printf format of no
/// arguments; null: a general text) and returns PF_Err_BAD_CALLBACK_PARAM. *suite must be null on
/// entry. The caller releases what it acquired.
PF_Err AEFX_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                         const char* error_string, void** suite);

/// Returns 0, or as above where there is no basic suite.
PF_Err AEFX_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                         const char* error_string);
