#include "ports/posix/suggested_filename.h"

#include <curl/curl.h>

#include <algorithm>
#include <map>

#include "base/text.h"

namespace revwarden {
namespace {

// File systems allow 255 bytes. The rest is for endings that unpacking and renaming add.
constexpr size_t kLongestName = 240;
constexpr size_t kLongestExtension = 32;

/// Removes the text before the next semicolon that is not quoted, and returns it.
std::string_view takeParameter(std::string_view& header) {
  bool isQuoted = false;
  size_t end = 0;
  for (; end < header.size() && (isQuoted || header[end] != ';'); ++end) {
    if (header[end] == '"') isQuoted = !isQuoted;
    if (header[end] == '\\' && isQuoted) ++end;
  }
  end = std::min(end, header.size());
  const std::string_view parameter = header.substr(0, end);
  header.remove_prefix(std::min(end + 1, header.size()));
  return parameter;
}

std::string unquoted(std::string_view value) {
  if (!value.starts_with('"')) return std::string(value);
  std::string text;
  for (size_t i = 1; i < value.size() && value[i] != '"'; ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) ++i;
    text += value[i];
  }
  return text;
}

/// The parameters of a header, by their names in upper case.
std::map<std::string, std::string> parametersOf(std::string_view header) {
  std::map<std::string, std::string> parameters;
  while (!header.empty()) {
    const std::string_view parameter = takeParameter(header);
    const size_t sign = parameter.find('=');
    if (sign == parameter.npos) continue;
    parameters.try_emplace(asciiUpperCase(trimmingSpaces(parameter.substr(0, sign))),
                           unquoted(trimmingSpaces(parameter.substr(sign + 1))));
  }
  return parameters;
}

/// Text that is no escape stays as it is.
std::string percentDecoded(const std::string& text) {
  int length = 0;
  char* const decoded =
      curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &length);
  if (!decoded) return "";
  std::string result(decoded, static_cast<size_t>(length));
  curl_free(decoded);
  return result;
}

/// The text of "UTF-8'en'na%C3%AFve.zip". Empty if the charset is neither UTF-8 nor ISO-8859-1,
/// which `asUtf8` tells apart.
std::string extendedValue(std::string_view value) {
  const size_t charsetEnd = value.find('\'');
  const size_t languageEnd = value.find('\'', charsetEnd + 1);
  if (charsetEnd == value.npos || languageEnd == value.npos) return "";
  const std::string charset = asciiUpperCase(value.substr(0, charsetEnd));
  if (charset != "UTF-8" && charset != "ISO-8859-1") return "";
  return percentDecoded(std::string(value.substr(languageEnd + 1)));
}

std::string_view pathOf(std::string_view url) {
  url = url.substr(0, url.find_first_of("?#"));
  const size_t authority = url.find("://");
  if (authority == url.npos) return "";
  const size_t path = url.find('/', authority + 3);
  return path == url.npos ? "" : url.substr(path);
}

bool isControl(unsigned char byte) {
  return byte < 0x20 || byte == 0x7f;
}

/// Bytes that are not UTF-8 are read as ISO-8859-1.
std::string asUtf8(const std::string& bytes) {
  if (isValidUtf8(bytes)) return bytes;
  std::string text;
  for (const unsigned char byte : bytes) {
    if (byte < 0x80 || byte >= 0xa0) appendUtf8(text, byte);  // between: control characters
  }
  return text;
}

/// At most the first `size` bytes, without part of a character at the end.
std::string_view firstBytes(std::string_view text, size_t size) {
  if (text.size() <= size) return text;
  while (size > 0 && (text[size] & 0xc0) == 0x80) --size;
  return text.substr(0, size);
}

std::string shortened(const std::string& name) {
  if (name.size() <= kLongestName) return name;
  const std::string_view extension = pathExtension(name);
  if (extension.empty() || extension.size() > kLongestExtension) {
    return std::string(firstBytes(name, kLongestName));
  }
  std::string result(firstBytes(name, kLongestName - extension.size() - 1));
  return result.append(".").append(extension);
}

std::optional<std::string> cleaned(std::string name) {
  std::erase_if(name, isControl);
  name = shortened(asUtf8(std::string(lastPathComponent(name))));
  if (name.empty() || name == "/" || name == "." || name == "..") return std::nullopt;
  return name;
}

}  // namespace

std::optional<std::string> suggestedFilename(std::string_view contentDisposition,
                                             std::string_view url) {
  auto parameters = parametersOf(contentDisposition);
  if (auto name = cleaned(extendedValue(parameters["FILENAME*"]))) return name;
  if (auto name = cleaned(parameters["FILENAME"])) return name;
  return cleaned(percentDecoded(std::string(pathOf(url))));
}

}  // namespace revwarden
