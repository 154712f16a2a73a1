// drawFrame() of a module with the row engine.

#include "effect/signal/DrawFrame.h"
#include "engine/RowEngine.h"

namespace lomix {

// Draws on the caller's thread alone: hosts render several frames at once on threads of their own.
void drawFrame(Lomix& effect, PF_LayerDef* input, PF_LayerDef* output, LomixStruct& record) {
  const int depth = effect.GetBitDepth();
  if (input->data == nullptr || engine::worldsOverlap(*input, *output, depth)) {
    drawFrameByReference(effect, input, output, record);
    return;
  }
  const engine::RowEngine rows({record, *input, *output, depth, effect.invXDown, effect.invYDown});
  rows.drawRows(0, output->height);
}

}  // namespace lomix
