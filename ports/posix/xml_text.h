#pragma once

#include <string>
#include <string_view>

// Escapes text for XML 1.0. Characters that XML forbids and bytes that are not UTF-8 are left out.
namespace revwarden {

/// Appends `text` as the content of an element.
void appendXmlText(std::string& out, std::string_view text);

/// Appends `text` as the value of an attribute in double quotes, without the quotes. Tabs and line
/// breaks survive reading.
void appendXmlAttributeValue(std::string& out, std::string_view text);

/// Appends `name` as the name of an element or attribute. Characters that a name cannot contain are
/// left out.
void appendXmlName(std::string& out, std::string_view name);

}  // namespace revwarden
