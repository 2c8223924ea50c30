#include "codec/irregular.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/message.h>
#include <google/protobuf/stubs/logging.h>

#include <climits>

#include "check/findings.h"
#include "codec/failure.h"
#include "wire/faults.h"
#include "wire/walk.h"

namespace qmsg::php {
namespace {

namespace pb = google::protobuf;

class FaultThrower : public Visitor {
 public:
  explicit FaultThrower(std::int64_t base) : base_(base) {}

  void Meet(const Fault& fault, const Path& path) override {
    throw Failure{Describe(fault, path, static_cast<std::uint64_t>(base_)), path.ToString(),
                  base_ + static_cast<std::int64_t>(fault.offset)};
  }

 private:
  std::int64_t base_;
};

void RefuseLength(std::string_view bytes, std::int64_t base) {
  if (bytes.size() > INT_MAX) {
    throw Failure{"a message has at most 2147483647 bytes, not " + std::to_string(bytes.size()), "",
                  base};
  }
}

void RefuseFaults(std::string_view bytes, const pb::Descriptor* type, std::int64_t base) {
  FaultThrower thrower(base);
  Walk(bytes, type, thrower);
}

// The last type_url and the last value: those that a parser keeps.
class AnyReader : public Visitor {
 public:
  void Value(const Occurrence& at, const Path& path) override {
    if (at.known && path.depth() == 1) {
      (at.number == pb::Any::kValueFieldNumber ? value_ : url_) = at;
    }
  }

  const Occurrence& url() const { return url_; }
  const Occurrence& value() const { return value_; }

 private:
  Occurrence url_;
  Occurrence value_;
};

[[noreturn]] void RefuseType(const std::string& reason, std::int64_t offset) {
  throw Failure{"offset " + std::to_string(offset) + ", type_url: " + reason, "type_url", offset};
}

}  // namespace

std::string Canonical(const MessageTable& table, std::string_view bytes, std::int64_t base) {
  RefuseLength(bytes, base);
  pb::Arena arena;
  pb::Message* message =
      pb::MessageFactory::generated_factory()->GetPrototype(table.type)->New(&arena);
  const pb::LogSilencer silencer;  // the exception says what is wrong
  if (!message->ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) {
    RefuseFaults(bytes, table.type, base);
    throw Failure{"the bytes are not a " + table.type->full_name(), "", base};
  }
  message->DiscardUnknownFields();
  std::string canonical;
  pb::io::StringOutputStream stream(&canonical);
  pb::io::CodedOutputStream coded(&stream);
  coded.SetSerializationDeterministic(true);
  message->SerializeToCodedStream(&coded);
  coded.Trim();
  return canonical;
}

AnyContent ContentOfAny(std::string_view bytes, std::int64_t base) {
  RefuseLength(bytes, base);
  RefuseFaults(bytes, pb::Any::descriptor(), base);
  AnyReader reader;
  Walk(bytes, pb::Any::descriptor(), reader);
  const Occurrence& url = reader.url();
  const Occurrence& value = reader.value();
  AnyContent content{bytes.substr(url.value, url.size()), bytes.substr(value.value, value.size()),
                     base + static_cast<std::int64_t>(value.value), nullptr};
  if (content.url.empty() && content.value.empty()) {
    return content;
  }
  content.table = tables->OfUrl(content.url);
  if (content.table == nullptr) {
    RefuseType(content.url.empty() ? "the google.protobuf.Any does not name its type"
                                   : "the schema has no type " + Quoted(content.url),
               base + static_cast<std::int64_t>(url.begin));
  }
  return content;
}

}  // namespace qmsg::php
