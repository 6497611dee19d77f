#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/value.h"
#include "ports/linux/property_lists/property_list.h"
#include "ports/posix/libxml_parser.h"

namespace revwarden {

/// Builds a value from the events of an XML document, and refuses a document that is not a property
/// list. The parser limits the depth.
class XmlPropertyListBuilder : public XmlEvents {
 public:
  /// Starts a new list. With `keys`, which the caller keeps until the list ends, only those entries
  /// of a root dictionary are built.
  void begin(const PropertyListKeys* keys);

  /// Returns the value of a list that was parsed to its end, once.
  std::optional<Value> takeRoot();

  bool startElement(const Name& name, const Attributes& attributes) override;
  bool endElement() override;
  bool characters(std::string_view text) override;

 private:
  enum class Kind { plist, key, dict, array, string, integer, real, yes, no, date, data, unknown };

  // A dictionary or array that is open.
  struct Container {
    bool isDictionary = false;
    bool hasKey = false;
    std::string key;
    size_t usualSize = 0;  // what the last one at this depth held
    std::vector<Value> elements;
    DictionaryBuilder entries;
    size_t size = 0;
  };

  static Kind kindNamed(std::string_view name);
  bool mayStart(Kind kind) const;
  void open(Kind kind);
  bool endScalar();
  bool endKey();
  bool endContainer();
  std::optional<Value> scalar() const;
  bool add(Value value);

  const PropertyListKeys* keys_ = nullptr;
  bool inPlist_ = false;
  std::optional<Kind> scalar_;  // the element without children that is open
  std::string text_;            // its text so far
  bool collects_ = false;       // whether that text matters
  std::vector<Container> containers_;
  size_t depth_ = 0;    // how many `containers_` are open; the others keep their memory for later
  bool skips_ = false;  // inside the value of an unwanted key, which is checked and not built
  std::optional<Value> root_;
};

}  // namespace revwarden
