// Writes from the last field to the first. The length in front of a sub-message is known by then,
// so nothing is counted beforehand and nothing is moved.

#include <cstring>

#include "sql_query.h"

namespace {

using std::string;
using structs::Array;
using structs::ArrayElement;
using structs::Frame;
using structs::SqlQuery;
using structs::StackTrace;
using structs::Time;
using structs::Value;

// Writes in front of the bytes already written. The buffer has to be large enough.
class Writer {
 public:
  explicit Writer(char* end) : at_(end) {}

  char* At() const { return at_; }

  void AddNumber(unsigned field, std::uint64_t number) {
    Number(number);
    Number(field << 3U);
  }

  // A negative number takes ten bytes, whatever its type.
  void AddSigned(unsigned field, std::int64_t number) {
    AddNumber(field, static_cast<std::uint64_t>(number));
  }

  void AddDouble(unsigned field, double number) {
    at_ -= sizeof number;
    std::memcpy(at_, &number, sizeof number);
    Number(field << 3U | 1U);
  }

  void AddText(unsigned field, const string& text) {
    at_ -= text.size();
    std::memcpy(at_, text.data(), text.size());
    AddLength(field, text.size());
  }

  template <typename Message>
  void AddMessage(unsigned field, const Message& message) {
    const char* const end = at_;
    Write(*this, message);
    AddLength(field, static_cast<std::size_t>(end - at_));
  }

 private:
  void AddLength(unsigned field, std::size_t length) {
    Number(length);
    Number(field << 3U | 2U);
  }

  void Number(std::uint64_t number) {
    if (number < 0x80) {
      *--at_ = static_cast<char>(number);
      return;
    }
    // Seven bits to a byte.
    const auto bits = static_cast<unsigned>(64 - __builtin_clzll(number));
    at_ -= (bits + 6) / 7;
    char* byte = at_;
    for (; number >= 0x80; number >>= 7U) {
      *byte++ = static_cast<char>(number | 0x80U);
    }
    *byte = static_cast<char>(number);
  }

  char* at_;
};

void Write(Writer& writer, const Time& time) {
  if (time.nanos != 0) {
    writer.AddSigned(2, time.nanos);
  }
  if (time.seconds != 0) {
    writer.AddSigned(1, time.seconds);
  }
}

void Write(Writer& writer, const Value<string>& value) {
  if (const auto* time = std::get_if<Time>(&value.value)) {
    writer.AddMessage(7, *time);
  } else if (const auto* json = std::get_if<structs::Json<string>>(&value.value)) {
    writer.AddText(6, json->text);
  } else if (const auto* real = std::get_if<double>(&value.value)) {
    writer.AddDouble(5, *real);
  } else if (const auto* number = std::get_if<std::int64_t>(&value.value)) {
    writer.AddSigned(4, *number);
  } else if (const auto* text = std::get_if<string>(&value.value)) {
    writer.AddText(3, *text);
  } else if (const auto* flag = std::get_if<bool>(&value.value)) {
    writer.AddNumber(2, *flag ? 1 : 0);
  }
  if (value.type != 0) {
    writer.AddSigned(1, value.type);
  }
}

void Write(Writer& writer, const ArrayElement<string>& element) {
  if (element.value) {
    writer.AddMessage(3, *element.value);
  }
  if (const auto* number = std::get_if<std::int64_t>(&element.key)) {
    writer.AddSigned(2, *number);
  } else if (const auto* text = std::get_if<string>(&element.key)) {
    writer.AddText(1, *text);
  }
}

void Write(Writer& writer, const Array<string>& array) {
  for (auto element = array.elements.rbegin(); element != array.elements.rend(); ++element) {
    writer.AddMessage(1, *element);
  }
}

void Write(Writer& writer, const Frame<string>& frame) {
  if (frame.arguments) {
    writer.AddMessage(5, *frame.arguments);
  }
  if (frame.line != 0) {
    writer.AddNumber(4, frame.line);
  }
  if (!frame.file_name.empty()) {
    writer.AddText(3, frame.file_name);
  }
  if (!frame.function_name.empty()) {
    writer.AddText(2, frame.function_name);
  }
  if (frame.id != 0) {
    writer.AddNumber(1, frame.id);
  }
}

void Write(Writer& writer, const StackTrace<string>& stack) {
  for (auto frame = stack.frames.rbegin(); frame != stack.frames.rend(); ++frame) {
    writer.AddMessage(1, *frame);
  }
}

void Write(Writer& writer, const structs::SqlError<string>& error) {
  if (!error.message.empty()) {
    writer.AddText(1, error.message);
  }
}

void Write(Writer& writer, const SqlQuery<string>& query) {
  if (query.stack_trace) {
    writer.AddMessage(11, *query.stack_trace);
  }
  if (query.rows != 0) {
    writer.AddSigned(10, query.rows);
  }
  if (query.duration) {
    writer.AddMessage(9, *query.duration);
  }
  if (query.error) {
    writer.AddMessage(8, *query.error);
  }
  if (query.flags != 0) {
    writer.AddNumber(7, query.flags);
  }
  if (query.status != 0) {
    writer.AddSigned(6, query.status);
  }
  if (!query.query.empty()) {
    writer.AddText(5, query.query);
  }
  if (query.transaction) {
    writer.AddNumber(4, *query.transaction);
  }
  if (query.driver) {
    writer.AddSigned(3, *query.driver);
  }
  if (query.connection) {
    writer.AddNumber(2, *query.connection);
  }
  if (query.statement_type != 0) {
    writer.AddSigned(1, query.statement_type);
  }
}

// The largest size of a message without its texts: a number or a length takes at most 11 bytes with
// its tag.
constexpr std::size_t kRoomOfNumber = 11;
constexpr std::size_t kRoomOfElement = 8 * kRoomOfNumber;
constexpr std::size_t kRoomOfFrame = 6 * kRoomOfNumber;
constexpr std::size_t kRoomOfQuery = 14 * kRoomOfNumber;

std::size_t Room(const ArrayElement<string>& element) {
  std::size_t room = kRoomOfElement;
  if (const auto* key = std::get_if<string>(&element.key)) {
    room += key->size();
  }
  if (element.value) {
    if (const auto* text = std::get_if<string>(&element.value->value)) {
      room += text->size();
    } else if (const auto* json = std::get_if<structs::Json<string>>(&element.value->value)) {
      room += json->text.size();
    }
  }
  return room;
}

// At least the size of the encoded message.
std::size_t Room(const SqlQuery<string>& query) {
  std::size_t room = kRoomOfQuery + query.query.size();
  if (query.error) {
    room += query.error->message.size();
  }
  if (query.stack_trace) {
    for (const Frame<string>& frame : query.stack_trace->frames) {
      room += kRoomOfFrame + frame.function_name.size() + frame.file_name.size();
      if (frame.arguments) {
        for (const ArrayElement<string>& element : frame.arguments->elements) {
          room += Room(element);
        }
      }
    }
  }
  return room;
}

}  // namespace

std::string_view WriteSqlQuery(const SqlQuery<string>& query, string& buffer) {
  const std::size_t room = Room(query);
  if (buffer.size() < room) {
    buffer.resize(room);
  }
  char* const end = buffer.data() + buffer.size();
  Writer writer(end);
  Write(writer, query);
  return {writer.At(), static_cast<std::size_t>(end - writer.At())};
}
