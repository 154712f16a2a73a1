#include "effect/shell/AEFX_Suites.h"

#include "hostapi/Commands.h"

namespace lomix {
namespace {

PF_Err displayError(PF_InData* in_data, PF_OutData* out_data, const char* text) {
  out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
  in_data->utils->ansi.sprintf(out_data->return_msg, text);
  return PF_Err_BAD_CALLBACK_PARAM;
}

}  // namespace
}  // namespace lomix

PF_Err AEFX_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                         const char* error_string, void** suite) {
  if (in_data->pica_basicP != nullptr) {
    // Only the pointer counts: a host may report an error and still give the suite.
    const void* acquired = *suite;
    in_data->pica_basicP->AcquireSuite(name, version, &acquired);
    *suite = const_cast<void*>(acquired);
    if (*suite != nullptr) return PF_Err_NONE;
  }
  return lomix::displayError(
      in_data, out_data,
      error_string != nullptr ? error_string : "Not able to acquire AEFX Suite.");
}

PF_Err AEFX_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                         const char* error_string) {
  if (in_data->pica_basicP != nullptr) {
    in_data->pica_basicP->ReleaseSuite(name, version);
    return PF_Err_NONE;
  }
  return lomix::displayError(
      in_data, out_data,
      error_string != nullptr ? error_string : "Not able to release AEFX Suite.");
}
