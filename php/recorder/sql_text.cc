#include "recorder/sql_text.h"

#include <array>
#include <string>

#include "recorder/text.h"

namespace {

bool IsWordByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

// Takes the words of a statement one by one. Comments and signs between them do not count.
class Words {
 public:
  explicit Words(std::string_view sql) : sql_(sql) {}

  std::string_view Next() {
    SkipToWord();
    std::size_t end = 0;
    while (end < sql_.size() && IsWordByte(sql_[end])) {
      ++end;
    }
    const std::string_view word = sql_.substr(0, end);
    sql_.remove_prefix(end);
    return word;
  }

  std::string NextLower() { return Lower(Next()); }

 private:
  void SkipToWord() {
    while (!sql_.empty() && !IsWordByte(sql_.front())) {
      const bool is_block = sql_.rfind("/*", 0) == 0;
      const bool is_line = sql_.rfind("--", 0) == 0 || sql_.front() == '#';
      if (is_block || is_line) {
        const std::string_view end = is_block ? "*/" : "\n";
        const std::size_t found = sql_.find(end);
        sql_.remove_prefix(found == std::string_view::npos ? sql_.size() : found + end.size());
      } else {
        sql_.remove_prefix(1);
      }
    }
  }

  std::string_view sql_;
};

struct Verb {
  std::string_view word;
  StatementType type;
};

constexpr std::array<Verb, 24> kVerbs = {{
    {"select", StatementType::kSelect},        {"with", StatementType::kSelect},
    {"values", StatementType::kSelect},        {"insert", StatementType::kInsert},
    {"update", StatementType::kUpdate},        {"delete", StatementType::kDelete},
    {"replace", StatementType::kReplace},      {"create", StatementType::kDefinition},
    {"alter", StatementType::kDefinition},     {"drop", StatementType::kDefinition},
    {"truncate", StatementType::kDefinition},  {"rename", StatementType::kDefinition},
    {"begin", StatementType::kTransaction},    {"start", StatementType::kTransaction},
    {"commit", StatementType::kTransaction},   {"end", StatementType::kTransaction},
    {"rollback", StatementType::kTransaction}, {"savepoint", StatementType::kTransaction},
    {"release", StatementType::kTransaction},  {"set", StatementType::kSet},
    {"show", StatementType::kInformation},     {"explain", StatementType::kInformation},
    {"pragma", StatementType::kInformation},   {"call", StatementType::kCall},
}};

TransactionStep Step(std::string_view verb, Words& words, std::string_view& savepoint) {
  if (verb == "begin") {
    return TransactionStep::kBegin;
  }
  if (verb == "start") {
    return words.NextLower() == "transaction" ? TransactionStep::kBegin : TransactionStep::kNone;
  }
  if (verb == "commit" || verb == "end") {
    return TransactionStep::kEnd;
  }
  if (verb == "savepoint") {
    savepoint = words.Next();
    return TransactionStep::kSavepoint;
  }
  std::string_view word = words.Next();
  std::string lower = Lower(word);
  if (verb == "release") {
    savepoint = lower == "savepoint" ? words.Next() : word;
    return TransactionStep::kEndSavepoint;
  }
  if (lower == "transaction" || lower == "work") {
    lower = words.NextLower();
  }
  if (lower != "to") {
    return TransactionStep::kEnd;
  }
  word = words.Next();
  savepoint = Lower(word) == "savepoint" ? words.Next() : word;
  return TransactionStep::kBackToSavepoint;
}

}  // namespace

StatementKind Classify(std::string_view sql) {
  Words words(sql);
  const std::string verb = words.NextLower();
  StatementKind kind;
  if (verb == "desc" || verb == "describe") {
    kind.type = StatementType::kInformation;
    return kind;
  }
  for (const Verb& known : kVerbs) {
    if (verb == known.word) {
      kind.type = known.type;
    }
  }
  if (kind.type == StatementType::kTransaction) {
    kind.step = Step(verb, words, kind.savepoint);
  }
  return kind;
}
