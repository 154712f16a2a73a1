#include "batch/EffectLibrary.h"

#include "support/Errors.h"

namespace lomix::batch {

lomix_image imageOf(const media::Picture& picture) {
  const bool bytes = picture.depth() == 8;
  const void* pixels = bytes ? static_cast<const void*>(picture.row8(0).data())
                             : static_cast<const void*>(picture.row32(0).data());
  lomix_image image = LOMIX_IMAGE_INIT;
  image.format = bytes ? LOMIX_ARGB8 : LOMIX_ARGB32F;
  image.width = picture.width();
  image.height = picture.height();
  image.row_bytes = static_cast<std::int64_t>(bytes ? picture.row8(0).size_bytes()
                                                    : picture.row32(0).size_bytes());
  image.data = const_cast<void*>(pixels);
  return image;
}

FramePtr createFrame(const lomix_frame_settings& settings, const lomix_image& source,
                     const lomix_image& output) {
  lomix_frame* frame = nullptr;
  check([&](lomix_error* error) {
    return lomix_frame_create(&settings, &source, &output, &frame, error);
  });
  return FramePtr(frame);
}

ContextPtr createContext(int threads) {
  lomix_context* context = nullptr;
  check([&](lomix_error* error) { return lomix_context_create(threads, &context, error); });
  return ContextPtr(context);
}

void throwLibraryError(const lomix_error& error) { throw CommandError(error.message); }

}  // namespace lomix::batch
