// The effect's parameters and their panel.
#pragma once

#include <array>
#include <limits>

#include "effect/shell/ParameterIndex.h"
#include "hostapi/Commands.h"
#include "hostapi/Records.h"

/// One row of the parameter list. Hosts store values under the ID, so IDs never change.
struct ParameterSpec {
  const char* name;
  PF_ParamType type;
  A_long id;
  PF_ParamFlags flags;
  float validMin, validMax;    ///< What can be typed; sliders only.
  float sliderMin, sliderMax;  ///< What dragging reaches; sliders only.
  float defaultValue;          ///< Popups: the choice, counted from 1.
  PF_Precision precision;      ///< Decimals shown.
  PF_ValueDisplayFlags display;
  const char* choices;  ///< Popups: joined by '|'; null for sliders.
  A_short choiceCount;
};

constexpr ParameterSpec popup(const char* name, A_long id, PF_ParamFlags flags, const char* choices,
                              A_short choiceCount, float defaultChoice) {
  return {name, PF_Param_POPUP,           id,      flags,      0, 0, 0, 0, defaultChoice,
          0,    PF_ValueDisplayFlag_NONE, choices, choiceCount};
}

constexpr ParameterSpec slider(const char* name, A_long id, float validMin, float validMax,
                               float sliderMin, float sliderMax, float defaultValue,
                               PF_Precision precision, PF_ValueDisplayFlags display) {
  return {name,      PF_Param_FLOAT_SLIDER, id,        0,       validMin, validMax, sliderMin,
          sliderMax, defaultValue,          precision, display, nullptr,  0};
}

constexpr ParameterSpec percent(const char* name, A_long id, float validMin,
                                PF_Precision precision) {
  return slider(name, id, validMin, 100, 0, 100, 0, precision, PF_ValueDisplayFlag_PERCENT);
}

/// The parameters after the input layer, in panel order: entry i has index i + 1. Both popups carry
/// ID 12: saved projects match by it, so the duplicate stays.
inline constexpr std::array<ParameterSpec, kParameterCount - 1> kParameters{
    popup("Time Control", 12,
          PF_ParamFlag_SUPERVISE | PF_ParamFlag_CANNOT_INTERP | PF_ParamFlag_CANNOT_TIME_VARY,
          "Automatic|Manual", 2, 1),
    slider("Time", 13, 0, std::numeric_limits<float>::max(), 0, 100, 0, 1,
           PF_ValueDisplayFlag_NONE),
    popup("Distortion Mode", 12, 0, "Tile|Stretch", 2, 2),
    percent("Signal Distortion", 1, 0, 0),
    percent("Scan Distortion", 2, 0, 0),
    // The sync sliders run forwards only; the other direction can be typed.
    percent("Horizontal Sync", 15, -100, 1),
    percent("Vertical Sync", 3, -100, 1),
    percent("Bars Overlay", 4, 0, 0),
    percent("Noise", 6, 0, 0),
    percent("Scanline Overlay", 7, 0, 0),
    slider("Scanline Speed", 9, -10000, 10000, 0, 100, 1, 1, PF_ValueDisplayFlag_NONE),
    slider("Scanline Thickness", 8, 1, 10000, 1, 100, 1, 0, PF_ValueDisplayFlag_NONE),
    percent("Blend w/Original", 10, 0, 0),
};

/// Adds all parameters to the host and sets out_data->num_params. The first error of the host ends
/// it and is returned.
PF_Err AddParameters(PF_InData* in_data, PF_OutData* out_data);

/// Hides or shows the parameter at index in the host's panel. Returns the first error of the host;
/// throws the int of AEGP_SuiteHandler where a suite is missing.
PF_Err HideStream(PF_InData* in_data, int index, unsigned char hide);

/// Renames the parameter at index in the host's panel; fails as HideStream does.
PF_Err RenameStream(PF_InData* in_data, int index, const char* name);
