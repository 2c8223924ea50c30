#include "recorder/recording.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/util/time_util.h>
#include <php.h>
#include <php_main.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/tarq.pb.h>
#include <sys/random.h>
#include <unistd.h>

#include <system_error>

#include "recorder/text.h"

using google::protobuf::io::CodedOutputStream;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
using quor::protobuf::Tarq::Storage;

Recording recording;

namespace {

constexpr std::array<std::string_view, static_cast<std::size_t>(Loss::kCount)> kLossNames = {
    "dropped.statements", "dropped.transactions", "dropped.connections", "dropped.errors",
    "dropped.events",     "dropped.records",      "errors.suppressed",   "exceptions.caught",
    "cut.texts",          "binary.bodies",        "dropped.functions",   "dropped.output"};

// Larger buffers are written before the request ends, which bounds the worker's memory.
constexpr std::size_t kWriteAt = 256UL * 1024;

std::string NewQueueId() {
  std::array<unsigned char, 8> random{};
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    throw std::system_error(errno, std::generic_category(), "no random number");
  }
  std::string id;
  for (const unsigned char byte : random) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    id += {kDigits[byte / 16U], kDigits[byte % 16U]};
  }
  return id;
}

// Appends google.protobuf.Any with the message, behind its length: the framing `any`.
template <typename Write>
void AppendAny(std::string& records, std::string_view type, std::size_t size, Write write) {
  constexpr std::string_view kPrefix = "type.googleapis.com/";
  constexpr std::uint32_t kTypeUrlTag = 0x0A;
  constexpr std::uint32_t kValueTag = 0x12;
  const auto url_size = static_cast<std::uint32_t>(kPrefix.size() + type.size());
  const auto value_size = static_cast<std::uint32_t>(size);
  google::protobuf::io::StringOutputStream stream(&records);
  CodedOutputStream out(&stream);
  out.WriteVarint32(2 +
                    static_cast<std::uint32_t>(CodedOutputStream::VarintSize32(url_size) +
                                               CodedOutputStream::VarintSize32(value_size)) +
                    url_size + value_size);
  out.WriteVarint32(kTypeUrlTag);
  out.WriteVarint32(url_size);
  out.WriteRaw(kPrefix.data(), static_cast<int>(kPrefix.size()));
  out.WriteRaw(type.data(), static_cast<int>(type.size()));
  out.WriteVarint32(kValueTag);
  out.WriteVarint32(value_size);
  write(out);
}

// The target as the client sent it. FastCGI servers pass it as REQUEST_URI, and the script's path
// as the request's URI. Without a server it is the script.
std::string Target() {
  const char* uri = SG(request_info).request_uri;
  if (uri == nullptr) {
    return std::string(View(SG(request_info).path_translated));
  }
  std::string target(uri);
  if (char* sent = sapi_getenv(ZEND_STRL("REQUEST_URI")); sent != nullptr) {
    target = sent;
    efree(sent);
  }
  return target;
}

// A posted password comes back in messages of the program, without its name.
void AddPostedSecrets(Redaction& redaction) {
  const zval* posted = &PG(http_globals)[TRACK_VARS_POST];
  if (Z_TYPE_P(posted) != IS_ARRAY) {
    return;
  }
  zend_string* name = nullptr;
  const zval* value = nullptr;
  ZEND_HASH_FOREACH_STR_KEY_VAL(Z_ARRVAL_P(posted), name, value) {
    if (Z_TYPE_P(value) == IS_STRING && redaction.IsSecretName(View(name))) {
      redaction.AddNamedSecret(View(Z_STR_P(value)));
    }
  }
  ZEND_HASH_FOREACH_END();
}

}  // namespace

google::protobuf::Duration ToDuration(Clock::duration time) {
  return google::protobuf::util::TimeUtil::NanosecondsToDuration(
      std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

google::protobuf::Timestamp Now() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  google::protobuf::Timestamp time;
  time.set_seconds(now.tv_sec);
  time.set_nanos(static_cast<std::int32_t>(now.tv_nsec));
  return time;
}

void BuildDescriptors() {
  RInitData::descriptor();
  Storage::descriptor();
  quor::protobuf::Monitor::Event::descriptor();
}

void LogFailure(const char* what) noexcept {
  recording.Abandon();
  std::array<char, 512> line{};
  snprintf(line.data(), line.size(), "qmsg: the request is not recorded: %s", what);
  php_log_err(line.data());
}

void Recording::Begin() {
  settings_ = CurrentSettings();
  if (!is_on()) {
    return;
  }
  constexpr std::size_t kArgumentElements = 20;
  constexpr std::size_t kTextElements = 1000;
  start_ = Clock::now();
  redaction_.Reset(settings_.redact);
  redaction_.AddSecret(View(SG(request_info).auth_password));
  AddPostedSecrets(redaction_);
  arguments_ = {redaction_, {static_cast<std::size_t>(settings_.max_argument), kArgumentElements}};
  texts_ = {redaction_, {static_cast<std::size_t>(settings_.max_text), kTextElements}};
  records_.clear();
  count_ = 0;
  recorded_ = 0;
  losses_ = {};
  queue_id_ = NewQueueId();
  if (Records(kRequest)) {
    // Sent at once: a worker that is killed leaves a trace.
    Append(DescribeBegin(), Loss::kRecords);
    Send();
  }
}

RInitData Recording::DescribeBegin() const {
  RInitData request;
  request.mutable_php_version()->set_major_version(PHP_MAJOR_VERSION);
  request.mutable_php_version()->set_minor_version(PHP_MINOR_VERSION);
  request.mutable_php_version()->set_release(PHP_RELEASE_VERSION);
  *request.mutable_timestamp() = Now();
  request.set_method(texts_.Text(View(SG(request_info).request_method)));
  request.set_target(texts_.Text(Target()));
  std::array<char, 256> host{};
  if (gethostname(host.data(), host.size() - 1) == 0) {
    AppendUtf8(*request.mutable_node_name(), host.data());
  }
  request.set_pid(getpid());
  request.set_queue_id(queue_id_);
  return request;
}

void Recording::End() {
  AppendLosses();
  if (Records(kRequest)) {
    RShutdownData end;
    end.set_http_response_code(SG(sapi_headers).http_response_code);
    *end.mutable_total_time() = ToDuration(Clock::now() - start_);
    end.set_memory_usage(zend_memory_usage(false));
    end.set_memory_peak_usage(zend_memory_peak_usage(false));
    if (PG(memory_limit) > 0) {  // -1 is none
      end.set_memory_limit(static_cast<std::uint64_t>(PG(memory_limit)));
    }
    end.set_queue_id(queue_id_);
    recorded_ = 0;  // the end is recorded even if nothing else is any more
    Append(end, Loss::kRecords);
  }
  Send();
  Abandon();
}

void Recording::Abandon() {
  settings_.groups = 0;
  settings_.functions = FunctionTimes::kOff;
  records_.clear();
  count_ = 0;
}

void Recording::Forked() {
  output_.Forked();
  if (is_on()) {
    Begin();
  }
}

void Recording::AppendLosses() {
  Count(Loss::kOutput, output_.TakeDropped());
  Storage storage;
  for (std::size_t i = 0; i < losses_.size(); ++i) {
    if (losses_.at(i) > 0) {
      auto* entry = storage.add_storage();
      entry->set_key(std::string(kLossNames.at(i)));
      entry->add_data(std::to_string(losses_.at(i)));
    }
  }
  if (storage.storage_size() > 0) {
    storage.set_queue_id(queue_id_);
    storage.set_name_space("qmsg");
    recorded_ = 0;
    Append(storage, Loss::kRecords);
  }
}

bool Recording::MayRecord(std::size_t size, Loss loss) {
  const bool is_of_many =
      loss == Loss::kStatements || loss == Loss::kErrors || loss == Loss::kEvents;
  const std::int64_t most = is_of_many ? settings_.max_request / 4 * 3 : settings_.max_request;
  if (recorded_ + static_cast<std::int64_t>(size) <= most) {
    return true;
  }
  recorded_ = std::max(recorded_, most);  // what comes later is not worth its preparation
  return false;
}

void Recording::Recorded(std::size_t size) {
  recorded_ += static_cast<std::int64_t>(size);
  ++count_;
  if (records_.size() > kWriteAt) {
    Send();
  }
}

void Recording::Append(const google::protobuf::Message& record, Loss loss) {
  const std::size_t size = record.ByteSizeLong();
  if (!MayRecord(size, loss)) {
    Count(loss);
    return;
  }
  AppendAny(records_, record.GetDescriptor()->full_name(), size,
            [&record](CodedOutputStream& out) { record.SerializeWithCachedSizes(&out); });
  Recorded(size);
}

void Recording::Append(std::string_view type, std::string_view bytes, Loss loss,
                       std::uint64_t count) {
  if (!MayRecord(bytes.size(), loss)) {
    Count(loss, count);
    return;
  }
  AppendAny(records_, type, bytes.size(), [bytes](CodedOutputStream& out) {
    out.WriteRaw(bytes.data(), static_cast<int>(bytes.size()));
  });
  Recorded(bytes.size());
}

void Recording::Send() {
  if (!records_.empty()) {
    output_.Write(settings_.output, records_, count_);
    records_.clear();
    count_ = 0;
  }
}

std::string Recording::CutText(std::string_view bytes) {
  if (bytes.size() > static_cast<std::size_t>(settings_.max_text)) {
    Count(Loss::kCutTexts);
  }
  return texts_.Text(bytes);
}
