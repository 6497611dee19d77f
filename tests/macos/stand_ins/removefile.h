#pragma once
// A stand-in: the parts of <removefile.h> of macOS that the port uses.
#include <cstdint>

constexpr uint32_t REMOVEFILE_RECURSIVE = 1;
int removefile(const char* path, void* state, uint32_t flags);
