// What the effect says about itself. The host compares these words with the resource that describes
// the effect, so both are made from here.
#pragma once

#include "hostapi/Commands.h"

namespace lomix {

inline constexpr char kEffectName[] = "Lomix";
inline constexpr char kEffectDescription[] = "A realistic Lomix Image Distortion Plugin";
inline constexpr char kEffectCategory[] = "Distort";
inline constexpr char kEffectMatchName[] = "Lomix";
inline constexpr char kEntryPointName[] = "EntryPointFunc";

// CMake reads these three lines too.
inline constexpr int kVersionMajor = 2;
inline constexpr int kVersionMinor = 0;
inline constexpr int kVersionBugfix = 0;
inline constexpr A_u_long kVersionWord =
    PF_VERSION(kVersionMajor, kVersionMinor, kVersionBugfix, PF_Stage_RELEASE, 1);
static_assert(kVersionWord == 0x100601);

inline constexpr PF_OutFlags kOutFlags = PF_OutFlag_KEEP_RESOURCE_OPEN | PF_OutFlag_NON_PARAM_VARY;
static_assert(kOutFlags == 0x5);

inline constexpr PF_OutFlags2 kOutFlags2 =
    PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS | PF_OutFlag2_SUPPORTS_SMART_RENDER |
    PF_OutFlag2_FLOAT_COLOR_AWARE | PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER;
static_assert(kOutFlags2 == 0x9401);

}  // namespace lomix
