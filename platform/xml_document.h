#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "base/xml_element.h"

namespace revwarden {

/// Writes and reads XML documents. Any thread.
class XmlDocuments {
 public:
  virtual ~XmlDocuments() = default;

  /// The document with this root as bytes: XML 1.0 in UTF-8, compact, with one declaration in
  /// front. Characters that XML cannot hold are left out; the result is always well-formed.
  virtual std::string xmlData(const XmlElement& root) const = 0;

  /// Returns the root element of a document in the encoding that it declares. Text that is only
  /// white space and CDATA sections are kept as text; comments and processing instructions are left
  /// out. Nothing is fetched from outside the document; one that expands beyond reason or nests
  /// deeper than 256 levels is an error.
  virtual Result<XmlElement> parse(std::string_view bytes) const = 0;
};

}  // namespace revwarden
