// Reads the wire format field by field, and tells where each stands and where it breaks.
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

// One field as it stands in the bytes. Offsets count from the first byte of the walk.
struct Occurrence {
  std::size_t begin = 0;  // of its tag
  std::size_t value = 0;  // first byte behind the tag and, where there is one, the length
  std::size_t end = 0;    // behind its last byte; of a group: unknown before Leave, 0 until then
  std::uint32_t number = 0;
  WireType wire_type = WireType::WIRETYPE_VARINT;
  // As declared under that number in the message around it; null if it is not, or if nothing is
  // known about that message.
  const google::protobuf::FieldDescriptor* field = nullptr;
  // Whether a parser takes it as that field: it is declared, with that wire type.
  bool known = false;
  // How often the number has occurred before in the message around it, as `known`.
  std::size_t repetition = 0;
  // Of a varint or a number of fixed size; otherwise 0.
  std::uint64_t number_value = 0;

  std::size_t size() const { return end - value; }
};

// Where bytes are no message of that type.
struct Fault {
  enum class Kind { kWire, kUtf8 };

  Kind kind;
  std::size_t offset;  // of the first byte that cannot be
  std::string reason;
};

// The way from the outermost message to a field: each step a field and its repetition.
class Path {
 public:
  void Enter(const Occurrence& at) { steps_.push_back(at); }
  void Leave() { steps_.pop_back(); }
  std::size_t depth() const { return steps_.size(); }
  const std::vector<Occurrence>& steps() const { return steps_; }

  // "queries[3].stack_trace.frames[0]"; a field that is not declared by its number; elements of
  // repeated fields are counted from 0. Empty for the outermost message.
  std::string ToString() const;

 private:
  std::vector<Occurrence> steps_;
};

// Is told what a walk meets, in the order of the bytes. `path` includes the field itself.
class Visitor {
 public:
  virtual ~Visitor() = default;

  // A field that is no message and no group, known or not.
  virtual void Value(const Occurrence& /*at*/, const Path& /*path*/) {}

  // A known field that is a message, of type `type`; or a group, which is never known and has
  // none. What is between Enter and Leave lies inside.
  virtual void Enter(const Occurrence& /*at*/, const google::protobuf::Descriptor* /*type*/,
                     const Path& /*path*/) {}
  virtual void Leave(const Occurrence& /*at*/, const Path& /*path*/) {}

  // After a fault of the wire the walk goes on behind the message around it; the outermost one, and
  // groups, have nothing behind them that could be read. After one of UTF-8, with the next field.
  virtual void Meet(const Fault& /*fault*/, const Path& /*path*/) {}
};

// Walks `bytes` as a message of that type; null: of an unknown one, in which every field is a
// value. Returns whether there was no fault: exactly then the runtime can parse the bytes.
bool Walk(std::string_view bytes, const google::protobuf::Descriptor* type, Visitor& visitor);

}  // namespace qmsg
