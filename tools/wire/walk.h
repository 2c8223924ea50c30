// Reads the wire format field by field, and reports the place of each field and of each fault.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/wire_format_lite.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qmsg {

using WireType = google::protobuf::internal::WireFormatLite::WireType;

// One field in the bytes. Offsets count from the first byte of the walk.
struct Occurrence {
  std::size_t begin = 0;  // of its tag
  std::size_t value = 0;  // first byte after the tag and, if there is one, the length
  std::size_t end = 0;    // after its last byte; of a group 0 until Leave
  std::uint32_t number = 0;
  WireType wire_type = WireType::WIRETYPE_VARINT;
  // The declared field of that number in the enclosing message; null if there is none, or if the
  // type of that message is unknown.
  const google::protobuf::FieldDescriptor* field = nullptr;
  // Whether a parser reads it as that field: it is declared, with that wire type.
  bool known = false;
  // How often the field has occurred before in the enclosing message as `known`.
  std::size_t repetition = 0;
  // Of a varint or a number of fixed size; otherwise 0.
  std::uint64_t number_value = 0;

  std::size_t size() const { return end - value; }
};

// Where bytes are not a message of that type.
struct Fault {
  enum class Kind { kWire, kUtf8 };

  Kind kind;
  std::size_t offset;  // of the first invalid byte
  std::string reason;
};

// The path from the outermost message to a field: each step is a field and its repetition.
class Path {
 public:
  void Enter(const Occurrence& at) { steps_.push_back(at); }
  void Leave() { steps_.pop_back(); }
  std::size_t depth() const { return steps_.size(); }
  const std::vector<Occurrence>& steps() const { return steps_; }

  // "queries[3].stack_trace.frames[0]"; an undeclared field is shown by its number; elements of
  // repeated fields are counted from 0. Empty for the outermost message.
  std::string ToString() const;

 private:
  std::vector<Occurrence> steps_;
};

// Receives the fields and faults of a walk in the order of the bytes. `path` includes the field.
class Visitor {
 public:
  virtual ~Visitor() = default;

  // A field that is neither a message nor a group, known or not.
  virtual void Value(const Occurrence& /*at*/, const Path& /*path*/) {}

  // A known field that is a message of type `type`; or a group, which is never known and has no
  // type. Calls between Enter and Leave are for its fields.
  virtual void Enter(const Occurrence& /*at*/, const google::protobuf::Descriptor* /*type*/,
                     const Path& /*path*/) {}
  virtual void Leave(const Occurrence& /*at*/, const Path& /*path*/) {}

  // After a wire-format fault the walk continues after the enclosing message; after a fault in the
  // outermost message or in a group it ends. After a UTF-8 fault it continues with the next field.
  virtual void Meet(const Fault& /*fault*/, const Path& /*path*/) {}
};

// Walks `bytes` as a message of that type; null: of an unknown type, in which every field is a
// value. Returns whether there was no fault: then, and only then, the runtime can parse the bytes.
bool Walk(std::string_view bytes, const google::protobuf::Descriptor* type, Visitor& visitor);

}  // namespace qmsg
