#pragma once

#include <vector>

#include "base/value.h"
#include "base/xml_element.h"

namespace revwarden {

/// The answers in a document of the update service, one dictionary of texts for each "item" below
/// the root, in document order (catalogue/version_info_keys.h). Empty for a document that is absent
/// (nullptr) or whose root is no "response". Takes the texts out of the document.
std::vector<Dictionary> convertedArrayFromResponse(XmlElement* root);

}  // namespace revwarden
