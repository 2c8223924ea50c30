#include "check/convention_check.h"

#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <algorithm>
#include <tuple>
#include <unordered_map>

#include "schema/field_relations.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;
namespace Config = quor::protobuf::Config;
namespace JQ = quor::protobuf::JQ;
namespace QuorPHP = quor::protobuf::QuorPHP;
namespace Tarq = quor::protobuf::Tarq;

// A repeated field whose elements have a key: the one of `keys` that is set.
struct KeyedList {
  const pb::FieldDescriptor* elements;
  std::vector<const pb::FieldDescriptor*> keys;
  // Whether an unset key means no key, rather than an empty one or 0.
  bool keys_can_lack;
};

struct Range {
  std::int64_t least;
  std::int64_t most;
};

// Seconds and nanoseconds; `same_sign`: both must have the same sign.
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

// The conventions of one message type.
struct Conventions {
  std::vector<const pb::FieldDescriptor*> enums;
  const TypeTag* tag = nullptr;
  const KeyedList* list = nullptr;
  const Time* time = nullptr;
  const LengthOf* content = nullptr;
};

class ConventionTable {
 public:
  ConventionTable() {
    for (const KeyedList& list : lists_) {
      conventions_[list.elements->containing_type()].list = &list;
    }
    for (const Time& time : times_) {
      conventions_[time.nanos->containing_type()].time = &time;
    }
    for (auto& [type, conventions] : conventions_) {
      Complete(type, conventions);
    }
  }

  const Conventions& Of(const pb::Descriptor* type) {
    const auto conventions = conventions_.find(type);
    if (conventions != conventions_.end()) {
      return conventions->second;
    }
    Conventions& added = conventions_[type];
    Complete(type, added);
    return added;
  }

 private:
  static void Complete(const pb::Descriptor* type, Conventions& conventions) {
    conventions.tag = TagOf(type);
    conventions.content = LengthIn(type);
    for (int i = 0; i < type->field_count(); ++i) {
      if (type->field(i)->type() == pb::FieldDescriptor::TYPE_ENUM) {
        conventions.enums.push_back(type->field(i));
      }
    }
  }

  const std::vector<KeyedList> lists_ = KeyedLists();
  const std::vector<Time> times_ = Times();
  std::unordered_map<const pb::Descriptor*, Conventions> conventions_;
};

const Conventions& ConventionsOf(const pb::Descriptor* type) {
  static ConventionTable table;
  return table.Of(type);
}

int EnumValue(const FieldState& state) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(state.number));
}

void JudgeEnum(const ParsedMessage& message, const pb::FieldDescriptor* field, Findings& findings) {
  const FieldState& state = message.at(field);
  if (state.present && field->enum_type()->FindValueByNumber(EnumValue(state)) == nullptr) {
    findings.Add({&rules::kUndeclaredEnum, state.begin, PathTo(message, field),
                  std::to_string(EnumValue(state)) + " is not a declared value of " +
                      field->enum_type()->full_name()});
  }
}

const pb::FieldDescriptor* MemberSet(const ParsedMessage& message,
                                     const pb::OneofDescriptor* members) {
  for (int i = 0; i < members->field_count(); ++i) {
    if (message.at(members->field(i)).present) {
      return members->field(i);
    }
  }
  return nullptr;
}

void JudgeTypeTag(const ParsedMessage& message, const TypeTag& type_tag, Findings& findings) {
  const pb::FieldDescriptor* field = Field(message.type, type_tag.field);
  const FieldState& tag = message.at(field);
  const int value = EnumValue(tag);
  if (value < 0 || value >= static_cast<int>(type_tag.members.size())) {
    return;
  }
  const pb::OneofDescriptor* members = message.type->oneof_decl(0);
  const pb::FieldDescriptor* member = MemberSet(message, members);
  const int wanted = type_tag.members[static_cast<std::size_t>(value)];
  if ((member == nullptr ? 0 : member->number()) == wanted) {
    return;
  }
  const std::string none = "no member of " + members->name();
  std::size_t begin = message.begin;
  if (tag.present || member != nullptr) {
    begin = tag.present ? tag.begin : message.at(member).begin;
  }
  findings.Add({&rules::kTypeTag, begin, PathTo(message, field),
                field->enum_type()->FindValueByNumber(value)->name() + " goes with " +
                    (wanted == 0 ? none : Field(message.type, wanted)->name()) + ", but " +
                    (member == nullptr ? none : member->name()) + " is set"});
}

bool SameKey(const Key& one, const Key& other) {
  return one.field == other.field && one.number == other.number && one.text == other.text;
}

bool Before(const Key& one, const Key& other) {
  return std::make_tuple(one.field->number(), one.number, one.text, one.index) <
         std::make_tuple(other.field->number(), other.number, other.text, other.index);
}

std::string TextOf(const Key& key) {
  switch (key.field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_STRING:
      return Quoted(key.text);
    case pb::FieldDescriptor::CPPTYPE_UINT32:
      return std::to_string(key.number);
    default:
      return std::to_string(static_cast<std::int64_t>(key.number));
  }
}

void JudgeKeys(ParsedMessage& message, const pb::FieldDescriptor* elements, Findings& findings) {
  if (message.keys.size() < 2) {
    return;
  }
  std::vector<Key>& keys = message.keys;
  std::sort(keys.begin(), keys.end(), Before);
  const std::string path = PathTo(message, elements);
  const Key* first = &keys.front();
  for (const Key& key : keys) {
    if (!SameKey(key, *first)) {
      first = &key;
    } else if (&key != first) {
      findings.Add({&rules::kDuplicateKey, key.begin, path + '[' + std::to_string(key.index) + ']',
                    key.field->name() + ' ' + TextOf(key) + " is already the key of " + path + '[' +
                        std::to_string(first->index) + "]"});
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

void JudgeTime(const ParsedMessage& message, const Time& time, Findings& findings) {
  const FieldState& seconds_state = message.at(time.seconds);
  const FieldState& nanos_state = message.at(time.nanos);
  const auto seconds = static_cast<std::int64_t>(seconds_state.number);
  const std::int64_t nanos = EnumValue(nanos_state);
  if (!Within(seconds, time.seconds_range)) {
    findings.Add({&rules::kSecondsRange, seconds_state.begin, PathTo(message, time.seconds),
                  Outside(seconds, time.seconds_range)});
  }
  if (!Within(nanos, time.nanos_range)) {
    findings.Add({&rules::kNanosRange, nanos_state.begin, PathTo(message, time.nanos),
                  Outside(nanos, time.nanos_range)});
  } else if (time.same_sign && ((seconds < 0 && nanos > 0) || (seconds > 0 && nanos < 0))) {
    findings.Add({&rules::kNanosRange, nanos_state.begin, PathTo(message, time.nanos),
                  std::to_string(nanos) + " does not have the sign of the seconds, " +
                      std::to_string(seconds)});
  }
}

void JudgeContent(const ParsedMessage& message, const LengthOf& pair, Findings& findings) {
  const pb::FieldDescriptor* length_field = Field(message.type, pair.length);
  const pb::FieldDescriptor* content = Field(message.type, pair.content);
  const FieldState& state = message.at(length_field);
  const auto length = static_cast<std::int64_t>(state.number);
  const std::size_t size = message.at(content).text.size();
  // 0 means that no length is declared.
  if (length != 0 && length != static_cast<std::int64_t>(size)) {
    findings.Add({&rules::kContentLength, state.begin, PathTo(message, length_field),
                  "the declared length is " + std::to_string(length) + ", but " + content->name() +
                      " has " + std::to_string(size) + (size == 1 ? " byte" : " bytes")});
  }
}

}  // namespace

void CheckConventions(ParsedMessage& message, Findings& findings) {
  const Conventions& conventions = ConventionsOf(message.type);
  for (const pb::FieldDescriptor* field : conventions.enums) {
    JudgeEnum(message, field, findings);
  }
  if (conventions.tag != nullptr) {
    JudgeTypeTag(message, *conventions.tag, findings);
  }
  if (conventions.list != nullptr) {
    JudgeKeys(message, conventions.list->elements, findings);
  }
  if (conventions.time != nullptr) {
    JudgeTime(message, *conventions.time, findings);
  }
  if (conventions.content != nullptr) {
    JudgeContent(message, *conventions.content, findings);
  }
}

void KeepKey(const ParsedMessage& element, ParsedMessage& list) {
  const KeyedList* rule = ConventionsOf(list.type).list;
  if (rule == nullptr || rule->elements != element.field) {
    return;
  }
  for (const pb::FieldDescriptor* key : rule->keys) {
    const FieldState& state = element.at(key);
    if (state.present || !rule->keys_can_lack) {
      list.keys.push_back({key, state.number, state.text, element.index, element.begin});
    }
  }
}

}  // namespace qmsg
