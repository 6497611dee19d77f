#include "base/xml_element.h"

namespace revwarden {
namespace {

void appendText(const XmlElement& element, std::string& text) {
  text += element.text;
  for (const XmlElement& child : element.children) {
    appendText(child, text);
    text += child.tail;
  }
}

}  // namespace

std::string XmlElement::stringValue() const {
  std::string joined;
  appendText(*this, joined);
  return joined;
}

}  // namespace revwarden
