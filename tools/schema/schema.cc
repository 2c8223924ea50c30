#include "schema/schema.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <qmsg/codetrace.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <algorithm>

namespace qmsg {
namespace pb = google::protobuf;

namespace {

void AddMessages(const pb::Descriptor* message, std::vector<const pb::Descriptor*>& messages) {
  if (message->options().map_entry()) {
    return;
  }
  messages.push_back(message);
  for (int i = 0; i < message->nested_type_count(); ++i) {
    AddMessages(message->nested_type(i), messages);
  }
}

}  // namespace

std::vector<const pb::FileDescriptor*> SchemaFiles() {
  namespace quor = quor::protobuf;
  return {quor::CT::Header::descriptor()->file(),    quor::Config::Set::descriptor()->file(),
          quor::Login::Login::descriptor()->file(),  quor::QuorPHP::QVal::descriptor()->file(),
          quor::JQ::Job::descriptor()->file(),       quor::Monitor::Event::descriptor()->file(),
          quor::Tarq::SqlQuery::descriptor()->file()};
}

std::vector<const pb::Descriptor*> SchemaMessages() {
  std::vector<const pb::Descriptor*> messages;
  for (const pb::FileDescriptor* file : SchemaFiles()) {
    for (int i = 0; i < file->message_type_count(); ++i) {
      AddMessages(file->message_type(i), messages);
    }
  }
  return messages;
}

const pb::Descriptor* TypeOf(std::string_view url) {
  const pb::Descriptor* type = pb::DescriptorPool::generated_pool()->FindMessageTypeByName(
      std::string(url.substr(url.rfind('/') + 1)));
  if (type == nullptr || type == pb::Timestamp::descriptor() ||
      type == pb::Duration::descriptor() || type == pb::Any::descriptor()) {
    return type;
  }
  const std::vector<const pb::FileDescriptor*> files = SchemaFiles();
  const bool is_own = std::find(files.begin(), files.end(), type->file()) != files.end();
  return is_own && !type->options().map_entry() ? type : nullptr;
}

bool IsTypeUrl(std::string_view text) {
  const std::size_t slash = text.rfind('/');
  return slash != std::string_view::npos && slash > 0 && slash + 1 < text.size() &&
         std::all_of(text.begin() + static_cast<std::ptrdiff_t>(slash) + 1, text.end(),
                     [](char character) {
                       return (character >= 'a' && character <= 'z') ||
                              (character >= 'A' && character <= 'Z') ||
                              (character >= '0' && character <= '9') || character == '_' ||
                              character == '.';
                     });
}

std::unique_ptr<pb::Message> NewMessage(const pb::Descriptor* type) {
  return std::unique_ptr<pb::Message>(
      pb::MessageFactory::generated_factory()->GetPrototype(type)->New());
}

}  // namespace qmsg
