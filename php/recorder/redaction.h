#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sql/literals.h"

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
  // Requests use the same names again and again. Names with the same place in the table replace
  // each other.
  struct KnownName {
    std::string name;  // empty: no name
    bool is_secret = false;
  };
  static constexpr std::size_t kKnownNames = 1024;
  mutable std::vector<KnownName> known_names_{kKnownNames};
  std::vector<std::string> values_;
};

using qmsg::SqlQuotes;
using qmsg::WithoutLiterals;

// A database's message about a statement, without the statement's literals and without what the
// database says is a value, as in "Duplicate entry '...' for key".
std::string WithoutSqlValues(std::string_view message, std::string_view sql, SqlQuotes quotes);

// Whether a text begins as an SQL statement does.
bool LooksLikeSql(std::string_view text);
