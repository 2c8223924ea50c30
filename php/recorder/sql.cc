#include "recorder/sql.h"

#include <php.h>
#include <zend_exceptions.h>

#include <array>
#include <cstring>
#include <ext/pdo/php_pdo_driver.h>
#include <string>
#include <utility>

#include "recorder/engine.h"
#include "recorder/exceptions.h"
#include "recorder/recording.h"
#include "recorder/sql_state.h"

namespace {

using Handler = zif_handler;

// What a function does. `kConnect` to `kSavepoint` say it of all three extensions.
enum class Task {
  kConnect,
  kRun,
  kPrepare,
  kExecute,
  kBegin,
  kEnd,
  kAutocommit,
  kSavepoint,
  kEndSavepoint,
  kMakeStatement,  // without a text yet
};

enum class Extension { kPdo, kMysqli, kSqlite3 };

struct Wrapped {
  Extension extension;
  const char* class_name;  // in lower case; empty: a function
  const char* name;
  Task task;
  bool is_of_statement;  // the object is a statement, and not a connection
  std::uint64_t flags;
};

// mysqli's functions and methods share their handlers.
constexpr std::array<Wrapped, 37> kWrapped = {{
    {Extension::kPdo, "pdo", "__construct", Task::kConnect, false, 0},
    {Extension::kPdo, "pdo", "connect", Task::kConnect, false, 0},
    {Extension::kPdo, "pdo", "exec", Task::kRun, false, kSeveral},
    {Extension::kPdo, "pdo", "query", Task::kRun, false, 0},
    {Extension::kPdo, "pdo", "prepare", Task::kPrepare, false, 0},
    {Extension::kPdo, "pdo", "begintransaction", Task::kBegin, false, 0},
    {Extension::kPdo, "pdo", "commit", Task::kEnd, false, 0},
    {Extension::kPdo, "pdo", "rollback", Task::kEnd, false, 0},
    {Extension::kPdo, "pdostatement", "execute", Task::kExecute, true, kPrepared},
    {Extension::kMysqli, "mysqli", "__construct", Task::kConnect, false, 0},
    {Extension::kMysqli, "mysqli", "connect", Task::kConnect, false, 0},
    {Extension::kMysqli, "mysqli", "real_connect", Task::kConnect, false, 0},
    {Extension::kMysqli, "mysqli", "query", Task::kRun, false, 0},
    {Extension::kMysqli, "mysqli", "real_query", Task::kRun, false, 0},
    {Extension::kMysqli, "mysqli", "multi_query", Task::kRun, false, kSeveral},
    {Extension::kMysqli, "mysqli", "execute_query", Task::kRun, false, kPrepared},
    {Extension::kMysqli, "mysqli", "prepare", Task::kPrepare, false, 0},
    {Extension::kMysqli, "mysqli", "stmt_init", Task::kMakeStatement, false, 0},
    {Extension::kMysqli, "mysqli", "begin_transaction", Task::kBegin, false, 0},
    {Extension::kMysqli, "mysqli", "commit", Task::kEnd, false, 0},
    {Extension::kMysqli, "mysqli", "rollback", Task::kEnd, false, 0},
    {Extension::kMysqli, "mysqli", "autocommit", Task::kAutocommit, false, 0},
    {Extension::kMysqli, "mysqli", "savepoint", Task::kSavepoint, false, 0},
    {Extension::kMysqli, "mysqli", "release_savepoint", Task::kEndSavepoint, false, 0},
    {Extension::kMysqli, "mysqli_stmt", "__construct", Task::kPrepare, true, 0},
    {Extension::kMysqli, "mysqli_stmt", "prepare", Task::kPrepare, true, 0},
    {Extension::kMysqli, "mysqli_stmt", "execute", Task::kExecute, true, kPrepared},
    {Extension::kMysqli, "", "mysqli_connect", Task::kConnect, false, 0},
    {Extension::kMysqli, "", "mysqli_query", Task::kRun, false, 0},
    {Extension::kMysqli, "", "mysqli_stmt_prepare", Task::kPrepare, true, 0},
    {Extension::kSqlite3, "sqlite3", "__construct", Task::kConnect, false, 0},
    {Extension::kSqlite3, "sqlite3", "open", Task::kConnect, false, 0},
    {Extension::kSqlite3, "sqlite3", "exec", Task::kRun, false, kSeveral},
    {Extension::kSqlite3, "sqlite3", "query", Task::kRun, false, 0},
    {Extension::kSqlite3, "sqlite3", "querysingle", Task::kRun, false, 0},
    {Extension::kSqlite3, "sqlite3", "prepare", Task::kPrepare, false, 0},
    {Extension::kSqlite3, "sqlite3stmt", "execute", Task::kExecute, true, kPrepared},
}};

std::array<Handler, kWrapped.size()> originals;

// A call as the program sees it: an object, and the arguments behind it.
struct Call {
  zend_execute_data* frame;
  zend_object* object = nullptr;
  std::uint32_t skipped = 0;  // arguments ahead of them

  explicit Call(zend_execute_data* call) : frame(call) {
    if (Z_TYPE(call->This) == IS_OBJECT) {
      object = Z_OBJ(call->This);
    } else if (const zval* first = Argument(0); first != nullptr && Z_TYPE_P(first) == IS_OBJECT) {
      object = Z_OBJ_P(first);
      skipped = 1;
    }
  }

  const zval* Argument(std::uint32_t index) const {
    if (index + skipped >= ZEND_CALL_NUM_ARGS(frame)) {
      return nullptr;
    }
    const zval* argument = ZEND_CALL_ARG(frame, index + skipped + 1);
    ZVAL_DEREF(argument);
    return argument;
  }

  std::string_view Text(std::uint32_t index) const {
    const zval* argument = Argument(index);
    return argument != nullptr && Z_TYPE_P(argument) == IS_STRING ? View(Z_STR_P(argument))
                                                                  : std::string_view();
  }
};

Driver DriverOf(const pdo_dbh_t* connection) {
  if (connection == nullptr || connection->driver == nullptr) {
    return Driver::kUnknown;
  }
  constexpr std::array<std::pair<std::string_view, Driver>, 7> kDrivers = {{
      {"mysql", Driver::kMysql},
      {"pgsql", Driver::kPostgresql},
      {"sqlite", Driver::kSqlite},
      {"odbc", Driver::kOdbc},
      {"firebird", Driver::kFirebird},
      {"dblib", Driver::kDblib},
      {"oci", Driver::kOracle},
  }};
  const std::string_view name(connection->driver->driver_name, connection->driver->driver_name_len);
  for (const auto& [known, driver] : kDrivers) {
    if (name == known) {
      return driver;
    }
  }
  return Driver::kUnknown;
}

pdo_dbh_t* PdoConnection(zend_object* object) {
  return object == nullptr ? nullptr : php_pdo_dbh_fetch_inner(object);
}

std::string PdoDsn(const pdo_dbh_t* connection) {
  if (connection == nullptr || connection->driver == nullptr) {
    return {};
  }
  std::string dsn(connection->driver->driver_name, connection->driver->driver_name_len);
  dsn += ':';
  dsn.append(connection->data_source, connection->data_source_len);
  return dsn;
}

// The parts of mysqli's arguments: host, user, password, database, port, socket.
std::string MysqliDsn(const Call& call) {
  constexpr std::array<std::pair<std::string_view, std::uint32_t>, 4> kParts = {
      {{"host", 0}, {"dbname", 3}, {"port", 4}, {"unix_socket", 5}}};
  std::string dsn = "mysql:";
  for (const auto& [name, index] : kParts) {
    const zval* value = call.Argument(index);
    std::string text(call.Text(index));
    if (value != nullptr && Z_TYPE_P(value) == IS_LONG && Z_LVAL_P(value) != 0) {
      text = std::to_string(Z_LVAL_P(value));
    }
    if (!text.empty()) {
      dsn.append(name).append("=").append(text).append(";");
    }
  }
  dsn.pop_back();
  return dsn;
}

void AddDsnSecrets(std::string_view dsn) {
  for (const std::string_view name : {"password=", "pwd=", "PWD=", "Password="}) {
    const std::size_t at = dsn.find(name);
    if (at != std::string_view::npos) {
      const std::string_view value = dsn.substr(at + name.size());
      recording.redaction().AddSecret(value.substr(0, value.find_first_of("; ")));
    }
  }
}

// The connection that a call uses.
struct Used {
  std::uint32_t number = 0;
  Driver driver = Driver::kUnknown;
  std::string_view sql;
};

Used FindUsed(const Wrapped& wrapped, const Call& call) {
  Used used;
  switch (wrapped.extension) {
    case Extension::kPdo: {
      pdo_dbh_t* connection = nullptr;
      zend_object* object = call.object;
      if (wrapped.is_of_statement) {
        const pdo_stmt_t* statement = php_pdo_stmt_fetch_object(call.object);
        connection = statement->dbh;
        used.sql = View(statement->query_string);
        if (Z_TYPE(statement->database_object_handle) == IS_OBJECT) {
          object = Z_OBJ(statement->database_object_handle);
        }
      } else {
        connection = PdoConnection(call.object);
        used.sql = call.Text(0);
      }
      used.driver = DriverOf(connection);
      const std::string dsn = sql_state.Knows(object) ? "" : PdoDsn(connection);
      used.number = sql_state.Connection(object, used.driver, dsn);
      break;
    }
    case Extension::kMysqli:
    case Extension::kSqlite3: {
      const bool is_mysqli = wrapped.extension == Extension::kMysqli;
      used.driver = is_mysqli ? Driver::kMysql : Driver::kSqlite;
      const zend_object* object = call.object;
      used.sql = call.Text(0);
      if (wrapped.is_of_statement) {
        const SqlState::Statement* statement = sql_state.FindPrepared(call.object);
        object = statement == nullptr ? nullptr : statement->connection;
        if (wrapped.task == Task::kExecute) {
          used.sql = statement == nullptr ? std::string_view() : statement->sql;
        }
      }
      used.number = sql_state.Connection(object, used.driver, is_mysqli ? "mysql:" : "sqlite:");
    }
  }
  return used;
}

zend_long LongProperty(zend_object* object, std::string_view name) {
  zval room;
  ZVAL_UNDEF(&room);
  const zval* value = zend_read_property(object->ce, object, name.data(), name.size(), true, &room);
  const zend_long number = Z_TYPE_P(value) == IS_LONG ? Z_LVAL_P(value) : 0;
  zval_ptr_dtor(&room);
  return number;
}

zend_long LongResult(zend_object* object, std::string_view method) {
  auto* function = static_cast<zend_function*>(
      zend_hash_str_find_ptr(&object->ce->function_table, method.data(), method.size()));
  zval result;
  ZVAL_UNDEF(&result);
  if (function != nullptr && function->type == ZEND_INTERNAL_FUNCTION) {
    zend_call_known_instance_method_with_0_params(function, object, &result);
  }
  const zend_long number = Z_TYPE(result) == IS_LONG ? Z_LVAL(result) : 0;
  zval_ptr_dtor(&result);
  return number;
}

bool Is(const zend_object* object, std::string_view class_name) {
  const zend_class_entry* type = object->ce;
  while (type != nullptr && View(type->name) != class_name) {
    type = type->parent;
  }
  return type != nullptr;
}

void TakeException(Outcome& outcome) {
  zend_object* exception = EG(exception);
  outcome.is_unfinished = IsExit(exception);
  if (outcome.is_unfinished) {
    return;
  }
  outcome.failed = true;
  if (outcome.message_size > 0) {
    return;  // the database's own message is shorter
  }
  zend_string* message = ExceptionMessage(exception);
  outcome.SetMessage(View(message));
  zend_string_release(message);
}

void TakePdoError(pdo_dbh_t* connection, pdo_stmt_t* statement, Outcome& outcome) {
  outcome.failed = true;
  outcome.code = -1;
  if (connection == nullptr || connection->methods == nullptr ||
      connection->methods->fetch_err == nullptr) {
    return;
  }
  zval info;
  array_init(&info);
  connection->methods->fetch_err(connection, statement, &info);
  const zval* code = zend_hash_index_find(Z_ARRVAL(info), 0);
  const zval* message = zend_hash_index_find(Z_ARRVAL(info), 1);
  if (code != nullptr && Z_TYPE_P(code) == IS_LONG && Z_LVAL_P(code) != 0) {
    outcome.code = static_cast<std::int32_t>(Z_LVAL_P(code));
  }
  if (message != nullptr && Z_TYPE_P(message) == IS_STRING) {
    outcome.SetMessage(View(Z_STR_P(message)));
  }
  zval_ptr_dtor(&info);
}

// Only the engine and plain data are used here: reading may end in a fatal error.
void ReadOutcome(const Wrapped& wrapped, const Call& call, const zval* result, Outcome& outcome) {
  const bool returned_false = Z_TYPE_P(result) == IS_FALSE;
  switch (wrapped.extension) {
    case Extension::kPdo: {
      pdo_stmt_t* statement = wrapped.is_of_statement ? php_pdo_stmt_fetch_object(call.object)
                              : wrapped.task == Task::kRun && Z_TYPE_P(result) == IS_OBJECT
                                  ? php_pdo_stmt_fetch_object(Z_OBJ_P(result))
                                  : nullptr;
      if (EG(exception) != nullptr && !Is(EG(exception), "PDOException")) {
        break;  // an argument has a wrong type, or a callback has thrown
      }
      if (returned_false || EG(exception) != nullptr) {
        pdo_dbh_t* connection = statement == nullptr ? PdoConnection(call.object) : statement->dbh;
        TakePdoError(connection, statement, outcome);
      } else if (statement != nullptr) {
        outcome.rows = statement->row_count;
      } else if (Z_TYPE_P(result) == IS_LONG) {
        outcome.rows = Z_LVAL_P(result);
      }
      break;
    }
    case Extension::kMysqli: {
      if (EG(exception) != nullptr && !Is(EG(exception), "mysqli_sql_exception")) {
        break;  // the object is closed, or an argument has a wrong type
      }
      if (returned_false || EG(exception) != nullptr) {
        outcome.failed = true;
        outcome.code = static_cast<std::int32_t>(LongProperty(call.object, "errno"));
        zval room;
        ZVAL_UNDEF(&room);
        const zval* error =
            zend_read_property(call.object->ce, call.object, ZEND_STRL("error"), true, &room);
        if (Z_TYPE_P(error) == IS_STRING) {
          outcome.SetMessage(View(Z_STR_P(error)));
        }
        zval_ptr_dtor(&room);
      } else {
        outcome.rows = LongProperty(call.object, "affected_rows");
      }
      break;
    }
    case Extension::kSqlite3:
      if (EG(exception) == nullptr && !wrapped.is_of_statement) {
        if (returned_false) {
          outcome.failed = true;
          outcome.code = static_cast<std::int32_t>(LongResult(call.object, "lasterrorcode"));
        } else if (std::strcmp(wrapped.name, "exec") == 0) {
          outcome.rows = LongResult(call.object, "changes");
        }
      } else if (returned_false) {
        outcome.failed = true;
        outcome.code = -1;
      }
  }
  if (outcome.rows < 0) {
    outcome.rows = 0;  // the driver does not know yet
  }
  if (EG(exception) != nullptr) {
    TakeException(outcome);
  }
}

void Before(const Wrapped& wrapped, const Call& call) {
  switch (wrapped.task) {
    case Task::kConnect:
      if (wrapped.extension != Extension::kSqlite3) {
        recording.redaction().AddSecret(call.Text(2));
        AddDsnSecrets(call.Text(0));
      }
      break;
    case Task::kRun:
    case Task::kExecute:
    case Task::kPrepare: {
      if (call.object == nullptr) {
        break;
      }
      const Used used = FindUsed(wrapped, call);
      sql_state.Start(used.number, used.driver, used.sql, wrapped.flags);
      break;
    }
    default:
      break;
  }
}

bool Runs(const Wrapped& wrapped, const Call& call) {
  return call.object != nullptr && (wrapped.task == Task::kRun || wrapped.task == Task::kExecute ||
                                    wrapped.task == Task::kPrepare);
}

void AfterConnect(const Wrapped& wrapped, const Call& call, const zval* result) {
  const zend_object* object = Z_TYPE_P(result) == IS_OBJECT ? Z_OBJ_P(result) : call.object;
  if (object == nullptr || EG(exception) != nullptr || Z_TYPE_P(result) == IS_FALSE) {
    return;
  }
  switch (wrapped.extension) {
    case Extension::kPdo: {
      const pdo_dbh_t* connection = PdoConnection(const_cast<zend_object*>(object));
      sql_state.Reconnect(object, DriverOf(connection), PdoDsn(connection));
      break;
    }
    case Extension::kMysqli:
      if (call.Argument(0) != nullptr || std::strcmp(wrapped.name, "__construct") != 0) {
        sql_state.Reconnect(object, Driver::kMysql, MysqliDsn(call));
      }
      break;
    case Extension::kSqlite3:
      sql_state.Reconnect(object, Driver::kSqlite, "sqlite:" + std::string(call.Text(0)));
  }
}

// The statement object that a call has given a text.
void AfterPrepare(const Wrapped& wrapped, const Call& call, const zval* result) {
  if (wrapped.extension == Extension::kPdo) {
    return;  // its statements keep their text
  }
  if (!wrapped.is_of_statement) {
    if (Z_TYPE_P(result) == IS_OBJECT) {
      sql_state.Prepared(Z_OBJ_P(result), call.object,
                         wrapped.task == Task::kPrepare ? call.Text(0) : std::string_view());
    }
    return;
  }
  if (std::strcmp(wrapped.name, "__construct") == 0) {
    const zval* connection = call.Argument(0);
    if (connection != nullptr && Z_TYPE_P(connection) == IS_OBJECT) {
      sql_state.Prepared(call.object, Z_OBJ_P(connection), call.Text(1));
    }
    return;
  }
  const SqlState::Statement* statement = sql_state.FindPrepared(call.object);
  sql_state.Prepared(call.object, statement == nullptr ? nullptr : statement->connection,
                     call.Text(0));
}

void AfterTransactionStep(const Wrapped& wrapped, const Call& call) {
  const Used used = FindUsed(wrapped, call);
  switch (wrapped.task) {
    case Task::kBegin:
      sql_state.OpenTransaction(used.number);
      break;
    case Task::kEnd:
      sql_state.CloseTransactions(used.number);
      break;
    case Task::kAutocommit: {
      const zval* on = call.Argument(0);
      const bool is_on = on != nullptr && Z_TYPE_P(on) != IS_FALSE &&
                         !(Z_TYPE_P(on) == IS_LONG && Z_LVAL_P(on) == 0);
      if (is_on) {
        sql_state.CloseTransactions(used.number);
      } else {
        sql_state.OpenTransaction(used.number);
      }
      break;
    }
    case Task::kSavepoint:
      sql_state.OpenSavepoint(used.number, call.Text(0));
      break;
    default:
      sql_state.CloseSavepoint(used.number, call.Text(0));
  }
}

void After(const Wrapped& wrapped, const Call& call, const zval* result, const Outcome& outcome) {
  switch (wrapped.task) {
    case Task::kConnect:
      AfterConnect(wrapped, call, result);
      break;
    case Task::kRun:
    case Task::kExecute:
      if (call.object != nullptr) {
        sql_state.Finish(outcome, call.frame);
      }
      break;
    case Task::kPrepare:
      // Only what fails is recorded: a statement that the database does not understand.
      if (outcome.failed || outcome.is_unfinished) {
        sql_state.Finish(outcome, call.frame);
      } else if (call.object != nullptr) {
        sql_state.Drop();
        AfterPrepare(wrapped, call, result);
      }
      break;
    case Task::kMakeStatement:
      AfterPrepare(wrapped, call, result);
      break;
    default:
      if (EG(exception) == nullptr && Z_TYPE_P(result) != IS_FALSE) {
        AfterTransactionStep(wrapped, call);
      }
  }
}

template <std::size_t kIndex>
void Replacement(INTERNAL_FUNCTION_PARAMETERS) {
  constexpr const Wrapped& kCalled = kWrapped.at(kIndex);
  // A fatal error leaves this function by a jump: it has nothing to destroy.
  const bool is_recorded = recording.Records(kSql);
  const Call call(execute_data);
  if (is_recorded) {
    Guarded([&] { Before(kCalled, call); });
  }
  originals.at(kIndex)(INTERNAL_FUNCTION_PARAM_PASSTHRU);
  if (is_recorded && recording.Records(kSql)) {
    Outcome outcome;
    if (Runs(kCalled, call)) {
      ReadOutcome(kCalled, call, return_value, outcome);
    }
    Guarded([&] { After(kCalled, call, return_value, outcome); });
  }
}

template <std::size_t... kIndices>
constexpr std::array<Handler, sizeof...(kIndices)> Replacements(
    std::index_sequence<kIndices...> /*indices*/) {
  return {Replacement<kIndices>...};
}

zend_function* FindFunction(const Wrapped& wrapped) {
  HashTable* functions = CG(function_table);
  if (*wrapped.class_name != '\0') {
    auto* type = static_cast<zend_class_entry*>(zend_hash_str_find_ptr(
        CG(class_table), wrapped.class_name, std::strlen(wrapped.class_name)));
    if (type == nullptr) {
      return nullptr;
    }
    functions = &type->function_table;
  }
  return static_cast<zend_function*>(
      zend_hash_str_find_ptr(functions, wrapped.name, std::strlen(wrapped.name)));
}

void ReplaceIn(HashTable& functions, Handler from, Handler to) {
  void* entry = nullptr;
  ZEND_HASH_FOREACH_PTR(&functions, entry) {
    auto* function = static_cast<zend_function*>(entry);
    if (function->type == ZEND_INTERNAL_FUNCTION && function->internal_function.handler == from) {
      function->internal_function.handler = to;
    }
  }
  ZEND_HASH_FOREACH_END();
}

}  // namespace

void ReplaceSqlHandlers() {
  constexpr auto kReplacements = Replacements(std::make_index_sequence<kWrapped.size()>());
  for (std::size_t i = 0; i < kWrapped.size(); ++i) {
    const zend_function* function = FindFunction(kWrapped.at(i));
    if (function == nullptr || function->type != ZEND_INTERNAL_FUNCTION ||
        std::find(kReplacements.begin(), kReplacements.end(),
                  function->internal_function.handler) != kReplacements.end()) {
      continue;  // not loaded, or another name of one that is replaced
    }
    const Handler original = function->internal_function.handler;
    originals.at(i) = original;
    // Subclasses of other extensions have copies.
    ReplaceIn(*CG(function_table), original, kReplacements.at(i));
    void* type = nullptr;
    ZEND_HASH_FOREACH_PTR(CG(class_table), type) {
      ReplaceIn(static_cast<zend_class_entry*>(type)->function_table, original,
                kReplacements.at(i));
    }
    ZEND_HASH_FOREACH_END();
  }
}
