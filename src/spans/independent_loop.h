#pragma once

// A promise to the compiler about the loop that follows: no pass of it depends on what another one writes.
// Clang finds out for itself, and takes it ill if a sanitizer keeps it from using a promise.

#ifdef __clang__
#define TRV_INDEPENDENT_LOOP
#else
#define TRV_INDEPENDENT_LOOP _Pragma("GCC ivdep")
#endif
