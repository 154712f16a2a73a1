#include "effect/shell/EntryPoint.h"

#include "effect/shell/AEGP_SuiteHandler.h"
#include "effect/shell/EffectInfo.h"
#include "effect/shell/Parameters.h"
#include "effect/shell/SmartRender.h"
#include "effect/signal/WaveRender.h"
#include "hostapi/Commands.h"

namespace lomix {
namespace {

constexpr int kTimeControlIndex = lomix::indexOf("time_control");

PF_Err globalSetup(PF_OutData* out_data) {
  out_data->my_version = lomix::kVersionWord;
  out_data->out_flags = lomix::kOutFlags;
  out_data->out_flags2 = lomix::kOutFlags2;
  return PF_Err_NONE;
}

// The flag is set where the picture changes while no parameter does: with automatic time.
PF_Err queryDynamicFlags(PF_InData* in_data, PF_OutData* out_data) {
  PF_ParamDef def{};
  const PF_Err checkout =
      in_data->inter.checkout_param(in_data->effect_ref, kTimeControlIndex, in_data->current_time,
                                    in_data->time_step, in_data->time_scale, &def);
  if (checkout == PF_Err_NONE) {
    if (def.u.pd.value == lomix::kAutomaticTime) {
      out_data->out_flags |= PF_OutFlag_NON_PARAM_VARY;
    } else {
      out_data->out_flags &= ~PF_OutFlag_NON_PARAM_VARY;
    }
  }
  const PF_Err checkin = in_data->inter.checkin_param(in_data->effect_ref, &def);
  return checkout != PF_Err_NONE ? checkout : checkin;
}

PF_Err updatePanel(PF_InData* in_data, PF_ParamDef* params[]) {
  return HideStream(in_data, lomix::indexOf("time"),
                    params[kTimeControlIndex]->u.pd.value == lomix::kAutomaticTime);
}

PF_Err dispatch(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                PF_LayerDef* output, void* extra) {
  switch (cmd) {
    case PF_Cmd_ABOUT:
      return CommonAbout(in_data, out_data, lomix::kEffectName, lomix::kEffectDescription,
                         lomix::kVersionMajor, lomix::kVersionMinor, lomix::kVersionBugfix);
    case PF_Cmd_GLOBAL_SETUP:
      return globalSetup(out_data);
    case PF_Cmd_PARAMS_SETUP:
      return lomix::AddParameters(in_data, out_data);
    case PF_Cmd_RENDER:
      return WaveRender(in_data, out_data, params, output, nullptr);
    case PF_Cmd_USER_CHANGED_PARAM:
    case PF_Cmd_UPDATE_PARAMS_UI:
      return updatePanel(in_data, params);
    case PF_Cmd_QUERY_DYNAMIC_FLAGS:
      return queryDynamicFlags(in_data, out_data);
    case PF_Cmd_SMART_PRE_RENDER:
      return SkeletonPreRender(in_data, out_data, static_cast<PF_PreRenderExtra*>(extra));
    case PF_Cmd_SMART_RENDER:
      return SkeletonSmartRender(in_data, out_data, static_cast<PF_SmartRenderExtra*>(extra));
    default:
      return PF_Err_NONE;
  }
}

}  // namespace
}  // namespace lomix

PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                      PF_LayerDef* output, void* extra) {
  try {
    return lomix::dispatch(cmd, in_data, out_data, params, output, extra);
  } catch (int err) {
    return err;
  }
}

PF_Err CommonAbout(PF_InData* in_data, PF_OutData* out_data, const char* name,
                   const char* description, int major, int minor, int bugfix) {
  AEGP_SuiteHandler suites(in_data->pica_basicP);
  suites.ANSICallbacksSuite1()->sprintf(out_data->return_msg, "%s, v%d.%d.%d\r%s", name, major,
                                        minor, bugfix, description);
  return PF_Err_NONE;
}

PF_Err CommonGlobalSetup(PF_InData* /*in_data*/, PF_OutData* out_data, int version, int out_flags,
                         int out_flags2) {
  out_data->my_version = static_cast<A_u_long>(version);
  out_data->out_flags = out_flags;
  out_data->out_flags2 = out_flags2;
  return PF_Err_NONE;
}
