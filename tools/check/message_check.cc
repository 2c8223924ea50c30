#include "check/message_check.h"

#include "check/conventions.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

// The number as the parser keeps it: of a short type the low half.
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

MessageCheck::MessageCheck(std::string_view bytes, const pb::Descriptor* type, NodePool& pool,
                           Findings& findings)
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

const Slot& MessageCheck::at(int number) const {
  return root_->at(root_->type->FindFieldByNumber(number));
}

void MessageCheck::Value(const Occurrence& at, const Path& /*path*/) {
  if (IsKnown(at)) {
    Slot& slot = Take(at);
    slot.number = Kept(at);
    slot.text = at.wire_type == WireType::WIRETYPE_LENGTH_DELIMITED
                    ? bytes_.substr(at.value, at.size())
                    : std::string_view();
  }
}

void MessageCheck::Enter(const Occurrence& at, const pb::Descriptor* type, const Path& /*path*/) {
  if (!IsKnown(at)) {
    ++groups_;
    return;
  }
  Slot& slot = Take(at);
  if (at.field->is_repeated()) {
    open_.push_back(NewChild(at, type, slot.count - 1));
    return;
  }
  if (slot.child == nullptr) {
    slot.child = NewChild(at, type, 0);
  }
  open_.push_back(slot.child);
}

void MessageCheck::Leave(const Occurrence& at, const Path& /*path*/) {
  if (at.wire_type == WireType::WIRETYPE_START_GROUP) {
    --groups_;
    return;
  }
  Node* node = open_.back();
  open_.pop_back();
  if (at.field->is_repeated()) {
    Judge(*node);
    EndElement(*node);
    pool_.Return(node);
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
  const Node& node = *open_.back();
  if (at.field == nullptr) {
    const std::string path = PathTo(node);
    const std::string number = std::to_string(at.number);
    findings_.Add({&rules::kUnknownField, at.begin, path.empty() ? number : path + '.' + number,
                   node.type->full_name() + " has no field " + number});
    return false;
  }
  findings_.Add({&rules::kWireType, at.begin, PathTo(node, at.field),
                 std::string(Name(at.wire_type)) + " under this number, which is declared as " +
                     Name(WireTypeOf(at.field)) + "; a reader keeps it as unknown"});
  return false;
}

// The place for a known field, after what it does to what was there.
Slot& MessageCheck::Take(const Occurrence& at) {
  Node& node = *open_.back();
  Slot& slot = node.at(at.field);
  if (at.field->is_repeated()) {
    ++slot.count;
    return slot;
  }
  if (slot.present) {
    findings_.Add({&rules::kRepeatedSingular, at.begin, PathTo(node, at.field),
                   at.field->type() == pb::FieldDescriptor::TYPE_MESSAGE
                       ? "occurs again; a reader merges it into the one before"
                       : "occurs again; a reader keeps the last one"});
  } else if (at.field->containing_oneof() != nullptr) {
    MakeRoomInOneof(node, at);
  }
  slot.present = true;
  slot.begin = at.begin;
  return slot;
}

void MessageCheck::MakeRoomInOneof(Node& node, const Occurrence& at) {
  const pb::OneofDescriptor* members = at.field->containing_oneof();
  for (int i = 0; i < members->field_count(); ++i) {
    const pb::FieldDescriptor* other = members->field(i);
    Slot& slot = node.at(other);
    if (slot.present) {
      findings_.Add({&rules::kRepeatedSingular, at.begin, PathTo(node, at.field),
                     "replaces " + other->name() + ", which is in the same oneof"});
      if (slot.child != nullptr) {
        pool_.Return(slot.child);
      }
      slot = Slot{};
    }
  }
}

Node* MessageCheck::NewChild(const Occurrence& at, const pb::Descriptor* type, std::size_t index) {
  Node* child = pool_.New(type);
  child->parent = open_.back();
  child->field = at.field;
  child->index = index;
  child->begin = at.begin;
  return child;
}

// Judges the message, and those below it that had to wait, since they could have come twice.
void MessageCheck::Judge(Node& node) {
  if (!node.broken) {
    JudgeConventions(node, findings_);
  }
  for (const Slot& slot : node.slots) {
    if (slot.child != nullptr) {
      Judge(*slot.child);
    }
  }
}

void MessageCheck::EndElement(Node& element) {
  if (element.broken) {
    return;
  }
  Node& list = *open_.back();
  KeepKey(element, list);
  if (&list == root_) {
    sql_.Take(element);
  }
}

}  // namespace qmsg
