#include "recorder/settings.h"

#include <php.h>
#include <php_ini.h>

#include <array>
#include <utility>

#include "recorder/engine.h"
#include "recorder/lists.h"

namespace {

constexpr std::array<std::pair<std::string_view, unsigned>, 8> kGroupNames = {{
    {"request", kRequest},
    {"sql", kSql},
    {"errors", kErrors},
    {"superglobals", kSuperglobals},
    {"headers", kHeaders},
    {"post", kPost},
    {"response", kResponse},
    {"all", kAllGroups},
}};

unsigned GroupOf(std::string_view name) {
  for (const auto& [known, group] : kGroupNames) {
    if (name == known) {
      return group;
    }
  }
  return 0;
}

Settings settings;

// The engine calls these when a value changes, also when it restores one after a request. If one
// fails, the engine keeps the old value.

ZEND_INI_MH(OnText) {
  *static_cast<std::string_view*>(mh_arg1) = View(new_value);
  return SUCCESS;
}

ZEND_INI_MH(OnFlag) {
  *static_cast<bool*>(mh_arg1) = zend_ini_parse_bool(new_value);
  return SUCCESS;
}

ZEND_INI_MH(OnOutput) {
  const std::string_view value = View(new_value);
  if (!value.empty() && value.rfind("file:/", 0) != 0 && value.rfind("unix:/", 0) != 0) {
    zend_error(E_CORE_WARNING,
               "qmsg.output: '%.*s' is neither file: nor unix: with an absolute path, nor empty, "
               "which records nothing",
               static_cast<int>(value.size()), value.data());
    return FAILURE;
  }
  settings.output = value;
  return SUCCESS;
}

ZEND_INI_MH(OnRecord) {
  unsigned groups = 0;
  bool known = true;
  ForEachItem(View(new_value), [&](std::string_view name) {
    const unsigned group = GroupOf(name);
    groups |= group;
    if (group == 0) {
      known = false;
      zend_error(E_CORE_WARNING,
                 "qmsg.record: there is no '%.*s'. There are request, sql, errors, superglobals, "
                 "headers, post, response and all",
                 static_cast<int>(name.size()), name.data());
    }
  });
  if (!known) {
    return FAILURE;
  }
  settings.groups = groups;
  return SUCCESS;
}

ZEND_INI_MH(OnFunctions) {
  const std::string_view value = View(new_value);
  if (value == "sample") {
    settings.functions = FunctionTimes::kSample;
  } else if (value == "exact") {
    settings.functions = FunctionTimes::kExact;
  } else if (value.empty() || value == "off" || value == "0") {
    settings.functions = FunctionTimes::kOff;  // php.ini's parser makes an empty text of off
  } else {
    zend_error(E_CORE_WARNING,
               "qmsg.functions: there is no '%.*s'. There are off, sample and exact",
               static_cast<int>(value.size()), value.data());
    return FAILURE;
  }
  return SUCCESS;
}

ZEND_INI_MH(OnNumber) {
  auto* number = static_cast<std::int64_t*>(mh_arg1);
  const std::int64_t lowest = number == &settings.sample_interval ? 100 : 0;
  const zend_long value = zend_ini_parse_quantity_warn(new_value, entry->name);
  if (value < lowest) {
    zend_error(E_CORE_WARNING, "%s: '%s' is less than " ZEND_LONG_FMT, ZSTR_VAL(entry->name),
               ZSTR_VAL(new_value), static_cast<zend_long>(lowest));
    return FAILURE;
  }
  *number = value;
  return SUCCESS;
}

// A script cannot change any, so that it cannot switch its own recording off or take a secret out
// of the list. A pool, a virtual host and a .user.ini can.
constexpr int kWhere = PHP_INI_SYSTEM | PHP_INI_PERDIR;

PHP_INI_BEGIN()
PHP_INI_ENTRY("qmsg.output", "", kWhere, OnOutput)
PHP_INI_ENTRY("qmsg.record", "request,sql,errors", kWhere, OnRecord)
PHP_INI_ENTRY("qmsg.functions", "off", kWhere, OnFunctions)
PHP_INI_ENTRY1("qmsg.sample_interval", "1000", kWhere, OnNumber, &settings.sample_interval)
PHP_INI_ENTRY1("qmsg.arguments", "1", kWhere, OnFlag, &settings.arguments)
PHP_INI_ENTRY1("qmsg.sql_literals", "0", kWhere, OnFlag, &settings.sql_literals)
PHP_INI_ENTRY1("qmsg.redact", "", kWhere, OnText, &settings.redact)
PHP_INI_ENTRY1("qmsg.stack_depth", "20", kWhere, OnNumber, &settings.stack_depth)
PHP_INI_ENTRY1("qmsg.max_text", "16K", kWhere, OnNumber, &settings.max_text)
PHP_INI_ENTRY1("qmsg.max_argument", "256", kWhere, OnNumber, &settings.max_argument)
PHP_INI_ENTRY1("qmsg.max_request", "8M", kWhere, OnNumber, &settings.max_request)
PHP_INI_ENTRY1("qmsg.slow_request", "0", kWhere, OnNumber, &settings.slow_request)
PHP_INI_ENTRY1("qmsg.slow_function", "0", kWhere, OnNumber, &settings.slow_function)
PHP_INI_ENTRY1("qmsg.high_memory", "0", kWhere, OnNumber, &settings.high_memory)
PHP_INI_ENTRY1("qmsg.error_events", "0", kWhere, OnNumber, &settings.error_events)
// Handlers of functions are replaced when PHP starts.
PHP_INI_ENTRY1("qmsg.watch_functions", "", PHP_INI_SYSTEM, OnText, &settings.watch_functions)
PHP_INI_END()

}  // namespace

void RegisterSettings(int type, int module_number) { REGISTER_INI_ENTRIES(); }

void UnregisterSettings(int type, int module_number) { UNREGISTER_INI_ENTRIES(); }

Settings CurrentSettings() {
  Settings current = settings;
  if (current.output.empty()) {
    current.groups = 0;
    current.functions = FunctionTimes::kOff;
  }
  return current;
}
