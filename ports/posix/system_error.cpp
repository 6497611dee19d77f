#include "ports/posix/system_error.h"

#include <system_error>

namespace revwarden {

Error systemError(std::string_view path, int errorNumber) {
  const bool isFull = errorNumber == ENOSPC || errorNumber == EDQUOT || errorNumber == EFBIG;
  return {isFull ? "noSpace" : "",
          std::string(path) + ": " + std::generic_category().message(errorNumber)};
}

}  // namespace revwarden
