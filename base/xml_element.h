#pragma once

#include <string>
#include <utility>
#include <vector>

namespace revwarden {

/// An element of an XML document with its contents. All text is UTF-8 and unescaped.
///
/// `text` is the text before the first child. The text after a child is that child's `tail`, so
/// mixed content keeps its order.
struct XmlElement {
  std::string name;  // as written, with its prefix
  std::vector<std::pair<std::string, std::string>> attributes;
  std::string text;
  std::vector<XmlElement> children;
  std::string tail;

  /// Returns the text of the element and all its descendants in document order, without its own
  /// tail.
  std::string stringValue() const;
};

}  // namespace revwarden
