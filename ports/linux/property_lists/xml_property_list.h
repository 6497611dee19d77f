#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/value.h"
#include "ports/posix/libxml_parser.h"

namespace revwarden {

/// How deep arrays and dictionaries nest at most in a list that is read.
inline constexpr size_t kMaxPropertyListDepth = 128;

/// The keys of the root dictionary that are wanted.
using PropertyListKeys = std::span<const std::string_view>;

/// Builds a value from the events of an XML property list, and refuses whatever is none.
class XmlPropertyListBuilder : public XmlEvents {
 public:
  /// Forgets the last list. With `keys`, which must live until the next call, only those entries of
  /// the root dictionary are built; a root of another kind is then built whole.
  void begin(const PropertyListKeys* keys);

  /// The value of the list that was parsed to its end.
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
  bool isWanted(std::string_view key) const;

  const PropertyListKeys* keys_ = nullptr;
  bool inPlist_ = false;
  std::optional<Kind> scalar_;  // the element without children that is open
  std::string text_;            // its text so far
  bool collects_ = false;       // whether that text matters
  std::vector<Container> containers_;
  size_t depth_ = 0;    // of `containers_`, how many are open; the others lend their memory
  bool skips_ = false;  // inside the value of an unwanted key: checked, not built
  std::optional<Value> root_;
};

}  // namespace revwarden
