#pragma once

#include <string>

#include "base/value.h"
#include "base/xml_element.h"

namespace revwarden {

class KQSystemInformation;
struct Platform;

/// The processor word of a request: "ppc", "x86_64" or "i386". It describes the machine, not the
/// build of the agent.
std::string cpuVersion(const KQSystemInformation& machine);

/// A new "request" element that describes the host and the machine and asks about nothing yet.
XmlElement appsUpdatesCheckRequestRootXMLElement(const Platform& platform);

/// The "item" element that asks about one application; a mandatory one is to be answered.
XmlElement requestItem(const Dictionary& record, bool mandatory);

}  // namespace revwarden
