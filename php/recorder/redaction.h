#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// What must not be recorded: values with a name of a secret, values that are known to be secret,
// and literals in SQL.

constexpr std::string_view kRedacted = "[redacted]";

class Redaction {
 public:
  // Forgets the known values. `more_names` is a list with commas: parts of
  // names, and whole ones of at most two bytes.
  void Reset(std::string_view more_names);

  // A value that is replaced wherever it stands. Values of less than four bytes are not kept: they
  // would be found everywhere.
  void AddSecret(std::string_view value);

  // The same for a value with a name of a secret. It may be no more than a word, so it has to be
  // longer.
  void AddNamedSecret(std::string_view value);

  // Whether a parameter, key, header or constant of this name holds a secret, such as DB_PASSWORD.
  bool IsSecretName(std::string_view name) const;

  // Whether Redact() would change nothing in a text without = and :.
  bool HasNoValue(std::string_view text) const;

  // Replaces what is secret in a text: known values; what stands behind a secret name, as in
  // token=..., "password": "..." or Cookie: ...; the password of user:password@host.
  std::string Redact(std::string_view text) const;

 private:
  std::size_t NamedValue(std::string_view text, std::size_t separator, std::size_t begin,
                         std::size_t& end) const;

  bool MatchesSecretName(std::string_view name) const;

  std::vector<std::string> names_;  // in lower case
  // Requests use the same names again and again.
  mutable std::unordered_map<std::string, bool> known_names_;
  std::vector<std::string> values_;
};

// How a database reads text in quotes.
enum class SqlQuotes {
  kMysql,     // "text" is a literal, and a backslash escapes
  kStandard,  // "text" is a name, and a backslash does not escape
  kUnknown,   // "text" is a literal, and the statement ends where the two would read on differently
};

// The statement without its literals, with ? in their place, and without comments. What follows a
// literal that does not end is left out.
std::string WithoutLiterals(std::string_view sql, SqlQuotes quotes);

// A database's message about a statement, without the statement's literals and without what the
// database says is a value, as in "Duplicate entry '...' for key".
std::string WithoutSqlValues(std::string_view message, std::string_view sql, SqlQuotes quotes);

// Whether a text begins as an SQL statement does.
bool LooksLikeSql(std::string_view text);
