#include "check/update_protocol.h"

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "catalogue/record_keys.h"
#include "platform/bundle.h"
#include "platform/platform.h"
#include "platform/system_information.h"

namespace revwarden {
namespace {

void appendChild(XmlElement& item, const char* name, const std::string* text) {
  XmlElement& child = item.children.emplace_back();
  child.name = name;
  if (text) child.text = *text;
}

std::optional<std::string> hostVersion(Bundles& bundles) {
  const std::shared_ptr<const Bundle> host = bundles.threadSafeMainBundle();
  if (!host || !host->shortVersionString) return std::nullopt;
  const std::string* text = host->shortVersionString->as<std::string>();
  return text ? std::optional(*text) : std::nullopt;
}

Dictionary convertedItem(XmlElement& item) {
  DictionaryBuilder fields;
  fields.reserve(item.children.size());
  for (XmlElement& field : item.children) {
    // Avoids a copy for fields without children, which is nearly all.
    std::string text = field.children.empty() ? std::move(field.text) : field.stringValue();
    // Intentional: tested before trimming, so a field of spaces is stored as "", and an empty field
    // neither is stored nor replaces an earlier one of the same name.
    if (text.empty()) continue;
    const std::string_view trimmed = trimmingSpaces(text);  // keeps line breaks
    if (trimmed.size() != text.size()) text = std::string(trimmed);
    fields.set(std::move(field.name), std::move(text));
  }
  return fields.build();
}

}  // namespace

std::string cpuVersion(const KQSystemInformation& machine) {
  if (machine.isPowerPC()) return "ppc";
  return machine.is64BitCapable() ? "x86_64" : "i386";
}

XmlElement appsUpdatesCheckRequestRootXMLElement(const Platform& platform) {
  XmlElement root;
  root.name = "request";
  if (auto version = hostVersion(platform.bundles)) {
    root.attributes.emplace_back("version", std::move(*version));
  }
  const KQSystemInformation& machine = platform.systemInformation;
  if (auto serial = machine.computerSerialNumber()) {
    root.attributes.emplace_back("sn", std::move(*serial));
  }
  root.attributes.emplace_back("os", machine.systemVersionString());
  root.attributes.emplace_back("cpu", cpuVersion(machine));
  return root;
}

XmlElement requestItem(const Dictionary& record, bool mandatory) {
  XmlElement item;
  item.name = "item";
  item.children.reserve(mandatory ? 4 : 3);
  appendChild(item, "name", record.stringFor(kKQRWApplicationNameKey));
  appendChild(item, "version", record.stringFor(kKQRWCurrentVersionKey));
  appendChild(item, "bundleId", record.stringFor(kKQRWBundleIdKey));
  if (mandatory) appendChild(item, "mandatory", nullptr);
  return item;
}

std::vector<Dictionary> convertedArrayFromResponse(XmlElement* root) {
  std::vector<Dictionary> answers;
  if (!root || root->name != kResponseRoot) return answers;
  answers.reserve(root->children.size());
  for (XmlElement& child : root->children) {
    if (child.name == "item") answers.push_back(convertedItem(child));
  }
  return answers;
}

}  // namespace revwarden
