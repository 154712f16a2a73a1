// A plug-in module with one popup, "Fault": how its render goes wrong.
#include <cstring>
#include <stdexcept>

#include "hostapi/Commands.h"
#include "hostapi/Records.h"

namespace {

enum Fault { kNone = 1, kError, kOverrun, kThrow };

PF_Err addFaultPopup(PF_InData* in, PF_OutData* out) {
  PF_ParamDef definition{};
  definition.param_type = PF_Param_POPUP;
  std::strcpy(definition.name, "Fault");
  definition.uu.id = 1;
  definition.u.pd.value = kNone;
  definition.u.pd.dephault = kNone;
  definition.u.pd.num_choices = 4;
  definition.u.pd.u.namesptr = "None|Error|Overrun|Throw";
  out->num_params = 2;
  return in->inter.add_param(in->effect_ref, -1, &definition);
}

PF_Err render(int fault, PF_OutData* out, PF_LayerDef* output) {
  if (fault == kError) {
    std::strcpy(out->return_msg, "no signal");
    return PF_Err_OUT_OF_MEMORY;
  }
  if (fault == kOverrun) output->data[output->width * output->height].alpha ^= 0xFF;
  if (fault == kThrow) throw std::runtime_error("out of tune");
  return PF_Err_NONE;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) PF_Err EntryPointFunc(
    PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef* params[], PF_LayerDef* output,
    void*) {
  if (command == PF_Cmd_PARAMS_SETUP) return addFaultPopup(in, out);
  if (command == PF_Cmd_RENDER) return render(params[1]->u.pd.value, out, output);
  return PF_Err_NONE;
}
