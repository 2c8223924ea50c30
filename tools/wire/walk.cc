#include "wire/walk.h"

#include <google/protobuf/stubs/common.h>

#include <array>
#include <climits>
#include <cstring>
#include <optional>

#include "io/text.h"

namespace qmsg {
namespace pb = google::protobuf;

namespace {

using pb::internal::WireFormatLite;

constexpr int kMaxDepth = 100;                    // of messages and groups, as the runtime has it
constexpr std::size_t kMaxLength = INT_MAX - 16;  // the runtime keeps 16 bytes in reserve
constexpr std::size_t kMaxVarint = 10;
constexpr std::size_t kMaxTag = 5;

std::string Hex(unsigned byte) { return {'0', 'x', kHexDigits[byte >> 4], kHexDigits[byte & 15]}; }

class Walker {
 public:
  Walker(std::string_view bytes, Visitor& visitor) : bytes_(bytes), visitor_(visitor) {}

  bool Run(const pb::Descriptor* type) {
    Message(0, bytes_.size(), type, kMaxDepth, 0);
    return good_;
  }

 private:
  // How often each field of a message has occurred so far.
  class Counts {
   public:
    explicit Counts(const pb::Descriptor* type)
        : counts_(type == nullptr ? 0 : static_cast<std::size_t>(type->field_count())) {}

    std::size_t Next(const pb::FieldDescriptor* field) {
      return counts_[static_cast<std::size_t>(field->index())]++;
    }

   private:
    std::vector<std::size_t> counts_;
  };

  bool Refuse(Fault::Kind kind, std::size_t offset, std::string reason) {
    good_ = false;
    visitor_.Meet({kind, offset, std::move(reason)}, path_);
    return false;
  }

  bool RefuseWire(std::size_t offset, std::string reason) {
    return Refuse(Fault::Kind::kWire, offset, std::move(reason));
  }

  // Reads a varint of at most `max` bytes at `at`, and moves `at` past it.
  bool ReadVarint(std::size_t& at, std::size_t end, std::size_t max, const char* what,
                  std::uint64_t& value) {
    value = 0;
    const std::size_t begin = at;
    for (std::size_t i = 0; i < max; ++i) {
      if (at == end) {
        return RefuseWire(
            begin, std::string(what) + " is cut off: the " + Around(end) + " ends inside it");
      }
      const auto byte = static_cast<unsigned char>(bytes_[at++]);
      value |= static_cast<std::uint64_t>(byte & 0x7fU) << (7 * i);
      if (byte < 0x80) {
        return true;
      }
    }
    return RefuseWire(begin, std::string(what) + " is longer than " + std::to_string(max) +
                                 " bytes, the maximum");
  }

  const char* Around(std::size_t end) const {
    return end == bytes_.size() ? "message" : "message around it";
  }

  // Walks the fields from `at` to `end`, or to the end of the group of that number. Returns that
  // offset, or nothing after a fault.
  std::optional<std::size_t> Message(std::size_t at, std::size_t end, const pb::Descriptor* type,
                                     int depth, std::uint32_t group) {
    Counts counts(type);
    while (at < end) {
      Occurrence field;
      field.begin = at;
      std::uint64_t tag = 0;
      if (!ReadVarint(at, end, kMaxTag, "the tag of a field", tag)) {
        return std::nullopt;
      }
      tag &= UINT32_MAX;
      field.number = static_cast<std::uint32_t>(tag >> 3);
      field.wire_type = static_cast<WireType>(tag & 7U);
      field.value = at;
      if (field.wire_type == WireType::WIRETYPE_END_GROUP && field.number == group && group != 0) {
        return at;
      }
      if (!IsTag(field, group)) {
        return std::nullopt;
      }
      Classify(type, counts, field);
      if (!Field(at, end, depth, field)) {
        return std::nullopt;
      }
      at = field.end;
    }
    if (group != 0) {
      RefuseWire(end, "the group of field " + std::to_string(group) + " has no end: the " +
                          Around(end) + " ends first");
      return std::nullopt;
    }
    return at;
  }

  bool IsTag(const Occurrence& field, std::uint32_t group) {
    const std::string number = std::to_string(field.number);
    switch (static_cast<int>(field.wire_type)) {
      case WireFormatLite::WIRETYPE_END_GROUP:
        return RefuseWire(field.begin,
                          group == 0
                              ? "the end of a group of field " + number + ", which was not started"
                              : "the end of a group of field " + number +
                                    " inside the group of field " + std::to_string(group));
      case 6:
      case 7:
        return RefuseWire(field.begin, "wire type " +
                                           std::to_string(static_cast<int>(field.wire_type)) +
                                           " in the tag of field " + number + " does not exist");
      default:
        return field.number != 0 || RefuseWire(field.begin, "a tag with field number 0");
    }
  }

  static void Classify(const pb::Descriptor* type, Counts& counts, Occurrence& field) {
    if (type == nullptr || field.number > INT_MAX) {
      return;
    }
    field.field = type->FindFieldByNumber(static_cast<int>(field.number));
    if (field.field == nullptr) {
      return;
    }
    field.known = WireFormatLite::WireTypeForFieldType(static_cast<WireFormatLite::FieldType>(
                      field.field->type())) == field.wire_type;
    if (field.known) {
      field.repetition = counts.Next(field.field);
    }
  }

  // Walks the value at `at`. Returns false if nothing after it can be read.
  bool Field(std::size_t at, std::size_t end, int depth, Occurrence& field) {
    path_.Enter(field);
    const bool read = Value(at, end, depth, field);
    path_.Leave();
    return read;
  }

  bool Value(std::size_t at, std::size_t end, int depth, Occurrence& field) {
    switch (field.wire_type) {
      case WireType::WIRETYPE_VARINT:
        if (!ReadVarint(at, end, kMaxVarint, "a number", field.number_value)) {
          return false;
        }
        break;
      case WireType::WIRETYPE_FIXED64:
        if (!Fixed(at, end, 8, field)) {
          return false;
        }
        break;
      case WireType::WIRETYPE_FIXED32:
        if (!Fixed(at, end, 4, field)) {
          return false;
        }
        break;
      case WireType::WIRETYPE_START_GROUP:
        return Group(at, end, depth, field);
      default:
        return LengthDelimited(at, end, depth, field);
    }
    field.end = at;
    visitor_.Value(field, path_);
    return true;
  }

  bool Fixed(std::size_t& at, std::size_t end, std::size_t size, Occurrence& field) {
    if (end - at < size) {
      return RefuseWire(at, "a number of " + std::to_string(size) + " bytes is cut off: the " +
                                Around(end) + " has " + std::to_string(end - at) + " of them");
    }
    for (std::size_t i = 0; i < size; ++i) {
      field.number_value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes_[at + i]))
                            << (8 * i);
    }
    at += size;
    return true;
  }

  bool Group(std::size_t at, std::size_t end, int depth, Occurrence& field) {
    if (depth == 0) {
      return RefuseDepth(field);
    }
    visitor_.Enter(field, nullptr, path_);
    const std::optional<std::size_t> group_end = Message(at, end, nullptr, depth - 1, field.number);
    field.end = group_end.value_or(end);
    visitor_.Leave(field, path_);
    return group_end.has_value();
  }

  bool LengthDelimited(std::size_t at, std::size_t end, int depth, Occurrence& field) {
    const std::size_t begin = at;
    std::uint64_t length = 0;
    if (!ReadVarint(at, end, kMaxTag, "a length", length)) {
      return false;
    }
    if (length > kMaxLength) {
      return RefuseWire(
          begin, "a length of " + std::to_string(length) + " bytes exceeds the limit of a message");
    }
    if (length > end - at) {
      return RefuseWire(begin, "a length of " + std::to_string(length) + " bytes, but the " +
                                   Around(end) + " has only " + std::to_string(end - at) + " left");
    }
    field.value = at;
    field.end = at + static_cast<std::size_t>(length);
    if (field.known && field.field->type() == pb::FieldDescriptor::TYPE_MESSAGE) {
      if (depth == 0) {
        return RefuseDepth(field);
      }
      const pb::Descriptor* type = field.field->message_type();
      visitor_.Enter(field, type, path_);
      Message(at, field.end, type, depth - 1, 0);
      visitor_.Leave(field, path_);
      return true;
    }
    visitor_.Value(field, path_);
    if (field.known && field.field->type() == pb::FieldDescriptor::TYPE_STRING) {
      CheckUtf8(field);
    }
    return true;
  }

  void CheckUtf8(const Occurrence& field) {
    const std::string_view text = bytes_.substr(field.value, field.size());
    const auto good = static_cast<std::size_t>(
        pb::internal::UTF8SpnStructurallyValid(pb::StringPiece(text.data(), text.size())));
    if (good < text.size()) {
      Refuse(Fault::Kind::kUtf8, field.value + good,
             "byte " + Hex(static_cast<unsigned char>(text[good])) + " is not valid UTF-8");
    }
  }

  bool RefuseDepth(const Occurrence& field) {
    return RefuseWire(field.begin, "messages and groups are nested more than " +
                                       std::to_string(kMaxDepth) + " deep");
  }

  std::string_view bytes_;
  Visitor& visitor_;
  Path path_;
  bool good_ = true;
};

}  // namespace

std::string Path::ToString() const {
  std::string text;
  for (const Occurrence& step : steps_) {
    if (!text.empty()) {
      text += '.';
    }
    if (step.field == nullptr) {
      text += std::to_string(step.number);
      continue;
    }
    text += step.field->name();
    if (step.known && step.field->is_repeated()) {
      text += '[' + std::to_string(step.repetition) + ']';
    }
  }
  return text;
}

bool Walk(std::string_view bytes, const pb::Descriptor* type, Visitor& visitor) {
  return Walker(bytes, visitor).Run(type);
}

}  // namespace qmsg
