#include "sql/fingerprint.h"

#include "io/text.h"

namespace qmsg {
namespace {

bool IsWordByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// One blank for each run of white space, none at the ends, and ? for :name, $1 and %s.
std::string Normalised(std::string_view sql) {
  std::string text;
  for (std::size_t i = 0; i < sql.size();) {
    const char c = sql[i];
    const char next = i + 1 < sql.size() ? sql[i + 1] : '\0';
    const bool is_cast = c == ':' && (next == ':' || (i > 0 && sql[i - 1] == ':'));
    if (IsSpace(c)) {
      text += text.empty() || text.back() == ' ' ? "" : " ";
      ++i;
    } else if ((c == ':' && IsWordByte(next) && !is_cast) ||
               (c == '$' && next >= '0' && next <= '9')) {
      text += '?';
      for (++i; i < sql.size() && IsWordByte(sql[i]); ++i) {
      }
    } else if (c == '%' && next == 's') {
      text += '?';
      i += 2;
    } else {
      text += c;
      ++i;
    }
  }
  if (!text.empty() && text.back() == ' ') {
    text.pop_back();
  }
  return text;
}

// The end of a list of ? that begins at text[at], a parenthesis; 0 if there is none.
std::size_t EndOfList(std::string_view text, std::size_t at) {
  bool wants_value = true;
  for (std::size_t i = at + 1; i < text.size(); ++i) {
    if (text[i] == ' ') {
      continue;
    }
    if (wants_value ? text[i] != '?' : text[i] != ',' && text[i] != ')') {
      return 0;
    }
    if (text[i] == ')') {
      return i + 1;
    }
    wants_value = !wants_value;
  }
  return 0;
}

std::size_t SkipBlanks(std::string_view text, std::size_t at) {
  while (at < text.size() && text[at] == ' ') {
    ++at;
  }
  return at;
}

}  // namespace

std::string Fingerprint(std::string_view sql, SqlQuotes quotes) {
  const std::string text = Normalised(WithoutLiterals(sql, quotes));
  std::string folded;
  for (std::size_t i = 0; i < text.size();) {
    std::size_t end = text[i] == '(' ? EndOfList(text, i) : 0;
    if (end == 0) {
      folded += text[i++];
      continue;
    }
    folded += "(?+)";
    // Rows: (?, ?), (?, ?)
    for (i = end; end != 0;) {
      const std::size_t comma = SkipBlanks(text, i);
      const std::size_t next =
          comma < text.size() && text[comma] == ',' ? SkipBlanks(text, comma + 1) : text.size();
      end = next < text.size() && text[next] == '(' ? EndOfList(text, next) : 0;
      i = end == 0 ? i : end;
    }
  }
  return folded;
}

}  // namespace qmsg
