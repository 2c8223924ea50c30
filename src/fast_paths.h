#pragma once

// Stands in front of each generated source: where the source calls a function of the runtime, it
// gets an inline one that handles the frequent case and leaves the others to the runtime's own.
// Results, verdicts and log lines are the runtime's: tests/differential compares them.

#include <google/protobuf/arenastring.h>
#include <google/protobuf/duration.pb.h>
#include <google/protobuf/extension_set.h>
#include <google/protobuf/generated_message_reflection.h>
#include <google/protobuf/generated_message_util.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/map.h>
#include <google/protobuf/map_entry.h>
#include <google/protobuf/map_field_inl.h>
#include <google/protobuf/message.h>
#include <google/protobuf/parse_context.h>
#include <google/protobuf/reflection_ops.h>
#include <google/protobuf/repeated_field.h>
#include <google/protobuf/timestamp.pb.h>
#include <google/protobuf/wire_format.h>
#include <google/protobuf/wire_format_lite.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "utf8.h"

static_assert(
    GOOGLE_PROTOBUF_VERSION / 1000 == 3021,
    "the members below are those of protobuf 3.21: compare them with this release line's, "
    "or configure with -DQMSG_FAST_PATHS=OFF");

namespace google {
namespace protobuf {
namespace internal {

// Short members that the runtime has out of line, defined again for this library's own calls. The
// library does not export them.

inline std::string* ArenaStringPtr::Mutable(Arena* arena) {
  return tagged_ptr_.IsMutable() ? tagged_ptr_.Get() : NewString(arena);
}

inline void ArenaStringPtr::Set(ConstStringParam value, Arena* arena) {
  if (IsDefault()) {
    NewString(arena, value);
  } else {
    UnsafeMutablePointer()->assign(value);
  }
}

inline void ArenaStringPtr::ClearToEmpty() {
  if (!IsDefault()) {
    tagged_ptr_.Get()->clear();
  }
}

inline void ArenaStringPtr::Destroy() { delete tagged_ptr_.GetIfAllocated(); }

namespace qmsg {

QMSG_INLINE bool VerifyUtf8(const std::string* text, const char* field) {
  return ::qmsg::IsCertainlyUtf8(text->data(), text->size()) || VerifyUTF8(*text, field);
}

// Where addresses have 32 bits, a length may lead past the last one. With 64 bits none does.
QMSG_INLINE bool IsAddressable(const char* from, int size) {
  return sizeof(from) > sizeof(std::uint32_t) ||
         static_cast<std::uintptr_t>(size) <= UINTPTR_MAX - reinterpret_cast<std::uintptr_t>(from);
}

QMSG_INLINE const char* ReadString(std::string* text, const char* from, ParseContext* context) {
  const int size = static_cast<int>(ReadSize(&from));
  if (from == nullptr) {
    return nullptr;
  }
  // Made in one step and moved, a string costs less than one that grows. All of it must lie in the
  // buffer.
  if (size >= 16 && text->capacity() < 16 && IsAddressable(from, size) &&
      context->DataAvailable(from + size - 1)) {
    *text = std::string(from, static_cast<std::size_t>(size));
    return from + size;
  }
  return context->ReadString(from, size, text);
}

// Takes the place of a message in the runtime's ParseMessage, which then calls the parser of the
// known type and not a virtual function.
// (A parameter named Message would mean the base class where a compiler looks there first.)
template <typename KnownMessage>
class Known {
 public:
  explicit Known(KnownMessage* message) : message_(message) {}
  Known* Get() { return this; }
  QMSG_INLINE const char* _InternalParse(const char* from, ParseContext* context) {
    return message_->KnownMessage::_InternalParse(from, context);
  }

 private:
  KnownMessage* message_;
};

template <typename KnownMessage>
QMSG_INLINE Known<KnownMessage> AsKnown(KnownMessage* message) {
  return Known<KnownMessage>(message);
}

struct WireFormatLite : internal::WireFormatLite {
  static QMSG_INLINE bool VerifyUtf8String(const char* text, int size, Operation operation,
                                           const char* field) {
    return ::qmsg::IsCertainlyUtf8(text, static_cast<std::size_t>(size)) ||
           internal::WireFormatLite::VerifyUtf8String(text, size, operation, field);
  }

  template <typename KnownMessage>
  static QMSG_INLINE std::uint8_t* InternalWriteMessage(int number, const KnownMessage& message,
                                                        int size, std::uint8_t* to,
                                                        io::EpsCopyOutputStream* stream) {
    to = stream->EnsureSpace(to);
    to = WriteTagToArray(number, WIRETYPE_LENGTH_DELIMITED, to);
    to = io::CodedOutputStream::WriteVarint32ToArray(static_cast<std::uint32_t>(size), to);
    return message.KnownMessage::_InternalSerialize(to, stream);
  }
};

}  // namespace qmsg
}  // namespace internal
}  // namespace protobuf
}  // namespace google

#define InlineGreedyStringParser qmsg::ReadString
#define VerifyUTF8 qmsg::VerifyUtf8
#define WireFormatLite qmsg::WireFormatLite
#define ParseMessage(message, from) \
  ParseMessage(::google::protobuf::internal::qmsg::AsKnown(message).Get(), from)
// Within a member function of a message.
#define MaybeComputeUnknownFieldsSize(size, cached_size)  \
  (_internal_metadata_.have_unknown_fields()              \
       ? MaybeComputeUnknownFieldsSize(size, cached_size) \
       : ((cached_size)->Set(::google::protobuf::internal::ToCachedSize(size)), (size)))
