#pragma once

#include <vector>

#include "base/value.h"
#include "base/xml_element.h"

namespace revwarden {

/// The name of the root element of an answer.
inline constexpr char kResponseRoot[] = "response";

/// Returns the answers in a document of the update service, one dictionary of texts for each "item"
/// below the root, in document order (catalogue/version_info_keys.h). Empty if there is no document
/// (nullptr) or its root is not `kResponseRoot`. Moves the texts out of the document.
std::vector<Dictionary> convertedArrayFromResponse(XmlElement* root);

}  // namespace revwarden
