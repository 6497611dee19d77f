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

/// The text without characters that could act on a terminal: control characters, terminal sequences
/// and marks that change the direction of writing. Line breaks and tabs become spaces, bytes that
/// are not UTF-8 become U+FFFD.
std::string cleaned(std::string_view text);

/// The same for each line of the text.
std::vector<std::string> cleanedLines(std::string_view text);

/// The JSON text of a value, with the characters that `cleaned` removes as escapes. With a negative
/// indent it is one line. No line break at the end.
std::string jsonText(const Json& value, int indent = 2);

/// How many columns a cleaned text takes: two for a wide character, none for a combining one.
int displayWidth(std::string_view text);

/// A cleaned text in at most that many columns. A longer one is cut and ends in "…".
std::string fittedTo(std::string_view text, int columns);

/// The capabilities of standard output.
struct Terminal {
  bool colour = false;
  std::optional<int> columns;  // absent if it is no terminal
  std::optional<int> rows{};   // also absent if the cursor cannot be moved

  /// No colour if NO_COLOR is set or the terminal is dumb.
  static Terminal ofStandardOutput();

  enum class Style { bold, green, dim };
  /// The text in that style; unchanged without colour.
  std::string styled(Style style, std::string_view text) const;
};

/// Rows of cleaned texts in aligned columns.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> header);

  /// Adds a row with as many cells as the header has. The style is for the whole row.
  void addRow(std::vector<std::string> cells, std::optional<Terminal::Style> style = {});

  /// The table, as wide as its contents. On a terminal that is too narrow, the widest columns are
  /// cut first.
  std::string text(const Terminal& terminal) const;

 private:
  struct Row {
    std::vector<std::string> cells;
    std::optional<Terminal::Style> style;
  };
  std::vector<int> columnWidths(std::optional<int> limit) const;

  std::vector<Row> rows_;  // the header is the first
};

}  // namespace revwarden
