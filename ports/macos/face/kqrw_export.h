#pragma once

// What others may link to. GCC exports classes by itself, and takes no attribute for them.
#define KQRW_EXPORT __attribute__((visibility("default")))
#ifdef __clang__
#define KQRW_EXPORTED_CLASS KQRW_EXPORT
#else
#define KQRW_EXPORTED_CLASS
#endif
