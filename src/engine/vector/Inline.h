// Vector code keeps a row's constants in registers only if all bodies of a loop end up in one
// function.
#pragma once

#if defined(_MSC_VER)
#define LOMIX_INLINE __forceinline
#define LOMIX_INLINE_LAMBDA
#else
#define LOMIX_INLINE inline __attribute__((always_inline))
#define LOMIX_INLINE_LAMBDA __attribute__((always_inline))
#endif
