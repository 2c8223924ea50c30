// A PHP extension that writes two messages for each request: when it begins, and when it ends.

#include <SAPI.h>
#include <fcntl.h>
#include <google/protobuf/any.pb.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/util/delimited_message_util.h>
#include <google/protobuf/util/time_util.h>
#include <php.h>
#include <php_ini.h>
#include <php_main.h>
#include <qmsg/quorphp.pb.h>
#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <system_error>

#include "text.h"
#include "warm_up.h"

namespace {

using google::protobuf::util::TimeUtil;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
using Clock = std::chrono::steady_clock;

// What the end of a request needs from its begin.
struct Request {
  std::string queue_id;  // empty: not recorded
  Clock::time_point start;
};

// One for each thread that serves requests. PHP without threads has one, which is found faster.
#ifdef ZTS
thread_local Request request;
#else
Request request;
#endif

// No exception may reach the engine, which is C. A request that fails here is not recorded, and
// continues as without the extension. No action may raise a PHP error: the engine's errors jump
// over C++ without running destructors.
template <typename Action>
bool Guarded(Action action) noexcept {
  try {
    action();
    return true;
  } catch (const std::exception& error) {
    request.queue_id.clear();
    std::array<char, 512> line{};
    std::snprintf(line.data(), line.size(), "qmsg_recorder: %s", error.what());
    php_log_err(line.data());
    return false;
  }
}

const char* RecordsPath() { return INI_STR("qmsg_recorder.records"); }

std::string Utf8OrEmpty(const char* text) { return text == nullptr ? "" : Utf8(text); }

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

// Opens the file each time, so that it can be rotated. Workers share it: O_APPEND and a single
// write() keep a record together.
void Append(const google::protobuf::Message& message) {
  google::protobuf::Any any;
  any.PackFrom(message);
  std::string record;
  google::protobuf::io::StringOutputStream stream(&record);
  google::protobuf::util::SerializeDelimitedToZeroCopyStream(any, &stream);

  const char* path = RecordsPath();
  const int file = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
  const ssize_t written = write(file, record.data(), record.size());
  const int error = written < 0 ? errno : ENOSPC;
  close(file);
  if (written != static_cast<ssize_t>(record.size())) {
    throw std::system_error(error, std::generic_category(), path);
  }
}

void Begin() {
  request = {NewQueueId(), Clock::now()};
  RInitData begin;
  begin.mutable_php_version()->set_major_version(PHP_MAJOR_VERSION);
  begin.mutable_php_version()->set_minor_version(PHP_MINOR_VERSION);
  begin.mutable_php_version()->set_release(PHP_RELEASE_VERSION);
  *begin.mutable_timestamp() = TimeUtil::GetCurrentTime();
  begin.set_method(Utf8OrEmpty(SG(request_info).request_method));
  const char* uri = SG(request_info).request_uri;
  begin.set_target(Utf8OrEmpty(uri != nullptr ? uri : SG(request_info).path_translated));
  std::array<char, 256> host{};
  if (gethostname(host.data(), host.size() - 1) == 0) {
    begin.set_node_name(Utf8(host.data()));
  }
  begin.set_pid(getpid());
  begin.set_queue_id(request.queue_id);
  Append(begin);
}

void End() {
  const std::chrono::nanoseconds time = Clock::now() - request.start;
  RShutdownData end;
  end.set_http_response_code(SG(sapi_headers).http_response_code);
  *end.mutable_total_time() = TimeUtil::NanosecondsToDuration(time.count());
  end.set_memory_usage(zend_memory_usage(false));
  end.set_memory_peak_usage(zend_memory_peak_usage(false));
  if (PG(memory_limit) > 0) {  // -1 is none
    end.set_memory_limit(static_cast<std::uint64_t>(PG(memory_limit)));
  }
  end.set_queue_id(request.queue_id);
  Append(end);
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
  return SUCCESS;
}

PHP_MSHUTDOWN_FUNCTION(qmsg_recorder) {
  UNREGISTER_INI_ENTRIES();
  return SUCCESS;
}

PHP_RINIT_FUNCTION(qmsg_recorder) {
  request.queue_id.clear();
  if (*RecordsPath() != '\0') {
    Guarded(Begin);
  }
  return SUCCESS;
}

PHP_RSHUTDOWN_FUNCTION(qmsg_recorder) {
  if (!request.queue_id.empty()) {
    Guarded(End);
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
