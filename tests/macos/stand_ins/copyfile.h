#pragma once
#include <cstdint>

struct Copying;
using copyfile_state_t = Copying*;
using copyfile_flags_t = uint32_t;
constexpr copyfile_flags_t COPYFILE_ALL = 0xf, COPYFILE_RECURSIVE = 1 << 15,
                           COPYFILE_NOFOLLOW = 3 << 18;
enum { COPYFILE_STATE_STATUS_CB = 6, COPYFILE_STATE_STATUS_CTX };
enum { COPYFILE_RECURSE_FILE = 1, COPYFILE_COPY_XATTR = 5 };
enum { COPYFILE_START = 1, COPYFILE_FINISH, COPYFILE_ERR };
enum { COPYFILE_CONTINUE, COPYFILE_SKIP, COPYFILE_QUIT };
copyfile_state_t copyfile_state_alloc();
int copyfile_state_free(copyfile_state_t state);
int copyfile_state_set(copyfile_state_t state, uint32_t key, const void* value);
int copyfile(const char* from, const char* to, copyfile_state_t state, copyfile_flags_t flags);
