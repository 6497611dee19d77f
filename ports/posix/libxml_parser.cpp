#include "ports/posix/libxml_parser.h"

#include <libxml/SAX2.h>
#include <libxml/dict.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

namespace revwarden {
namespace {

// libxml2 compares each attribute of an element with all others, so their number must be limited:
// the first limit ends the parsing after an element that exceeds it, the limit of the dictionary of
// names within the element.
constexpr size_t kMaxAttributes = 256;
constexpr size_t kMaxAttributeDeclarations = 64;
constexpr size_t kMaxBytesOfNames = size_t{16} << 10;
constexpr int kMaxNamesKept = 256;

constexpr size_t kFreeExpansion = size_t{64} << 10;
constexpr size_t kMaxDescription = 300;

const char* chars(const xmlChar* text) {
  return reinterpret_cast<const char*>(text);
}

// Returns one line of ASCII: the message may quote untrusted bytes of the document.
std::string describe(const xmlError& error) {
  std::string text = error.message ? error.message : "not well-formed";
  for (char& c : text) {
    if (static_cast<unsigned char>(c) >= 0x7F) c = '?';
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  }
  text.resize(std::min(text.size(), kMaxDescription));
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return "line " + std::to_string(error.line) + ": " + text;
}

}  // namespace

std::string XmlEvents::Name::asWritten() const {
  return prefix ? std::string(prefix) + ':' + local : std::string(local);
}

XmlEvents::Attribute XmlEvents::Attributes::operator[](size_t index) const {
  // libxml2 passes five pointers for each: local name, prefix, namespace, begin and end of the
  // value.
  const xmlChar** raw = raw_ + index * 5;
  return {{chars(raw[1]), chars(raw[0])}, {chars(raw[3]), static_cast<size_t>(raw[4] - raw[3])}};
}

// The callbacks of libxml2. For the text of an entity it uses an inner context, which does not stop
// with the outer one, so the callbacks check `error_`.
struct LibxmlParser::Callbacks {
  static LibxmlParser& of(void* data) { return *static_cast<LibxmlParser*>(data); }

  static void startDocument(void* data) {
    xmlDictSetLimit(of(data).context_->dict, kMaxBytesOfNames);
  }

  static void startElement(void* data, const xmlChar* name, const xmlChar* prefix, const xmlChar*,
                           int, const xmlChar**, int count, int defaulted,
                           const xmlChar** attributes) {
    LibxmlParser& self = of(data);
    if (!self.error_.empty()) return;
    if (++self.depth_ > self.maxDepth_) return self.refuse("elements are nested too deeply");
    if (static_cast<size_t>(count) > kMaxAttributes) return self.refuse("too many attributes");
    for (int i = count - defaulted; i < count; ++i) {
      const xmlChar** raw = attributes + i * 5;
      if (!raw[3]) return self.refuse("a default value is too large");
      if (!self.spend(static_cast<size_t>(raw[4] - raw[3]))) return;
    }
    if (!self.events_->startElement({chars(prefix), chars(name)}, {attributes, count})) {
      self.refuse("unexpected element");
    }
  }

  static void endElement(void* data, const xmlChar*, const xmlChar*, const xmlChar*) {
    LibxmlParser& self = of(data);
    if (!self.error_.empty()) return;
    --self.depth_;
    if (!self.events_->endElement()) self.refuse("unexpected contents of an element");
  }

  static void characters(void* data, const xmlChar* text, int length) {
    LibxmlParser& self = of(data);
    if (!self.error_.empty()) return;
    if (!self.events_->characters({chars(text), static_cast<size_t>(length)})) {
      self.refuse("unexpected text");
    }
  }

  static xmlEntityPtr entity(void* data, const xmlChar* name) {
    LibxmlParser& self = of(data);
    if (!self.error_.empty()) return nullptr;
    xmlEntity* const found = xmlSAX2GetEntity(self.context_.get(), name);
    if (!found || found->etype == XML_INTERNAL_PREDEFINED_ENTITY) return found;
    if (found->etype != XML_INTERNAL_GENERAL_ENTITY) {
      self.refuse("external entities are not read");
      return nullptr;
    }
    // From the first entity on, libxml2's own limits apply too.
    self.context_->options &= ~XML_PARSE_HUGE;
    const size_t size = found->content ? std::strlen(chars(found->content)) : 0;
    return self.spend(size + 1) ? found : nullptr;
  }

  static xmlEntityPtr parameterEntity(void* data, const xmlChar*) {
    of(data).refuse("parameter entities are not supported");
    return nullptr;
  }

  static void attributeDeclaration(void* data, const xmlChar*, const xmlChar*, int, int,
                                   const xmlChar*, xmlEnumerationPtr values) {
    xmlFreeEnumeration(values);
    if (++of(data).attributeDeclarations_ > kMaxAttributeDeclarations) {
      of(data).refuse("too many attribute declarations");
    }
  }

  // A reference to an entity that is declared outside the document, if at all.
  static void reference(void* data, const xmlChar*) {
    of(data).refuse("external entities are not read");
  }

  // A generic lambda: newer releases of libxml2 pass a const error.
  static constexpr auto error = [](void* data, auto* error) {
    if (error->level == XML_ERR_FATAL) of(data).refuse(describe(*error));
  };

  static xmlSAXHandler handler() {
    xmlSAXHandler sax{};
    sax.initialized = XML_SAX2_MAGIC;
    sax.startDocument = startDocument;
    sax.startElementNs = startElement;
    sax.endElementNs = endElement;
    sax.characters = characters;
    sax.ignorableWhitespace = characters;
    sax.cdataBlock = characters;
    sax.getEntity = entity;
    sax.getParameterEntity = parameterEntity;
    sax.attributeDecl = attributeDeclaration;
    sax.reference = reference;
    sax.serror = error;
    return sax;
  }
};

void LibxmlParser::Deleter::operator()(_xmlParserCtxt* context) const {
  xmlFreeParserCtxt(context);
}

LibxmlParser::LibxmlParser(size_t maxDepth) : maxDepth_(maxDepth) {
  xmlInitParser();
}

Result<> LibxmlParser::parse(std::string_view bytes, XmlEvents& events) {
  if (bytes.empty()) return Error{"", "the document is empty"};
  if (bytes.size() > INT_MAX / 2) return Error{"", "the document is too large"};
  prepare();
  if (!context_) return Error{"", "out of memory"};
  events_ = &events;
  depth_ = 0;
  expansionLeft_ = kFreeExpansion + bytes.size();
  attributeDeclarations_ = 0;
  error_.clear();
  // XML_PARSE_NOENT replaces entities also in attribute values. It loads nothing from outside the
  // document: `Callbacks::entity` returns no external entity.
  constexpr int kOptions =
      XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  xmlFreeDoc(xmlCtxtReadMemory(context_.get(), bytes.data(), static_cast<int>(bytes.size()),
                               nullptr, nullptr, kOptions));
  if (error_.empty() && !context_->wellFormed) error_ = "not well-formed";
  if (error_.empty()) return {};
  context_.reset();
  return Error{"", std::exchange(error_, {})};
}

void LibxmlParser::prepare() {
  if (context_ && xmlDictSize(context_->dict) <= kMaxNamesKept) return;
  context_.reset(xmlNewParserCtxt());
  if (!context_) return;
  *context_->sax = Callbacks::handler();
  context_->userData = this;
}

void LibxmlParser::refuse(std::string reason) {
  if (!error_.empty()) return;
  error_ = std::move(reason);
  xmlStopParser(context_.get());
}

bool LibxmlParser::spend(size_t size) {
  if (size > expansionLeft_) refuse("entities expand too much");
  expansionLeft_ -= std::min(size, expansionLeft_);
  return error_.empty();
}

}  // namespace revwarden
