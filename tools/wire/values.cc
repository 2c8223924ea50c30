#include "wire/values.h"

#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <google/protobuf/util/time_util.h>

#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>

namespace qmsg {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;
using pb::util::TimeUtil;

template <typename Number>
std::string Shortest(Number number) {
  if (std::isnan(number)) {
    return "NaN";
  }
  std::array<char, 32> digits{};
  const std::to_chars_result end =
      std::to_chars(digits.data(), digits.data() + digits.size(), number);
  return {digits.data(), end.ptr};
}

double DoubleOf(std::uint64_t bits) {
  double number = 0;
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

float FloatOf(std::uint64_t bits) {
  const auto low = static_cast<std::uint32_t>(bits);
  float number = 0;
  std::memcpy(&number, &low, sizeof number);
  return number;
}

std::string Cut(std::uint64_t value, bool is_cut) {
  return is_cut ? ", cut to 32 bits from " + std::to_string(value) : "";
}

std::string SignedText(std::uint64_t value) {
  const auto low = static_cast<std::int32_t>(value);
  return std::to_string(low) +
         Cut(value, static_cast<std::int64_t>(value) != static_cast<std::int64_t>(low));
}

std::string EnumText(const FieldDescriptor* field, std::uint64_t value) {
  const auto number = static_cast<std::int32_t>(value);
  const pb::EnumValueDescriptor* declared = field->enum_type()->FindValueByNumber(number);
  return declared == nullptr ? SignedText(value) + ", not declared"
                             : declared->name() + " (" + SignedText(value) + ")";
}

std::string UnknownText(const Occurrence& at) {
  const std::string number = std::to_string(at.number_value);
  switch (at.wire_type) {
    case WireType::WIRETYPE_FIXED64:
      return number + ", as a double " + Shortest(DoubleOf(at.number_value));
    case WireType::WIRETYPE_FIXED32:
      return number + ", as a float " + Shortest(FloatOf(at.number_value));
    default:
      return at.number_value > INT64_MAX
                 ? number + ", signed " + std::to_string(static_cast<std::int64_t>(at.number_value))
                 : number;
  }
}

}  // namespace

const char* Name(WireType type) {
  switch (type) {
    case WireType::WIRETYPE_VARINT:
      return "varint";
    case WireType::WIRETYPE_FIXED64:
      return "64-bit";
    case WireType::WIRETYPE_LENGTH_DELIMITED:
      return "len";
    case WireType::WIRETYPE_START_GROUP:
      return "group";
    case WireType::WIRETYPE_END_GROUP:
      return "end of group";
    case WireType::WIRETYPE_FIXED32:
      break;
  }
  return "32-bit";
}

std::string TypeName(const FieldDescriptor* field) {
  if (field->is_map()) {
    return "map entry";
  }
  if (field->type() == FieldDescriptor::TYPE_MESSAGE) {
    return field->message_type()->name();
  }
  if (field->type() == FieldDescriptor::TYPE_ENUM) {
    return field->enum_type()->full_name().substr(field->file()->package().size() + 1);
  }
  return field->type_name();
}

std::string NumberText(const Occurrence& at) {
  if (!at.known) {
    return UnknownText(at);
  }
  const std::uint64_t value = at.number_value;
  switch (at.field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
      return SignedText(value);
    case FieldDescriptor::CPPTYPE_INT64:
      return std::to_string(static_cast<std::int64_t>(value));
    case FieldDescriptor::CPPTYPE_UINT32:
      return std::to_string(static_cast<std::uint32_t>(value)) + Cut(value, value > UINT32_MAX);
    case FieldDescriptor::CPPTYPE_BOOL:
      return value > 1    ? "true, written as " + std::to_string(value)
             : value == 1 ? "true"
                          : "false";
    case FieldDescriptor::CPPTYPE_ENUM:
      return EnumText(at.field, value);
    case FieldDescriptor::CPPTYPE_DOUBLE:
      return Shortest(DoubleOf(value));
    case FieldDescriptor::CPPTYPE_FLOAT:
      return Shortest(FloatOf(value));
    default:
      return std::to_string(value);
  }
}

std::string TimeText(std::string_view bytes, const pb::Descriptor* type) {
  const auto size = static_cast<int>(bytes.size());
  if (type == pb::Timestamp::descriptor()) {
    pb::Timestamp time;
    if (time.ParseFromArray(bytes.data(), size) &&
        time.seconds() >= TimeUtil::kTimestampMinSeconds &&
        time.seconds() <= TimeUtil::kTimestampMaxSeconds && time.nanos() >= 0 &&
        time.nanos() <= 999'999'999) {
      return TimeUtil::ToString(time);
    }
  }
  if (type == pb::Duration::descriptor()) {
    pb::Duration duration;
    if (duration.ParseFromArray(bytes.data(), size) &&
        duration.seconds() >= TimeUtil::kDurationMinSeconds &&
        duration.seconds() <= TimeUtil::kDurationMaxSeconds &&
        std::abs(static_cast<std::int64_t>(duration.nanos())) <= 999'999'999 &&
        (duration.seconds() == 0 || duration.nanos() == 0 ||
         (duration.seconds() < 0) == (duration.nanos() < 0))) {
      return TimeUtil::ToString(duration);
    }
  }
  return "";
}

}  // namespace qmsg
