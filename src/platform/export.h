#pragma once

// What makes a function visible to whoever loads the library. On Windows the list of exports does that.

#ifdef _WIN32
#define TRV_EXPORT
#else
#define TRV_EXPORT __attribute__((visibility("default")))
#endif
