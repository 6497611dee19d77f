#include "ports/linux/property_lists/linux_property_lists.h"

#include "ports/linux/property_lists/property_list.h"

namespace revwarden {

std::optional<Value> LinuxPropertyLists::propertyListFromData(std::string_view bytes) const {
  return readPropertyList(bytes);
}

}  // namespace revwarden
