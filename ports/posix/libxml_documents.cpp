#include "ports/posix/libxml_documents.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "ports/posix/libxml_parser.h"
#include "ports/posix/xml_text.h"

namespace revwarden {
namespace {

constexpr size_t kMaxDepth = 256;

class TreeBuilder : public XmlEvents {
 public:
  TreeBuilder() { open_.reserve(16); }

  bool startElement(const Name& name, const Attributes& attributes) override {
    XmlElement& element = open_.empty() ? root_ : child(*open_.back());
    element.name = name.asWritten();
    element.attributes.reserve(attributes.size());
    for (size_t i = 0; i < attributes.size(); ++i) {
      element.attributes.emplace_back(attributes[i].name.asWritten(), attributes[i].value);
    }
    open_.push_back(&element);
    text_ = &element.text;
    return true;
  }

  bool endElement() override {
    text_ = &open_.back()->tail;
    open_.pop_back();
    return true;
  }

  bool characters(std::string_view text) override {
    text_->append(text);
    return true;
  }

  XmlElement takeRoot() { return std::move(root_); }

 private:
  // Reserves as many children as the previous sibling has: siblings tend to be alike.
  static XmlElement& child(XmlElement& parent) {
    const size_t expected = parent.children.empty() ? 0 : parent.children.back().children.size();
    XmlElement& added = parent.children.emplace_back();
    added.children.reserve(std::min<size_t>(expected, 64));
    return added;
  }

  XmlElement root_;
  // The pointers stay valid: only the children of the innermost element can grow.
  std::vector<XmlElement*> open_;
  std::string* text_ = &root_.text;
};

void appendAttributes(std::string& out, const XmlElement& element) {
  const auto& attributes = element.attributes;
  for (auto attribute = attributes.begin(); attribute != attributes.end(); ++attribute) {
    const bool repeated = std::any_of(attributes.begin(), attribute, [&](const auto& earlier) {
      return earlier.first == attribute->first;
    });
    if (repeated) continue;
    out += ' ';
    appendXmlName(out, attribute->first);
    out += "=\"";
    appendXmlAttributeValue(out, attribute->second);
    out += '"';
  }
}

void appendElement(std::string& out, const XmlElement& element) {
  out += '<';
  const size_t nameStart = out.size();
  appendXmlName(out, element.name);
  const size_t nameLength = out.size() - nameStart;
  appendAttributes(out, element);
  if (element.text.empty() && element.children.empty()) {
    out += "/>";
    return;
  }
  out += '>';
  appendXmlText(out, element.text);
  for (const XmlElement& child : element.children) {
    appendElement(out, child);
    appendXmlText(out, child.tail);
  }
  out += "</";
  out.append(out, nameStart, nameLength);
  out += '>';
}

}  // namespace

std::string LibxmlDocuments::xmlData(const XmlElement& root) const {
  std::string out = R"(<?xml version="1.0" encoding="UTF-8"?>)";
  appendElement(out, root);
  return out;
}

Result<XmlElement> LibxmlDocuments::parse(std::string_view bytes) const {
  TreeBuilder tree;
  LibxmlParser parser(kMaxDepth);
  if (const Result<> parsed = parser.parse(bytes, tree); !parsed) return parsed.error();
  return tree.takeRoot();
}

}  // namespace revwarden
