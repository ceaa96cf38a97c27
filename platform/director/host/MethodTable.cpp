#include "MethodTable.h"

#include <cctype>

namespace director {

namespace {

constexpr std::string_view kXtraKeyword = "xtra";
constexpr std::string_view kCommentMark = "--";

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

// Splits off the first blank-separated word.
std::string_view takeWord(std::string_view& text) {
  text = trim(text);
  std::size_t end = 0;
  while (end < text.size() && !isBlank(text[end])) ++end;
  std::string_view word = text.substr(0, end);
  text = trim(text.substr(end));
  return word;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

MethodDeclaration parseDeclaration(std::string_view line) {
  MethodDeclaration method;
  // The first piece is the name and `object me`; each further piece is "<type> <name>".
  std::size_t comma = line.find(',');
  std::string_view head = line.substr(0, comma);
  method.name = std::string(takeWord(head));
  while (comma != std::string_view::npos) {
    line = line.substr(comma + 1);
    comma = line.find(',');
    std::string_view piece = line.substr(0, comma);
    MethodArgument argument;
    argument.type = std::string(takeWord(piece));
    argument.name = std::string(takeWord(piece));
    method.arguments.push_back(std::move(argument));
  }
  return method;
}

}  // namespace

std::optional<MethodTable> parseMethodTable(std::string_view text) {
  std::size_t lineEnd = text.find('\n');
  std::string_view firstLine = text.substr(0, lineEnd);
  if (!equalsIgnoringCase(takeWord(firstLine), kXtraKeyword)) return std::nullopt;
  MethodTable table;
  table.lingoName = std::string(takeWord(firstLine));
  if (table.lingoName.empty() || table.lingoName.starts_with(kCommentMark)) return std::nullopt;

  while (lineEnd != std::string_view::npos) {
    text = text.substr(lineEnd + 1);
    lineEnd = text.find('\n');
    std::string_view line = trim(text.substr(0, lineEnd));
    line = trim(line.substr(0, line.find(kCommentMark)));
    if (line.empty()) continue;
    table.methods.push_back(parseDeclaration(line));
  }
  return table;
}

}  // namespace director
