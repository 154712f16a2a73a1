#include "effect/shell/SmartRender.h"

#include <algorithm>
#include <array>
#include <memory>

#include "effect/shell/AEGP_SuiteHandler.h"
#include "effect/shell/Parameters.h"
#include "effect/signal/WaveRender.h"

namespace lomix {
namespace {

constexpr A_long kInputCheckoutId = 0;
// Parameters after the input layer are checked out one by one.
constexpr int kFirstValue = kInputLayer + 1;

PF_Err checkoutParameter(PF_InData* in_data, int index, PF_ParamDef* def) {
  return in_data->inter.checkout_param(in_data->effect_ref, index, in_data->current_time,
                                       in_data->time_step, in_data->time_scale, def);
}

// Checks out the parameters, renders and checks them in again. err: the host's first error so far;
// after an error nothing is checked out or in, but the frame is still rendered from what there is.
// Returns err, or else the first error of the host here. The blocks are freed before it returns.
PF_Err renderWithParameters(PF_InData* in_data, PF_OutData* out_data, PF_SmartRenderExtra* extra,
                            const PF_EffectWorld& input, PF_EffectWorld* output, PF_Err err) {
  std::array<std::unique_ptr<PF_ParamDef>, lomix::kParameterCount> blocks;
  std::array<PF_ParamDef*, lomix::kParameterCount> params;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    blocks[i] = std::make_unique<PF_ParamDef>();
    params[i] = blocks[i].get();
  }
  for (std::size_t i = lomix::kFirstValue; i < params.size() && err == PF_Err_NONE; ++i) {
    err = checkoutParameter(in_data, static_cast<int>(i), params[i]);
  }
  params[lomix::kInputLayer]->u.ld = input;

  WaveRender(in_data, out_data, params.data(), output, extra);

  for (std::size_t i = lomix::kFirstValue; i < params.size() && err == PF_Err_NONE; ++i) {
    err = in_data->inter.checkin_param(in_data->effect_ref, params[i]);
  }
  return err;
}

}  // namespace
}  // namespace lomix

PF_Err SkeletonPreRender(PF_InData* in_data, PF_OutData* /*out_data*/, PF_PreRenderExtra* extra) {
  // Throws for a host without suites, before anything is checked out.
  const AEGP_SuiteHandler suites(in_data->pica_basicP);

  PF_RenderRequest request = extra->input->output_request;
  request.preserve_rgb_of_zero_alpha = 1;
  PF_CheckoutResult input{};
  PF_Err err = extra->cb->checkout_layer(in_data->effect_ref, lomix::kInputLayer,
                                         lomix::kInputCheckoutId, &request, in_data->current_time,
                                         in_data->time_step, in_data->time_scale, &input);
  if (err != PF_Err_NONE) return err;
  UnionLRect(&input.result_rect, &extra->output->result_rect);
  UnionLRect(&input.max_result_rect, &extra->output->max_result_rect);

  // The checkouts only declare what the frame depends on: the values are not read, and they are not
  // checked in, on purpose.
  std::array<PF_ParamDef, lomix::kParameterCount> params{};
  for (int i = lomix::kFirstValue; i < lomix::kParameterCount && err == PF_Err_NONE; ++i) {
    err = lomix::checkoutParameter(in_data, i, &params[static_cast<std::size_t>(i)]);
  }
  return err;
}

PF_Err SkeletonSmartRender(PF_InData* in_data, PF_OutData* out_data, PF_SmartRenderExtra* extra) {
  const AEGP_SuiteHandler suites(in_data->pica_basicP);

  const PF_ProgPtr effect = in_data->effect_ref;
  PF_EffectWorld* input = nullptr;
  PF_EffectWorld* output = nullptr;
  PF_Err err = extra->cb->checkout_layer_pixels(effect, lomix::kInputCheckoutId, &input);
  if (input == nullptr) return err;
  if (input->width == 0 || input->height == 0) {
    if (err != PF_Err_NONE) return err;
    return extra->cb->checkin_layer_pixels(effect, lomix::kInputCheckoutId);
  }
  if (err == PF_Err_NONE) err = extra->cb->checkout_output(effect, &output);
  err = lomix::renderWithParameters(in_data, out_data, extra, *input, output, err);
  if (err != PF_Err_NONE) return err;
  return extra->cb->checkin_layer_pixels(effect, lomix::kInputCheckoutId);
}

void UnionLRect(const PF_LRect* src, PF_LRect* dst) {
  if (IsEmptyRect(dst)) {
    *dst = *src;
  } else if (!IsEmptyRect(src)) {
    dst->left = std::min(src->left, dst->left);
    dst->top = std::min(src->top, dst->top);
    dst->right = std::max(src->right, dst->right);
    dst->bottom = std::max(src->bottom, dst->bottom);
  }
}

bool IsEmptyRect(const PF_LRect* r) { return r->left >= r->right || r->top >= r->bottom; }

bool IsEdgePixel(PF_LRect* r, int x, int y) {
  const bool onColumn = (x == r->left || x == r->right) && r->top <= y && y <= r->bottom;
  const bool onRow = (y == r->top || y == r->bottom) && r->left <= x && x <= r->right;
  return onColumn || onRow;
}
