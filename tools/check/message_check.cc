#include "check/message_check.h"

#include "check/convention_check.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

// The number as the parser keeps it: the low half for a 32-bit type.
std::uint64_t Kept(const Occurrence& at) {
  switch (at.field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_UINT32:
      return static_cast<std::uint32_t>(at.number_value);
    case pb::FieldDescriptor::CPPTYPE_INT32:
    case pb::FieldDescriptor::CPPTYPE_ENUM:
      return static_cast<std::uint64_t>(
          static_cast<std::int64_t>(static_cast<std::int32_t>(at.number_value)));
    default:
      return at.number_value;
  }
}

const char* Name(WireType type) {
  switch (type) {
    case WireType::WIRETYPE_VARINT:
      return "a varint";
    case WireType::WIRETYPE_FIXED64:
      return "8 bytes";
    case WireType::WIRETYPE_FIXED32:
      return "4 bytes";
    case WireType::WIRETYPE_LENGTH_DELIMITED:
      return "a length with bytes";
    default:
      return "a group";
  }
}

WireType WireTypeOf(const pb::FieldDescriptor* field) {
  using pb::internal::WireFormatLite;
  return WireFormatLite::WireTypeForFieldType(
      static_cast<WireFormatLite::FieldType>(field->type()));
}

}  // namespace

MessageCheck::MessageCheck(std::string_view bytes, const pb::Descriptor* type,
                           ParsedMessagePool& pool, Findings& findings)
    : bytes_(bytes), pool_(pool), findings_(findings), sql_(type) {
  if (type != nullptr) {
    root_ = pool_.New(type);
    open_.push_back(root_);
  }
  good_ = Walk(bytes, type, *this);
  if (root_ != nullptr) {
    Judge(*root_);
    if (good_ && sql_.declares(Target::kTransaction)) {
      JudgeParents(sql_.declared(), findings_);
    }
  }
  findings_.Flush();
}

MessageCheck::~MessageCheck() {
  if (root_ != nullptr) {
    pool_.Return(root_);
  }
}

const FieldState& MessageCheck::at(int number) const {
  return root_->at(root_->type->FindFieldByNumber(number));
}

void MessageCheck::Value(const Occurrence& at, const Path& /*path*/) {
  if (IsKnown(at)) {
    FieldState& state = Take(at);
    state.number = Kept(at);
    state.text = at.wire_type == WireType::WIRETYPE_LENGTH_DELIMITED
                     ? bytes_.substr(at.value, at.size())
                     : std::string_view();
  }
}

void MessageCheck::Enter(const Occurrence& at, const pb::Descriptor* type, const Path& /*path*/) {
  if (!IsKnown(at)) {
    ++groups_;
    return;
  }
  FieldState& state = Take(at);
  if (at.field->is_repeated()) {
    open_.push_back(NewChild(at, type, state.count - 1));
    return;
  }
  if (state.child == nullptr) {
    state.child = NewChild(at, type, 0);
  }
  open_.push_back(state.child);
}

void MessageCheck::Leave(const Occurrence& at, const Path& /*path*/) {
  if (at.wire_type == WireType::WIRETYPE_START_GROUP) {
    --groups_;
    return;
  }
  ParsedMessage* message = open_.back();
  open_.pop_back();
  if (at.field->is_repeated()) {
    Judge(*message);
    EndElement(*message);
    pool_.Return(message);
  }
}

void MessageCheck::Meet(const Fault& fault, const Path& path) {
  const bool wire = fault.kind == Fault::Kind::kWire;
  if (wire && !open_.empty()) {
    open_.back()->broken = true;
  }
  findings_.Add(
      {wire ? &rules::kMalformed : &rules::kUtf8, fault.offset, path.ToString(), fault.reason});
}

bool MessageCheck::IsKnown(const Occurrence& at) {
  if (at.known || groups_ > 0 || open_.empty()) {
    return at.known;
  }
  const ParsedMessage& message = *open_.back();
  if (at.field == nullptr) {
    const std::string path = PathTo(message);
    const std::string number = std::to_string(at.number);
    findings_.Add({&rules::kUnknownField, at.begin, path.empty() ? number : path + '.' + number,
                   message.type->full_name() + " has no field " + number});
    return false;
  }
  findings_.Add({&rules::kWireType, at.begin, PathTo(message, at.field),
                 std::string(Name(at.wire_type)) + ", but declared as " +
                     Name(WireTypeOf(at.field)) + "; a reader keeps it as an unknown field"});
  return false;
}

// The state of a known field, after resolving repetition and the members of its oneof.
FieldState& MessageCheck::Take(const Occurrence& at) {
  ParsedMessage& message = *open_.back();
  FieldState& state = message.at(at.field);
  if (at.field->is_repeated()) {
    ++state.count;
    return state;
  }
  if (state.present) {
    findings_.Add({&rules::kRepeatedSingular, at.begin, PathTo(message, at.field),
                   at.field->type() == pb::FieldDescriptor::TYPE_MESSAGE
                       ? "occurs again; a reader merges it with the previous one"
                       : "occurs again; a reader keeps the last one"});
  } else if (at.field->containing_oneof() != nullptr) {
    MakeRoomInOneof(message, at);
  }
  state.present = true;
  state.begin = at.begin;
  return state;
}

void MessageCheck::MakeRoomInOneof(ParsedMessage& message, const Occurrence& at) {
  const pb::OneofDescriptor* members = at.field->containing_oneof();
  for (int i = 0; i < members->field_count(); ++i) {
    const pb::FieldDescriptor* other = members->field(i);
    FieldState& state = message.at(other);
    if (state.present) {
      findings_.Add({&rules::kRepeatedSingular, at.begin, PathTo(message, at.field),
                     "replaces " + other->name() + ", which is in the same oneof"});
      if (state.child != nullptr) {
        pool_.Return(state.child);
      }
      state = FieldState{};
    }
  }
}

ParsedMessage* MessageCheck::NewChild(const Occurrence& at, const pb::Descriptor* type,
                                      std::size_t index) {
  ParsedMessage* child = pool_.New(type);
  child->parent = open_.back();
  child->field = at.field;
  child->index = index;
  child->begin = at.begin;
  return child;
}

// Judges the message and its singular fields, which could have occurred twice until now.
void MessageCheck::Judge(ParsedMessage& message) {
  if (!message.broken) {
    CheckConventions(message, findings_);
  }
  for (const FieldState& state : message.fields) {
    if (state.child != nullptr) {
      Judge(*state.child);
    }
  }
}

void MessageCheck::EndElement(ParsedMessage& element) {
  if (element.broken) {
    return;
  }
  ParsedMessage& list = *open_.back();
  KeepKey(element, list);
  if (&list == root_) {
    sql_.Take(element);
  }
}

}  // namespace qmsg
