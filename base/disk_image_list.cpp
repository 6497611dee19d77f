#include "base/disk_image_list.h"

namespace revwarden {

std::optional<std::string> firstMountPoint(const Value& attachList) {
  const Dictionary* list = attachList.as<Dictionary>();
  const Array entities = list ? list->arrayFor("system-entities").value_or(Array()) : Array();
  for (const Value& value : entities) {
    const Dictionary* entity = value.as<Dictionary>();
    const std::string* mountPoint = entity ? entity->stringFor("mount-point") : nullptr;
    if (mountPoint) return *mountPoint;
  }
  return std::nullopt;
}

}  // namespace revwarden
