#pragma once

#include <cstdint>
#include <string_view>

// What a statement's first words say. The numbers are `statement_type` of SqlQuery.
enum class StatementType : std::int32_t {
  kOther = 0,
  kSelect = 1,
  kInsert = 2,
  kUpdate = 3,
  kDelete = 4,
  kReplace = 5,
  kDefinition = 6,   // CREATE, ALTER, DROP, TRUNCATE, RENAME
  kTransaction = 7,  // BEGIN, COMMIT, SAVEPOINT and the like
  kSet = 8,
  kInformation = 9,  // SHOW, DESCRIBE, EXPLAIN, PRAGMA
  kCall = 10,
};

enum class TransactionStep {
  kNone,
  kBegin,
  kEnd,  // COMMIT and ROLLBACK
  kSavepoint,
  kEndSavepoint,     // RELEASE SAVEPOINT
  kBackToSavepoint,  // ROLLBACK TO: the savepoint stays
};

struct StatementKind {
  StatementType type = StatementType::kOther;
  TransactionStep step = TransactionStep::kNone;
  std::string_view savepoint;  // its name, part of the statement's text
};

StatementKind Classify(std::string_view sql);
