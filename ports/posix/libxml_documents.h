#pragma once

#include "platform/xml_document.h"

namespace revwarden {

/// XML documents by libxml2. Elements nest at most 256 deep in a document that is read.
class LibxmlDocuments : public XmlDocuments {
 public:
  std::string xmlData(const XmlElement& root) const override;
  Result<XmlElement> parse(std::string_view bytes) const override;
};

}  // namespace revwarden
