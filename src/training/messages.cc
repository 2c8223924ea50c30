#include "messages.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/dynamic_message.h>
#include <qmsg/codetrace.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <cstdint>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>

namespace training {
namespace {

using google::protobuf::DynamicMessageFactory;
using google::protobuf::FieldDescriptor;
using google::protobuf::FileDescriptor;
using google::protobuf::Message;
using google::protobuf::OneofDescriptor;
using google::protobuf::Reflection;

const char* const kWords[] = {"SELECT ", "name ",     "FROM ",      "product ",   "/var/www/app/",
                              "src/",    "Handler",   ".php",       "::execute",  "queue_",
                              "id=",     "127.0.0.1", "text/html ", "undefined ", "variable "};
const char* const kOtherWords[] = {"caf\xc3\xa9 ", "\xd0\xb7\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7 ",
                                   "\xe8\xae\xa2\xe5\x8d\x95", "\xe2\x82\xac ", "\xf0\x9f\x93\xa6"};

class Maker {
 public:
  void Fill(Message& message, bool inside_a_list) {
    const Descriptor& type = *message.GetDescriptor();
    for (int i = 0; i < type.field_count(); ++i) {
      const FieldDescriptor* field = type.field(i);
      if (field->containing_oneof() == nullptr && !OneIn(8)) {
        FillField(message, field, inside_a_list);
      }
    }
    for (int i = 0; i < type.oneof_decl_count(); ++i) {
      const OneofDescriptor* oneof = type.oneof_decl(i);
      if (!OneIn(8)) {
        const auto members = static_cast<std::size_t>(oneof->field_count());
        const auto chosen = static_cast<int>(Between(0, members - 1));
        FillSingular(message, oneof->field(chosen), inside_a_list);
      }
    }
  }

 private:
  std::size_t Between(std::size_t least, std::size_t most) {
    return least + random_() % (most - least + 1);
  }
  bool OneIn(std::size_t n) { return random_() % n == 0; }

  std::string Text() {
    std::size_t size = Between(5, 120);
    if (OneIn(30)) {
      size = OneIn(2) ? 0 : Between(500, 4000);
    }
    const bool is_ascii = !OneIn(8);
    std::string text;
    while (text.size() < size) {
      text += is_ascii || !OneIn(3) ? kWords[Between(0, std::size(kWords) - 1)]
                                    : kOtherWords[Between(0, std::size(kOtherWords) - 1)];
    }
    // An end inside a character would be no text.
    return is_ascii ? text.substr(0, size) : text;
  }

  // Small numbers are the most frequent.
  std::uint32_t Number() {
    return static_cast<std::uint32_t>(random_() & ((1U << Between(1, 30)) - 1));
  }

  void FillField(Message& message, const FieldDescriptor* field, bool inside_a_list) {
    if (field->is_repeated()) {
      FillList(message, field, inside_a_list);
    } else {
      FillSingular(message, field, inside_a_list);
    }
  }

  // The order of a map's entries is another one in each run. They differ by nothing but keys of
  // the same size, so what is counted does not depend on it.
  void FillMap(Message& message, const FieldDescriptor* field, std::size_t size) {
    const Reflection& reflection = *message.GetReflection();
    const Descriptor& type = *field->message_type();
    for (std::size_t i = 0; i < size; ++i) {
      Message& entry = *reflection.AddMessage(&message, field);
      if (i == 0) {
        Fill(*entry.GetReflection()->MutableMessage(&entry, type.map_value()), true);
      } else {
        entry.CopyFrom(reflection.GetRepeatedMessage(message, field, 0));
      }
      entry.GetReflection()->SetInt32(&entry, type.map_key(), static_cast<std::int32_t>(i + 1));
    }
  }

  void FillList(Message& message, const FieldDescriptor* field, bool inside_a_list) {
    const Reflection& reflection = *message.GetReflection();
    const std::size_t size = inside_a_list ? Between(0, 6) : Between(5, 50);
    if (field->is_map()) {
      return FillMap(message, field, size);
    }
    for (std::size_t i = 0; i < size; ++i) {
      if (field->type() == FieldDescriptor::TYPE_STRING) {
        reflection.AddString(&message, field, Text());
      } else {
        Fill(*reflection.AddMessage(&message, field), true);
      }
    }
  }

  void FillSingular(Message& message, const FieldDescriptor* field, bool inside_a_list) {
    const Reflection& reflection = *message.GetReflection();
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32:
        return reflection.SetInt32(&message, field, static_cast<std::int32_t>(Number()));
      case FieldDescriptor::CPPTYPE_INT64:
        return reflection.SetInt64(&message, field, Number());
      case FieldDescriptor::CPPTYPE_UINT32:
        return reflection.SetUInt32(&message, field, Number());
      case FieldDescriptor::CPPTYPE_UINT64:
        return reflection.SetUInt64(&message, field, std::uint64_t{Number()} << Between(0, 30));
      case FieldDescriptor::CPPTYPE_DOUBLE:
        return reflection.SetDouble(&message, field, Number() / 7.0);
      case FieldDescriptor::CPPTYPE_BOOL:
        return reflection.SetBool(&message, field, OneIn(2));
      case FieldDescriptor::CPPTYPE_ENUM: {
        const auto count = static_cast<std::size_t>(field->enum_type()->value_count());
        return reflection.SetEnumValue(&message, field, static_cast<int>(Between(0, count - 1)));
      }
      case FieldDescriptor::CPPTYPE_STRING:
        return reflection.SetString(&message, field, Text());
      case FieldDescriptor::CPPTYPE_MESSAGE:
        return Fill(*reflection.MutableMessage(&message, field), inside_a_list);
      default:
        throw std::logic_error("No field has this type: " + field->full_name());
    }
  }

  std::minstd_rand random_;
};

}  // namespace

std::vector<const Descriptor*> Types() {
  namespace pb = quor::protobuf;
  std::vector<const Descriptor*> types;
  for (const Descriptor* of_file :
       {pb::CT::Header::descriptor(), pb::Config::Value::descriptor(), pb::JQ::Job::descriptor(),
        pb::Login::Login::descriptor(), pb::Monitor::Event::descriptor(),
        pb::QuorPHP::QVal::descriptor(), pb::Tarq::SqlQuery::descriptor()}) {
    const FileDescriptor& file = *of_file->file();
    for (int i = 0; i < file.message_type_count(); ++i) {
      types.push_back(file.message_type(i));
    }
  }
  return types;
}

std::vector<std::string> Messages(const Descriptor& type, std::size_t count) {
  DynamicMessageFactory factory;
  Maker maker;
  std::vector<std::string> messages;
  messages.reserve(count);
  while (messages.size() < count) {
    const std::unique_ptr<Message> message(factory.GetPrototype(&type)->New());
    maker.Fill(*message, false);
    messages.push_back(message->SerializeAsString());
  }
  return messages;
}

}  // namespace training
