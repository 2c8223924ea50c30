#pragma once

#include <google/protobuf/arena.h>
#include <qmsg/tarq.pb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "recorder/engine.h"
#include "recorder/recording.h"
#include "recorder/sql_text.h"

// The numbers are `driver_type` of SqlConnection and SqlQuery.
enum class Driver : std::int32_t {
  kUnknown = 0,
  kMysql = 1,
  kPostgresql = 2,
  kSqlite = 3,
  kOdbc = 4,
  kFirebird = 5,
  kDblib = 6,
  kOracle = 7,
};

// Bits of `flags` of SqlQuery.
enum StatementFlag : std::uint64_t {
  kPrepared = 1,
  kCutText = 2,
  kUnfinished = 4,  // the request ended in it
  kSeveral = 8,     // its text may hold several statements
};

// How a statement ended, as the driver says. Plain data: reading it calls the engine.
struct Outcome {
  bool failed = false;
  bool is_unfinished = false;
  std::int32_t code = 0;
  std::int64_t rows = 0;
  std::size_t message_size = 0;
  char message[1024];

  void SetMessage(std::string_view text);
};

// The connections and transactions of a request, and the statements that were not yet recorded.
class SqlState {
 public:
  SqlState();

  void Begin();
  void End();

  // A connection's number. An object that was not seen before is a new one.
  std::uint32_t Connection(const zend_object* object, Driver driver, std::string_view dsn);
  // The object has opened another connection.
  void Reconnect(const zend_object* object, Driver driver, std::string_view dsn);
  bool Knows(const zend_object* object) const;

  // Statements that mysqli and SQLite3 prepared: their objects do not keep the text.
  void Prepared(const zend_object* statement, const zend_object* connection, std::string_view sql);
  struct Statement {
    const zend_object* object = nullptr;
    const zend_object* connection = nullptr;
    std::string sql;
  };
  const Statement* FindPrepared(const zend_object* statement) const;

  // A statement starts and ends. What runs is kept here: a fatal error jumps over its end.
  void Start(std::uint32_t connection, Driver driver, std::string_view sql, std::uint64_t flags);
  void Finish(const Outcome& outcome, zend_execute_data* call);
  void Drop();

  // PHP's errors and exceptions repeat the database's message, and with it values of the statement.
  std::string WithoutSqlValues(std::string_view message) const;

  // Steps that have functions of their own.
  void OpenTransaction(std::uint32_t connection);
  void CloseTransactions(std::uint32_t connection);
  void OpenSavepoint(std::uint32_t connection, std::string_view name);
  void CloseSavepoint(std::uint32_t connection, std::string_view name);

 private:
  struct Running {
    Clock::time_point start;
    std::uint32_t connection = 0;
    Driver driver = Driver::kUnknown;
    std::uint64_t flags = 0;
    std::string sql;  // its begin
  };
  struct Transaction {
    std::uint32_t ident = 0;
    std::optional<std::uint32_t> parent;
    std::uint32_t connection = 0;
    std::string savepoint;
    Clock::time_point start;
    std::int64_t rows = 0;
  };
  struct Open {
    const zend_object* object = nullptr;
    std::uint32_t ident = 0;
  };

  void Record(const Transaction& transaction);
  const Transaction* Innermost(std::uint32_t connection) const;
  void Apply(const StatementKind& kind, const Running& statement);
  void Write(const Running& statement, const Outcome& outcome, zend_execute_data* call,
             Clock::time_point end);
  void SendStatements();

  std::vector<Open> connections_;
  std::vector<Statement> prepared_;
  std::size_t prepared_bytes_ = 0;
  std::vector<Running> running_;
  std::string failure_;        // the last message of the database
  std::string clean_failure_;  // the same without values
  std::vector<Transaction> open_;
  std::uint32_t transaction_count_ = 0;
  quor::protobuf::Tarq::SqlConnections connection_records_;
  quor::protobuf::Tarq::SqlTransactions transaction_records_;
  std::string statements_;  // bytes of SqlQueries, which grow by appending
  std::uint64_t statement_count_ = 0;
  std::vector<char> first_block_;
  google::protobuf::Arena arena_;
};

extern SqlState sql_state;
