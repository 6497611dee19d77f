#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Text for people to read, safe to send to a terminal wherever it comes from.
namespace revwarden {

using Json = nlohmann::json;

/// The text's characters; U+FFFD for each part that is not UTF-8.
std::u32string decodedUtf8(std::string_view text);
std::string encodedUtf8(std::u32string_view characters);

/// The text without what could act on a terminal: control characters, terminal sequences, marks
/// that turn the direction of writing. Line breaks and tabs become spaces; what is not UTF-8
/// becomes U+FFFD.
std::string cleaned(std::string_view text);

/// The same line by line, the line breaks kept as ends of lines.
std::vector<std::string> cleanedLines(std::string_view text);

/// The JSON text of a value, with the characters that `cleaned` drops as escapes. A negative indent
/// puts everything on one line. No line break at the end.
std::string jsonText(const Json& value, int indent = 2);

/// The columns of a terminal that a cleaned text takes: wide characters two, combining ones none.
int displayWidth(std::string_view text);

/// A cleaned text in at most that many columns, its end cut off and shown as "…" when too long.
std::string fittedTo(std::string_view text, int columns);

/// What standard output can do.
struct Terminal {
  bool colour = false;
  std::optional<int> columns;  // absent when it is no terminal
  std::optional<int> rows{};   // absent also where the cursor cannot be moved

  /// Of this process. No colour for NO_COLOR or a dumb terminal.
  static Terminal ofStandardOutput();

  enum class Style { bold, green, dim };
  /// The text in that style, or as it is without colour.
  std::string styled(Style style, std::string_view text) const;
};

/// Rows of cleaned texts in aligned columns.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> header);

  /// As many cells as the header has. A style is for the whole row.
  void addRow(std::vector<std::string> cells, std::optional<Terminal::Style> style = {});

  /// The table, sized to its contents; on a terminal, columns wider than there is room for are cut,
  /// the widest first.
  std::string text(const Terminal& terminal) const;

 private:
  struct Row {
    std::vector<std::string> cells;
    std::optional<Terminal::Style> style;
  };
  std::vector<int> columnWidths(std::optional<int> room) const;

  std::vector<Row> rows_;  // the header is the first
};

}  // namespace revwarden
