#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct _xmlParserCtxt;  // of libxml2 NOLINT(bugprone-reserved-identifier)

namespace revwarden {

/// Hears of the contents of an XML document, in document order.
class XmlEvents {
 public:
  /// The name of an element or attribute, in the parts that it was written in.
  struct Name {
    const char* prefix;  // nullptr without one
    const char* local;

    std::string asWritten() const;
  };
  /// An element's attributes, values decoded; valid during the call.
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

  /// Returns false to refuse the document, as do the others.
  virtual bool startElement(const Name& name, const Attributes& attributes) = 0;
  virtual bool endElement() = 0;
  /// Text of an element may come in several pieces; CDATA and white space are text.
  virtual bool characters(std::string_view text) = 0;
};

/// Parses XML documents that nobody vouches for, one after another, keeping its memory for the
/// next.
///
/// Nothing outside the document is read: no file, no address, no external entity. Entities that the
/// document declares are replaced as long as all of them together do not outgrow it by much.
/// Elements nest to a given depth. One thread at a time.
class LibxmlParser {
 public:
  explicit LibxmlParser(size_t maxDepth);

  /// Reads a whole document in the encoding that it declares. Absent when it was well-formed and
  /// nothing was refused; else the reason in one line, and the events up to there have happened.
  std::optional<std::string> parse(std::string_view bytes, XmlEvents& events);

 private:
  struct Callbacks;
  struct Deleter {
    void operator()(_xmlParserCtxt* context) const;
  };

  void prepare();
  void refuse(std::string reason);
  // Whether the document may yet expand by so many bytes.
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
