#include "cli/text_output.h"

#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <sstream>

#include "base/text.h"

namespace revwarden {
namespace {

constexpr char32_t kEscape = 0x1B;
constexpr int kGap = 2;        // columns between two cells
constexpr int kNarrowest = 6;  // no cell is cut below this many columns

bool isControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

bool isLineBreak(char32_t c) {
  return c == '\n' || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// The index after a terminal sequence's parameters and its final character; `from` if it has no
// end, so that an unfinished sequence does not remove the text after it.
size_t endOfParameters(const std::u32string& text, size_t from) {
  size_t i = from;
  while (i < text.size() && text[i] >= 0x20 && text[i] <= 0x3F) ++i;
  return i < text.size() && text[i] >= 0x40 && text[i] <= 0x7E ? i + 1 : from;
}

// The same for a sequence that contains a text up to BEL or the string terminator.
size_t endOfTextSequence(const std::u32string& text, size_t from) {
  for (size_t i = from; i < text.size(); ++i) {
    if (text[i] == 0x07 || text[i] == 0x9C) return i + 1;
    if (text[i] == kEscape) return i + 1 < text.size() && text[i + 1] == '\\' ? i + 2 : from;
  }
  return from;
}

// The index after the control character at `at` and the terminal sequence that it starts.
size_t endOfControl(const std::u32string& text, size_t at) {
  char32_t kind = text[at];
  size_t next = at + 1;
  if (kind == kEscape) {
    if (next == text.size()) return next;
    kind = text[next] >= 0x40 && text[next] <= 0x5F ? text[next] + 0x40 : 0;
    if (kind == 0) {
      while (next < text.size() && text[next] >= 0x20 && text[next] <= 0x2F) ++next;
      return next < text.size() && text[next] >= 0x30 && text[next] <= 0x7E ? next + 1 : at + 1;
    }
    ++next;
  }
  if (kind == 0x9B) return endOfParameters(text, next);
  const bool carriesText = kind == 0x90 || kind == 0x98 || (kind >= 0x9D && kind <= 0x9F);
  return carriesText ? endOfTextSequence(text, next) : next;
}

locale_t utf8Locale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

// The widths of characters, independent of the user's locale.
class WidthMeter {
 public:
  WidthMeter() : previous_(utf8Locale() ? uselocale(utf8Locale()) : locale_t{}) {}
  ~WidthMeter() {
    if (previous_) uselocale(previous_);
  }
  WidthMeter(const WidthMeter&) = delete;
  WidthMeter& operator=(const WidthMeter&) = delete;

  int columns(char32_t c) const {
    if (c < 0x7F) return 1;
    const int width = wcwidth(static_cast<wchar_t>(c));
    return width < 0 ? 1 : width;
  }

 private:
  locale_t previous_;
};

}  // namespace

std::u32string decodedUtf8(std::string_view text) {
  std::u32string characters;
  characters.reserve(text.size());
  while (!text.empty()) characters += takeCharacter(text);
  return characters;
}

std::vector<std::string> cleanedLines(std::string_view text) {
  const std::u32string characters = decodedUtf8(text);
  std::vector<std::string> lines(1);
  for (size_t i = 0; i < characters.size();) {
    const char32_t c = characters[i];
    if (isLineBreak(c)) lines.emplace_back();
    if (c == '\t') lines.back() += ' ';
    if (!isUnsafeToPrint(c)) appendUtf8(lines.back(), c);
    i = isControl(c) ? endOfControl(characters, i) : i + 1;
  }
  return lines;
}

std::string cleaned(std::string_view text) {
  std::string line;
  for (const std::string& part : cleanedLines(text)) {
    if (!line.empty()) line += ' ';
    line += part;
  }
  return line;
}

std::string jsonText(const Json& value, int indent) {
  std::istringstream plain(value.dump(indent, ' ', false, Json::error_handler_t::replace));
  std::string safe;
  for (std::string line; std::getline(plain, line);) {
    // Only strings contain unsafe characters, and there an escape has the same meaning.
    safe += (safe.empty() ? "" : "\n") + escaped(line);
  }
  return safe;
}

int displayWidth(std::string_view text) {
  const WidthMeter meter;
  int width = 0;
  while (!text.empty()) width += meter.columns(takeCharacter(text));
  return width;
}

std::string fittedTo(std::string_view text, int columns) {
  if (displayWidth(text) <= columns) return std::string(text);
  const WidthMeter meter;
  std::string kept;
  for (int width = 1; !text.empty();) {
    const char32_t c = takeCharacter(text);
    width += meter.columns(c);
    if (width > columns) break;
    appendUtf8(kept, c);
  }
  return kept + "…";
}

Terminal Terminal::ofStandardOutput() {
  Terminal terminal;
  if (!isatty(STDOUT_FILENO)) return terminal;
  winsize size{};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  terminal.columns = known ? size.ws_col : 80;
  const char* noColour = std::getenv("NO_COLOR");
  const char* kind = std::getenv("TERM");
  const bool isDumb = !kind || !*kind || std::string_view(kind) == "dumb";
  terminal.colour = !(noColour && *noColour) && !isDumb;
  if (!isDumb) terminal.rows = known && size.ws_row > 0 ? size.ws_row : 24;
  return terminal;
}

std::string Terminal::styled(Style style, std::string_view text) const {
  if (!colour) return std::string(text);
  const char* code = style == Style::bold ? "1" : style == Style::green ? "32" : "2";
  return "\033[" + std::string(code) + "m" + std::string(text) + "\033[0m";
}

TextTable::TextTable(std::vector<std::string> header) {
  rows_.push_back({std::move(header), Terminal::Style::bold});
}

void TextTable::addRow(std::vector<std::string> cells, std::optional<Terminal::Style> style) {
  rows_.push_back({std::move(cells), style});
}

std::vector<int> TextTable::columnWidths(std::optional<int> limit) const {
  std::vector<int> widths(rows_.front().cells.size(), 0);
  for (const Row& row : rows_) {
    for (size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], displayWidth(row.cells[i]));
    }
  }
  if (!limit) return widths;
  const int gaps = kGap * static_cast<int>(widths.size() - 1);
  int excess = std::accumulate(widths.begin(), widths.end(), gaps) - *limit;
  for (; excess > 0; --excess) {
    const auto widest = std::max_element(widths.begin(), widths.end());
    if (*widest <= kNarrowest) break;
    --*widest;
  }
  return widths;
}

std::string TextTable::text(const Terminal& terminal) const {
  const std::vector<int> widths = columnWidths(terminal.columns);
  std::string all;
  for (const Row& row : rows_) {
    std::string line;
    for (size_t i = 0; i < widths.size(); ++i) {
      const std::string cell = fittedTo(row.cells[i], widths[i]);
      line += cell;
      line.append(static_cast<size_t>(widths[i] - displayWidth(cell) + kGap), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    all += (row.style ? terminal.styled(*row.style, line) : line) + "\n";
  }
  return all;
}

}  // namespace revwarden
