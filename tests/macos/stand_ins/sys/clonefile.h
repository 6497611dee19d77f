#pragma once
// A stand-in: the parts of <sys/clonefile.h> of macOS that the port uses.
#include <cstdint>

constexpr uint32_t CLONE_NOFOLLOW = 1, CLONE_NOOWNERCOPY = 2;
int clonefile(const char* from, const char* to, uint32_t flags);
