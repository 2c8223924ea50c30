#include "codec/codec.h"

#include <google/protobuf/any.pb.h>
#include <zend_exceptions.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "check/message_check.h"
#include "codec/back_writer.h"
#include "codec/decode.h"
#include "codec/encode.h"
#include "codec/failure.h"
#include "codec/irregular.h"
#include "codec/tables.h"
#include "codec/view.h"
#include "schema/schema.h"

namespace qmsg::php {
namespace {

constexpr std::size_t kMostFindings = 1000;

// Memory that outlives a function the engine leaves by a jump: the next call uses it again.
struct Memory {
  BackWriter writer;
  std::string canonical;
  std::vector<Finding> findings;
};

Memory& TheMemory() {
#ifdef ZTS
  static thread_local Memory memory;
#else
  static Memory memory;
#endif
  return memory;
}

// The message of that name. If there is none, throws a ValueError and returns null.
const MessageTable* FindTable(const zend_string* name) {
  constexpr std::size_t kMostNameBytes = 200;  // a longer one is not worth comparing with all
  const MessageTable* table = nullptr;
  if (!Guarded([&] { table = tables->Find(View(name).substr(0, kMostNameBytes)); })) {
    zend_argument_value_error(1, "must name a message: %s", LastFailure().text.c_str());
  }
  return table;
}

bool Decode(const MessageTable& table, Form form, std::string_view bytes, std::int64_t base,
            int depth, zval* out);

// Moves the fields of `from` to the end of `to`.
void Append(HashTable* to, zval* from) {
  zend_string* key = nullptr;
  zval* value = nullptr;
  ZEND_HASH_FOREACH_STR_KEY_VAL(Z_ARRVAL_P(from), key, value) {
    Z_TRY_ADDREF_P(value);
    zend_hash_add_new(to, key, value);
  }
  ZEND_HASH_FOREACH_END();
  zval_ptr_dtor(from);
}

bool DecodeAny(std::string_view bytes, std::int64_t base, int depth, zval* out) {
  AnyContent any{};
  ZVAL_EMPTY_ARRAY(out);
  if (!Guarded([&] {
        any = ContentOfAny(bytes, base);
        if (depth == 0) {
          throw Failure{"offset " + std::to_string(any.offset) +
                            ", value: messages are nested more than " +
                            std::to_string(kMostAnyDepth) + " deep",
                        "value", any.offset};
        }
      })) {
    return false;
  }
  if (any.table == nullptr) {
    return true;
  }
  zval content;
  if (!Decode(*any.table, Form::kField, any.value, any.offset, depth - 1, &content)) {
    return false;
  }
  HashTable* array = zend_new_array(0);
  ZVAL_ARR(out, array);
  zval url;
  ZVAL_STRINGL(&url, any.url.data(), any.url.size());
  zend_hash_add_new(array, tables->type_key(), &url);
  if (any.table->is_any || any.table->kind != Kind::kMessage) {
    zend_hash_add_new(array, tables->value_key(), &content);
  } else {
    Append(array, &content);
  }
  return true;
}

// Returns false with the last failure, or where memory is exhausted.
bool Decode(const MessageTable& table, Form form, std::string_view bytes, std::int64_t base,
            int depth, zval* out) {
  if (table.is_any) {
    return DecodeAny(bytes, base, depth, out);
  }
  if (DecodeCanonical(table, form, bytes, out)) {
    return true;
  }
  zval_ptr_dtor(out);
  ZVAL_NULL(out);
  if (IsMemoryExhausted()) {
    return false;
  }
  std::string& canonical = TheMemory().canonical;
  if (!Guarded([&] { canonical = Canonical(table, bytes, base); })) {
    return false;
  }
  const bool decoded = DecodeCanonical(table, form, canonical, out);
  ZEND_ASSERT(decoded || IsMemoryExhausted());
  canonical = std::string();
  return decoded;
}

void Check(const MessageTable& table, std::string_view bytes, std::vector<Finding>& found) {
  ParsedMessagePool pool;
  std::uint64_t base = 0;
  Findings findings([&](const Finding& finding) {
    if (found.size() < kMostFindings) {
      found.push_back(finding);
      found.back().offset += base;
    }
  });
  if (!table.is_any) {
    const MessageCheck check(bytes, table.type, pool, findings);
    return;
  }
  const MessageCheck outside(bytes, table.type, pool, findings);
  if (!outside.good()) {
    return;
  }
  try {
    const AnyContent any = ContentOfAny(bytes, 0);
    base = static_cast<std::uint64_t>(any.offset);
    if (any.table != nullptr) {
      const MessageCheck check(any.value, any.table->type, pool, findings);
    }
  } catch (const Failure& failure) {
    const std::size_t reason = failure.text.find(": ") + 2;
    const bool is_unknown = IsTypeUrl(outside.at(google::protobuf::Any::kTypeUrlFieldNumber).text);
    found.push_back({is_unknown ? &rules::kUnknownType : &rules::kAnyType,
                     static_cast<std::uint64_t>(failure.offset), failure.path,
                     failure.text.substr(reason)});
  }
}

void AddText(zval* array, const char* key, std::string_view text) {
  add_assoc_stringl(array, key, text.data(), text.size());
}

void AddFinding(zval* list, const Finding& finding) {
  zval array;
  array_init_size(&array, 5);
  add_assoc_long(&array, "offset", static_cast<zend_long>(finding.offset));
  AddText(&array, "path", finding.path);
  AddText(&array, "severity", finding.rule->severity == Severity::kError ? "error" : "warning");
  AddText(&array, "code", finding.rule->code);
  AddText(&array, "message", finding.reason);
  add_next_index_zval(list, &array);
}

}  // namespace

bool StartCodec() {
  RegisterException();
  if (Guarded([] { tables = new Tables; })) {
    return true;
  }
  php_error_docref(nullptr, E_CORE_WARNING, "%s", LastFailure().text.c_str());
  return false;
}

void StopCodec() {
  delete tables;
  tables = nullptr;
}

}  // namespace qmsg::php

PHP_FUNCTION(qmsg_encode) {
  zend_string* type = nullptr;
  HashTable* value = nullptr;
  ZEND_PARSE_PARAMETERS_START(2, 2)
  Z_PARAM_STR(type)
  Z_PARAM_ARRAY_HT(value)
  ZEND_PARSE_PARAMETERS_END();
  const qmsg::php::MessageTable* table = qmsg::php::FindTable(type);
  if (table == nullptr) {
    RETURN_THROWS();
  }
  qmsg::php::BackWriter& writer = qmsg::php::TheMemory().writer;
  writer.Clear();
  if (!qmsg::php::Guarded([&] { qmsg::php::Encode(*table, value, writer); })) {
    qmsg::php::ThrowLastFailure();
    RETURN_THROWS();
  }
  if (writer.size() == 0) {
    RETURN_EMPTY_STRING();  // PHP may not be given a null pointer
  }
  RETVAL_STRINGL(writer.bytes().data(), writer.size());
  writer.Trim();
}

PHP_FUNCTION(qmsg_decode) {
  zend_string* type = nullptr;
  zend_string* bytes = nullptr;
  ZEND_PARSE_PARAMETERS_START(2, 2)
  Z_PARAM_STR(type)
  Z_PARAM_STR(bytes)
  ZEND_PARSE_PARAMETERS_END();
  const qmsg::php::MessageTable* table = qmsg::php::FindTable(type);
  if (table == nullptr) {
    RETURN_THROWS();
  }
  if (!qmsg::php::Decode(*table, qmsg::php::Form::kOutermost, qmsg::php::View(bytes), 0,
                         qmsg::php::kMostAnyDepth, return_value) &&
      !qmsg::php::IsMemoryExhausted()) {
    qmsg::php::ThrowLastFailure();
    RETURN_THROWS();
  }
}

PHP_FUNCTION(qmsg_check) {
  zend_string* type = nullptr;
  zend_string* bytes = nullptr;
  ZEND_PARSE_PARAMETERS_START(2, 2)
  Z_PARAM_STR(type)
  Z_PARAM_STR(bytes)
  ZEND_PARSE_PARAMETERS_END();
  const qmsg::php::MessageTable* table = qmsg::php::FindTable(type);
  if (table == nullptr) {
    RETURN_THROWS();
  }
  std::vector<qmsg::Finding>& findings = qmsg::php::TheMemory().findings;
  findings.clear();
  if (!qmsg::php::Guarded([&] { qmsg::php::Check(*table, qmsg::php::View(bytes), findings); })) {
    qmsg::php::ThrowLastFailure();
    RETURN_THROWS();
  }
  array_init_size(return_value, static_cast<std::uint32_t>(findings.size()));
  for (const qmsg::Finding& finding : findings) {
    qmsg::php::AddFinding(return_value, finding);
  }
  findings.clear();
}
