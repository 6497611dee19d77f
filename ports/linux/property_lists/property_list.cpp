#include "ports/linux/property_lists/property_list.h"

#include "ports/linux/property_lists/binary_property_list.h"
#include "ports/linux/property_lists/text_property_list.h"
#include "ports/linux/property_lists/xml_property_list.h"
#include "ports/posix/libxml_parser.h"

namespace revwarden {
namespace {

// The "plist" element contains the list.
constexpr size_t kMaxXmlDepth = kMaxPropertyListDepth + 1;

// Near the end of a document libxml2 asks for more input at every token. In a small list that takes
// most of the time, so white space is appended.
constexpr size_t kPadding = 256;
constexpr size_t kMaxPaddedSize = size_t{16} << 10;

// White space before the XML declaration is an error in XML, but common and harmless.
std::string_view withoutLeadingSpace(std::string_view bytes) {
  const size_t start = bytes.find_first_not_of(" \t\r\n");
  return start == bytes.npos ? std::string_view() : bytes.substr(start);
}

}  // namespace

struct PropertyListReader::Tools {
  LibxmlParser parser{kMaxXmlDepth};
  XmlPropertyListBuilder builder;
  std::string padded;

  // With `keys`, a root dictionary has no other entries.
  std::optional<Value> read(std::string_view bytes, const PropertyListKeys* keys) {
    if (isBinaryPropertyList(bytes)) return readBinaryPropertyList(bytes, keys);
    std::optional<Value> root = readXml(withoutLeadingSpace(bytes), keys);
    return root ? std::move(root) : readTextPropertyList(bytes, keys);
  }

  std::optional<Value> readXml(std::string_view bytes, const PropertyListKeys* keys) {
    const bool isWide = bytes.substr(0, 4).find('\0') != bytes.npos || bytes.starts_with('\xFE') ||
                        bytes.starts_with('\xFF');
    if (bytes.size() <= kMaxPaddedSize && !isWide) {
      padded.assign(bytes).append(kPadding, '\n');
      bytes = padded;
    }
    builder.begin(keys);
    if (!parser.parse(bytes, builder)) return std::nullopt;
    return builder.takeRoot();
  }
};

PropertyListReader::PropertyListReader() : tools_(std::make_unique<Tools>()) {}
PropertyListReader::~PropertyListReader() = default;

std::optional<Value> PropertyListReader::read(std::string_view bytes) {
  return tools_->read(bytes, nullptr);
}

std::optional<Dictionary> PropertyListReader::readEntries(std::string_view bytes,
                                                          PropertyListKeys keys) {
  const std::optional<Value> root = tools_->read(bytes, &keys);
  const Dictionary* entries = root ? root->as<Dictionary>() : nullptr;
  return entries ? std::optional(*entries) : std::nullopt;
}

std::optional<Value> readPropertyList(std::string_view bytes) {
  return PropertyListReader().read(bytes);
}

std::optional<Value> LinuxPropertyLists::propertyListFromData(std::string_view bytes) const {
  return readPropertyList(bytes);
}

}  // namespace revwarden
