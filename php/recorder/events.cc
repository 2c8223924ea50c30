#include "recorder/events.h"

#include <qmsg/monitor.pb.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <unordered_map>

#include "recorder/lists.h"
#include "recorder/recording.h"
#include "recorder/stack.h"
#include "recorder/text.h"

using quor::protobuf::Monitor::Event;

namespace {

// The rules have the names of the settings.
Event NewEvent(Event::EventType type, const char* rule) {
  Event event;
  event.set_event_type(type);
  event.set_rule_name(rule);
  *event.mutable_timestamp() = Now();
  return event;
}

void AddStack(Event& event) {
  AppendStack(EG(current_execute_data), recording.stack(), recording.arguments(),
              *event.mutable_stack_trace());
}

void Append(const Event& event) { recording.Append(event, Loss::kEvents); }

// A loop around a watched function may call it without end.
bool MayRecordAnother() {
  constexpr int kMost = 1000;
  static std::string request;
  static int count = 0;
  if (request != recording.queue_id()) {
    request = recording.queue_id();
    count = 0;
  }
  if (++count > kMost) {
    recording.Count(Loss::kEvents);
    return false;
  }
  return true;
}

std::unordered_map<const zend_function*, zif_handler> watched;

void Describe(zend_execute_data* call, Event& event) {
  auto& function = *event.mutable_function();
  function.set_function_name(FunctionName(call->func));
  if (recording.settings().arguments) {
    AppendArguments(call, recording.arguments(), *function.mutable_function_args());
  }
  AddStack(event);
  if (event.stack_trace_size() > 0) {
    function.set_file_name(event.stack_trace(0).file_name());
    function.set_line_no(event.stack_trace(0).line_no());
  }
}

void AfterWatched(zend_execute_data* call, const zval* result, Clock::duration time) {
  const std::chrono::milliseconds slow(recording.settings().slow_function);
  if (slow.count() > 0 && time >= slow && MayRecordAnother()) {
    Event event = NewEvent(Event::SlowFunctionExecution, "slow_function");
    Describe(call, event);
    *event.mutable_exec_time() = ToDuration(time);
    Append(event);
  }
  if (Z_TYPE_P(result) == IS_FALSE && MayRecordAnother()) {
    Event event = NewEvent(Event::FunctionError, "function_error");
    Describe(call, event);
    Append(event);
  }
}

void Watch(INTERNAL_FUNCTION_PARAMETERS) {
  const auto start = Clock::now();
  watched.find(execute_data->func)->second(INTERNAL_FUNCTION_PARAM_PASSTHRU);
  if (recording.is_on() && EG(exception) == nullptr) {
    Guarded([&] { AfterWatched(execute_data, return_value, Clock::now() - start); });
  }
}

}  // namespace

void RecordErrorEvent(const quor::protobuf::Tarq::Error& error) {
  Event event = NewEvent(Event::PhpError, "error_events");
  *event.mutable_stack_trace() = error.stack_trace().frames();
  auto& data = *event.mutable_php_error();
  data.set_error_type(error.error_type());
  data.set_error_type_str(error.error_type_str());
  data.set_file_name(error.file_name());
  data.set_line_no(error.line_no());
  data.set_message(error.message());
  Append(event);
}

void RecordRequestEvents() {
  const Settings& settings = recording.settings();
  const auto time = Clock::now() - recording.start();
  if (settings.slow_request > 0 && time >= std::chrono::milliseconds(settings.slow_request)) {
    Event event = NewEvent(Event::SlowRequestExecution, "slow_request");
    *event.mutable_exec_time() = ToDuration(time);
    Append(event);
  }
  const std::uint64_t peak = zend_memory_peak_usage(false);
  if (settings.high_memory > 0 && peak >= static_cast<std::uint64_t>(settings.high_memory)) {
    Event event = NewEvent(Event::HighMemoryUsage, "high_memory");
    event.set_memory_usage_bytes(peak);
    Append(event);
  }
}

void WatchFunctions() {
  ForEachItem(CurrentSettings().watch_functions, [](std::string_view name) {
    const std::string lower = Lower(name);
    auto* function = static_cast<zend_function*>(
        zend_hash_str_find_ptr(CG(function_table), lower.data(), lower.size()));
    if (function == nullptr || function->type != ZEND_INTERNAL_FUNCTION) {
      zend_error(E_CORE_WARNING, "qmsg.watch_functions: PHP has no function %s()", lower.c_str());
    } else if (watched.emplace(function, function->internal_function.handler).second) {
      function->internal_function.handler = Watch;
    }
  });
}

PHP_FUNCTION(qmsg_event) {
  zend_string* type = nullptr;
  zend_string* text = nullptr;
  zval* data = nullptr;
  zend_long severity = 0;
  ZEND_PARSE_PARAMETERS_START(1, 4)
  Z_PARAM_STR(type)
  Z_PARAM_OPTIONAL
  Z_PARAM_STR(text)
  Z_PARAM_ZVAL(data)
  Z_PARAM_LONG(severity)
  ZEND_PARSE_PARAMETERS_END();
  if (!recording.is_on()) {
    RETURN_FALSE;
  }
  bool is_recorded = false;
  Guarded([&] {
    if (!MayRecordAnother()) {
      return;
    }
    Event event = NewEvent(Event::CustomEvent, "qmsg_event");
    AddStack(event);
    auto& custom = *event.mutable_custom();
    custom.set_type(recording.CutText(View(type)));
    custom.set_text(recording.CutText(View(text)));
    if (data != nullptr) {
      recording.texts().Write(data, "", *custom.mutable_user_data());
    }
    using Limits = std::numeric_limits<std::int32_t>;
    custom.set_severity(
        static_cast<std::int32_t>(std::clamp<zend_long>(severity, Limits::min(), Limits::max())));
    Append(event);
    is_recorded = !recording.is_full();
  });
  RETURN_BOOL(is_recorded);
}
