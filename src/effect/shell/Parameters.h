// The effect's parameters and their panel.
#pragma once

#include <array>
#include <limits>
#include <string_view>

#include "hostapi/Commands.h"
#include "hostapi/Records.h"

namespace lomix {

/// One parameter: its declaration for the host, and its texts for presets and other front ends.
struct ParameterSpec {
  const char* key;   ///< Stable name for files and other programs; never changed or used again.
  const char* name;  ///< In the panel.
  PF_ParamType type;
  A_long id;  ///< Hosts store values under it, so it never changes.
  PF_ParamFlags flags;
  float validMin, validMax;    ///< What can be typed; sliders only.
  float sliderMin, sliderMax;  ///< What dragging reaches; sliders only.
  float defaultValue;          ///< Popups: the choice, counted from 1.
  PF_Precision precision;      ///< Decimals shown.
  PF_ValueDisplayFlags display;
  const char* choices;  ///< Popups: joined by '|'; null for sliders.
  A_short choiceCount;
  const char* unit;  ///< "%", "s", "rows", "rows/s"; "" for popups.
  const char* help;  ///< What it does to the picture, in one line.
};

constexpr ParameterSpec popup(const char* key, const char* name, A_long id, PF_ParamFlags flags,
                              const char* choices, A_short choiceCount, float defaultChoice,
                              const char* help) {
  return {key,           name, PF_Param_POPUP,           id,      flags,       0,  0,   0, 0,
          defaultChoice, 0,    PF_ValueDisplayFlag_NONE, choices, choiceCount, "", help};
}

constexpr ParameterSpec slider(const char* key, const char* name, A_long id, float validMin,
                               float validMax, float sliderMin, float sliderMax, float defaultValue,
                               PF_Precision precision, const char* unit, const char* help) {
  return {key,          name,      PF_Param_FLOAT_SLIDER,
          id,           0,         validMin,
          validMax,     sliderMin, sliderMax,
          defaultValue, precision, PF_ValueDisplayFlag_NONE,
          nullptr,      0,         unit,
          help};
}

constexpr ParameterSpec percent(const char* key, const char* name, A_long id, float validMin,
                                PF_Precision precision, const char* help) {
  ParameterSpec spec = slider(key, name, id, validMin, 100, 0, 100, 0, precision, "%", help);
  spec.display = PF_ValueDisplayFlag_PERCENT;
  return spec;
}

/// The parameters after the input layer, in panel order: entry i has index i + 1. Both popups have
/// ID 12: saved projects match by it, so the duplicate stays.
inline constexpr std::array kParameters{
    popup("time_control", "Time Control", 12,
          PF_ParamFlag_SUPERVISE | PF_ParamFlag_CANNOT_INTERP | PF_ParamFlag_CANNOT_TIME_VARY,
          "Automatic|Manual", 2, 1, "Whether the pattern moves with the layer's time or with Time"),
    slider("time", "Time", 13, 0, std::numeric_limits<float>::max(), 0, 100, 0, 1, "s",
           "The time of the pattern while Time Control is Manual"),
    popup("distortion_mode", "Distortion Mode", 12, 0, "Tile|Stretch", 2, 2,
          "Rows pushed over an edge come in again on the other side, or repeat the edge pixel"),
    percent("signal_distortion", "Signal Distortion", 1, 0, 0,
            "Jitters every row sideways by itself"),
    percent("scan_distortion", "Scan Distortion", 2, 0, 0,
            "Pulls bands of rows sideways in smooth waves"),
    // The sync sliders run forwards only; the other direction can be typed.
    percent("horizontal_sync", "Horizontal Sync", 15, -100, 1,
            "Slides the picture sideways, five widths a second at 100 %"),
    percent("vertical_sync", "Vertical Sync", 3, -100, 1,
            "Rolls the picture, five heights a second at 100 %"),
    percent("bars_overlay", "Bars Overlay", 4, 0, 0, "Lays slowly rolling grey bars over it"),
    percent("noise", "Noise", 6, 0, 0, "Lays grain over it"),
    percent("scanline_overlay", "Scanline Overlay", 7, 0, 0, "Darkens every other band of rows"),
    slider("scanline_speed", "Scanline Speed", 9, -10000, 10000, 0, 100, 1, 1, "rows/s",
           "How fast the dark lines move"),
    slider("scanline_thickness", "Scanline Thickness", 8, 1, 10000, 1, 100, 1, 0, "rows",
           "Height of a dark line, and of the gap between two"),
    percent("blend_with_original", "Blend w/Original", 10, 0, 0,
            "Mixes the untouched input back in"),
};

/// Index of the input layer in the host's parameter array.
inline constexpr int kInputLayer = 0;
/// Entries of the host's parameter array, the input layer among them.
inline constexpr int kParameterCount = static_cast<int>(kParameters.size()) + 1;

/// Returns the index of a parameter in the host's parameter array. key: one of the table's; any
/// other does not compile.
consteval int indexOf(std::string_view key) {
  int index = 1;
  for (const ParameterSpec& spec : kParameters) {
    if (key == spec.key) return index;
    ++index;
  }
  throw "no parameter has this key";
}

/// The choice of "Time Control" that follows the host's clock.
inline constexpr int kAutomaticTime = 1;

/// Adds all parameters to the host and sets out_data->num_params. Returns the first error of the
/// host, which ends it.
PF_Err AddParameters(PF_InData* in_data, PF_OutData* out_data);

}  // namespace lomix

/// Hides or shows the parameter at index in the host's panel. Returns the first error of the host;
/// throws the int of AEGP_SuiteHandler where a suite is missing.
PF_Err HideStream(PF_InData* in_data, int index, unsigned char hide);

/// Renames the parameter at index in the host's panel; fails as HideStream does.
PF_Err RenameStream(PF_InData* in_data, int index, const char* name);
