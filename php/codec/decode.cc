#include "codec/decode.h"

#include <google/protobuf/stubs/common.h>
#include <google/protobuf/wire_format_lite.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "codec/times.h"
#include "utf8.h"

namespace qmsg::php {
namespace {

using google::protobuf::internal::WireFormatLite;

// The rest of a message.
struct Span {
  const char* at;
  const char* end;

  bool empty() const { return at == end; }
};

bool ReadLongVarint(Span& from, int max_bytes, std::uint64_t& value) {
  value = 0;
  for (int i = 0; i < max_bytes && !from.empty(); ++i) {
    const auto byte = static_cast<unsigned char>(*from.at++);
    value |= static_cast<std::uint64_t>(byte & 0x7fU) << (7 * i);
    if (byte < 0x80) {
      return true;
    }
  }
  return false;
}

QMSG_INLINE bool ReadVarint(Span& from, int max_bytes, std::uint64_t& value) {
  if (!from.empty() && static_cast<unsigned char>(*from.at) < 0x80) {
    value = static_cast<unsigned char>(*from.at++);
    return true;
  }
  return ReadLongVarint(from, max_bytes, value);
}

QMSG_INLINE bool ReadNumber(Span& from, std::uint64_t& value) {
  return ReadVarint(from, 10, value);
}

QMSG_INLINE bool ReadTag(Span& from, std::uint32_t& tag) {
  std::uint64_t value = 0;
  const bool read = ReadVarint(from, 2, value);
  tag = static_cast<std::uint32_t>(value);
  return read;
}

// The bytes after their length.
QMSG_INLINE bool ReadContent(Span& from, Span& content) {
  std::uint64_t size = 0;
  if (!ReadVarint(from, 5, size) || size > static_cast<std::uint64_t>(from.end - from.at)) {
    return false;
  }
  content = {from.at, from.at + size};
  from.at += size;
  return true;
}

// If the next tag is that one, moves past it.
QMSG_INLINE bool SkipTag(Span& from, std::uint32_t tag) {
  Span after = from;
  std::uint32_t next = 0;
  if (!ReadTag(after, next) || next != tag) {
    return false;
  }
  from = after;
  return true;
}

// Moves past the value of an undeclared field. Groups are left to the message's class.
bool SkipValue(Span& from, std::uint32_t tag) {
  std::uint64_t number = 0;
  Span content{};
  std::ptrdiff_t size = 0;
  switch (tag & 7U) {
    case WireFormatLite::WIRETYPE_VARINT:
      return ReadNumber(from, number);
    case WireFormatLite::WIRETYPE_LENGTH_DELIMITED:
      return ReadContent(from, content);
    case WireFormatLite::WIRETYPE_FIXED64:
      size = 8;
      break;
    case WireFormatLite::WIRETYPE_FIXED32:
      size = 4;
      break;
    default:
      return false;
  }
  if (from.end - from.at < size) {
    return false;
  }
  from.at += size;
  return true;
}

bool IsUtf8(Span text) {
  const auto size = static_cast<std::size_t>(text.end - text.at);
  return IsCertainlyUtf8(text.at, size) ||
         google::protobuf::internal::IsStructurallyValidUTF8(text.at, static_cast<int>(size));
}

// A slot for the value of a field, which occurs once.
QMSG_INLINE zval* NewSlot(HashTable* fields, const Field& field) {
  zval null;
  ZVAL_NULL(&null);
  return _zend_hash_append(fields, field.key, &null);
}

bool DecodeText(Span& from, zval* out) {
  Span text{};
  if (!ReadContent(from, text) || !IsUtf8(text)) {
    return false;
  }
  ZVAL_STRINGL_FAST(out, text.at, static_cast<std::size_t>(text.end - text.at));
  return true;
}

void SetUnsigned(zval* out, std::uint64_t number) {
  if (number <= static_cast<std::uint64_t>(ZEND_LONG_MAX)) {
    ZVAL_LONG(out, static_cast<zend_long>(number));
  } else {
    ZVAL_STR(out, zend_ulong_to_str(number));
  }
}

void SetEnum(zval* out, const EnumTable& enumeration, std::int32_t number) {
  if (number >= 0 && static_cast<std::size_t>(number) < enumeration.names.size()) {
    ZVAL_INTERNED_STR(out, enumeration.names[static_cast<std::size_t>(number)]);
  } else {
    ZVAL_LONG(out, number);
  }
}

bool DecodeTime(Span content, Kind kind, zval* out) {
  constexpr std::uint32_t kSecondsTag = 1U << 3U;
  constexpr std::uint32_t kNanosTag = 2U << 3U;
  std::uint64_t seconds = 0;
  std::uint64_t nanos = 0;
  if ((SkipTag(content, kSecondsTag) && !ReadNumber(content, seconds)) ||
      (SkipTag(content, kNanosTag) && !ReadNumber(content, nanos)) || !content.empty()) {
    return false;
  }
  const Time time{static_cast<std::int64_t>(seconds), static_cast<std::int32_t>(nanos)};
  TimeText text{};
  const std::size_t size =
      kind == Kind::kTimestamp ? WriteTimestamp(time, text) : WriteDuration(time, text);
  if (size > 0) {
    ZVAL_STRINGL(out, text.data(), size);
    return true;
  }
  array_init_size(out, 2);
  zval number;
  ZVAL_LONG(&number, time.seconds);
  zend_hash_add_new(Z_ARRVAL_P(out), tables->seconds_key(), &number);
  ZVAL_LONG(&number, time.nanos);
  zend_hash_add_new(Z_ARRVAL_P(out), tables->nanos_key(), &number);
  return true;
}

bool DecodeMessage(const MessageTable& table, Span from, zval* out);

bool DecodeMapEntry(const Field& field, Span entry, HashTable* map) {
  constexpr std::uint32_t kKeyTag = 1U << 3U;
  constexpr std::uint32_t kValueTag = 2U << 3U | WireFormatLite::WIRETYPE_LENGTH_DELIMITED;
  std::uint64_t key = 0;
  Span value{};
  if ((SkipTag(entry, kKeyTag) && !ReadNumber(entry, key)) ||
      (SkipTag(entry, kValueTag) && !ReadContent(entry, value)) || !entry.empty()) {
    return false;
  }
  zval null;
  ZVAL_NULL(&null);
  const auto index = static_cast<zend_long>(static_cast<std::int32_t>(key));
  zval* slot = zend_hash_index_add(map, static_cast<zend_ulong>(index), &null);
  return slot != nullptr && DecodeMessage(*field.message, value, slot);
}

// The elements of a repeated field, which stand together. The first tag has been read.
bool DecodeElements(const Field& field, Span& from, zval* out) {
  HashTable* elements = zend_new_array(0);
  ZVAL_ARR(out, elements);
  if (field.kind != Kind::kMap) {
    zend_hash_real_init_packed(elements);
  }
  do {
    if (IsMemoryExhausted()) {
      return false;
    }
    if (field.kind == Kind::kMap) {
      Span entry{};
      if (!ReadContent(from, entry) || !DecodeMapEntry(field, entry, elements)) {
        return false;
      }
      continue;
    }
    zval null;
    ZVAL_NULL(&null);
    zval* slot = zend_hash_next_index_insert_new(elements, &null);
    if (field.kind == Kind::kString) {
      if (!DecodeText(from, slot)) {
        return false;
      }
      continue;
    }
    Span element{};
    if (!ReadContent(from, element) || !DecodeMessage(*field.message, element, slot)) {
      return false;
    }
  } while (SkipTag(from, field.tag));
  return true;
}

QMSG_INLINE bool DecodeDouble(const Field& field, Span& from, HashTable* fields) {
  double number = 0;
  if (from.end - from.at < static_cast<std::ptrdiff_t>(sizeof number)) {
    return false;
  }
  std::uint64_t bits = 0;
  for (unsigned i = 0; i < sizeof bits; ++i) {
    bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(*from.at++)) << (8 * i);
  }
  std::memcpy(&number, &bits, sizeof number);
  if (bits != 0 || field.has_presence) {
    ZVAL_DOUBLE(NewSlot(fields, field), number);
  }
  return true;
}

// A number of a varint. With its default it is left out, unless it has presence.
QMSG_INLINE bool DecodeNumber(const Field& field, Span& from, HashTable* fields) {
  std::uint64_t number = 0;
  if (!ReadNumber(from, number)) {
    return false;
  }
  const bool is_wide =
      field.kind == Kind::kBool || field.kind == Kind::kInt64 || field.kind == Kind::kUint64;
  if (!is_wide) {
    number = static_cast<std::uint32_t>(number);
  }
  if (number == 0 && !field.has_presence) {
    return true;
  }
  zval* out = NewSlot(fields, field);
  switch (field.kind) {
    case Kind::kBool:
      ZVAL_BOOL(out, number != 0);
      return true;
    case Kind::kInt32:
      ZVAL_LONG(out, static_cast<std::int32_t>(number));
      return true;
    case Kind::kEnum:
      SetEnum(out, *field.enumeration, static_cast<std::int32_t>(number));
      return true;
    case Kind::kInt64:
      ZVAL_LONG(out, static_cast<zend_long>(number));
      return true;
    default:
      SetUnsigned(out, number);
      return true;
  }
}

bool DecodeField(const Field& field, Span& from, HashTable* fields) {
  if (field.is_repeated) {
    return DecodeElements(field, from, NewSlot(fields, field));
  }
  Span content{};
  switch (field.kind) {
    case Kind::kDouble:
      return DecodeDouble(field, from, fields);
    case Kind::kString:
      if (!from.empty() && *from.at == 0 && !field.has_presence) {
        ++from.at;
        return true;
      }
      return DecodeText(from, NewSlot(fields, field));
    case Kind::kTimestamp:
    case Kind::kDuration:
      return ReadContent(from, content) && DecodeTime(content, field.kind, NewSlot(fields, field));
    case Kind::kMessage:
      return ReadContent(from, content) &&
             DecodeMessage(*field.message, content, NewSlot(fields, field));
    default:
      return DecodeNumber(field, from, fields);
  }
}

bool DecodeMessage(const MessageTable& table, Span from, zval* out) {
  if (from.empty()) {
    ZVAL_EMPTY_ARRAY(out);
    return true;
  }
  HashTable* fields = zend_new_array(static_cast<std::uint32_t>(table.fields.size()));
  ZVAL_ARR(out, fields);
  zend_hash_real_init_mixed(fields);
  std::uint32_t last = 0;
  std::uint32_t oneofs = 0;
  while (!from.empty()) {
    std::uint32_t tag = 0;
    if (!ReadTag(from, tag)) {
      return false;
    }
    const Field* field = table.Find(tag >> 3U);
    if (field == nullptr && tag >> 3U != 0) {
      if (!SkipValue(from, tag)) {
        return false;
      }
      continue;
    }
    if (field == nullptr || field->tag != tag || tag <= last || (oneofs & field->oneof) != 0) {
      return false;
    }
    last = tag;
    oneofs |= field->oneof;
    if (!DecodeField(*field, from, fields)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool DecodeCanonical(const MessageTable& table, Form form, std::string_view bytes, zval* out) {
  ZVAL_NULL(out);
  const Span all{bytes.data(), bytes.data() + bytes.size()};
  if (bytes.size() > INT_MAX) {
    return false;
  }
  return form == Form::kField && table.kind != Kind::kMessage ? DecodeTime(all, table.kind, out)
                                                              : DecodeMessage(table, all, out);
}

}  // namespace qmsg::php
