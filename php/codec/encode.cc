#include "codec/encode.h"

#include <google/protobuf/stubs/common.h>
#include <google/protobuf/wire_format_lite.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/findings.h"
#include "codec/failure.h"
#include "codec/numbers.h"
#include "codec/place.h"
#include "codec/times.h"
#include "codec/view.h"
#include "utf8.h"

extern "C" {  // the header does not say that it is C
#include <ext/date/php_date.h>
}

namespace qmsg::php {
namespace {

using google::protobuf::internal::WireFormatLite;

constexpr std::uint32_t VarintTag(std::uint32_t number) {
  return number << 3U | WireFormatLite::WIRETYPE_VARINT;
}

constexpr std::uint32_t LengthTag(std::uint32_t number) {
  return number << 3U | WireFormatLite::WIRETYPE_LENGTH_DELIMITED;
}

std::string_view Text(const zval* value, const Place& place) {
  if (Z_TYPE_P(value) != IS_STRING) {
    RefuseValue(place, "a string", value);
  }
  const std::string_view text = View(Z_STR_P(value));
  if (!IsCertainlyUtf8(text.data(), text.size())) {
    const int good = google::protobuf::internal::UTF8SpnStructurallyValid(
        google::protobuf::StringPiece(text.data(), text.size()));
    if (static_cast<std::size_t>(good) < text.size()) {
      Refuse(place, "byte " + std::to_string(good) + " of the string is not valid UTF-8");
    }
  }
  return text;
}

bool Bool(const zval* value, const Place& place) {
  if (Z_TYPE_P(value) != IS_TRUE && Z_TYPE_P(value) != IS_FALSE) {
    RefuseValue(place, "true or false", value);
  }
  return Z_TYPE_P(value) == IS_TRUE;
}

std::string Listed(const std::vector<zend_string*>& names) {
  std::string list;
  for (const zend_string* name : names) {
    list += (list.empty() ? "" : ", ") + std::string(View(name));
  }
  return list;
}

std::int32_t EnumNumber(const EnumTable& enumeration, const zval* value, const Place& place) {
  if (Z_TYPE_P(value) == IS_STRING) {
    for (std::size_t i = 0; i < enumeration.names.size(); ++i) {
      if (zend_string_equals(Z_STR_P(value), enumeration.names[i])) {
        return static_cast<std::int32_t>(i);
      }
    }
  } else if (Z_TYPE_P(value) == IS_LONG) {
    return Int32(value, place);
  }
  RefuseValue(place, ("a number or one of " + Listed(enumeration.names)).c_str(), value);
}

// The array of a message, of a list or of a map.
HashTable* Array(const zval* value, const char* expected, const Place& place) {
  if (Z_TYPE_P(value) != IS_ARRAY) {
    RefuseValue(place, expected, value);
  }
  return Z_ARRVAL_P(value);
}

HashTable* List(const zval* value, const Place& place) {
  HashTable* list = Array(value, "a list", place);
  if (!zend_array_is_list(list)) {
    Refuse(place, "a list is expected, not an array with other keys than 0, 1, 2...");
  }
  return list;
}

const zval* Dereferenced(const zval* value) {
  ZVAL_DEREF(value);
  return value;
}

// The fields of an array, by their index in the table.
class Slots {
 public:
  struct Slot {
    const zend_string* key = nullptr;
    const zval* value = nullptr;  // null: not set
  };

  // `is_in_any`: the array has the key "@type" too.
  Slots(const MessageTable& table, HashTable* array, bool is_in_any, const Place& place)
      : table_(table) {
    zend_string* key = nullptr;
    zend_ulong index = 0;
    zval* value = nullptr;
    ZEND_HASH_FOREACH_KEY_VAL(array, index, key, value) {
      if (key == nullptr) {
        RefuseKey(place.Element(static_cast<zend_long>(index)));
      }
      if (!is_in_any || !zend_string_equals(key, tables->type_key())) {
        Take(key, Dereferenced(value), place);
      }
    }
    ZEND_HASH_FOREACH_END();
  }

  const Slot& operator[](std::size_t index) const { return slots_[index]; }

 private:
  void Take(const zend_string* key, const zval* value, const Place& place) {
    const Field* field = Find(key);
    if (field == nullptr) {
      RefuseKey(place.Key(key));
    }
    if (Z_TYPE_P(value) == IS_NULL) {
      return;
    }
    Slot& slot = slots_[static_cast<std::size_t>(field - table_.fields.data())];
    if (slot.value != nullptr) {
      Refuse(place.Key(key), "the same field as " + std::string(View(slot.key)));
    }
    if ((oneofs_ & field->oneof) != 0) {
      RefuseOneof(*field, place.Key(key));
    }
    oneofs_ |= field->oneof;
    slot = {key, value};
  }

  // Most arrays have their fields in the order of the schema, with keys that are interned.
  const Field* Find(const zend_string* key) {
    for (; expected_ < table_.fields.size(); ++expected_) {
      if (table_.fields[expected_].key == key) {
        return &table_.fields[expected_++];
      }
    }
    expected_ = 0;
    const auto found = table_.by_name.find(View(key));
    return found == table_.by_name.end() ? nullptr : found->second;
  }

  [[noreturn]] void RefuseKey(const Place& place) const {
    std::string names;
    for (const Field& field : table_.fields) {
      names += (names.empty() ? "" : ", ") + std::string(View(field.key));
    }
    Refuse(place, table_.type->full_name() + " has no such field; it has " + names);
  }

  [[noreturn]] void RefuseOneof(const Field& field, const Place& place) const {
    for (std::size_t i = 0; i < table_.fields.size(); ++i) {
      if (table_.fields[i].oneof == field.oneof && slots_[i].value != nullptr) {
        Refuse(place, "is in the same oneof as " + std::string(View(slots_[i].key)) +
                          "; one of them can be set");
      }
    }
    Refuse(place, "another member of its oneof is set");
  }

  const MessageTable& table_;
  std::array<Slot, kMostFields> slots_;
  std::uint32_t oneofs_ = 0;
  std::size_t expected_ = 0;
};

class Encoder {
 public:
  explicit Encoder(BackWriter& to) : to_(to) {}

  void Message(const MessageTable& table, HashTable* array, bool is_in_any, const Place& place) {
    const Slots slots(table, array, is_in_any, place);
    for (std::size_t i = table.fields.size(); i-- > 0;) {
      if (slots[i].value != nullptr) {
        FieldOf(table.fields[i], slots[i].value, place.Key(slots[i].key));
      }
    }
  }

  void Any(HashTable* array, const Place& place, int depth) {
    if (zend_hash_num_elements(array) == 0) {
      return;
    }
    const zval* url = zend_hash_find(array, tables->type_key());
    const Place type_place = place.Key(tables->type_key());
    if (url == nullptr) {
      Refuse(place, "a google.protobuf.Any needs the key @type with its type");
    }
    const std::string_view name = Text(Dereferenced(url), type_place);
    const MessageTable* table =
        name.find('/') == std::string_view::npos ? nullptr : tables->OfUrl(name);
    if (table == nullptr) {
      RefuseValue(type_place,
                  "the URL of a type of the schema, such as "
                  "\"type.googleapis.com/quor.protobuf.QuorPHP.QVal\",",
                  Dereferenced(url));
    }
    const std::size_t before = to_.size();
    if (table->is_any || table->kind != Kind::kMessage) {
      SpecialContent(*table, array, place, depth);
    } else {
      Message(*table, array, true, place);
    }
    if (to_.size() > before) {
      Length(LengthTag(2), before);
    }
    ToText(LengthTag(1), name);
  }

 private:
  // The tag and the length of what was written since then.
  void Length(std::uint32_t tag, std::size_t before) {
    to_.Varint(to_.size() - before);
    to_.Varint(tag);
  }

  void ToText(std::uint32_t tag, std::string_view text) {
    to_.Bytes(text);
    to_.Varint(text.size());
    to_.Varint(tag);
  }

  // What is not a plain message stands in an Any under the key "value".
  void SpecialContent(const MessageTable& table, HashTable* array, const Place& place, int depth) {
    const zval* content = nullptr;
    zend_string* key = nullptr;
    zval* value = nullptr;
    ZEND_HASH_FOREACH_STR_KEY_VAL(array, key, value) {
      if (key != nullptr && zend_string_equals(key, tables->value_key())) {
        content = Dereferenced(value);
      } else if (key == nullptr || !zend_string_equals(key, tables->type_key())) {
        Refuse(place, "a google.protobuf.Any with a " + table.type->full_name() +
                          " has the keys @type and value alone");
      }
    }
    ZEND_HASH_FOREACH_END();
    const Place value_place = place.Key(tables->value_key());
    if (content == nullptr) {
      Refuse(value_place, "is missing");
    }
    if (!table.is_any) {
      TimeFields(TimeOf(table.kind, content, value_place));
      return;
    }
    if (depth == kMostAnyDepth) {
      Refuse(value_place,
             "messages are nested more than " + std::to_string(kMostAnyDepth) + " deep");
    }
    Any(Array(content, "an array", value_place), value_place, depth + 1);
  }

  void FieldOf(const Field& field, const zval* value, const Place& place) {
    if (field.kind == Kind::kMap) {
      Map(field, Array(value, "an array", place), place);
    } else if (field.is_repeated) {
      HashTable* list = List(value, place);
      zend_long index = zend_hash_num_elements(list);
      zval* element = nullptr;
      ZEND_HASH_REVERSE_FOREACH_VAL(list, element) {
        --index;
        One(field, true, Dereferenced(element), place.Element(index));
      }
      ZEND_HASH_FOREACH_END();
    } else {
      One(field, field.has_presence, value, place);
    }
  }

  void Number(std::uint32_t tag, std::uint64_t number, bool always) {
    if (number != 0 || always) {
      to_.Varint(number);
      to_.Varint(tag);
    }
  }

  // One value; `always`: even if it is the default.
  void One(const Field& field, bool always, const zval* value, const Place& place) {
    switch (field.kind) {
      case Kind::kBool:
        Number(field.tag, Bool(value, place) ? 1 : 0, always);
        break;
      case Kind::kInt32:
        Number(field.tag, static_cast<std::uint64_t>(Int32(value, place)), always);
        break;
      case Kind::kUint32:
        Number(field.tag, Uint32(value, place), always);
        break;
      case Kind::kInt64:
        Number(field.tag, static_cast<std::uint64_t>(Int64(value, place)), always);
        break;
      case Kind::kUint64:
        Number(field.tag, Uint64(value, place), always);
        break;
      case Kind::kEnum:
        Number(field.tag, static_cast<std::uint64_t>(EnumNumber(*field.enumeration, value, place)),
               always);
        break;
      case Kind::kDouble:
        Real(field.tag, qmsg::php::Double(value, place), always);
        break;
      case Kind::kString: {
        const std::string_view text = Text(value, place);
        if (!text.empty() || always) {
          ToText(field.tag, text);
        }
        break;
      }
      case Kind::kTimestamp:
      case Kind::kDuration: {
        const std::size_t before = to_.size();
        TimeFields(TimeOf(field.kind, value, place));
        Length(field.tag, before);
        break;
      }
      default: {
        const std::size_t before = to_.size();
        Message(*field.message, Array(value, "an array", place), false, place);
        Length(field.tag, before);
      }
    }
  }

  void Real(std::uint32_t tag, double number, bool always) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    if (bits != 0 || always) {  // -0.0 is not the default
      to_.Fixed64(bits);
      to_.Varint(tag);
    }
  }

  void TimeFields(Time time) {
    Number(VarintTag(2), static_cast<std::uint64_t>(std::int64_t{time.nanos}), false);
    Number(VarintTag(1), static_cast<std::uint64_t>(time.seconds), false);
  }

  void Map(const Field& field, HashTable* map, const Place& place) {
    std::vector<std::pair<std::int32_t, const zval*>> entries;
    entries.reserve(zend_hash_num_elements(map));
    zend_string* key = nullptr;
    zend_ulong index = 0;
    zval* value = nullptr;
    ZEND_HASH_FOREACH_KEY_VAL(map, index, key, value) {
      const auto number = static_cast<zend_long>(index);
      if (key != nullptr || number != static_cast<std::int32_t>(number)) {
        Refuse(key == nullptr ? place.Element(number) : place.Key(key),
               "a key of this map is an integer from -2147483648 to 2147483647");
      }
      entries.emplace_back(static_cast<std::int32_t>(number), Dereferenced(value));
    }
    ZEND_HASH_FOREACH_END();
    std::sort(entries.begin(), entries.end(),
              [](const auto& one, const auto& other) { return one.first > other.first; });
    for (const auto& [number, entry] : entries) {
      const Place entry_place = place.Element(number);
      const std::size_t before = to_.size();
      Message(*field.message, Array(entry, "an array", entry_place), false, entry_place);
      Length(LengthTag(2), before);
      Number(VarintTag(1), static_cast<std::uint64_t>(std::int64_t{number}), true);
      Length(field.tag, before);
    }
  }

  static Time TimeOf(Kind kind, const zval* value, const Place& place) {
    const bool is_timestamp = kind == Kind::kTimestamp;
    Time time{};
    if (Z_TYPE_P(value) == IS_STRING) {
      const std::string_view text = View(Z_STR_P(value));
      if (is_timestamp ? ReadTimestamp(text, time) : ReadDuration(text, time)) {
        return time;
      }
    } else if (Z_TYPE_P(value) == IS_ARRAY) {
      return Parts(Z_ARRVAL_P(value), place);
    } else if (is_timestamp && Z_TYPE_P(value) == IS_OBJECT &&
               instanceof_function(Z_OBJCE_P(value), php_date_get_interface_ce())) {
      return TimeOfObject(Z_OBJ_P(value), place);
    }
    RefuseValue(place,
                is_timestamp
                    ? "a time such as \"2026-11-22T18:00:00.123Z\", or a DateTimeInterface,"
                    : "a duration such as \"1.500s\"",
                value);
  }

  // The form for what has no text: ["seconds" => 1, "nanos" => -1].
  static Time Parts(HashTable* parts, const Place& place) {
    Time time{};
    zend_string* key = nullptr;
    zval* value = nullptr;
    ZEND_HASH_FOREACH_STR_KEY_VAL(parts, key, value) {
      if (key != nullptr && zend_string_equals(key, tables->seconds_key())) {
        time.seconds = Int64(Dereferenced(value), place.Key(key));
      } else if (key != nullptr && zend_string_equals(key, tables->nanos_key())) {
        time.nanos = Int32(Dereferenced(value), place.Key(key));
      } else {
        Refuse(place, "an array for a time has the keys seconds and nanos alone");
      }
    }
    ZEND_HASH_FOREACH_END();
    return time;
  }

  // Read from the object itself: a class of the script cannot interfere.
  static Time TimeOfObject(zend_object* object, const Place& place) {
    const timelib_time* time = php_date_obj_from_obj(object)->time;
    if (time == nullptr) {
      Refuse(place, "the constructor of " + std::string(View(object->ce->name)) +
                        " has not called its parent's");
    }
    return {time->sse, static_cast<std::int32_t>(time->us) * 1000};
  }

  BackWriter& to_;
};

}  // namespace

void Encode(const MessageTable& table, HashTable* value, BackWriter& to) {
  const Place place{nullptr, nullptr, 0};
  Encoder encoder(to);
  if (table.is_any) {
    encoder.Any(value, place, 1);
  } else {
    encoder.Message(table, value, false, place);
  }
  if (to.size() > INT_MAX) {
    Refuse(place, "a message has at most 2147483647 bytes, not " + std::to_string(to.size()));
  }
}

}  // namespace qmsg::php
