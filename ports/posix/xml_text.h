#pragma once

#include <string>
#include <string_view>

// Text as XML 1.0 holds it. Characters that XML forbids and bytes that are no UTF-8 are dropped.
namespace revwarden {

/// Appends `text` as the content of an element.
void appendXmlText(std::string& out, std::string_view text);

/// Appends `text` as the value of an attribute in double quotes, without the quotes. Tabs and line
/// breaks survive reading.
void appendXmlAttributeValue(std::string& out, std::string_view text);

/// Appends `name` as the name of an element or attribute; what a name cannot hold is dropped.
void appendXmlName(std::string& out, std::string_view name);

}  // namespace revwarden
