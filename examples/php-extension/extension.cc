// A PHP extension that records each request: its begin and end, and the time spent in its
// functions.

#include <SAPI.h>
#include <fcntl.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/util/time_util.h>
#include <php.h>
#include <php_ini.h>
#include <php_main.h>
#include <sys/random.h>
#include <unistd.h>
#include <zend_extensions.h>
#include <zend_observer.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <system_error>

#include "recorder.h"
#include "text.h"
#include "warm_up.h"

namespace {

using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;

// One for each thread that serves requests. PHP without threads has one, which is found faster.
#ifdef ZTS
thread_local Recorder recorder;
#else
Recorder recorder;
#endif

int slot_handle;  // see Slot()

// No exception may reach the engine, which is C. A request that fails here is not recorded, and
// continues as without the extension. No action may raise a PHP error: the engine's errors jump
// over C++ without running destructors.
template <typename Action>
bool Guarded(Action action) noexcept {
  try {
    action();
    return true;
  } catch (const std::exception& error) {
    recorder.Forget();
    std::array<char, 512> line{};
    std::snprintf(line.data(), line.size(), "qmsg_recorder: %s", error.what());
    php_log_err(line.data());
    return false;
  }
}

std::string_view View(const zend_string* text) {
  return text == nullptr ? std::string_view() : std::string_view(ZSTR_VAL(text), ZSTR_LEN(text));
}

std::string Utf8OrEmpty(const char* text) { return text == nullptr ? "" : Utf8(text); }

const char* RecordsPath() { return INI_STR("qmsg_recorder.records"); }

std::string NewQueueId() {
  std::array<unsigned char, 8> random{};
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    throw std::system_error(errno, std::generic_category(), "no random number");
  }
  std::string id;
  for (const unsigned char byte : random) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    id += kDigits[byte / 16];
    id += kDigits[byte % 16];
  }
  return id;
}

RInitData DescribeRequest() {
  RInitData request;
  request.mutable_php_version()->set_major_version(PHP_MAJOR_VERSION);
  request.mutable_php_version()->set_minor_version(PHP_MINOR_VERSION);
  request.mutable_php_version()->set_release(PHP_RELEASE_VERSION);
  *request.mutable_timestamp() = google::protobuf::util::TimeUtil::GetCurrentTime();
  request.set_method(Utf8OrEmpty(SG(request_info).request_method));
  const char* uri = SG(request_info).request_uri;
  request.set_target(Utf8OrEmpty(uri != nullptr ? uri : SG(request_info).path_translated));
  std::array<char, 256> host{};
  if (gethostname(host.data(), host.size() - 1) == 0) {
    request.set_node_name(Utf8(host.data()));
  }
  request.set_pid(getpid());
  request.set_queue_id(NewQueueId());
  return request;
}

RShutdownData DescribeEnd() {
  RShutdownData end;
  end.set_http_response_code(SG(sapi_headers).http_response_code);
  end.set_memory_usage(zend_memory_usage(false));
  end.set_memory_peak_usage(zend_memory_peak_usage(false));
  if (PG(memory_limit) > 0) {  // -1 is none
    end.set_memory_limit(static_cast<std::uint64_t>(PG(memory_limit)));
  }
  return end;
}

// Opens the file each time, so that it can be rotated. Workers share it: O_APPEND and a single
// write() keep the records of a request together.
void Append(const char* path, const std::string& records) {
  const int file = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
  const ssize_t written = write(file, records.data(), records.size());
  const int error = written < 0 ? errno : ENOSPC;
  close(file);
  if (written != static_cast<ssize_t>(records.size())) {
    throw std::system_error(error, std::generic_category(), path);
  }
}

// What Observe() keeps for a function. The engine clears the run-time caches for each request, and
// does not keep them in the memory that opcache shares between workers.
void*& Slot(zend_execute_data* call) {
  return ZEND_OP_ARRAY_EXTENSION(&call->func->op_array, slot_handle);
}

// The engine observes each resume of a generator, and not its creation. The first resume starts
// after the instruction that created the generator.
bool IsNewCall(const zend_execute_data* call) {
  return (call->func->common.fn_flags & ZEND_ACC_GENERATOR) == 0 ||
         (call->opline->opcode != ZEND_HANDLE_EXCEPTION &&
          call->opline[-1].opcode == ZEND_GENERATOR_CREATE);
}

void EnterFunction(zend_execute_data* call) {
  if (recorder.is_recording()) {
    Guarded([call] {
      recorder.Enter(call, static_cast<Recorder::Timing*>(Slot(call)), IsNewCall(call));
    });
  }
}

void LeaveFunction(zend_execute_data* call, zval* /*result*/) {
  if (recorder.is_recording()) {
    Guarded([call] { recorder.Leave(call); });
  }
}

// The engine calls this once for each run-time cache. Functions of PHP itself, and files, are not
// recorded.
zend_observer_fcall_handlers Observe(zend_execute_data* call) {
  if (!recorder.is_recording() || call->func->type != ZEND_USER_FUNCTION ||
      call->func->common.function_name == nullptr) {
    return {nullptr, nullptr};
  }
  const bool found = Guarded([call] {
    const zend_op_array& function = call->func->op_array;
    FunctionId id;
    id.class_name = function.scope == nullptr ? "" : View(function.scope->name);
    id.name = View(function.function_name);
    id.file = View(function.filename);
    id.first_line = function.line_start;
    id.last_line = function.line_end;
    Slot(call) = recorder.Find(id);
  });
  return found ? zend_observer_fcall_handlers{EnterFunction, LeaveFunction}
               : zend_observer_fcall_handlers{nullptr, nullptr};
}

PHP_INI_BEGIN()
PHP_INI_ENTRY("qmsg_recorder.records", "", PHP_INI_SYSTEM, nullptr)
PHP_INI_END()

// Runs once per process, before a server forks its workers.
PHP_MINIT_FUNCTION(qmsg_recorder) {
  const bool ready = Guarded([] {
    GOOGLE_PROTOBUF_VERIFY_VERSION;
    WarmUp();
  });
  if (!ready) {
    return FAILURE;
  }
  REGISTER_INI_ENTRIES();
  slot_handle = zend_get_op_array_extension_handle("qmsg_recorder");
  zend_observer_fcall_register(Observe);
  return SUCCESS;
}

PHP_MSHUTDOWN_FUNCTION(qmsg_recorder) {
  UNREGISTER_INI_ENTRIES();
  return SUCCESS;
}

PHP_RINIT_FUNCTION(qmsg_recorder) {
  if (*RecordsPath() != '\0') {
    Guarded([] { recorder.Begin(DescribeRequest()); });
  }
  return SUCCESS;
}

PHP_RSHUTDOWN_FUNCTION(qmsg_recorder) {
  if (recorder.is_recording()) {
    Guarded([] {
      RShutdownData end = DescribeEnd();
      Append(RecordsPath(), recorder.End(end));
    });
  }
  return SUCCESS;
}

}  // namespace

// NOLINTNEXTLINE(misc-use-internal-linkage): the engine's macro names it
zend_module_entry qmsg_recorder_module_entry = {STANDARD_MODULE_HEADER,
                                                "qmsg_recorder",
                                                nullptr,
                                                PHP_MINIT(qmsg_recorder),
                                                PHP_MSHUTDOWN(qmsg_recorder),
                                                PHP_RINIT(qmsg_recorder),
                                                PHP_RSHUTDOWN(qmsg_recorder),
                                                nullptr,
                                                "1.0.0",
                                                STANDARD_MODULE_PROPERTIES};

ZEND_GET_MODULE(qmsg_recorder)
