#include "record_stream.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>

#include <limits>

namespace {

using google::protobuf::Any;
using google::protobuf::DescriptorPool;
using google::protobuf::Message;
using google::protobuf::MessageFactory;
using google::protobuf::io::CodedInputStream;

constexpr auto kMaxLength = static_cast<std::uint32_t>(std::numeric_limits<int>::max());

}  // namespace

bool RecordStream::Next(Record& record) {
  offset_ = bytes_.ByteCount();
  ++number_;

  const void* data = nullptr;
  int available = 0;
  if (!bytes_.Next(&data, &available)) {
    if (input_.bad()) {
      Refuse("cannot be read: check that the input is a file, and readable");
    }
    return false;
  }
  bytes_.BackUp(available);

  std::uint32_t length = 0;
  std::string bytes;
  {
    // Its destructor returns the bytes that it did not consume.
    CodedInputStream input(&bytes_);
    if (!input.ReadVarint32(&length)) {
      Refuse("has no valid length: the file is cut off here, or it is not a file of records");
    }
    if (length > kMaxLength) {
      Refuse("starts with a length beyond 2 GiB: is this a file of records?");
    }
    if (!input.ReadString(&bytes, static_cast<int>(length))) {
      Refuse("should have " + std::to_string(length) +
             " bytes after its length, but the input has " + std::to_string(bytes.size()) +
             ": copy the file again, whole");
    }
  }
  record.message = Parse(bytes);
  record.size = bytes_.ByteCount() - offset_;
  return true;
}

std::unique_ptr<Message> RecordStream::Parse(const std::string& bytes) const {
  Any any;
  if (!any.ParseFromString(bytes) || any.type_url().empty()) {
    Refuse("does not name its type: is this a file of records?");
  }
  const std::string type = any.type_url().substr(any.type_url().rfind('/') + 1);
  const auto* descriptor = DescriptorPool::generated_pool()->FindMessageTypeByName(type);
  if (descriptor == nullptr) {
    Refuse("is of the unknown type '" + type +
           "': build this program with the schema files that the recorder used");
  }
  std::unique_ptr<Message> message(
      MessageFactory::generated_factory()->GetPrototype(descriptor)->New());
  if (!message->ParseFromString(any.value())) {
    Refuse("is not a valid " + type + ": its " + std::to_string(any.value().size()) +
           " bytes are damaged, or a text in them is not UTF-8; record the request again");
  }
  return message;
}

void RecordStream::Refuse(const std::string& reason) const {
  throw BadInput("record " + std::to_string(number_) + " (at byte " + std::to_string(offset_) +
                 ") " + reason);
}
