// The functions that the host passes in its records.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "host/HostState.h"
#include "host/TrappedTable.h"

namespace lomix::host {
namespace {

PF_Err addParam(PF_ProgPtr effect, PF_ParamIndex index, PF_ParamDef* definition) {
  return answerFor(effect, "inter.add_param", std::to_string(index), [&](HostState& s) -> PF_Err {
    if (index != -1 || !definition) {
      s.faultNow("add_param other than at the end of the list");
      return PF_Err_INVALID_INDEX;
    }
    Parameter added;
    added.index = static_cast<int>(s.parameters.size());
    added.definition = *definition;
    if (added.isPopup()) {
      // The plug-in owns the text of the choices and may free it: the host keeps a copy.
      const char* text = definition->u.pd.u.namesptr;
      std::string rest = text ? text : "";
      added.definition.u.pd.u.namesptr = nullptr;
      for (std::size_t bar; (bar = rest.find('|')) != std::string::npos; rest.erase(0, bar + 1)) {
        added.choices.push_back(rest.substr(0, bar));
      }
      added.choices.push_back(rest);
      if (added.choices.size() != static_cast<std::size_t>(definition->u.pd.num_choices)) {
        s.faultNow("popup '" + added.name() + "' declares another number of choices than it has");
      }
    } else if (!added.isSlider()) {
      return PF_Err_UNRECOGNIZED_PARAM_TYPE;
    }
    s.parameters.push_back(std::move(added));
    s.hidden.push_back(false);
    return PF_Err_NONE;
  });
}

PF_Err checkoutParam(PF_ProgPtr effect, PF_ParamIndex index, A_long time, A_long step,
                     A_u_long scale, PF_ParamDef* definition) {
  const std::string arguments = std::to_string(index) + ", " + std::to_string(time) + ", " +
                                std::to_string(step) + ", " + std::to_string(scale);
  return answerFor(effect, "inter.checkout_param", arguments, [&](HostState& s) -> PF_Err {
    if (!definition || index < 0 || index >= static_cast<PF_ParamIndex>(s.parameters.size())) {
      s.faultNow("check-out of parameter " + std::to_string(index) + ", which does not exist");
      return PF_Err_INVALID_INDEX;
    }
    *definition = s.parameters[static_cast<std::size_t>(index)].definition;
    if (index == 0 && s.input) definition->u.ld = s.input->layer();
    s.ledger.parameters.emplace_back(definition, index);
    return PF_Err_NONE;
  });
}

PF_Err checkinParam(PF_ProgPtr effect, PF_ParamDef* definition) {
  // The record does not name the parameter. Its address identifies the check-out.
  std::string arguments = "?";
  if (const HostState* const s = HostState::current()) {
    for (const auto& [address, index] : s->ledger.parameters) {
      if (address == definition) arguments = std::to_string(index);
    }
  }
  return answerFor(
      effect, "inter.checkin_param", arguments,
      [&](HostState& s) -> PF_Err {
        auto& out = s.ledger.parameters;
        const auto found = std::find_if(out.rbegin(), out.rend(),
                                        [&](const auto& p) { return p.first == definition; });
        if (found == out.rend()) {
          ++s.ledger.strayParameterCheckins;
        } else {
          out.erase(std::next(found).base());
        }
        return PF_Err_NONE;
      },
      Giving::Back);
}

PF_Err abortRequested(PF_ProgPtr effect) {
  return answerFor(effect, "inter.abort", "", [](HostState&) { return PF_Err_NONE; });
}

PF_Err progress(PF_ProgPtr effect, A_long current, A_long total) {
  return answerFor(effect, "inter.progress", std::to_string(current) + ", " + std::to_string(total),
                   [](HostState&) { return PF_Err_NONE; });
}

// In 16-bit channels 32768 is 1.0.
PF_Err fill(PF_ProgPtr effect, const PF_Pixel* color, const PF_LRect* rect, PF_EffectWorld* world) {
  std::string arguments = color ? "color" : "null";
  arguments += rect ? ", rect" : ", null";
  return answerFor(effect, "utils.fill", arguments, [&](HostState& s) -> PF_Err {
    if (!world || !world->data) return PF_Err_BAD_CALLBACK_PARAM;
    const int depth = depthOf(*world);
    if (depth == 0) {
      s.faultNow("fill of a world that is not this host's");
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    const PF_Pixel c = color ? *color : PF_Pixel{};
    const A_u_char channels[4] = {c.alpha, c.red, c.green, c.blue};
    std::byte pixel[16] = {};
    for (std::size_t i = 0; i < 4; ++i) {
      if (depth == 8) {
        std::memcpy(pixel + i, &channels[i], 1);
      } else if (depth == 16) {
        const auto deep = static_cast<std::uint16_t>((channels[i] * 32768 + 127) / 255);
        std::memcpy(pixel + 2 * i, &deep, 2);
      } else {
        const float value = static_cast<float>(channels[i]) / 255.0f;
        std::memcpy(pixel + 4 * i, &value, 4);
      }
    }
    const std::size_t size = static_cast<std::size_t>(bytesPerPixel(depth));
    const PF_LRect whole{0, 0, world->width, world->height};
    const PF_LRect asked = rect ? *rect : whole;
    const A_long left = std::max(asked.left, 0), right = std::min(asked.right, world->width);
    const A_long top = std::max(asked.top, 0), bottom = std::min(asked.bottom, world->height);
    for (A_long y = top; y < bottom; ++y) {
      std::byte* const row = reinterpret_cast<std::byte*>(world->data) +
                             static_cast<std::ptrdiff_t>(world->rowbytes) * y;
      for (A_long x = left; x < right; ++x) {
        std::memcpy(row + size * static_cast<std::size_t>(x), pixel, size);
      }
    }
    return PF_Err_NONE;
  });
}

PF_CheckoutResult describeInput(const HostState& s) {
  PF_CheckoutResult result{};
  if (s.input) result.result_rect = {0, 0, s.input->layer().width, s.input->layer().height};
  result.max_result_rect = result.result_rect;
  result.par = s.inData.pixel_aspect_ratio;
  result.ref_width = s.inData.width;
  result.ref_height = s.inData.height;
  return result;
}

PF_Err checkoutLayer(PF_ProgPtr effect, PF_ParamIndex index, A_long id,
                     const PF_RenderRequest* request, A_long time, A_long step, A_u_long scale,
                     PF_CheckoutResult* result) {
  std::string arguments = std::to_string(index) + ", " + std::to_string(id);
  if (request) {
    const PF_LRect& r = request->rect;
    for (const A_long edge : {r.left, r.top, r.right, r.bottom}) {
      arguments += ", " + std::to_string(edge);
    }
    arguments += request->preserve_rgb_of_zero_alpha ? ", preserve" : ", drop";
  }
  arguments +=
      ", " + std::to_string(time) + ", " + std::to_string(step) + ", " + std::to_string(scale);
  return answerFor(effect, "pre.checkout_layer", arguments, [&](HostState& s) -> PF_Err {
    if (index != 0 || !request || !result) {
      s.faultNow("check-out of layer " + std::to_string(index) + ", which does not exist");
      return PF_Err_INVALID_INDEX;
    }
    *result = describeInput(s);
    s.layerCheckouts.push_back(id);
    return PF_Err_NONE;
  });
}

PF_Err checkoutLayerPixels(PF_ProgPtr effect, A_long id, PF_EffectWorld** pixels) {
  return answerFor(
      effect, "smart.checkout_layer_pixels", std::to_string(id), [&](HostState& s) -> PF_Err {
        const auto& asked = s.layerCheckouts;
        if (!pixels ||
            (s.preRendered && std::find(asked.begin(), asked.end(), id) == asked.end())) {
          s.faultNow("pixels of check-out " + std::to_string(id) +
                     ", which pre-render did not ask for");
          return PF_Err_BAD_CALLBACK_PARAM;
        }
        *pixels = s.input ? &s.input->layer() : nullptr;
        if (s.input) ++s.ledger.layerPixels[id];
        return PF_Err_NONE;
      });
}

PF_Err checkinLayerPixels(PF_ProgPtr effect, A_long id) {
  return answerFor(
      effect, "smart.checkin_layer_pixels", std::to_string(id),
      [&](HostState& s) {
        --s.ledger.layerPixels[id];
        return PF_Err_NONE;
      },
      Giving::Back);
}

PF_Err checkoutOutput(PF_ProgPtr effect, PF_EffectWorld** world) {
  return answerFor(effect, "smart.checkout_output", "", [&](HostState& s) -> PF_Err {
    if (!world) return PF_Err_BAD_CALLBACK_PARAM;
    *world = s.output ? &s.output->layer() : nullptr;
    if (s.output) ++s.ledger.outputs;
    return PF_Err_NONE;
  });
}

}  // namespace

int hostSprintf(char* buffer, const char* format, ...) {
  std::va_list arguments, measured;
  va_start(arguments, format);
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  int written = -1;
  const PF_Err failure = answer("ansi.sprintf", format, [&](HostState& s) -> PF_Err {
    std::size_t room = static_cast<std::size_t>(length) + 1;
    if (buffer == s.outData.return_msg && room > sizeof s.outData.return_msg) {
      s.faultNow("text of " + std::to_string(length) + " bytes is too long for return_msg");
      room = sizeof s.outData.return_msg;
    }
    written = std::vsnprintf(buffer, room, format, arguments);
    return PF_Err_NONE;
  });
  va_end(arguments);
  return failure ? -1 : written;
}

char* hostStrcpy(char* to, const char* from) {
  answer("ansi.strcpy", from, [&](HostState&) {
    std::strcpy(to, from);
    return PF_Err_NONE;
  });
  return to;
}

PF_InteractCallbacks interactCallbacks() {
  auto table = trappedTable<PF_InteractCallbacks>();
  table.checkout_param = checkoutParam;
  table.checkin_param = checkinParam;
  table.add_param = addParam;
  table.abort = abortRequested;
  table.progress = progress;
  return table;
}

PF_UtilCallbacks utilCallbacks() {
  auto table = trappedTable<PF_UtilCallbacks>();
  table.fill = fill;
  table.ansi.sprintf = hostSprintf;
  table.ansi.strcpy = hostStrcpy;
  return table;
}

PF_PreRenderCallbacks preRenderCallbacks() {
  auto table = trappedTable<PF_PreRenderCallbacks>();
  table.checkout_layer = checkoutLayer;
  return table;
}

PF_SmartRenderCallbacks smartRenderCallbacks() {
  return {checkoutLayerPixels, checkinLayerPixels, checkoutOutput};
}

}  // namespace lomix::host
