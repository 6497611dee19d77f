#pragma once

#include "platform/log.h"

namespace revwarden {

/// The system log, and the product's in the shared library.
class SharedLog final : public Log {
 public:
  void NSLog(std::string_view format, const Arguments& arguments) override;
  void KQLog(std::string_view format, const Arguments& arguments) override;
};

}  // namespace revwarden
