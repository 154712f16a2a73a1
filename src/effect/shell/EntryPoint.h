// The function that the host calls for every command, and helpers for its simplest commands.
#pragma once

#include "hostapi/Records.h"

#if defined(_WIN32)
#define LOMIX_EXPORT __declspec(dllexport)
#else
#define LOMIX_EXPORT __attribute__((visibility("default")))
#endif

/// Carries out one command of the host and returns its error code: 0 for commands that the effect
/// does not handle, 516 where a suite is missing. params, output and extra mean what the host
/// defines for the command; extra is a PF_PreRenderExtra* or PF_SmartRenderExtra* for the
/// smart-render commands. Exceptions other than int pass through. Threads may call it for different
/// instances of the effect, but renders of the reference path share the process-wide random
/// generator and must not overlap.
extern "C" LOMIX_EXPORT PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                              PF_ParamDef* params[], PF_LayerDef* output,
                                              void* extra);

/// Writes "name, vMAJOR.MINOR.BUGFIX", a carriage return and the description to
/// out_data->return_msg; returns 0. Throws the int of AEGP_SuiteHandler where the host has no ANSI
/// suite.
PF_Err CommonAbout(PF_InData* in_data, PF_OutData* out_data, const char* name,
                   const char* description, int major, int minor, int bugfix);

/// Writes the version and flag words to out_data; returns 0.
PF_Err CommonGlobalSetup(PF_InData* in_data, PF_OutData* out_data, int version, int out_flags,
                         int out_flags2);
