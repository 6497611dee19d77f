#pragma once

// Marks what the bundle exports. GCC exports every class and accepts no attribute on one.
#define KQRW_EXPORT __attribute__((visibility("default")))
#ifdef __clang__
#define KQRW_EXPORTED_CLASS KQRW_EXPORT
#else
#define KQRW_EXPORTED_CLASS
#endif
