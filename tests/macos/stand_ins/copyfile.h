#pragma once
// A stand-in: the parts of <copyfile.h> of macOS that the port uses.
#include <cstdint>

struct Copying {
  void *onStep, *context;
};
using copyfile_state_t = Copying*;
using copyfile_flags_t = uint32_t;
enum : uint32_t { COPYFILE_ALL = 0xf, COPYFILE_RECURSIVE = 1 << 15, COPYFILE_NOFOLLOW = 3 << 18 };
enum { COPYFILE_STATE_STATUS_CB = 6, COPYFILE_STATE_STATUS_CTX };
enum { COPYFILE_RECURSE_FILE = 1, COPYFILE_COPY_XATTR = 5 };
enum { COPYFILE_START = 1, COPYFILE_FINISH, COPYFILE_ERR };
enum { COPYFILE_CONTINUE, COPYFILE_SKIP, COPYFILE_QUIT };
inline const auto copyfile_state_alloc = [] { return new Copying; };
inline const auto copyfile_state_free = [](copyfile_state_t state) { delete state; };
inline const auto copyfile_state_set = [](copyfile_state_t state, uint32_t key, const void* value) {
  (key == COPYFILE_STATE_STATUS_CTX ? state->context : state->onStep) = const_cast<void*>(value);
};
int copyfile(const char* from, const char* to, copyfile_state_t state, copyfile_flags_t flags);
