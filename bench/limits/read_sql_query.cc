#include <simdjson.h>

#include <cstring>
#include <type_traits>

#include "sql_query.h"

namespace {

using structs::Array;
using structs::ArrayElement;
using structs::Frame;
using structs::SqlError;
using structs::SqlQuery;
using structs::StackTrace;
using structs::Time;
using structs::Value;

// A tag: the number of the field and the wire type.
constexpr std::uint32_t Varint(std::uint32_t field) { return field << 3U; }
constexpr std::uint32_t Fixed64(std::uint32_t field) { return field << 3U | 1U; }
constexpr std::uint32_t Bytes(std::uint32_t field) { return field << 3U | 2U; }

// Most texts are short and ASCII. For these a call costs more than checking eight bytes at a time.
bool IsUtf8(std::string_view text) {
  std::uint64_t seen = 0;
  std::size_t at = 0;
  for (; at + sizeof seen <= text.size(); at += sizeof seen) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, text.data() + at, sizeof eight);
    seen |= eight;
  }
  for (; at < text.size(); ++at) {
    seen |= static_cast<unsigned char>(text[at]);
  }
  return (seen & 0x8080808080808080U) == 0 || simdjson::validate_utf8(text.data(), text.size());
}

// Iterates over the bytes of one message. Damage moves it to the end and sets `Damaged()`.
class Cursor {
 public:
  explicit Cursor(std::string_view bytes) : at_(bytes.data()), end_(bytes.data() + bytes.size()) {}

  bool AtEnd() const { return at_ == end_; }
  bool Damaged() const { return damaged_; }

  std::uint64_t Number() {
    if (at_ != end_ && static_cast<signed char>(*at_) >= 0) {
      return static_cast<unsigned char>(*at_++);
    }
    return LongNumber();
  }

  std::uint32_t Tag() {
    const std::uint64_t tag = Number();
    // No tag here has more than two bytes, and 0 is not a field number.
    if (tag >> 3U == 0 || tag > UINT32_MAX) {
      Damage();
    }
    return static_cast<std::uint32_t>(tag);
  }

  std::string_view Part() {
    const std::uint64_t size = Number();
    if (size > static_cast<std::uint64_t>(end_ - at_)) {
      Damage();
      return {};
    }
    const std::string_view part(at_, static_cast<std::size_t>(size));
    at_ += size;
    return part;
  }

  double Double() {
    double number = 0;
    if (end_ - at_ < static_cast<std::ptrdiff_t>(sizeof number)) {
      Damage();
      return 0;
    }
    std::memcpy(&number, at_, sizeof number);
    at_ += sizeof number;
    return number;
  }

  // Reads a text: as a view, or as a copy that is valid UTF-8.
  template <typename Text>
  void Take(Text& text) {
    const std::string_view part = Part();
    if constexpr (std::is_same_v<Text, std::string>) {
      if (!IsUtf8(part)) {
        Damage();
      }
    }
    text = part;
  }

  // Reads a message within this one.
  template <typename Message>
  void Take(Message& message, bool (*read)(std::string_view, Message&)) {
    if (!read(Part(), message)) {
      Damage();
    }
  }

  void Damage() {
    at_ = end_;
    damaged_ = true;
  }

 private:
  std::uint64_t LongNumber() {
    std::uint64_t number = 0;
    for (unsigned shift = 0; shift < 64 && at_ != end_; shift += 7) {
      const auto byte = static_cast<unsigned char>(*at_++);
      number |= std::uint64_t{byte & 0x7FU} << shift;
      if (byte < 0x80) {
        return number;
      }
    }
    Damage();
    return 0;
  }

  const char* at_;
  const char* end_;
  bool damaged_ = false;
};

bool Read(std::string_view bytes, Time& time) {
  Cursor cursor(bytes);
  while (!cursor.AtEnd()) {
    switch (cursor.Tag()) {
      case Varint(1):
        time.seconds = static_cast<std::int64_t>(cursor.Number());
        break;
      case Varint(2):
        time.nanos = static_cast<std::int32_t>(cursor.Number());
        break;
      default:
        cursor.Damage();
    }
  }
  return !cursor.Damaged();
}

template <typename Text>
bool Read(std::string_view bytes, Value<Text>& value) {
  Cursor cursor(bytes);
  while (!cursor.AtEnd()) {
    switch (cursor.Tag()) {
      case Varint(1):
        value.type = static_cast<std::int32_t>(cursor.Number());
        break;
      case Varint(2):
        value.value = cursor.Number() != 0;
        break;
      case Bytes(3):
        cursor.Take(value.value.template emplace<Text>());
        break;
      case Varint(4):
        value.value = static_cast<std::int64_t>(cursor.Number());
        break;
      case Fixed64(5):
        value.value = cursor.Double();
        break;
      case Bytes(6):
        cursor.Take(value.value.template emplace<structs::Json<Text>>().text);
        break;
      case Bytes(7):
        cursor.Take(value.value.template emplace<Time>(), Read);
        break;
      default:
        cursor.Damage();
    }
  }
  return !cursor.Damaged();
}

template <typename Text>
bool Read(std::string_view bytes, ArrayElement<Text>& element) {
  Cursor cursor(bytes);
  while (!cursor.AtEnd()) {
    switch (cursor.Tag()) {
      case Bytes(1):
        cursor.Take(element.key.template emplace<Text>());
        break;
      case Varint(2):
        element.key = static_cast<std::int64_t>(cursor.Number());
        break;
      case Bytes(3):
        cursor.Take(element.value.emplace(), Read<Text>);
        break;
      default:
        cursor.Damage();
    }
  }
  return !cursor.Damaged();
}

template <typename Text>
bool Read(std::string_view bytes, Array<Text>& array) {
  Cursor cursor(bytes);
  while (!cursor.AtEnd()) {
    if (cursor.Tag() == Bytes(1)) {
      cursor.Take(array.elements.emplace_back(), Read<Text>);
    } else {
      cursor.Damage();
    }
  }
  return !cursor.Damaged();
}

template <typename Text>
bool Read(std::string_view bytes, Frame<Text>& frame) {
  Cursor cursor(bytes);
  while (!cursor.AtEnd()) {
    switch (cursor.Tag()) {
      case Varint(1):
        frame.id = static_cast<std::uint32_t>(cursor.Number());
        break;
      case Bytes(2):
        cursor.Take(frame.function_name);
        break;
      case Bytes(3):
        cursor.Take(frame.file_name);
        break;
      case Varint(4):
        frame.line = static_cast<std::uint32_t>(cursor.Number());
        break;
      case Bytes(5):
        cursor.Take(frame.arguments.emplace(), Read<Text>);
        break;
      default:
        cursor.Damage();
    }
  }
  return !cursor.Damaged();
}

template <typename Text>
bool Read(std::string_view bytes, StackTrace<Text>& stack) {
  Cursor cursor(bytes);
  while (!cursor.AtEnd()) {
    if (cursor.Tag() == Bytes(1)) {
      cursor.Take(stack.frames.emplace_back(), Read<Text>);
    } else {
      cursor.Damage();
    }
  }
  return !cursor.Damaged();
}

template <typename Text>
bool Read(std::string_view bytes, SqlError<Text>& error) {
  Cursor cursor(bytes);
  while (!cursor.AtEnd()) {
    if (cursor.Tag() == Bytes(1)) {
      cursor.Take(error.message);
    } else {
      cursor.Damage();
    }
  }
  return !cursor.Damaged();
}

template <typename Text>
bool Read(std::string_view bytes, SqlQuery<Text>& query) {
  Cursor cursor(bytes);
  while (!cursor.AtEnd()) {
    switch (cursor.Tag()) {
      case Varint(1):
        query.statement_type = static_cast<std::int32_t>(cursor.Number());
        break;
      case Varint(2):
        query.connection = static_cast<std::uint32_t>(cursor.Number());
        break;
      case Varint(3):
        query.driver = static_cast<std::int32_t>(cursor.Number());
        break;
      case Varint(4):
        query.transaction = static_cast<std::uint32_t>(cursor.Number());
        break;
      case Bytes(5):
        cursor.Take(query.query);
        break;
      case Varint(6):
        query.status = static_cast<std::int32_t>(cursor.Number());
        break;
      case Varint(7):
        query.flags = cursor.Number();
        break;
      case Bytes(8):
        cursor.Take(query.error.emplace(), Read<Text>);
        break;
      case Bytes(9):
        cursor.Take(query.duration.emplace(), Read);
        break;
      case Varint(10):
        query.rows = static_cast<std::int32_t>(cursor.Number());
        break;
      case Bytes(11):
        cursor.Take(query.stack_trace.emplace(), Read<Text>);
        break;
      default:
        cursor.Damage();
    }
  }
  return !cursor.Damaged();
}

}  // namespace

bool ReadSqlQuery(std::string_view bytes, SqlQuery<std::string_view>& query) {
  return Read(bytes, query);
}

bool ReadSqlQuery(std::string_view bytes, SqlQuery<std::string>& query) {
  return Read(bytes, query);
}
