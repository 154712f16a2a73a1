#include "effect/signal/DrawFrame.h"

namespace lomix {

void drawFrame(Lomix& effect, PF_LayerDef* input, PF_LayerDef* output, LomixStruct& record) {
  drawFrameByReference(effect, input, output, record);
}

}  // namespace lomix
