#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Texts and paths as the agent's file and log formats need them. Nothing here depends on a locale.
namespace revwarden {

/// Whether the bytes are well-formed UTF-8: no overlong forms, surrogates or values past U+10FFFF.
bool isValidUtf8(std::string_view bytes);

/// The length of the well-formed UTF-8 character at the start of `text`, which is not empty; 0 if
/// there is none.
size_t utf8SequenceLength(std::string_view text);

/// Removes the first character of `text`, which must not be empty, and returns it. Returns U+FFFD
/// for bytes that are not UTF-8; a lead byte and the continuation bytes after it count as one.
char32_t takeCharacter(std::string_view& text);

/// Appends a character in UTF-8.
void appendUtf8(std::string& text, char32_t character);

/// Returns true for a character that a terminal or a log must not get: control characters, line and
/// paragraph separators, and marks that change the direction of writing.
bool isUnsafeToPrint(char32_t character);

/// `text` on one line that is safe to print, with unsafe characters as escapes ("\n", "\u001b") and
/// U+FFFD for bytes that are not UTF-8.
std::string escaped(std::string_view text);

/// Upper case of the ASCII letters; every other byte stays.
std::string asciiUpperCase(std::string_view text);

/// Without the spaces at both ends: tab and the Unicode space separators, such as the no-break
/// space. Line breaks are no spaces.
std::string_view trimmingSpaces(std::string_view text);

/// The same without line breaks at both ends either.
std::string_view trimmingSpacesAndLineBreaks(std::string_view text);

/// `format` with each "%@" replaced by the next argument and each "%N$@" by argument N (1 to 9); an
/// absent or missing argument reads "(null)". "%%" is a percent sign.
std::string formatted(std::string_view format,
                      const std::vector<std::optional<std::string>>& arguments);

/// The part of a path after its last slash, trailing slashes aside; "/" for the root.
std::string_view lastPathComponent(std::string_view path);

/// The text after the last dot of the last component, "" without one. A leading dot starts a hidden
/// name, not an extension.
std::string_view pathExtension(std::string_view path);

/// The path without its extension and the dot before it.
std::string_view deletingPathExtension(std::string_view path);

/// The "file:" address of a full path: bytes that cannot stand in the path of an address as they
/// are ("%" and what is no ASCII too) are percent-encoded.
std::string fileURLWithPath(std::string_view path);

}  // namespace revwarden
