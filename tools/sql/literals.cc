#include "sql/literals.h"

#include <algorithm>

namespace qmsg {
namespace {

bool IsNameByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-';
}

// Reads a statement and writes it without literals.
class SqlCleaner {
 public:
  SqlCleaner(std::string_view sql, SqlQuotes quotes) : sql_(sql), quotes_(quotes) {}

  // What stood between quotes in place of each ?.
  const std::vector<std::string_view>& literals() const { return literals_; }

  std::string Clean() {
    clean_.reserve(sql_.size());
    while (at_ < sql_.size()) {
      Step();
    }
    return clean_;
  }

 private:
  bool IsAt(std::string_view text) const { return sql_.compare(at_, text.size(), text) == 0; }

  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

  static bool IsWordByte(char c) {
    return IsNameByte(c) ? c != '-' : (static_cast<unsigned char>(c) >= 0x80 || c == '$');
  }

  void Step() {
    const char c = sql_[at_];
    if (c == '\'' || (c == '"' && quotes_ != SqlQuotes::kStandard)) {
      DropPrefix();
      const std::size_t begin = at_ + 1;
      SkipQuoted(c, EscapesHere());
      literals_.push_back(sql_.substr(begin, at_ - begin - 1));
      clean_ += '?';
    } else if (c == '"' || c == '`') {
      const std::size_t begin = at_;
      SkipQuoted(c, false);
      clean_.append(sql_, begin, at_ - begin);
    } else if (IsAt("/*")) {
      SkipPast("*/");
      clean_ += ' ';
    } else if (IsAt("--") || (c == '#' && quotes_ != SqlQuotes::kStandard)) {
      SkipPast("\n");
      clean_ += ' ';
    } else if (c == '$' && quotes_ != SqlQuotes::kMysql && SkipDollarQuoted()) {
      clean_ += '?';
    } else if (IsDigit(c) || (c == '.' && at_ + 1 < sql_.size() && IsDigit(sql_[at_ + 1]))) {
      SkipNumber();
      clean_ += '?';
    } else if (IsWordByte(c)) {
      while (at_ < sql_.size() && IsWordByte(sql_[at_])) {
        clean_ += sql_[at_++];
      }
    } else {
      clean_ += c;
      ++at_;
    }
  }

  // In E'text', N'text', X'6162', b'01' and _utf8'text', the word belongs to the literal.
  void DropPrefix() {
    std::size_t begin = clean_.size();
    while (begin > 0 && IsWordByte(clean_[begin - 1])) {
      --begin;
    }
    const std::string_view word = std::string_view(clean_).substr(begin);
    has_escape_prefix_ = word == "E" || word == "e";
    if (word.size() == 1 || (!word.empty() && word.front() == '_')) {
      clean_.resize(begin);
    }
  }

  bool EscapesHere() const { return quotes_ == SqlQuotes::kMysql || has_escape_prefix_; }

  // A doubled quote stands for itself.
  void SkipQuoted(char quote, bool escapes) {
    ++at_;
    while (at_ < sql_.size()) {
      const bool is_escape = sql_[at_] == '\\' && escapes;
      const bool is_doubled = sql_[at_] == quote && at_ + 1 < sql_.size() && sql_[at_ + 1] == quote;
      if (is_escape || is_doubled) {
        at_ += 2;
      } else if (sql_[at_] == '\\' && quotes_ == SqlQuotes::kUnknown) {
        break;
      } else if (sql_[at_] != quote) {
        ++at_;
      } else {
        ++at_;
        return;
      }
    }
    at_ = sql_.size();
  }

  void SkipPast(std::string_view end) {
    const std::size_t found = sql_.find(end, at_);
    at_ = found == std::string_view::npos ? sql_.size() : found + end.size();
  }

  bool SkipDollarQuoted() {
    const std::size_t end = sql_.find('$', at_ + 1);
    if (end == std::string_view::npos) {
      return false;
    }
    const std::string_view tag = sql_.substr(at_, end + 1 - at_);
    if (!std::all_of(tag.begin() + 1, tag.end() - 1, IsNameByte) ||
        (tag.size() > 2 && IsDigit(tag[1]))) {
      return false;
    }
    at_ = end + 1;
    SkipPast(tag);
    return true;
  }

  void SkipNumber() {
    while (at_ < sql_.size() && (IsNameByte(sql_[at_]) || sql_[at_] == '.') &&
           (sql_[at_] != '-' || sql_[at_ - 1] == 'e' || sql_[at_ - 1] == 'E')) {
      ++at_;
    }
  }

  std::string_view sql_;
  SqlQuotes quotes_;
  std::size_t at_ = 0;
  std::string clean_;
  std::vector<std::string_view> literals_;
  bool has_escape_prefix_ = false;
};

}  // namespace

std::string WithoutLiterals(std::string_view sql, SqlQuotes quotes,
                            std::vector<std::string_view>* literals) {
  SqlCleaner cleaner(sql, quotes);
  std::string clean = cleaner.Clean();
  if (literals != nullptr) {
    *literals = cleaner.literals();
  }
  return clean;
}

}  // namespace qmsg
