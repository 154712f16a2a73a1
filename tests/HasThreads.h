#pragma once

namespace lomix {

/// Whether a test can make threads. WebAssembly is built without them.
#ifdef __EMSCRIPTEN__
inline constexpr bool kHasThreads = false;
#else
inline constexpr bool kHasThreads = true;
#endif

}  // namespace lomix
