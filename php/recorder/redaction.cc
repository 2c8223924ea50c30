#include "recorder/redaction.h"

#include <algorithm>
#include <array>
#include <utility>

#include "recorder/lists.h"
#include "recorder/text.h"

namespace {

// A name with one of these anywhere in it is that of a secret.
constexpr std::array<std::string_view, 15> kSecretParts = {
    "passw",    "passphrase", "pwd",         "secret",      "token",
    "authoriz", "cookie",     "credential",  "apikey",      "api_key",
    "api-key",  "api key",    "private_key", "private-key", "privatekey"};
// A name that ends in one of these.
constexpr std::array<std::string_view, 7> kSecretEnds = {"pass",   "_key",       "_salt",  "nonce",
                                                         "sessid", "session_id", "auth_pw"};

bool IsNameByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-';
}

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

}  // namespace

void Redaction::Reset(std::string_view more_names) {
  values_.clear();
  std::vector<std::string> names;
  ForEachItem(more_names, [&names](std::string_view name) { names.push_back(Lower(name)); });
  if (names != names_) {
    names_ = std::move(names);
    known_names_.clear();
  }
}

void Redaction::AddSecret(std::string_view value) {
  constexpr std::size_t kShortest = 4;
  constexpr std::size_t kMost = 32;
  if (value.size() >= kShortest && values_.size() < kMost &&
      std::find(values_.begin(), values_.end(), value) == values_.end()) {
    values_.emplace_back(value);
  }
}

void Redaction::AddNamedSecret(std::string_view value) {
  constexpr std::size_t kShortest = 8;
  if (value.size() >= kShortest) {
    AddSecret(value);
  }
}

bool Redaction::HasNoValue(std::string_view text) const {
  return std::none_of(values_.begin(), values_.end(), [text](const std::string& value) {
    return text.find(value) != std::string_view::npos;
  });
}

bool Redaction::IsSecretName(std::string_view name) const {
  constexpr std::size_t kMostKnown = 5000;
  constexpr std::size_t kLongestName = 128;
  if (name.empty() || name.size() > kLongestName) {
    return false;
  }
  if (known_names_.size() == kMostKnown) {
    known_names_.clear();
  }
  const auto [known, is_new] = known_names_.try_emplace(std::string(name));
  if (is_new) {
    known->second = MatchesSecretName(name);
  }
  return known->second;
}

bool Redaction::MatchesSecretName(std::string_view name) const {
  if (name == "PWD" || name == "OLDPWD") {  // folders, in the environment
    return false;
  }
  const std::string lower = Lower(name);
  const auto is_in = [&lower](std::string_view part) {
    return lower.find(part) != std::string::npos;
  };
  return std::any_of(kSecretParts.begin(), kSecretParts.end(), is_in) ||
         std::any_of(kSecretEnds.begin(), kSecretEnds.end(),
                     [&lower](std::string_view end) { return EndsWith(lower, end); }) ||
         std::any_of(names_.begin(), names_.end(), [&](const std::string& known) {
           return known.size() <= 2 ? lower == known : is_in(known);
         });
}

// If the name before text[separator] is a secret's, the begin of its value, and its end in `end`.
std::size_t Redaction::NamedValue(std::string_view text, std::size_t separator, std::size_t begin,
                                  std::size_t& end) const {
  std::size_t name_end = separator;
  while (name_end > begin &&
         std::string_view(" \t\"'\\]").find(text[name_end - 1]) != std::string_view::npos) {
    --name_end;
  }
  std::size_t name = name_end;
  while (name > begin && IsNameByte(text[name - 1])) {
    --name;
  }
  if (!IsSecretName(text.substr(name, name_end - name))) {
    return std::string_view::npos;
  }
  std::size_t from = separator + 1;
  while (from < text.size() &&
         std::string_view(" \t>\\").find(text[from]) != std::string_view::npos) {
    ++from;
  }
  const bool is_header = text[separator] == ':' &&
                         text.find_first_of("\"'", name_end) > separator &&
                         (name == 0 || text[name - 1] == '\n');
  if (is_header) {  // all of the line, which is several pairs in the case of cookies
    end = std::min(text.find_first_of("\r\n", from), text.size());
  } else if (from < text.size() && (text[from] == '"' || text[from] == '\'')) {
    const char quote = text[from];
    ++from;
    end = from;
    while (end < text.size() && text[end] != quote) {
      end += text[end] == '\\' ? 2 : 1;
    }
    end = std::min(end, text.size());
  } else {
    end = std::min(text.find_first_of("&;,\"' \t\r\n)}]", from), text.size());
  }
  return from;
}

std::string Redaction::Redact(std::string_view text) const {
  std::string clean;
  clean.reserve(text.size());
  std::size_t copied = 0;
  for (std::size_t at = text.find_first_of("=:"); at != std::string_view::npos;
       at = text.find_first_of("=:", at + 1)) {
    if (at < copied) {
      continue;
    }
    std::size_t from = std::string_view::npos;
    std::size_t end = 0;
    if (text.compare(at, 3, "://") == 0) {
      const std::size_t host = text.find_first_of("/?# \t\r\n\"'", at + 3);
      const std::size_t sign = text.substr(0, host).rfind('@');
      const std::size_t colon = text.find(':', at + 3);
      if (sign != std::string_view::npos && sign > at && colon < sign) {
        from = colon + 1;
        end = sign;
      }
    } else {
      from = NamedValue(text, at, copied, end);
    }
    if (from != std::string_view::npos && from < end) {
      clean.append(text, copied, from - copied);
      clean += kRedacted;
      copied = end;
    }
  }
  clean.append(text, copied);
  for (const std::string& value : values_) {
    for (std::size_t at = clean.find(value); at != std::string::npos;
         at = clean.find(value, at + kRedacted.size())) {
      clean.replace(at, value.size(), kRedacted);
    }
  }
  return clean;
}

namespace {

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

std::string WithoutLiterals(std::string_view sql, SqlQuotes quotes) {
  return SqlCleaner(sql, quotes).Clean();
}

std::string WithoutSqlValues(std::string_view message, std::string_view sql, SqlQuotes quotes) {
  SqlCleaner cleaner(sql, quotes);
  cleaner.Clean();
  std::string clean(message);
  for (const std::string_view literal : cleaner.literals()) {
    constexpr std::size_t kShortest = 3;
    for (std::size_t at = clean.find(literal);
         literal.size() >= kShortest && at != std::string::npos; at = clean.find(literal, at + 1)) {
      clean.replace(at, literal.size(), "?");
    }
  }
  // Also those that were bound.
  constexpr std::array<std::pair<std::string_view, char>, 4> kBefore = {
      {{"entry '", '\''}, {"value: '", '\''}, {"value '", '\''}, {")=(", ')'}}};
  for (const auto& [before, close] : kBefore) {
    const std::size_t found = clean.find(before);
    if (found != std::string::npos) {
      const std::size_t begin = found + before.size();
      clean.replace(begin, std::min(clean.find(close, begin), clean.size()) - begin, "?");
    }
  }
  return clean;
}

bool LooksLikeSql(std::string_view text) {
  constexpr std::array<std::string_view, 14> kVerbs = {
      "select", "insert", "update", "delete",   "replace", "create", "alter",
      "drop",   "with",   "set",    "truncate", "call",    "grant",  "values"};
  const std::size_t begin = text.find_first_not_of(" \t\r\n(");
  if (begin == std::string_view::npos) {
    return false;
  }
  std::size_t end = begin;
  while (end < text.size() && IsNameByte(text[end])) {
    ++end;
  }
  constexpr std::size_t kLongestVerb = 8;
  if (end == begin || end == text.size() || end - begin > kLongestVerb) {
    return false;
  }
  const std::string verb = Lower(text.substr(begin, end - begin));
  return std::find(kVerbs.begin(), kVerbs.end(), verb) != kVerbs.end();
}
