#include "recorder/errors.h"

#include <php.h>
#include <qmsg/tarq.pb.h>
#include <zend_exceptions.h>
#include <zend_observer.h>

#include <array>
#include <map>
#include <string>
#include <tuple>

#include "recorder/engine.h"
#include "recorder/events.h"
#include "recorder/exceptions.h"
#include "recorder/recording.h"
#include "recorder/sql_state.h"
#include "recorder/stack.h"
#include "recorder/text.h"

using quor::protobuf::QuorPHP::StackTrace;
using quor::protobuf::Tarq::Error;

namespace {

// An exception as it was thrown. If nothing catches it, PHP reports it after its frames are gone.
struct Thrown {
  std::string class_name;
  std::string code;
  std::string file;
  std::uint32_t line = 0;
  StackTrace stack;
};

// Of those that are under way: `finally` and destructors throw and catch while another one waits.
std::array<Thrown, 4> thrown;
std::uint64_t thrown_count = 0;
std::uint64_t uncaught_count = 0;
std::uint64_t error_count = 0;
std::map<std::tuple<std::string, std::uint32_t, int>, int> places;

void (*previous_throw_hook)(zend_object* exception) = nullptr;

struct ErrorType {
  int number;
  std::string_view name;
  Error::Severity severity;
};

constexpr std::array<ErrorType, 15> kErrorTypes = {{
    {E_ERROR, "E_ERROR", Error::ERROR},
    {E_WARNING, "E_WARNING", Error::WARNING},
    {E_PARSE, "E_PARSE", Error::ERROR},
    {E_NOTICE, "E_NOTICE", Error::NOTICE},
    {E_CORE_ERROR, "E_CORE_ERROR", Error::ERROR},
    {E_CORE_WARNING, "E_CORE_WARNING", Error::WARNING},
    {E_COMPILE_ERROR, "E_COMPILE_ERROR", Error::ERROR},
    {E_COMPILE_WARNING, "E_COMPILE_WARNING", Error::WARNING},
    {E_USER_ERROR, "E_USER_ERROR", Error::ERROR},
    {E_USER_WARNING, "E_USER_WARNING", Error::WARNING},
    {E_USER_NOTICE, "E_USER_NOTICE", Error::NOTICE},
    {2048, "E_STRICT", Error::NOTICE},
    {E_RECOVERABLE_ERROR, "E_RECOVERABLE_ERROR", Error::ERROR},
    {E_DEPRECATED, "E_DEPRECATED", Error::NOTICE},
    {E_USER_DEPRECATED, "E_USER_DEPRECATED", Error::NOTICE},
}};

const ErrorType& TypeOf(int number) {
  for (const ErrorType& type : kErrorTypes) {
    if (type.number == number) {
      return type;
    }
  }
  return kErrorTypes.front();
}

void FillThrown(zend_object* exception, Thrown& record) {
  zend_class_entry* base = zend_get_exception_base(exception);
  const auto read = [&](zend_known_string_id name, auto use) {
    zval room;
    ZVAL_UNDEF(&room);
    use(zend_read_property_ex(base, exception, ZSTR_KNOWN(name), true, &room));
    zval_ptr_dtor(&room);
  };
  record.class_name = Utf8(ClassName(exception->ce));
  record.code.clear();
  record.line = 0;
  record.file.clear();
  read(ZEND_STR_CODE, [&record](const zval* code) {
    if (Z_TYPE_P(code) == IS_LONG) {
      record.code = std::to_string(Z_LVAL_P(code));
    } else if (Z_TYPE_P(code) == IS_STRING) {  // as PDO's are
      record.code = Utf8(View(Z_STR_P(code)));
    }
  });
  read(ZEND_STR_FILE, [&record](const zval* file) {
    record.file = Z_TYPE_P(file) == IS_STRING ? View(Z_STR_P(file)) : std::string_view();
  });
  read(ZEND_STR_LINE, [&record](const zval* line) {
    record.line = Z_TYPE_P(line) == IS_LONG ? static_cast<std::uint32_t>(Z_LVAL_P(line)) : 0;
  });
  record.stack.Clear();
  AppendStack(EG(current_execute_data), recording.stack(), recording.arguments(),
              *record.stack.mutable_frames());
}

void OnThrow(zend_object* exception) {
  if (exception != nullptr && recording.Records(kErrors) && !IsExit(exception)) {
    Guarded([exception] { FillThrown(exception, thrown.at(thrown_count++ % thrown.size())); });
  }
  if (previous_throw_hook != nullptr) {
    previous_throw_hook(exception);
  }
}

// PHP reports an exception that nothing caught as "Uncaught CLASS: MESSAGE in FILE:LINE", with the
// text of its stack behind, arguments included. Returns the message, and the exception's record in
// `record`.
std::string_view UncaughtMessage(std::string_view message, std::string_view file,
                                 std::uint32_t line, const Thrown*& record) {
  constexpr std::string_view kBegin = "Uncaught ";
  if (message.rfind(kBegin, 0) != 0) {
    return {};
  }
  for (std::uint64_t back = 1; back <= std::min<std::uint64_t>(thrown_count, thrown.size());
       ++back) {
    const Thrown& one = thrown.at((thrown_count - back) % thrown.size());
    if (one.file == file && one.line == line) {
      record = &one;
      break;
    }
  }
  std::string place = " in ";
  place.append(file).append(":").append(std::to_string(line)).append("\nStack trace:");
  const std::size_t end = message.rfind(place);
  // Causes stand ahead of what they caused, which is behind the last of these.
  const std::size_t next = message.substr(0, end).rfind("\n\nNext ");
  std::size_t begin = next == std::string_view::npos ? kBegin.size() : next + 7;
  std::string_view text = message.substr(begin, end == std::string_view::npos ? end : end - begin);
  const std::size_t colon = text.find(": ");
  if (colon != std::string_view::npos) {
    text.remove_prefix(colon + 2);
  }
  return text.substr(0, text.find("\nStack trace:"));
}

// A loop that warns a million times is one fact. Returns false from the 11th time on.
bool IsNewEnough(std::string_view file, std::uint32_t line, int type) {
  constexpr std::uint64_t kMost = 1000;
  constexpr int kMostOfPlace = 10;
  if (error_count >= kMost) {
    return false;
  }
  if (++places[{std::string(file), line, type}] > kMostOfPlace) {
    return false;
  }
  ++error_count;
  return true;
}

void Record(int type, std::string_view file, std::uint32_t line, std::string_view message) {
  const ErrorType& known = TypeOf(type);
  Error error;
  error.set_queue_id(recording.queue_id());
  *error.mutable_timestamp() = Now();
  error.set_error_type(type);
  error.set_error_type_str(std::string(known.name));
  error.set_file_name(Utf8(file));
  error.set_line_no(line);
  const Thrown* exception = nullptr;
  const std::string_view uncaught = UncaughtMessage(message, file, line, exception);
  if (uncaught.data() != nullptr) {
    ++uncaught_count;
    error.set_severity(Error::EXCEPTION);
    error.set_message(recording.CutText(sql_state.WithoutSqlValues(uncaught)));
    if (exception != nullptr) {
      error.set_class_name(exception->class_name);
      error.set_code(exception->code);
      error.mutable_stack_trace()->CopyFrom(exception->stack);
    }
  } else {
    error.set_severity(known.severity);
    error.set_message(recording.CutText(sql_state.WithoutSqlValues(message)));
    AppendStack(EG(current_execute_data), recording.stack(), recording.arguments(),
                *error.mutable_stack_trace()->mutable_frames());
  }
  recording.Append(error, Loss::kErrors);
  if ((recording.settings().error_events & type) != 0) {
    RecordErrorEvent(error);
  }
}

void OnError(int type, zend_string* file, std::uint32_t line, zend_string* message) {
  if (!recording.Records(kErrors)) {
    return;
  }
  constexpr int kTypes = 0x7FFF;  // above are flags for the engine
  Guarded([&] {
    const int number = type & kTypes;
    if ((EG(error_reporting) & number) == 0) {
      recording.Count(Loss::kSuppressed);
    } else if (!IsNewEnough(View(file), line, number)) {
      recording.Count(Loss::kErrors);
    } else {
      Record(number, View(file), line, View(message));
    }
  });
}

}  // namespace

void RegisterErrorHandlers() {
  zend_observer_error_register(OnError);
  previous_throw_hook = zend_throw_exception_hook;
  zend_throw_exception_hook = OnThrow;
}

void BeginErrors() {
  thrown_count = 0;
  uncaught_count = 0;
  error_count = 0;
  places.clear();
}

void EndErrors() {
  if (thrown_count > uncaught_count) {
    recording.Count(Loss::kCaught, thrown_count - uncaught_count);
  }
}
