// Forces or forbids inlining. Vector code keeps a row's constants in registers only if a whole loop
// is one function; code that hardly ever runs must stay out of it.
#pragma once

#if defined(_MSC_VER)
#define LOMIX_INLINE __forceinline
#define LOMIX_INLINE_LAMBDA
#define LOMIX_APART inline __declspec(noinline)
#else
#define LOMIX_INLINE inline __attribute__((always_inline))
#define LOMIX_INLINE_LAMBDA __attribute__((always_inline))
#define LOMIX_APART inline __attribute__((noinline, cold))
#endif
