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
    known_names_.assign(kKnownNames, {});
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
  constexpr std::size_t kLongestName = 128;
  if (name.empty() || name.size() > kLongestName) {
    return false;
  }
  const auto byte = [name](std::size_t i) -> std::size_t {
    return static_cast<unsigned char>(name[i]);
  };
  const std::size_t place =
      name.size() + (byte(0) * 5U) + (byte(name.size() / 2) * 37U) + (byte(name.size() - 1) * 263U);
  KnownName& known = known_names_[place % kKnownNames];
  if (known.name != name) {
    known.name = name;
    known.is_secret = MatchesSecretName(name);
  }
  return known.is_secret;
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

std::string WithoutSqlValues(std::string_view message, std::string_view sql, SqlQuotes quotes) {
  std::vector<std::string_view> literals;
  WithoutLiterals(sql, quotes, &literals);
  std::string clean(message);
  for (const std::string_view literal : literals) {
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
