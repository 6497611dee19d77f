#pragma once

#include "platform/xml_document.h"

namespace revwarden {

/// XML documents by libxml2. A document whose elements nest deeper than 256 levels is an error.
class LibxmlDocuments : public XmlDocuments {
 public:
  std::string xmlData(const XmlElement& root) const override;
  Result<XmlElement> parse(std::string_view bytes) const override;
};

}  // namespace revwarden
