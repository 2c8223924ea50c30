#include "recorder/capture.h"

#include <php.h>
#include <php_variables.h>
#include <qmsg/tarq.pb.h>

#include <array>
#include <string>
#include <utility>

#include "recorder/engine.h"
#include "recorder/recording.h"
#include "recorder/text.h"

namespace Tarq = quor::protobuf::Tarq;

namespace {

std::size_t (*original_write)(const char* bytes, std::size_t size) = nullptr;
std::string body;
bool is_body_cut = false;

std::size_t LargestBody() { return static_cast<std::size_t>(recording.settings().max_text); }

std::size_t WriteAndCollect(const char* bytes, std::size_t size) {
  if (recording.Records(kResponse)) {
    Guarded([&] {
      const std::size_t room = LargestBody() - std::min(LargestBody(), body.size());
      is_body_cut = is_body_cut || size > room;
      body.append(bytes, std::min(size, room));
    });
  }
  return original_write(bytes, size);
}

// The values as they are when the request ends.
HashTable* Superglobal(std::string_view name) {
  // PHP makes some of them when a program first names them.
  zend_is_auto_global_str(name.data(), name.size());
  const zval* variable = zend_hash_str_find(&EG(symbol_table), name.data(), name.size());
  if (variable == nullptr) {
    return nullptr;
  }
  if (Z_TYPE_P(variable) == IS_INDIRECT) {
    variable = Z_INDIRECT_P(variable);
  }
  ZVAL_DEREF(variable);
  return Z_TYPE_P(variable) == IS_ARRAY ? Z_ARRVAL_P(variable) : nullptr;
}

void RecordSuperglobals() {
  constexpr std::array<std::string_view, 7> kNames = {"_GET", "_POST",  "_COOKIE", "_SERVER",
                                                      "_ENV", "_FILES", "_SESSION"};
  constexpr int kMost = 1000;
  Tarq::Superglobals record;
  record.set_queue_id(recording.queue_id());
  for (const std::string_view name : kNames) {
    HashTable* values = Superglobal(name);
    if (values == nullptr || zend_hash_num_elements(values) == 0) {
      continue;
    }
    auto* variable = record.add_variables();
    variable->set_name(std::string(name));
    zend_ulong number = 0;
    zend_string* key = nullptr;
    const zval* value = nullptr;
    ZEND_HASH_FOREACH_KEY_VAL(values, number, key, value) {
      if (variable->values_size() == kMost) {
        recording.Count(Loss::kCutTexts);
        break;
      }
      auto* entry = variable->add_values();
      const std::string text =
          key == nullptr ? std::to_string(static_cast<zend_long>(number)) : std::string(View(key));
      entry->set_key(recording.arguments().Text(text));
      ZVAL_DEREF(value);
      // Every cookie may open a session.
      if (name == "_COOKIE" || (name == "_SERVER" && text == "HTTP_COOKIE")) {
        ValueWriter::WriteRedacted(*entry->mutable_value());
      } else {
        recording.arguments().Write(value, text, *entry->mutable_value());
      }
    }
    ZEND_HASH_FOREACH_END();
  }
  recording.Append(record, Loss::kRecords);
}

std::string HeaderName(std::string_view variable) {
  std::string name;
  bool is_first = true;
  for (const char c : variable) {
    name += c == '_' ? '-' : is_first ? c : Lower({&c, 1}).front();
    is_first = c == '_';
  }
  return name;
}

void RecordRequestHeaders() {
  constexpr std::string_view kPrefix = "HTTP_";
  HashTable* server = Superglobal("_SERVER");
  if (server == nullptr) {
    return;
  }
  Tarq::RequestHeaders record;
  record.set_queue_id(recording.queue_id());
  zend_string* key = nullptr;
  const zval* value = nullptr;
  ZEND_HASH_FOREACH_STR_KEY_VAL(server, key, value) {
    const std::string_view variable = View(key);
    ZVAL_DEREF(value);
    const bool is_header = variable.rfind(kPrefix, 0) == 0;
    if (key == nullptr || Z_TYPE_P(value) != IS_STRING ||
        (!is_header && variable != "CONTENT_TYPE" && variable != "CONTENT_LENGTH")) {
      continue;
    }
    const std::string name = HeaderName(is_header ? variable.substr(kPrefix.size()) : variable);
    record.add_headers(recording.texts().Text(name + ": " + std::string(View(Z_STR_P(value)))));
  }
  ZEND_HASH_FOREACH_END();
  if (record.headers_size() > 0) {
    recording.Append(record, Loss::kRecords);
  }
}

void RecordResponseHeaders() {
  Tarq::ResponseHeaders record;
  record.set_queue_id(recording.queue_id());
  for (zend_llist_element* element = SG(sapi_headers).headers.head; element != nullptr;
       element = element->next) {
    const auto* header = reinterpret_cast<const sapi_header_struct*>(element->data);
    record.add_headers(recording.texts().Text({header->header, header->header_len}));
  }
  if (SG(sapi_headers).mimetype != nullptr && SG(sapi_headers).send_default_content_type != 0) {
    record.add_headers(
        recording.texts().Text(std::string("Content-type: ") + SG(sapi_headers).mimetype));
  }
  if (record.headers_size() > 0) {
    recording.Append(record, Loss::kRecords);
  }
}

// A body as text, or empty if it is none.
std::string BodyText(std::string_view bytes, bool is_cut) {
  bytes = bytes.substr(0, LargestBody());
  // Half a character at the cut is no sign of other bytes.
  for (int i = 0; is_cut && i < 3 && !IsUtf8(bytes); ++i) {
    bytes.remove_suffix(bytes.empty() ? 0 : 1);
  }
  if (!IsUtf8(bytes)) {
    recording.Count(Loss::kBinary);
    return {};
  }
  if (is_cut) {
    recording.Count(Loss::kCutTexts);
  }
  return recording.texts().Text(bytes);
}

// The first bytes of the request's body.
std::string RequestBody(std::size_t size) {
  std::string bytes(size, '\0');
  ssize_t read = 0;
  if (php_stream* stream = SG(request_info).request_body; stream != nullptr) {
    php_stream_rewind(stream);
    read = php_stream_read(stream, bytes.data(), bytes.size());
  } else if (SG(request_info).content_length > 0 && sapi_module.read_post != nullptr) {
    // The program has not read it, so PHP drops it after this.
    read = static_cast<ssize_t>(sapi_read_post_block(bytes.data(), bytes.size()));
  }
  bytes.resize(read > 0 ? static_cast<std::size_t>(read) : 0);
  return bytes;
}

void RecordPost() {
  const std::string bytes = RequestBody(LargestBody() + 1);
  if (bytes.empty()) {
    return;
  }
  Tarq::RawPostData record;
  record.set_queue_id(recording.queue_id());
  record.set_content_type(recording.texts().Text(View(SG(request_info).content_type)));
  record.set_content_length(SG(request_info).content_length);
  record.set_data(BodyText(bytes, bytes.size() > LargestBody()));
  recording.Append(record, Loss::kRecords);
}

void RecordResponseBody() {
  Tarq::ResponseBody record;
  record.set_queue_id(recording.queue_id());
  const char* type = SG(sapi_headers).mimetype;
  record.set_content_type(recording.texts().Text(View(type)));
  record.set_body(BodyText(body, is_body_cut));
  recording.Append(record, Loss::kRecords);
}

}  // namespace

void CaptureOutput() { original_write = std::exchange(sapi_module.ub_write, WriteAndCollect); }

void BeginCapture() {
  body.clear();
  is_body_cut = false;
}

void EndCapture() {
  if (recording.Records(kSuperglobals)) {
    RecordSuperglobals();
  }
  if (recording.Records(kHeaders)) {
    RecordRequestHeaders();
    RecordResponseHeaders();
  }
  if (recording.Records(kPost)) {
    RecordPost();
  }
  if (recording.Records(kResponse)) {
    RecordResponseBody();
  }
}
