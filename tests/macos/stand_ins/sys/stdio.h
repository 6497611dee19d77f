#pragma once
// A stand-in: the parts of <sys/stdio.h> of macOS that the port uses.

constexpr unsigned RENAME_EXCL = 4;
int renamex_np(const char* from, const char* to, unsigned flags);
