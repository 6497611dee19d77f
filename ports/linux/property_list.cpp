#include "ports/linux/property_list.h"

#include "ports/linux/binary_property_list.h"
#include "ports/linux/xml_property_list.h"
#include "ports/posix/libxml_parser.h"

namespace revwarden {
namespace {

// The list itself may stand inside one more element.
constexpr size_t kMaxXmlDepth = kMaxPropertyListDepth + 1;

// White space before the XML declaration is common and harmless.
std::string_view withoutLeadingSpace(std::string_view bytes) {
  const size_t start = bytes.find_first_not_of(" \t\r\n");
  return start == bytes.npos ? std::string_view() : bytes.substr(start);
}

}  // namespace

struct PropertyListReader::Xml {
  LibxmlParser parser{kMaxXmlDepth};
  XmlPropertyListBuilder builder;

  std::optional<Value> read(std::string_view bytes, const PropertyListKeys* keys) {
    builder.begin(keys);
    if (parser.parse(withoutLeadingSpace(bytes), builder)) return std::nullopt;
    return builder.takeRoot();
  }
};

PropertyListReader::PropertyListReader() : xml_(std::make_unique<Xml>()) {}
PropertyListReader::~PropertyListReader() = default;

std::optional<Value> PropertyListReader::read(std::string_view bytes) {
  return isBinaryPropertyList(bytes) ? readBinaryPropertyList(bytes, nullptr)
                                     : xml_->read(bytes, nullptr);
}

std::optional<Dictionary> PropertyListReader::readEntries(std::string_view bytes,
                                                          std::span<const std::string_view> keys) {
  const std::optional<Value> root =
      isBinaryPropertyList(bytes) ? readBinaryPropertyList(bytes, &keys) : xml_->read(bytes, &keys);
  const Dictionary* entries = root ? root->as<Dictionary>() : nullptr;
  return entries ? std::optional(*entries) : std::nullopt;
}

std::optional<Value> readPropertyList(std::string_view bytes) {
  return PropertyListReader().read(bytes);
}

}  // namespace revwarden
