#include "check/conventions.h"

#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <algorithm>
#include <tuple>
#include <unordered_map>

#include "schema/conventions.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;
namespace Config = quor::protobuf::Config;
namespace JQ = quor::protobuf::JQ;
namespace QuorPHP = quor::protobuf::QuorPHP;
namespace Tarq = quor::protobuf::Tarq;

// A repeated field whose elements have keys; which of these, the element says by what it sets.
struct KeyedList {
  const pb::FieldDescriptor* elements;
  std::vector<const pb::FieldDescriptor*> keys;
  // Whether a key that is not set is none, rather than empty or 0.
  bool keys_can_lack;
};

struct Range {
  std::int64_t least;
  std::int64_t most;
};

// Seconds and nanoseconds; whether these have the sign of those.
struct Time {
  const pb::FieldDescriptor* seconds;
  const pb::FieldDescriptor* nanos;
  Range seconds_range;
  Range nanos_range;
  bool same_sign;
};

const pb::FieldDescriptor* Field(const pb::Descriptor* type, int number) {
  return type->FindFieldByNumber(number);
}

KeyedList MakeKeyedList(const pb::Descriptor* type, const char* elements,
                        const std::vector<const char*>& keys) {
  KeyedList list{type->FindFieldByName(elements), {}, false};
  for (const char* key : keys) {
    list.keys.push_back(list.elements->message_type()->FindFieldByName(key));
    list.keys_can_lack = list.keys.back()->has_presence();
  }
  return list;
}

std::vector<KeyedList> KeyedLists() {
  return {MakeKeyedList(QuorPHP::QuorArray::descriptor(), "values", {"string_key", "int_key"}),
          MakeKeyedList(QuorPHP::SuperglobalVariable::descriptor(), "values", {"key"}),
          MakeKeyedList(Tarq::Storage::descriptor(), "storage", {"key"}),
          MakeKeyedList(Config::Namespace::descriptor(), "values", {"key"}),
          MakeKeyedList(Config::Set::descriptor(), "namespaces", {"name"}),
          MakeKeyedList(Tarq::SqlConnections::descriptor(), "connections", {"ident"}),
          MakeKeyedList(Tarq::SqlTransactions::descriptor(), "transactions", {"ident"}),
          MakeKeyedList(JQ::AttrList::descriptor(), "attr_list", {"key"})};
}

std::vector<Time> Times() {
  const pb::Descriptor* timestamp = pb::Timestamp::descriptor();
  const pb::Descriptor* duration = pb::Duration::descriptor();
  return {{Field(timestamp, pb::Timestamp::kSecondsFieldNumber),
           Field(timestamp, pb::Timestamp::kNanosFieldNumber),
           {-62135596800, 253402300799},  // from the year 1 to the end of 9999
           {0, 999999999},
           false},
          {Field(duration, pb::Duration::kSecondsFieldNumber),
           Field(duration, pb::Duration::kNanosFieldNumber),
           {-315576000000, 315576000000},  // 10,000 years
           {-999999999, 999999999},
           true}};
}

// What is to be judged in a message of one type.
struct Conventions {
  std::vector<const pb::FieldDescriptor*> enums;
  const TypeTag* tag = nullptr;
  const KeyedList* list = nullptr;
  const Time* time = nullptr;
  const LengthOf* content = nullptr;
};

class Book {
 public:
  Book() {
    for (const KeyedList& list : lists_) {
      pages_[list.elements->containing_type()].list = &list;
    }
    for (const Time& time : times_) {
      pages_[time.nanos->containing_type()].time = &time;
    }
    for (auto& [type, page] : pages_) {
      Complete(type, page);
    }
  }

  const Conventions& Of(const pb::Descriptor* type) {
    const auto page = pages_.find(type);
    if (page != pages_.end()) {
      return page->second;
    }
    Conventions& added = pages_[type];
    Complete(type, added);
    return added;
  }

 private:
  static void Complete(const pb::Descriptor* type, Conventions& page) {
    page.tag = TagOf(type);
    page.content = LengthIn(type);
    for (int i = 0; i < type->field_count(); ++i) {
      if (type->field(i)->type() == pb::FieldDescriptor::TYPE_ENUM) {
        page.enums.push_back(type->field(i));
      }
    }
  }

  const std::vector<KeyedList> lists_ = KeyedLists();
  const std::vector<Time> times_ = Times();
  std::unordered_map<const pb::Descriptor*, Conventions> pages_;
};

const Conventions& ConventionsOf(const pb::Descriptor* type) {
  static Book book;
  return book.Of(type);
}

int EnumValue(const Slot& slot) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(slot.number));
}

void JudgeEnum(const Node& node, const pb::FieldDescriptor* field, Findings& findings) {
  const Slot& slot = node.at(field);
  if (slot.present && field->enum_type()->FindValueByNumber(EnumValue(slot)) == nullptr) {
    findings.Add({&rules::kUndeclaredEnum, slot.begin, PathTo(node, field),
                  std::to_string(EnumValue(slot)) + " is no declared value of " +
                      field->enum_type()->full_name()});
  }
}

const pb::FieldDescriptor* MemberSet(const Node& node, const pb::OneofDescriptor* members) {
  for (int i = 0; i < members->field_count(); ++i) {
    if (node.at(members->field(i)).present) {
      return members->field(i);
    }
  }
  return nullptr;
}

void JudgeTypeTag(const Node& node, const TypeTag& type_tag, Findings& findings) {
  const pb::FieldDescriptor* field = Field(node.type, type_tag.field);
  const Slot& tag = node.at(field);
  const int value = EnumValue(tag);
  if (value < 0 || value >= static_cast<int>(type_tag.members.size())) {
    return;
  }
  const pb::OneofDescriptor* members = node.type->oneof_decl(0);
  const pb::FieldDescriptor* member = MemberSet(node, members);
  const int wanted = type_tag.members[static_cast<std::size_t>(value)];
  if ((member == nullptr ? 0 : member->number()) == wanted) {
    return;
  }
  const std::string none = "no member of " + members->name();
  std::size_t begin = node.begin;
  if (tag.present || member != nullptr) {
    begin = tag.present ? tag.begin : node.at(member).begin;
  }
  findings.Add({&rules::kTypeTag, begin, PathTo(node, field),
                field->enum_type()->FindValueByNumber(value)->name() + " goes with " +
                    (wanted == 0 ? none : Field(node.type, wanted)->name()) + ", but " +
                    (member == nullptr ? none : member->name()) + " is set"});
}

bool SameKey(const Key& one, const Key& other) {
  return one.field == other.field && one.number == other.number && one.text == other.text;
}

bool Before(const Key& one, const Key& other) {
  return std::make_tuple(one.field->number(), one.number, one.text, one.index) <
         std::make_tuple(other.field->number(), other.number, other.text, other.index);
}

std::string Shown(const Key& key) {
  switch (key.field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_STRING:
      return Quoted(key.text);
    case pb::FieldDescriptor::CPPTYPE_UINT32:
      return std::to_string(key.number);
    default:
      return std::to_string(static_cast<std::int64_t>(key.number));
  }
}

void JudgeKeys(Node& node, const pb::FieldDescriptor* elements, Findings& findings) {
  if (node.keys.size() < 2) {
    return;
  }
  std::vector<Key>& keys = node.keys;
  std::sort(keys.begin(), keys.end(), Before);
  const std::string path = PathTo(node, elements);
  const Key* first = &keys.front();
  for (const Key& key : keys) {
    if (!SameKey(key, *first)) {
      first = &key;
    } else if (&key != first) {
      findings.Add({&rules::kDuplicateKey, key.begin, path + '[' + std::to_string(key.index) + ']',
                    key.field->name() + ' ' + Shown(key) + " is the key of " + path + '[' +
                        std::to_string(first->index) + "] already"});
    }
  }
}

bool Within(std::int64_t value, const Range& range) {
  return range.least <= value && value <= range.most;
}

std::string Outside(std::int64_t value, const Range& range) {
  return std::to_string(value) + " is outside " + std::to_string(range.least) + ".." +
         std::to_string(range.most);
}

void JudgeTime(const Node& node, const Time& time, Findings& findings) {
  const Slot& seconds_slot = node.at(time.seconds);
  const Slot& nanos_slot = node.at(time.nanos);
  const auto seconds = static_cast<std::int64_t>(seconds_slot.number);
  const std::int64_t nanos = EnumValue(nanos_slot);
  if (!Within(seconds, time.seconds_range)) {
    findings.Add({&rules::kSecondsRange, seconds_slot.begin, PathTo(node, time.seconds),
                  Outside(seconds, time.seconds_range)});
  }
  if (!Within(nanos, time.nanos_range)) {
    findings.Add({&rules::kNanosRange, nanos_slot.begin, PathTo(node, time.nanos),
                  Outside(nanos, time.nanos_range)});
  } else if (time.same_sign && ((seconds < 0 && nanos > 0) || (seconds > 0 && nanos < 0))) {
    findings.Add(
        {&rules::kNanosRange, nanos_slot.begin, PathTo(node, time.nanos),
         std::to_string(nanos) + " has not the sign of the seconds, " + std::to_string(seconds)});
  }
}

void JudgeContent(const Node& node, const LengthOf& pair, Findings& findings) {
  const pb::FieldDescriptor* length_field = Field(node.type, pair.length);
  const pb::FieldDescriptor* content = Field(node.type, pair.content);
  const Slot& slot = node.at(length_field);
  const auto length = static_cast<std::int64_t>(slot.number);
  const std::size_t size = node.at(content).text.size();
  // 0 stands for a length that is not given.
  if (length != 0 && length != static_cast<std::int64_t>(size)) {
    findings.Add({&rules::kContentLength, slot.begin, PathTo(node, length_field),
                  "it says " + std::to_string(length) + ", but " + content->name() + " has " +
                      std::to_string(size) + (size == 1 ? " byte" : " bytes")});
  }
}

}  // namespace

void JudgeConventions(Node& node, Findings& findings) {
  const Conventions& conventions = ConventionsOf(node.type);
  for (const pb::FieldDescriptor* field : conventions.enums) {
    JudgeEnum(node, field, findings);
  }
  if (conventions.tag != nullptr) {
    JudgeTypeTag(node, *conventions.tag, findings);
  }
  if (conventions.list != nullptr) {
    JudgeKeys(node, conventions.list->elements, findings);
  }
  if (conventions.time != nullptr) {
    JudgeTime(node, *conventions.time, findings);
  }
  if (conventions.content != nullptr) {
    JudgeContent(node, *conventions.content, findings);
  }
}

void KeepKey(const Node& element, Node& list) {
  const KeyedList* rule = ConventionsOf(list.type).list;
  if (rule == nullptr || rule->elements != element.field) {
    return;
  }
  for (const pb::FieldDescriptor* key : rule->keys) {
    const Slot& slot = element.at(key);
    if (slot.present || !rule->keys_can_lack) {
      list.keys.push_back({key, slot.number, slot.text, element.index, element.begin});
    }
  }
}

}  // namespace qmsg
