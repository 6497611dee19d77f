#pragma once

#include <httplib.h>

namespace revwarden {

inline constexpr const char* kUpdatePath = "/api/update";
inline constexpr const char* kFilesPath = "/files/";

/// Lets the server refuse what no endpoint serves: other methods than POST at the update path and
/// GET or HEAD below the files path (405), and a POST that brings no body (400).
void refuseOtherMethods(httplib::Server& server);

}  // namespace revwarden
