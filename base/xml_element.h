#pragma once

#include <string>
#include <utility>
#include <vector>

namespace revwarden {

/// An element of an XML document, with all it holds. Texts are UTF-8 and as meant, not as escaped.
///
/// Text stands before the first child (`text`) and behind each child (that child's `tail`), so that
/// mixed content keeps its order.
struct XmlElement {
  std::string name;  // as written, with its prefix
  std::vector<std::pair<std::string, std::string>> attributes;
  std::string text;
  std::vector<XmlElement> children;
  std::string tail;

  /// The text of the element and of all its descendants, in document order, without its own tail.
  std::string stringValue() const;
};

}  // namespace revwarden
