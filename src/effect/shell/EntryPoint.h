// The function that the host calls.
#pragma once

#include "hostapi/Records.h"

#if defined(_WIN32)
#define LOMIX_EXPORT __declspec(dllexport)
#else
#define LOMIX_EXPORT __attribute__((visibility("default")))
#endif

/// Carries out one command of the host. params, output and extra have the meaning that the host
/// gives them for the command. Returns 0 for commands that do not concern the effect, and 516 where
/// a suite is missing.
extern "C" LOMIX_EXPORT PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                              PF_ParamDef* params[], PF_LayerDef* output,
                                              void* extra);

/// Writes the about text; returns 0. Throws the int of AEGP_SuiteHandler without the ANSI suite.
PF_Err CommonAbout(PF_InData* in_data, PF_OutData* out_data, const char* name,
                   const char* description, int major, int minor, int bugfix);

/// Stores version and flag words; returns 0.
PF_Err CommonGlobalSetup(PF_InData* in_data, PF_OutData* out_data, int version, int out_flags,
                         int out_flags2);
