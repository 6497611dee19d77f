#include "check/update_answer.h"

#include <string>

#include "base/text.h"

namespace revwarden {
namespace {

Dictionary convertedItem(const XmlElement& item) {
  DictionaryBuilder fields;
  fields.reserve(item.children.size());
  for (const XmlElement& field : item.children) {
    // Leaves, nearly all fields, need no joining.
    const std::string joined = field.children.empty() ? std::string() : field.stringValue();
    const std::string& text = field.children.empty() ? field.text : joined;
    // Asked before trimming: a field of mere spaces is stored, empty; an empty one is not.
    if (text.empty()) continue;
    fields.set(field.name, trimmingSpaces(text));
  }
  return fields.build();
}

}  // namespace

std::vector<Dictionary> convertedArrayFromResponse(const XmlElement* root) {
  std::vector<Dictionary> answers;
  if (!root || root->name != "response") return answers;
  answers.reserve(root->children.size());
  for (const XmlElement& child : root->children) {
    if (child.name == "item") answers.push_back(convertedItem(child));
  }
  return answers;
}

}  // namespace revwarden
