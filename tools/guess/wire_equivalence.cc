#include "guess/wire_equivalence.h"

#include <algorithm>
#include <set>
#include <utility>

namespace qmsg {
namespace {

namespace pb = google::protobuf;

class Comparison {
 public:
  bool Messages(const pb::Descriptor* a, const pb::Descriptor* b) {
    // A pair whose comparison has begun is equivalent unless that comparison finds a difference.
    if (a == b || !begun_.emplace(a, b).second) {
      return true;
    }
    if (a->field_count() != b->field_count()) {
      return false;
    }
    for (int i = 0; i < a->field_count(); ++i) {
      const pb::FieldDescriptor* other = b->FindFieldByNumber(a->field(i)->number());
      if (other == nullptr || !Fields(a->field(i), other)) {
        return false;
      }
    }
    return true;
  }

 private:
  bool Fields(const pb::FieldDescriptor* a, const pb::FieldDescriptor* b) {
    if (a->type() != b->type() || a->is_repeated() != b->is_repeated() || !SameOneof(a, b)) {
      return false;
    }
    if (a->type() == pb::FieldDescriptor::TYPE_ENUM) {
      return SameNumbers(a->enum_type(), b->enum_type());
    }
    return a->type() != pb::FieldDescriptor::TYPE_MESSAGE ||
           (a->is_map() == b->is_map() && Messages(a->message_type(), b->message_type()));
  }

  static std::set<int> Members(const pb::FieldDescriptor* field) {
    std::set<int> numbers;
    const pb::OneofDescriptor* oneof = field->containing_oneof();
    for (int i = 0; oneof != nullptr && i < oneof->field_count(); ++i) {
      numbers.insert(oneof->field(i)->number());
    }
    return numbers;
  }

  static bool SameOneof(const pb::FieldDescriptor* a, const pb::FieldDescriptor* b) {
    return Members(a) == Members(b);
  }

  static std::set<int> Numbers(const pb::EnumDescriptor* type) {
    std::set<int> numbers;
    for (int i = 0; i < type->value_count(); ++i) {
      numbers.insert(type->value(i)->number());
    }
    return numbers;
  }

  static bool SameNumbers(const pb::EnumDescriptor* a, const pb::EnumDescriptor* b) {
    return Numbers(a) == Numbers(b);
  }

  std::set<std::pair<const pb::Descriptor*, const pb::Descriptor*>> begun_;
};

}  // namespace

bool AreWireEquivalent(const pb::Descriptor* a, const pb::Descriptor* b) {
  return Comparison().Messages(a, b);
}

}  // namespace qmsg
