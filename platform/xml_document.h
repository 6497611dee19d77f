#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "base/xml_element.h"

namespace revwarden {

/// Writes and parses XML documents. Any thread.
class XmlDocuments {
 public:
  virtual ~XmlDocuments() = default;

  /// Returns the document with this root: XML 1.0 in UTF-8 with a declaration, without white space
  /// for layout. Omits characters that XML does not allow, so the result is always well-formed.
  virtual std::string xmlData(const XmlElement& root) const = 0;

  /// Returns the root element of a document in the encoding that it declares. Keeps white space and
  /// CDATA sections as text; omits comments and processing instructions. Treats the document as
  /// untrusted input: loads nothing from outside it, and returns an error if its entities expand
  /// too far or it nests deeper than 256 levels.
  virtual Result<XmlElement> parse(std::string_view bytes) const = 0;
};

}  // namespace revwarden
