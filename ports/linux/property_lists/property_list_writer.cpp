#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "ports/linux/property_lists/property_list.h"
#include "ports/linux/property_lists/property_list_scalars.h"
#include "ports/posix/xml_text.h"

namespace revwarden {
namespace {

constexpr std::string_view kHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

class Writer {
 public:
  std::string write(const Value& value) {
    out_ = kHeader;
    append(value);
    out_ += "</plist>\n";
    return std::move(out_);
  }

 private:
  void append(const Value& value) {
    out_.append(indentation_, '\t');
    value.visit([this](const auto& held) { appendHeld(held); });
    out_ += '\n';
  }

  void appendHeld(bool flag) { out_ += flag ? "<true/>" : "<false/>"; }
  void appendHeld(int64_t integer) { appendNumber("<integer>", integer, "</integer>"); }
  // Writes the shortest digits that read back as the same number.
  void appendHeld(double real) { appendNumber("<real>", real, "</real>"); }

  void appendHeld(const std::string& text) {
    out_ += "<string>";
    appendXmlText(out_, text);
    out_ += "</string>";
  }

  void appendHeld(Date date) {
    out_ += "<date>";
    appendDate(out_, date);
    out_ += "</date>";
  }

  void appendHeld(const Data& data) {
    out_ += "<data>";
    appendBase64(out_, data.bytes);
    out_ += "</data>";
  }

  void appendHeld(const Array& array) {
    if (array.empty()) return void(out_ += "<array/>");
    out_ += "<array>\n";
    ++indentation_;
    for (const Value& element : array) append(element);
    --indentation_;
    out_.append(indentation_, '\t').append("</array>");
  }

  void appendHeld(const Dictionary& dictionary) {
    if (dictionary.empty()) return void(out_ += "<dict/>");
    out_ += "<dict>\n";
    ++indentation_;
    for (const DictionaryEntry& entry : dictionary) {
      out_.append(indentation_, '\t').append("<key>");
      appendXmlText(out_, entry.key);
      out_ += "</key>\n";
      append(entry.value);
    }
    --indentation_;
    out_.append(indentation_, '\t').append("</dict>");
  }

  template <typename Number>
  void appendNumber(std::string_view start, Number number, std::string_view end) {
    std::array<char, 32> digits;
    const auto [rest, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    out_ += start;
    out_.append(digits.data(), error == std::errc() ? rest : digits.data());
    out_ += end;
  }

  std::string out_;
  size_t indentation_ = 0;
};

}  // namespace

std::string writeXmlPropertyList(const Value& value) {
  return Writer().write(value);
}

}  // namespace revwarden
