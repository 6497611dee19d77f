#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"

struct _xmlParserCtxt;  // of libxml2 NOLINT(bugprone-reserved-identifier)

namespace revwarden {

/// Receives the contents of an XML document, in document order.
class XmlEvents {
 public:
  /// The name of an element or attribute as "PREFIX:LOCAL".
  struct Name {
    const char* prefix;  // nullptr without one
    const char* local;

    std::string asWritten() const;
  };
  /// The attributes of an element, with decoded values. Valid during the call.
  struct Attribute {
    Name name;
    std::string_view value;
  };
  class Attributes {
   public:
    Attributes(const unsigned char** raw, int count)
        : raw_(raw), count_(static_cast<size_t>(count)) {}
    size_t size() const { return count_; }
    Attribute operator[](size_t index) const;

   private:
    const unsigned char** raw_;
    size_t count_;
  };

  virtual ~XmlEvents() = default;

  /// The functions return false to refuse the document.
  virtual bool startElement(const Name& name, const Attributes& attributes) = 0;
  virtual bool endElement() = 0;
  /// The text of an element may come in several pieces. CDATA and white space are text.
  virtual bool characters(std::string_view text) = 0;
};

/// Parses untrusted XML documents, one after another, and reuses its memory. One thread at a time.
///
/// Nothing outside the document is read: no file, no address, no external entity. Entities that the
/// document declares are replaced; an error if their text together is much longer than the
/// document. The nesting of elements and the number of attributes are limited.
class LibxmlParser {
 public:
  explicit LibxmlParser(size_t maxDepth);

  /// Reads a whole document in the encoding that it declares. It is an error, with the events up to
  /// there delivered, if the document is not well-formed or `events` refuses it.
  Result<> parse(std::string_view bytes, XmlEvents& events);

 private:
  struct Callbacks;
  struct Deleter {
    void operator()(_xmlParserCtxt* context) const;
  };

  void prepare();
  void refuse(std::string reason);
  // Counts bytes of replaced entities. Returns false beyond the limit.
  bool spend(size_t size);

  const size_t maxDepth_;
  std::unique_ptr<_xmlParserCtxt, Deleter> context_;
  // While a document is parsed:
  XmlEvents* events_ = nullptr;
  size_t depth_ = 0;
  size_t expansionLeft_ = 0;
  size_t attributeDeclarations_ = 0;
  std::string error_;  // the first one
};

}  // namespace revwarden
