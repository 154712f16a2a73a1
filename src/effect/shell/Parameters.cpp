#include "effect/shell/Parameters.h"

#include "effect/shell/AEGP_SuiteHandler.h"

namespace {

// The host's default tolerance of curve simplification.
constexpr float kCurveTolerance = 0.05f;

PF_ParamDef definitionOf(const lomix::ParameterSpec& spec, const PF_InData& in_data) {
  PF_ParamDef def{};
  def.param_type = spec.type;
  in_data.utils->ansi.strcpy(def.name, spec.name);
  def.flags = spec.flags;
  def.uu.id = spec.id;
  if (spec.type == PF_Param_POPUP) {
    PF_PopupDef& pd = def.u.pd;
    pd.dephault = static_cast<A_short>(spec.defaultValue);
    pd.value = pd.dephault;
    pd.num_choices = spec.choiceCount;
    pd.u.namesptr = spec.choices;
  } else {
    PF_FloatSliderDef& fs = def.u.fs_d;
    fs.value = spec.defaultValue;
    fs.valid_min = spec.validMin;
    fs.valid_max = spec.validMax;
    fs.slider_min = spec.sliderMin;
    fs.slider_max = spec.sliderMax;
    fs.dephault = spec.defaultValue;
    fs.precision = spec.precision;
    fs.display_flags = spec.display;
    fs.curve_tolerance = kCurveTolerance;
  }
  return def;
}

// Runs change on the stream at index inside an undo group. The group is closed on the successful
// way only: a host that refused a step gets no further undo call.
template <typename Change>
PF_Err changeStream(PF_InData* in_data, int index, Change change) {
  AEGP_SuiteHandler suites(in_data->pica_basicP);
  AEGP_EffectRefH effect = nullptr;
  AEGP_StreamRefH stream = nullptr;
  PF_Err err = suites.UtilitySuite3()->AEGP_StartUndoGroup(nullptr);
  if (err == PF_Err_NONE) {
    err = suites.PFInterfaceSuite1()->AEGP_GetNewEffectForEffect(kNoPluginId, in_data->effect_ref,
                                                                 &effect);
  }
  if (err == PF_Err_NONE) {
    err =
        suites.StreamSuite7()->AEGP_GetNewEffectStreamByIndex(kNoPluginId, effect, index, &stream);
  }
  if (err == PF_Err_NONE) err = change(suites, stream);

  const auto keepFirst = [&err](PF_Err next) {
    if (err == PF_Err_NONE) err = next;
  };
  if (stream != nullptr) keepFirst(suites.StreamSuite7()->AEGP_DisposeStream(stream));
  if (effect != nullptr) keepFirst(suites.EffectSuite2()->AEGP_DisposeEffect(effect));
  if (err != PF_Err_NONE) return err;
  return suites.UtilitySuite3()->AEGP_EndUndoGroup();
}

}  // namespace

PF_Err lomix::AddParameters(PF_InData* in_data, PF_OutData* out_data) {
  for (const ParameterSpec& spec : kParameters) {
    PF_ParamDef def = definitionOf(spec, *in_data);
    const PF_Err err = in_data->inter.add_param(in_data->effect_ref, -1, &def);
    if (err != PF_Err_NONE) return err;
  }
  out_data->num_params = kParameterCount;
  return PF_Err_NONE;
}

PF_Err HideStream(PF_InData* in_data, int index, unsigned char hide) {
  return changeStream(in_data, index, [hide](AEGP_SuiteHandler& suites, AEGP_StreamRefH stream) {
    const A_Boolean undoable = 0;
    return suites.DynamicStreamSuite2()->AEGP_SetDynamicStreamFlag(
        stream, AEGP_DynStreamFlag_HIDDEN, undoable, hide);
  });
}

PF_Err RenameStream(PF_InData* in_data, int index, const char* name) {
  return changeStream(in_data, index, [name](AEGP_SuiteHandler& suites, AEGP_StreamRefH stream) {
    return suites.DynamicStreamSuite2()->AEGP_SetStreamName(stream, name);
  });
}
