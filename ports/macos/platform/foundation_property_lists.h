#pragma once

#include "platform/property_list.h"

namespace revwarden {

/// Property lists as Foundation reads them.
class FoundationPropertyLists final : public PropertyLists {
 public:
  std::optional<Value> propertyListFromData(std::string_view bytes) const override;
};

}  // namespace revwarden
