#include "recorder/sql_state.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "recorder/redaction.h"
#include "recorder/stack.h"
#include "recorder/text.h"

using quor::protobuf::Tarq::SqlQueries;
using quor::protobuf::Tarq::SqlQuery;

SqlState sql_state;

namespace {

constexpr std::size_t kMostConnections = 1000;
constexpr int kMostTransactions = 10000;
constexpr std::size_t kMostPrepared = 1024;
constexpr std::size_t kMostPreparedBytes = 4UL * 1024 * 1024;
constexpr std::size_t kSendAt = 64UL * 1024;
constexpr std::size_t kFirstBlock = 64UL * 1024;

google::protobuf::ArenaOptions InitialBlock(std::vector<char>& block) {
  google::protobuf::ArenaOptions options;
  options.initial_block = block.data();
  options.initial_block_size = block.size();
  return options;
}

SqlQuotes QuotesOf(Driver driver) {
  switch (driver) {
    case Driver::kMysql:
      return SqlQuotes::kMysql;
    case Driver::kUnknown:
    case Driver::kOdbc:
      return SqlQuotes::kUnknown;
    default:
      return SqlQuotes::kStandard;
  }
}

std::int32_t Clamp(std::int64_t rows) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(rows, Limits::min(), Limits::max()));
}

// SQLite reports the rows of the last change for statements that change none.
bool HasRows(StatementType type) {
  return type != StatementType::kDefinition && type != StatementType::kTransaction &&
         type != StatementType::kSet;
}

bool ChangesRows(StatementType type) {
  return type == StatementType::kInsert || type == StatementType::kUpdate ||
         type == StatementType::kDelete || type == StatementType::kReplace;
}

}  // namespace

void Outcome::SetMessage(std::string_view text) {
  message_size = std::min(text.size(), sizeof(message));
  std::memcpy(message, text.data(), message_size);
}

SqlState::SqlState() : first_block_(kFirstBlock), arena_(InitialBlock(first_block_)) {}

void SqlState::Begin() {
  connections_.clear();
  prepared_.clear();
  prepared_bytes_ = 0;
  running_.clear();
  failure_.clear();
  open_.clear();
  transaction_count_ = 0;
  connection_records_.Clear();
  transaction_records_.Clear();
  statements_.clear();
  statement_count_ = 0;
}

void SqlState::End() {
  Outcome outcome;
  outcome.is_unfinished = true;
  while (!running_.empty()) {
    Finish(outcome, nullptr);
  }
  while (!open_.empty()) {
    Record(open_.back());
    open_.pop_back();
  }
  if (connection_records_.connections_size() > 0) {
    connection_records_.set_queue_id(recording.queue_id());
    recording.Append(connection_records_, Loss::kConnections);
  }
  if (transaction_records_.transactions_size() > 0) {
    transaction_records_.set_queue_id(recording.queue_id());
    recording.Append(transaction_records_, Loss::kTransactions);
  }
  SendStatements();
  Begin();
}

bool SqlState::Knows(const zend_object* object) const {
  return std::any_of(connections_.begin(), connections_.end(),
                     [object](const Open& open) { return open.object == object; });
}

std::uint32_t SqlState::Connection(const zend_object* object, Driver driver, std::string_view dsn) {
  // The newest has the address, if several objects had it one after the other.
  for (auto open = connections_.rbegin(); open != connections_.rend(); ++open) {
    if (open->object == object) {
      return open->ident;
    }
  }
  Reconnect(object, driver, dsn);
  return connections_.empty() ? 0 : connections_.back().ident;
}

void SqlState::Reconnect(const zend_object* object, Driver driver, std::string_view dsn) {
  if (connections_.size() == kMostConnections) {
    recording.Count(Loss::kConnections);
    return;
  }
  const auto ident = static_cast<std::uint32_t>(connections_.size() + 1);
  connections_.push_back({object, ident});
  auto* record = connection_records_.add_connections();
  record->set_ident(ident);
  record->set_driver_type(static_cast<std::int32_t>(driver));
  record->set_dsn(recording.texts().Text(dsn));
}

void SqlState::Prepared(const zend_object* statement, const zend_object* connection,
                        std::string_view sql) {
  sql = sql.substr(0, static_cast<std::size_t>(recording.settings().max_text) + 1);
  while (!prepared_.empty() &&
         (prepared_.size() >= kMostPrepared || prepared_bytes_ + sql.size() > kMostPreparedBytes)) {
    prepared_bytes_ -= prepared_.front().sql.size();
    prepared_.erase(prepared_.begin());
  }
  prepared_.push_back({statement, connection, std::string(sql)});
  prepared_bytes_ += sql.size();
}

const SqlState::Statement* SqlState::FindPrepared(const zend_object* statement) const {
  const auto found =
      std::find_if(prepared_.rbegin(), prepared_.rend(),
                   [statement](const Statement& one) { return one.object == statement; });
  return found == prepared_.rend() ? nullptr : &*found;
}

void SqlState::Start(std::uint32_t connection, Driver driver, std::string_view sql,
                     std::uint64_t flags) {
  const auto largest = static_cast<std::size_t>(recording.settings().max_text);
  Running& running = running_.emplace_back();
  running.connection = connection;
  running.driver = driver;
  running.flags = flags | (sql.size() > largest ? std::uint64_t{kCutText} : 0);
  running.sql = sql.substr(0, largest);
  running.start = Clock::now();
}

void SqlState::Finish(const Outcome& outcome, zend_execute_data* call) {
  const auto end = Clock::now();
  if (running_.empty()) {
    return;
  }
  const Running statement = std::move(running_.back());
  running_.pop_back();
  if (outcome.failed && statement.sql.empty()) {
    return;  // a call without a statement, such as one with a wrong argument
  }
  Write(statement, outcome, call, end);
}

std::string SqlState::WithoutSqlValues(std::string_view message) const {
  const std::size_t at = failure_.empty() ? std::string_view::npos : message.find(failure_);
  std::string clean(message);
  if (at != std::string_view::npos) {
    clean.replace(at, failure_.size(), clean_failure_);
  }
  return clean;
}

void SqlState::Drop() {
  if (!running_.empty()) {
    running_.pop_back();
  }
}

void SqlState::Write(const Running& statement, const Outcome& outcome, zend_execute_data* call,
                     Clock::time_point end) {
  const StatementKind kind = Classify(statement.sql);
  const bool opens =
      kind.step == TransactionStep::kBegin || kind.step == TransactionStep::kSavepoint;
  if (opens && !outcome.failed) {
    Apply(kind, statement);
  }
  if (recording.is_full()) {
    recording.Count(Loss::kStatements);
  } else {
    auto* list = google::protobuf::Arena::CreateMessage<SqlQueries>(&arena_);
    SqlQuery& query = *list->add_queries();
    query.set_statement_type(static_cast<std::int32_t>(kind.type));
    query.set_connection_id(statement.connection);
    query.set_driver_type(static_cast<std::int32_t>(statement.driver));
    if (const Transaction* transaction = Innermost(statement.connection)) {
      query.set_transaction_id(transaction->ident);
    }
    std::string clean = recording.settings().sql_literals
                            ? statement.sql
                            : WithoutLiterals(statement.sql, QuotesOf(statement.driver));
    AppendUtf8(*query.mutable_query(), recording.redaction().Redact(clean));
    query.set_status(outcome.code);
    query.set_flags(statement.flags | (outcome.is_unfinished ? std::uint64_t{kUnfinished} : 0));
    if (outcome.failed) {
      const std::string_view message(outcome.message, outcome.message_size);
      failure_ = message;
      clean_failure_ = recording.settings().sql_literals
                           ? failure_
                           : ::WithoutSqlValues(message, statement.sql, QuotesOf(statement.driver));
      query.mutable_error()->set_message(recording.CutText(clean_failure_));
    }
    *query.mutable_duration() = ToDuration(end - statement.start);
    query.set_rows(HasRows(kind.type) ? Clamp(outcome.rows) : 0);
    if (call != nullptr && recording.stack().depth > 0) {
      StackOptions options = recording.stack();
      // The values that execute() binds are literals that stand elsewhere.
      options.innermost_arguments =
          (statement.flags & kPrepared) == 0 || recording.settings().sql_literals;
      AppendStack(call, options, recording.arguments(),
                  *query.mutable_stack_trace()->mutable_frames());
    }
    list->AppendToString(&statements_);
    ++statement_count_;
    arena_.Reset();
    if ((statement.flags & kCutText) != 0) {
      recording.Count(Loss::kCutTexts);
    }
    if (statements_.size() > kSendAt) {
      SendStatements();
    }
  }
  if (ChangesRows(kind.type)) {
    for (Transaction& transaction : open_) {
      transaction.rows += transaction.connection == statement.connection ? outcome.rows : 0;
    }
  }
  if (!opens && !outcome.failed) {
    Apply(kind, statement);
  }
}

void SqlState::Apply(const StatementKind& kind, const Running& statement) {
  switch (kind.step) {
    case TransactionStep::kBegin:
      OpenTransaction(statement.connection);
      break;
    case TransactionStep::kEnd:
      CloseTransactions(statement.connection);
      break;
    case TransactionStep::kSavepoint:
      OpenSavepoint(statement.connection, kind.savepoint);
      break;
    case TransactionStep::kEndSavepoint:
      CloseSavepoint(statement.connection, kind.savepoint);
      break;
    case TransactionStep::kBackToSavepoint:
      CloseSavepoint(statement.connection, kind.savepoint);
      OpenSavepoint(statement.connection, kind.savepoint);
      break;
    case TransactionStep::kNone:
      // MySQL commits before it changes a table's definition.
      if (kind.type == StatementType::kDefinition && statement.driver == Driver::kMysql) {
        CloseTransactions(statement.connection);
      }
  }
}

const SqlState::Transaction* SqlState::Innermost(std::uint32_t connection) const {
  const auto found =
      std::find_if(open_.rbegin(), open_.rend(),
                   [connection](const Transaction& one) { return one.connection == connection; });
  return found == open_.rend() ? nullptr : &*found;
}

void SqlState::OpenTransaction(std::uint32_t connection) {
  CloseTransactions(connection);  // a second BEGIN ends the first
  OpenSavepoint(connection, "");
}

void SqlState::OpenSavepoint(std::uint32_t connection, std::string_view name) {
  constexpr std::size_t kDeepest = 100;
  if (open_.size() == kDeepest) {
    recording.Count(Loss::kTransactions);
    return;
  }
  Transaction transaction;
  if (const Transaction* parent = Innermost(connection)) {
    transaction.parent = parent->ident;
  }
  transaction.ident = ++transaction_count_;
  transaction.connection = connection;
  transaction.savepoint = name;
  transaction.start = Clock::now();
  open_.push_back(std::move(transaction));
}

void SqlState::CloseTransactions(std::uint32_t connection) { CloseSavepoint(connection, ""); }

// Closes the connection's transactions from the savepoint on; all, if it is empty.
void SqlState::CloseSavepoint(std::uint32_t connection, std::string_view name) {
  const auto is_of = [connection](const Transaction& one) { return one.connection == connection; };
  auto first = std::find_if(open_.begin(), open_.end(), [&](const Transaction& one) {
    return is_of(one) && (name.empty() || one.savepoint == name);
  });
  if (first == open_.end()) {
    return;
  }
  for (std::size_t i = open_.size(); i-- > static_cast<std::size_t>(first - open_.begin());) {
    if (is_of(open_[i])) {
      Record(open_[i]);
    }
  }
  open_.erase(std::remove_if(first, open_.end(), is_of), open_.end());
}

void SqlState::Record(const Transaction& transaction) {
  if (transaction_records_.transactions_size() == kMostTransactions) {
    recording.Count(Loss::kTransactions);
    return;
  }
  auto* record = transaction_records_.add_transactions();
  record->set_ident(transaction.ident);
  if (transaction.parent) {
    record->set_parent_id(*transaction.parent);
  }
  record->set_rows(Clamp(transaction.rows));
  *record->mutable_duration() = ToDuration(Clock::now() - transaction.start);
}

void SqlState::SendStatements() {
  if (statement_count_ == 0) {
    return;
  }
  SqlQueries head;
  head.set_queue_id(recording.queue_id());
  recording.Append("quor.protobuf.Tarq.SqlQueries", head.SerializeAsString() + statements_,
                   Loss::kStatements, statement_count_);
  statements_.clear();
  statement_count_ = 0;
}
