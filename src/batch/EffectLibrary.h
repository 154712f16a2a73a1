// C++ helpers for lomix.h: owning pointers, statuses as exceptions, pictures as images.
#pragma once

#include <memory>

#include "lomix/lomix.h"
#include "media/picture/Picture.h"

namespace lomix::batch {

/// Owns a prepared frame.
struct DestroyFrame {
  void operator()(lomix_frame* frame) const { lomix_frame_destroy(frame); }
};
using FramePtr = std::unique_ptr<lomix_frame, DestroyFrame>;

/// Owns a context and its worker threads.
struct DestroyContext {
  void operator()(lomix_context* context) const { lomix_context_destroy(context); }
};
using ContextPtr = std::unique_ptr<lomix_context, DestroyContext>;

/// Calls the library and throws CommandError with its message unless the call succeeds.
///   check([&](lomix_error* error) { return lomix_...(..., error); });
template <typename Call>
void check(const Call& call);

/// Returns the picture's pixels as an image. The picture must outlive it; the library does not
/// write to the image of a source.
lomix_image imageOf(const media::Picture& picture);

/// Prepares a frame. Throws CommandError.
FramePtr createFrame(const lomix_frame_settings& settings, const lomix_image& source,
                     const lomix_image& output);
/// Creates a context with that number of threads. Throws CommandError.
ContextPtr createContext(int threads);

/// Throws the error as a CommandError.
[[noreturn]] void throwLibraryError(const lomix_error& error);

template <typename Call>
void check(const Call& call) {
  lomix_error error = LOMIX_ERROR_INIT;
  if (call(&error) != LOMIX_OK) throwLibraryError(error);
}

}  // namespace lomix::batch
