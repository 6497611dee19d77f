#pragma once

constexpr unsigned RENAME_EXCL = 4;
int renamex_np(const char* from, const char* to, unsigned flags);
