#pragma once

#include <string>
#include <vector>

#include "base/value.h"
#include "base/xml_element.h"

// The XML documents of the exchange with the update service. Intentional: the bundle identifier is
// "bundleId" in a request and "bundle_id" in a response.
namespace revwarden {

class KQSystemInformation;
struct Platform;

/// Returns the processor name for a request: "ppc", "x86_64" or "i386". Intentional: every 64-bit
/// machine that is not a PowerPC is "x86_64".
std::string cpuVersion(const KQSystemInformation& machine);

/// Returns a new "request" element that describes the host application and the machine, without
/// items.
XmlElement appsUpdatesCheckRequestRootXMLElement(const Platform& platform);

/// Returns the "item" element that asks about the application of a record. The service has to
/// answer for a mandatory one.
XmlElement requestItem(const Dictionary& record, bool mandatory);

/// The name of the root element of a response.
inline constexpr char kResponseRoot[] = "response";

/// Returns the answers in a response, in document order: for each "item" a dictionary of texts
/// (catalogue/version_info_keys.h). Empty if `root` is nullptr or its name is not `kResponseRoot`.
/// Moves the texts out of the document.
std::vector<Dictionary> convertedArrayFromResponse(XmlElement* root);

}  // namespace revwarden
