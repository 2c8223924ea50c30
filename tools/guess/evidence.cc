#include "guess/evidence.h"

#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <google/protobuf/util/time_util.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "io/escape.h"
#include "schema/field_relations.h"
#include "wire/faults.h"
#include "wire/walk.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;
using pb::util::TimeUtil;

struct Meaning {
  Sign sign;
  int points;
  const char* one;   // in words; null where Reasons has its own
  const char* many;  // after the count
};

// The points follow from how messages of this schema are written: never with unknown fields, seldom
// with undeclared values, and nearly always without some fields.
constexpr std::array kMeanings{
    Meaning{Sign::kDeclared, 2, nullptr, nullptr},
    Meaning{Sign::kUnknown, -80, "1 unknown field", "unknown fields"},
    Meaning{Sign::kWrongWire, -80, "1 field with a wrong wire type",
            "fields with a wrong wire type"},
    Meaning{Sign::kText, 2, "1 text", "texts"},
    Meaning{Sign::kGarbled, -16, "1 text that is not printable", "texts that are not printable"},
    Meaning{Sign::kMessage, 4, "1 message inside", "messages inside"},
    Meaning{Sign::kEnum, 4, "1 declared enum value", "declared enum values"},
    Meaning{Sign::kOddEnum, -10, "1 undeclared enum value", "undeclared enum values"},
    Meaning{Sign::kFlag, 4, "1 flag", "flags"},
    Meaning{Sign::kChoice, -2, nullptr, nullptr},
    Meaning{Sign::kTagFits, 6, "1 type tag with its member", "type tags with their members"},
    Meaning{Sign::kTagMisfits, -10, "1 type tag without its member",
            "type tags without their members"},
    Meaning{Sign::kTime, 8, nullptr, nullptr},
    Meaning{Sign::kOddTime, -8, "1 time before 2000 or after 2100",
            "times before 2000 or after 2100"},
    Meaning{Sign::kDuration, 4, "1 duration", "durations"},
    Meaning{Sign::kOddDuration, -6, "1 negative duration, or over a month",
            "durations negative or over a month"},
    Meaning{Sign::kOutOfRange, -16, "1 time out of range", "times out of range"},
    Meaning{Sign::kDouble, 2, "1 double of a usual magnitude", "doubles of a usual magnitude"},
    Meaning{Sign::kOddDouble, -4, "1 double of an unusual magnitude",
            "doubles of an unusual magnitude"},
    Meaning{Sign::kLengthFits, 8, "1 body of its declared length",
            "bodies of their declared length"},
    Meaning{Sign::kCut, -10, "1 number too large for its type", "numbers too large for their type"},
    Meaning{Sign::kZero, -6, "1 zero or empty text that need not be written",
            "zeros or empty texts that need not be written"},
    Meaning{Sign::kBackwards, -6, "1 field out of order", "fields out of order"},
    Meaning{Sign::kTwice, -10, "1 field more than once", "fields more than once"},
    Meaning{Sign::kAbsent, -2, "1 absent field", "absent fields"},
    Meaning{Sign::kAbsentInside, -2, "1 absent inside", "absent inside"},
};
static_assert(kMeanings.size() == static_cast<std::size_t>(Sign::kCount));

constexpr int kFirstYear = 2000;
constexpr int kLastYear = 2100;
constexpr std::int64_t kMonth = std::int64_t{31} * 24 * 3600;
constexpr std::int64_t kNanos = 1'000'000'000;

}  // namespace

// Walks one message.
class Evidence::Collector : public Visitor {
 public:
  Collector(std::string_view bytes, const pb::Descriptor* type, std::uint64_t base,
            Evidence& evidence)
      : bytes_(bytes), base_(base), evidence_(evidence) {
    open_.emplace_back(type);
  }

  std::string Run() {
    Walk(bytes_, open_.front().type, *this);
    Close(Sign::kAbsent);
    return fault_;
  }

  void Value(const Occurrence& at, const Path& /*path*/) override {
    if (!Note(at)) {
      return;
    }
    Open& open = open_.back();
    const TypeTag* tag = TagOf(open.type);
    if (tag != nullptr && at.field->number() == tag->field) {
      open.tag = static_cast<std::int32_t>(at.number_value);
    }
    if (open.numbers.size() <= static_cast<std::size_t>(at.field->index())) {
      open.numbers.resize(static_cast<std::size_t>(open.type->field_count()));
    }
    const bool text = at.field->cpp_type() == FieldDescriptor::CPPTYPE_STRING;
    open.numbers[static_cast<std::size_t>(at.field->index())] = text ? at.size() : at.number_value;
    if (text) {
      Text(at);
    } else {
      Number(at);
    }
  }

  void Enter(const Occurrence& at, const pb::Descriptor* type, const Path& /*path*/) override {
    if (Note(at) && at.size() > 0) {
      evidence_.Add(Sign::kMessage);
    }
    open_.emplace_back(type);
  }

  void Leave(const Occurrence& /*at*/, const Path& /*path*/) override {
    Close(Sign::kAbsentInside);
    open_.pop_back();
  }

  void Meet(const Fault& fault, const Path& path) override {
    if (fault_.empty()) {
      fault_ = Describe(fault, path, base_);
    }
  }

 private:
  struct Open {
    explicit Open(const pb::Descriptor* of) : type(of) {}

    const pb::Descriptor* type;          // null: a group
    std::uint32_t highest = 0;           // field number so far
    std::vector<bool> seen;              // by index of the field; oneofs after all fields
    std::vector<std::uint64_t> numbers;  // by index: number, or size of a text
    int tag = 0;
    int member = 0;  // number of the member of a oneof that is set
  };

  static std::size_t Slot(const FieldDescriptor* field) {
    const pb::OneofDescriptor* oneof = field->containing_oneof();
    return oneof == nullptr ? static_cast<std::size_t>(field->index())
                            : static_cast<std::size_t>(field->containing_type()->field_count()) +
                                  static_cast<std::size_t>(oneof->index());
  }

  // Returns whether the field is known.
  bool Note(const Occurrence& at) {
    Open& open = open_.back();
    if (open.type == nullptr) {
      return false;  // The group around it counts.
    }
    if (!at.known) {
      evidence_.Add(at.field == nullptr ? Sign::kUnknown : Sign::kWrongWire);
      return false;
    }
    evidence_.Add(Sign::kDeclared);
    if (at.number < open.highest) {
      evidence_.Add(Sign::kBackwards);
    }
    open.highest = std::max(open.highest, at.number);
    open.seen.resize(static_cast<std::size_t>(open.type->field_count()) +
                     static_cast<std::size_t>(open.type->oneof_decl_count()));
    const std::size_t slot = Slot(at.field);
    if (open.seen[slot] && !at.field->is_repeated()) {
      evidence_.Add(Sign::kTwice);
    }
    open.seen[slot] = true;
    if (at.field->containing_oneof() != nullptr) {
      open.member = at.field->number();
      for (int others = at.field->containing_oneof()->field_count(); others > 1; others /= 2) {
        evidence_.Add(Sign::kChoice);
      }
    }
    return true;
  }

  void Zero(const FieldDescriptor* field) {
    if (field->containing_oneof() == nullptr && !field->is_repeated() &&
        !field->containing_type()->options().map_entry()) {
      evidence_.Add(Sign::kZero);
    }
  }

  void Text(const Occurrence& at) {
    if (at.size() == 0) {
      Zero(at.field);
      return;
    }
    const Legibility legibility = LegibilityOf(bytes_.substr(at.value, at.size()));
    if (legibility != Legibility::kLines) {
      evidence_.Add(legibility == Legibility::kText ? Sign::kText : Sign::kGarbled);
    }
  }

  void Number(const Occurrence& at) {
    const std::uint64_t value = at.number_value;
    if (value == 0) {
      Zero(at.field);
    }
    const auto number = static_cast<std::int32_t>(value);
    const bool is_int32 = static_cast<std::int64_t>(value) == static_cast<std::int64_t>(number);
    switch (at.field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_ENUM:
        evidence_.Add(is_int32 && at.field->enum_type()->FindValueByNumber(number) != nullptr
                          ? Sign::kEnum
                          : Sign::kOddEnum);
        break;
      case FieldDescriptor::CPPTYPE_INT32:
        evidence_.Add(Sign::kCut, is_int32 ? 0 : 1);
        break;
      case FieldDescriptor::CPPTYPE_UINT32:
        evidence_.Add(Sign::kCut, value <= UINT32_MAX ? 0 : 1);
        break;
      case FieldDescriptor::CPPTYPE_BOOL:
        evidence_.Add(value <= 1 ? Sign::kFlag : Sign::kCut);
        break;
      case FieldDescriptor::CPPTYPE_DOUBLE:
        Double(value);
        break;
      default:
        break;
    }
  }

  void Double(std::uint64_t bits) {
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    const double size = std::fabs(number);
    evidence_.Add(size == 0 || (size > 1e-9 && size < 1e15) ? Sign::kDouble : Sign::kOddDouble);
  }

  void Close(Sign absent) {
    const Open& open = open_.back();
    if (open.type == nullptr || open.type->options().map_entry()) {
      return;
    }
    Absent(open, absent);
    if (open.type == pb::Timestamp::descriptor()) {
      Time(Found(open, 1), Found(open, 2));
    } else if (open.type == pb::Duration::descriptor()) {
      Duration(Found(open, 1), Found(open, 2));
    }
    const TypeTag* tag = TagOf(open.type);
    if (tag != nullptr && (open.tag != 0 || open.member != 0) && open.tag >= 0 &&
        open.tag < static_cast<int>(tag->members.size())) {
      const bool fits = tag->members[static_cast<std::size_t>(open.tag)] == open.member;
      if (!fits) {
        evidence_.Add(Sign::kTagMisfits);
      } else if (open.member != 0) {  // A tag alone does not fit another field.
        evidence_.Add(Sign::kTagFits);
      }
    }
    const LengthOf* pair = LengthIn(open.type);
    if (pair != nullptr && Found(open, pair->length) > 0 &&
        Found(open, pair->length) == Found(open, pair->content)) {
      evidence_.Add(Sign::kLengthFits);
    }
  }

  void Absent(const Open& open, Sign sign) {
    std::vector<std::size_t> slots;
    slots.reserve(static_cast<std::size_t>(open.type->field_count()));
    for (int i = 0; i < open.type->field_count(); ++i) {
      slots.push_back(Slot(open.type->field(i)));
    }
    std::sort(slots.begin(), slots.end());
    slots.erase(std::unique(slots.begin(), slots.end()), slots.end());
    for (const std::size_t slot : slots) {
      evidence_.Add(sign, slot < open.seen.size() && open.seen[slot] ? 0 : 1);
    }
  }

  // The number that a field had last; of a text, its size.
  static std::int64_t Found(const Open& open, int number) {
    const auto index = static_cast<std::size_t>(open.type->FindFieldByNumber(number)->index());
    return index < open.numbers.size() ? static_cast<std::int64_t>(open.numbers[index]) : 0;
  }

  void Time(std::int64_t seconds, std::int64_t nanos) {
    if (seconds < TimeUtil::kTimestampMinSeconds || seconds > TimeUtil::kTimestampMaxSeconds ||
        nanos < 0 || nanos >= kNanos) {
      evidence_.Add(Sign::kOutOfRange);
      return;
    }
    const int year = std::stoi(TimeUtil::ToString(TimeUtil::SecondsToTimestamp(seconds)));
    if (year < kFirstYear || year > kLastYear) {
      evidence_.Add(Sign::kOddTime);
      return;
    }
    evidence_.Add(Sign::kTime);
    evidence_.first_year_ =
        evidence_.first_year_ == 0 ? year : std::min(evidence_.first_year_, year);
    evidence_.last_year_ = std::max(evidence_.last_year_, year);
  }

  void Duration(std::int64_t seconds, std::int64_t nanos) {
    if (seconds < TimeUtil::kDurationMinSeconds || seconds > TimeUtil::kDurationMaxSeconds ||
        nanos <= -kNanos || nanos >= kNanos || (seconds < 0 && nanos > 0) ||
        (seconds > 0 && nanos < 0)) {
      evidence_.Add(Sign::kOutOfRange);
    } else {
      evidence_.Add(seconds >= 0 && nanos >= 0 && seconds <= kMonth ? Sign::kDuration
                                                                    : Sign::kOddDuration);
    }
  }

  std::string_view bytes_;
  std::uint64_t base_;
  Evidence& evidence_;
  std::vector<Open> open_;
  std::string fault_;
};

std::string Evidence::Judge(std::string_view bytes, const pb::Descriptor* type,
                            std::uint64_t base) {
  ++messages_;
  return Collector(bytes, type, base, *this).Run();
}

std::int64_t Evidence::Score() const {
  std::int64_t score = 0;
  if (Fields() == 0) {
    return score;
  }
  for (const Meaning& meaning : kMeanings) {
    score += meaning.points * static_cast<std::int64_t>(count(meaning.sign));
  }
  return score;
}

std::uint64_t Evidence::Fields() const {
  return count(Sign::kDeclared) + count(Sign::kUnknown) + count(Sign::kWrongWire);
}

bool Evidence::FitsWell() const {
  return count(Sign::kDeclared) > 0 && count(Sign::kUnknown) == 0 && count(Sign::kWrongWire) == 0 &&
         count(Sign::kGarbled) == 0;
}

std::vector<std::string> Evidence::Reasons() const {
  std::vector<std::string> reasons;
  const std::uint64_t declared = count(Sign::kDeclared);
  const std::uint64_t fields = Fields();
  if (fields == 0) {
    return {"no fields"};
  }
  if (fields == 1 && declared == 1) {
    reasons.emplace_back("its field is declared");
  } else {
    reasons.push_back(declared == fields ? "all " + std::to_string(fields) + " fields declared"
                                         : std::to_string(declared) + " of " +
                                               std::to_string(fields) + " fields declared");
  }
  for (const Meaning& meaning : kMeanings) {
    const std::uint64_t times = count(meaning.sign);
    if (meaning.one != nullptr && times > 0) {
      reasons.push_back(times == 1 ? meaning.one : std::to_string(times) + ' ' + meaning.many);
    }
  }
  if (count(Sign::kTime) > 0) {
    reasons.push_back(
        (count(Sign::kTime) == 1 ? "1 time" : std::to_string(count(Sign::kTime)) + " times") +
        std::string(" of ") + std::to_string(first_year_) +
        (first_year_ == last_year_ ? "" : " to " + std::to_string(last_year_)));
  }
  return reasons;
}

}  // namespace qmsg
