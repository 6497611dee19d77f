#pragma once

#include "platform/property_list.h"

namespace revwarden {

/// Reads property lists with Foundation. Any thread.
class FoundationPropertyLists final : public PropertyLists {
 public:
  std::optional<Value> propertyListFromData(std::string_view bytes) const override;
};

}  // namespace revwarden
