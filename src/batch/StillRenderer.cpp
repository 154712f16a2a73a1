#include "batch/StillRenderer.h"

#include <algorithm>
#include <thread>

#include "batch/RowsRenderer.h"

namespace lomix::cli {

using media::Picture;

Picture StillRenderer::render(const Picture& picture, const Look& look, const FrameTime& time) {
  for (const host::Parameter& parameter : parameters().all()) {
    plugin_.host().setValue(parameter.index, parameter.defaultValue());
  }
  for (const Assignment& value : look.at(inSeconds(time))) {
    plugin_.host().setValue(value.index, value.value);
  }
  host::FrameSettings frame;
  frame.currentTime = time.value;
  frame.timeScale = time.scale;
  Picture rendered = picture;
  renderRows(plugin_.host().parameters(), frame, picture, rendered,
             std::max(1, static_cast<int>(std::thread::hardware_concurrency())));
  return rendered;
}

}  // namespace lomix::cli
