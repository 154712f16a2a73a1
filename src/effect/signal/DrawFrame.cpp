#include "effect/signal/DrawFrame.h"

namespace lomix {

void drawFrameByReference(Lomix& effect, PF_LayerDef* input, PF_LayerDef* output,
                          LomixStruct& record) {
  effect.CreateDisplacementImage(output, -record.time, &record);
  effect.ExecuteKernel(input, output, &record);
  if (record.effectAmount < 1.0f) effect.Lerp(input, output, record.effectAmount);
}

}  // namespace lomix
