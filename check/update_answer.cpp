#include "check/update_answer.h"

#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"

namespace revwarden {
namespace {

Dictionary convertedItem(XmlElement& item) {
  DictionaryBuilder fields;
  fields.reserve(item.children.size());
  for (XmlElement& field : item.children) {
    // Nearly all fields are leaves and need no joining.
    std::string text = field.children.empty() ? std::move(field.text) : field.stringValue();
    // Intentional: tested before trimming, so a field of spaces is stored as "", an empty one not.
    if (text.empty()) continue;
    const std::string_view trimmed = trimmingSpaces(text);
    if (trimmed.size() != text.size()) text = std::string(trimmed);
    fields.set(std::move(field.name), std::move(text));
  }
  return fields.build();
}

}  // namespace

std::vector<Dictionary> convertedArrayFromResponse(XmlElement* root) {
  std::vector<Dictionary> answers;
  if (!root || root->name != kResponseRoot) return answers;
  answers.reserve(root->children.size());
  for (XmlElement& child : root->children) {
    if (child.name == "item") answers.push_back(convertedItem(child));
  }
  return answers;
}

}  // namespace revwarden
