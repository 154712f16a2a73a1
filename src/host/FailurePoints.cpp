#include "host/FailurePoints.h"

#include "host/HostState.h"

namespace lomix::host {

const std::vector<std::string>& failurePoints() {
  static const std::vector<std::string> kPoints = [] {
    std::vector<std::string> points{
        "inter.add_param",
        "inter.checkout_param",
        "inter.checkin_param",
        "inter.abort",
        "inter.progress",
        "utils.fill",
        "ansi.sprintf",
        "pre.checkout_layer",
        "smart.checkout_layer_pixels",
        "smart.checkin_layer_pixels",
        "smart.checkout_output",
        "PF Handle Suite 1.host_new_handle",
        "PF Handle Suite 1.host_lock_handle",
        "PF World Suite 2.PF_GetPixelFormat",
        "PF AE Adv App Suite 1.PF_InfoDrawText3",
        "AEGP PF Interface Suite 1.AEGP_GetEffectLayer",
        "AEGP PF Interface Suite 1.AEGP_GetNewEffectForEffect",
        "AEGP PF Interface Suite 1.AEGP_ConvertEffectToCompTime",
        "AEGP Utility Suite 3.AEGP_ReportInfo",
        "AEGP Utility Suite 3.AEGP_StartUndoGroup",
        "AEGP Utility Suite 3.AEGP_EndUndoGroup",
        "AEGP Stream Suite 7.AEGP_GetNewEffectStreamByIndex",
        "AEGP Stream Suite 7.AEGP_DisposeStream",
        "AEGP Stream Suite 7.AEGP_GetLayerStreamValue",
        "AEGP Dynamic Stream Suite 2.AEGP_SetDynamicStreamFlag",
        "AEGP Dynamic Stream Suite 2.AEGP_SetStreamName",
        "AEGP Effect Suite 2.AEGP_DisposeEffect",
        "AEGP Layer Suite 5.AEGP_GetCompNumLayers",
        "AEGP Layer Suite 5.AEGP_GetCompLayerByIndex",
        "AEGP Layer Suite 5.AEGP_GetLayerParentComp",
        "AEGP Layer Suite 5.AEGP_GetLayerName",
        "AEGP Layer Suite 5.AEGP_GetLayerFlags",
        "AEGP Layer Suite 5.AEGP_GetLayerObjectType",
        "AEGP Layer Suite 5.AEGP_IsVideoActive",
        "AEGP Layer Suite 5.AEGP_ConvertCompToLayerTime",
        "AEGP Layer Suite 5.AEGP_GetLayerToWorldXform",
        "AEGP Layer Suite 8.AEGP_GetLayerOffset",
        "AEGP Comp Suite 4.AEGP_GetItemFromComp",
        "AEGP Item Suite 3.AEGP_GetItemDimensions",
        "AEGP Light Suite 1.AEGP_GetLightType",
    };
    for (const auto& suites : {pictureSuites(), projectSuites()}) {
      for (const OfferedSuite& suite : suites) {
        const std::string name = suiteName(suite.id.name, suite.id.version);
        points.push_back("acquire:" + name);
        points.push_back("release:" + name);
      }
    }
    return points;
  }();
  return kPoints;
}

}  // namespace lomix::host
