#pragma once

#include <httplib.h>

namespace revwarden {

/// The paths of the two endpoints.
inline constexpr const char* kUpdatePath = "/api/update";
inline constexpr const char* kFilesPath = "/files/";

/// Makes the server refuse requests that no endpoint serves: every method except POST at the update
/// path and except GET and HEAD below the files path (405), and a POST without a body (400).
void refuseOtherMethods(httplib::Server& server);

}  // namespace revwarden
