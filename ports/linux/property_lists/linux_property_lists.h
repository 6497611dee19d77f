#pragma once

#include "platform/property_list.h"

namespace revwarden {

/// Property lists by libplist and libxml2.
class LinuxPropertyLists final : public PropertyLists {
 public:
  std::optional<Value> propertyListFromData(std::string_view bytes) const override;
};

}  // namespace revwarden
