#include "warm_up.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/json_util.h>
#include <qmsg/codetrace.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <string>

namespace {

// A field's type is looked up, and reflection built, at first use.
void WarmUp(const google::protobuf::Descriptor* type) {
  google::protobuf::MessageFactory::generated_factory()->GetPrototype(type)->GetReflection();
  for (int i = 0; i < type->field_count(); ++i) {
    const google::protobuf::FieldDescriptor* field = type->field(i);
    field->enum_type();
    const google::protobuf::Descriptor* other = field->message_type();
    if (other != nullptr && other->file() != type->file()) {
      WarmUp(other);
    }
  }
  for (int i = 0; i < type->nested_type_count(); ++i) {
    WarmUp(type->nested_type(i));
  }
}

}  // namespace

void WarmUp() {
  namespace pb = quor::protobuf;
  for (const auto* type :
       {pb::CT::Header::descriptor(), pb::Config::Set::descriptor(), pb::JQ::Job::descriptor(),
        pb::Login::Login::descriptor(), pb::Monitor::Event::descriptor(),
        pb::QuorPHP::QVal::descriptor(), pb::Tarq::SqlQuery::descriptor()}) {
    const google::protobuf::FileDescriptor* file = type->file();
    for (int i = 0; i < file->message_type_count(); ++i) {
      WarmUp(file->message_type(i));
    }
  }

  pb::Login::Login message;  // JSON has tables of its own
  message.set_hostname("localhost");
  std::string json;
  google::protobuf::util::MessageToJsonString(message, &json);
}
