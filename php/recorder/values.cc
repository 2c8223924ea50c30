#include "recorder/values.h"

#include <php.h>
#include <zend_enum.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "recorder/text.h"

using quor::protobuf::QuorPHP::QVal;

namespace {

constexpr int kDeepest = 5;
constexpr std::string_view kCut = "...";

void AppendNumber(std::string& json, double number) {
  if (!std::isfinite(number)) {
    json += std::isnan(number) ? "\"NaN\"" : number > 0 ? "\"Infinity\"" : "\"-Infinity\"";
    return;
  }
  std::array<char, 32> digits{};
  const auto* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  json.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
}

// Printable ASCII without what JSON escapes, and without = and :, which a secret may follow.
constexpr std::array<bool, 256> PlainBytes() {
  std::array<bool, 256> plain{};
  for (std::size_t byte = ' '; byte <= '~'; ++byte) {
    plain.at(byte) = byte != '"' && byte != '\\' && byte != '=' && byte != ':';
  }
  return plain;
}

bool IsPlain(std::string_view bytes) {
  static constexpr std::array<bool, 256> kPlain = PlainBytes();
  return std::all_of(bytes.begin(), bytes.end(),
                     [](char c) { return kPlain[static_cast<unsigned char>(c)]; });
}

void AppendQuoted(std::string& json, std::string_view text) {
  json += '"';
  for (const char c : text) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    switch (c) {
      case '"':
      case '\\':
        json += '\\';
        json += c;
        break;
      case '\n':
        json += "\\n";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          json += "\\u00";
          json += kDigits[static_cast<unsigned char>(c) / 16U];
          json += kDigits[static_cast<unsigned char>(c) % 16U];
        } else {
          json += c;
        }
    }
  }
  json += '"';
}

const char* ResourceType(const zend_resource* resource) {
  const char* type = zend_rsrc_list_get_rsrc_type(const_cast<zend_resource*>(resource));
  return type == nullptr ? "closed" : type;
}

}  // namespace

std::string_view ClassName(const zend_class_entry* type) {
  const std::string_view name = View(type->name);
  return name.substr(0, name.find('\0'));
}

// Most texts are short names, for which nothing has to be copied more than once.
bool ValueWriter::IsKeptAsItIs(std::string_view bytes) const {
  return bytes.size() <= limits_.text && IsPlain(bytes) && !LooksLikeSql(bytes) &&
         redaction_->HasNoValue(bytes);
}

void ValueWriter::AppendJsonText(std::string_view bytes, std::string& json) const {
  if (IsKeptAsItIs(bytes)) {
    json += '"';
    json += bytes;
    json += '"';
  } else {
    AppendQuoted(json, Text(bytes));
  }
}

std::string ValueWriter::Text(std::string_view bytes) const {
  if (IsKeptAsItIs(bytes)) {
    return std::string(bytes);
  }
  // What is redacted shrinks, and what is behind the cut must not be half a secret: the text is
  // redacted before it is cut. A margin bounds the work.
  constexpr std::size_t kMargin = 1024;
  const std::string_view head = bytes.substr(0, limits_.text + kMargin);
  std::string clean =
      LooksLikeSql(head) ? WithoutLiterals(head, SqlQuotes::kUnknown) : redaction_->Redact(head);
  std::string text;
  AppendUtf8(text, clean);
  const bool is_cut = head.size() < bytes.size() || text.size() > limits_.text;
  if (is_cut) {
    text.resize(Prefix(text, limits_.text).size());
    text += kCut;
  }
  return text;
}

void ValueWriter::Remember(const zval* secret) const {
  if (Z_TYPE_P(secret) == IS_STRING) {
    redaction_->AddNamedSecret(View(Z_STR_P(secret)));
  }
}

void ValueWriter::WriteRedacted(QVal& result) {
  result.set_value_type(QVal::STRING);
  result.set_string_value(kRedacted.data(), kRedacted.size());
}

void ValueWriter::Write(const zval* value, std::string_view name, QVal& result) const {
  ZVAL_DEREF(value);
  const bool is_secret = Z_TYPE_P(value) > IS_TRUE && redaction_->IsSecretName(name);
  if (is_secret) {
    Remember(value);
    WriteRedacted(result);
    return;
  }
  switch (Z_TYPE_P(value)) {
    case IS_UNDEF:
      break;
    case IS_NULL:
      result.set_value_type(QVal::NUL);
      break;
    case IS_FALSE:
    case IS_TRUE:
      result.set_value_type(QVal::BOOL);
      result.set_bool_value(Z_TYPE_P(value) == IS_TRUE);
      break;
    case IS_LONG:
      result.set_value_type(QVal::INTEGER);
      result.set_int_value(Z_LVAL_P(value));
      break;
    case IS_DOUBLE:
      result.set_value_type(QVal::DOUBLE);
      result.set_double_value(Z_DVAL_P(value));
      break;
    case IS_STRING:
      result.set_value_type(QVal::STRING);
      result.set_string_value(Text(View(Z_STR_P(value))));
      break;
    default:
      result.set_value_type(QVal::JSON);
      AppendJson(value, 0, *result.mutable_json_value());
  }
}

namespace {

void AppendJsonObject(const zend_object* object, std::string& json) {
  const bool is_case = (object->ce->ce_flags & ZEND_ACC_ENUM) != 0;
  std::string name(ClassName(object->ce));
  if (is_case) {
    const zval* case_name = zend_enum_fetch_case_name(const_cast<zend_object*>(object));
    name += "::";
    name += View(Z_STR_P(case_name));
  }
  std::string text;
  AppendUtf8(text, name);
  json += is_case ? "{\"enum\":" : "{\"class\":";
  AppendQuoted(json, text);
  json += '}';
}

}  // namespace

void ValueWriter::AppendJson(const zval* value, int depth, std::string& json) const {
  ZVAL_DEREF(value);
  switch (Z_TYPE_P(value)) {
    case IS_FALSE:
      json += "false";
      break;
    case IS_TRUE:
      json += "true";
      break;
    case IS_LONG:
      json += std::to_string(Z_LVAL_P(value));
      break;
    case IS_DOUBLE:
      AppendNumber(json, Z_DVAL_P(value));
      break;
    case IS_STRING:
      AppendJsonText(View(Z_STR_P(value)), json);
      break;
    case IS_ARRAY:
      AppendJsonArray(Z_ARRVAL_P(value), depth, json);
      break;
    case IS_OBJECT:
      AppendJsonObject(Z_OBJ_P(value), json);
      break;
    case IS_RESOURCE:
      json += "{\"resource\":";
      AppendQuoted(json, ResourceType(Z_RES_P(value)));
      json += '}';
      break;
    default:
      json += "null";
  }
}

void ValueWriter::AppendJsonArray(HashTable* array, int depth, std::string& json) const {
  // The depth ends arrays that contain themselves.
  if (depth == kDeepest) {
    json += zend_hash_num_elements(array) == 0 ? "[]" : "[\"...\"]";
    return;
  }
  const bool is_list = zend_array_is_list(const_cast<HashTable*>(array));
  const std::size_t largest = 4 * limits_.text;
  std::size_t count = 0;
  json += is_list ? '[' : '{';
  zend_ulong number = 0;
  zend_string* key = nullptr;
  const zval* element = nullptr;
  ZEND_HASH_FOREACH_KEY_VAL(array, number, key, element) {
    if (count > 0) {
      json += ',';
    }
    if (count == limits_.elements || json.size() > largest) {
      json += is_list ? R"("...")" : R"("...":"...")";
      break;
    }
    ++count;
    std::string name;
    if (!is_list) {
      name = key == nullptr ? std::to_string(static_cast<zend_long>(number)) : View(key);
      AppendJsonText(name, json);
      json += ':';
    }
    ZVAL_DEREF(element);
    if (Z_TYPE_P(element) > IS_TRUE && redaction_->IsSecretName(name)) {
      Remember(element);
      AppendQuoted(json, kRedacted);
    } else {
      AppendJson(element, depth + 1, json);
    }
  }
  ZEND_HASH_FOREACH_END();
  json += is_list ? ']' : '}';
}
