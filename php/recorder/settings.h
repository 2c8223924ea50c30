#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// The values of the qmsg.* settings, as they hold for the current request.

enum Group : unsigned {
  kRequest = 1U << 0U,
  kSql = 1U << 1U,
  kErrors = 1U << 2U,
  kSuperglobals = 1U << 3U,
  kHeaders = 1U << 4U,
  kPost = 1U << 5U,
  kResponse = 1U << 6U,
  kAllGroups = (1U << 7U) - 1,
};

enum class FunctionTimes { kOff, kSample, kExact };

struct Settings {
  std::string_view output;  // file:PATH, unix:PATH or empty
  unsigned groups = 0;      // of Group; 0 if there is no output
  FunctionTimes functions = FunctionTimes::kOff;
  bool arguments = false;
  bool sql_literals = false;
  std::string_view redact;  // more names of secrets, with commas
  std::string_view watch_functions;
  std::int64_t sample_interval = 0;  // in microseconds
  std::int64_t stack_depth = 0;      // frames
  std::int64_t max_text = 0;         // bytes of an SQL statement, a message or a body
  std::int64_t max_argument = 0;     // bytes of an argument
  std::int64_t max_request = 0;      // bytes of all records of a request
  std::int64_t slow_request = 0;     // in milliseconds; 0: no such event
  std::int64_t slow_function = 0;    // in milliseconds; 0: no such event
  std::int64_t high_memory = 0;      // in bytes; 0: no such event
  std::int64_t error_events = 0;     // a mask of PHP's error types
};

// `type` and `module_number` are those of PHP_MINIT_FUNCTION.
void RegisterSettings(int type, int module_number);
void UnregisterSettings(int type, int module_number);

Settings CurrentSettings();
