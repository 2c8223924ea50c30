// Included before the generated sources: plants one mistake that a fast path could make. The
// environment names it at run time. Without a name, nothing changes.
#ifndef QMSG_TESTS_DIFFERENTIAL_MISTAKES_H
#define QMSG_TESTS_DIFFERENTIAL_MISTAKES_H

// All that the generated sources include of the runtime, which is not to be changed.
#include <google/protobuf/duration.pb.h>
#include <google/protobuf/extension_set.h>
#include <google/protobuf/generated_enum_reflection.h>
#include <google/protobuf/generated_message_reflection.h>
#include <google/protobuf/generated_message_util.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/map.h>
#include <google/protobuf/map_entry.h>
#include <google/protobuf/map_field_inl.h>
#include <google/protobuf/parse_context.h>
#include <google/protobuf/reflection_ops.h>
#include <google/protobuf/timestamp.pb.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/wire_format.h>
#include <google/protobuf/wire_format_lite.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace mistakes {

inline bool Makes(const char* mistake) {
  static const char* const chosen = std::getenv("QMSG_MISTAKE");
  return chosen != nullptr && std::strcmp(chosen, mistake) == 0;
}

inline bool IsAscii(const char* text, std::size_t size) {
  return std::all_of(text, text + size, [](char c) { return static_cast<signed char>(c) >= 0; });
}

// Whether it is taken for UTF-8 without a look at the rest.
inline bool Passes(const char* text, std::size_t size) {
  if (Makes("takes_any_text")) {
    return true;
  }
  if (Makes("skips_the_end_of_a_long_text")) {
    return size > 32 && IsAscii(text, size - size % 16);
  }
  if (Makes("takes_surrogates_behind_ascii")) {
    const char* const end = text + size;
    const char* const found = std::find(text, end, '\xed');
    return found - text >= 16 && end - found >= 3 && (found[1] & '\xe0') == '\xa0' &&
           (found[2] & '\xc0') == '\x80' && IsAscii(text, static_cast<std::size_t>(found - text)) &&
           IsAscii(found + 3, static_cast<std::size_t>(end - found - 3));
  }
  return false;
}

}  // namespace mistakes

namespace google {
namespace protobuf {
namespace internal {

inline bool MistakenVerifyUTF8(const std::string* text, const char* field) {
  if (mistakes::Passes(text->data(), text->size())) {
    return true;
  }
  if (mistakes::Makes("refuses_in_silence")) {
    return mistakes::IsAscii(text->data(), text->size()) || IsStructurallyValidUTF8(*text);
  }
  return VerifyUTF8(text, field);
}

inline const char* MistakenStringParser(std::string* text, const char* ptr, ParseContext* context) {
  ptr = InlineGreedyStringParser(text, ptr, context);
  if (ptr == nullptr && mistakes::Makes("drops_the_text_that_is_cut")) {
    text->clear();
  }
  return ptr;
}

class MistakenWireFormatLite : public WireFormatLite {
 public:
  static bool VerifyUtf8String(const char* text, int size, Operation operation, const char* field) {
    return mistakes::Passes(text, static_cast<std::size_t>(size)) ||
           mistakes::Makes("writes_bad_text_in_silence") ||
           WireFormatLite::VerifyUtf8String(text, size, operation, field);
  }

  template <class M>
  static std::size_t MessageSize(const M& message) {
    // Right only if the size was asked for before.
    return mistakes::Makes("trusts_the_cached_size")
               ? LengthDelimitedSize(static_cast<std::size_t>(message.GetCachedSize()))
               : WireFormatLite::MessageSize(message);
  }
};

class MistakenWireFormat : public WireFormat {
 public:
  static std::uint8_t* InternalSerializeUnknownFieldsToArray(const UnknownFieldSet& fields,
                                                             std::uint8_t* target,
                                                             io::EpsCopyOutputStream* stream) {
    return mistakes::Makes("drops_unknown_fields")
               ? target
               : WireFormat::InternalSerializeUnknownFieldsToArray(fields, target, stream);
  }
};

// As if there were no unknown fields.
inline std::size_t SizeWithoutUnknownFields(std::size_t size, CachedSize* cached) {
  cached->Set(ToCachedSize(size));
  return size;
}

// A sub-message that reports its end where its length says, without a check of the last tag.
template <class M>
struct MistakenMessage {
  const char* _InternalParse(const char* ptr, ParseContext* context) {
    ptr = message->_InternalParse(ptr, context);
    if (ptr != nullptr && !context->EndedAtEndOfStream()) {
      context->SetLastTag(1);
    }
    return ptr;
  }

  M* message;
};

template <class M>
const char* MistakenParseMessage(ParseContext* context, M* message, const char* ptr) {
  if (mistakes::Makes("takes_a_message_that_ends_as_a_group")) {
    MistakenMessage<M> mistaken{message};
    return context->ParseMessage(&mistaken, ptr);
  }
  if (!mistakes::Makes("counts_no_levels")) {
    return context->ParseMessage(message, ptr);
  }
  const int size = ReadSize(&ptr);
  if (ptr == nullptr) {
    return nullptr;
  }
  const int outer = context->PushLimit(ptr, size);
  ptr = message->_InternalParse(ptr, context);
  return context->PopLimit(outer) ? ptr : nullptr;
}

}  // namespace internal
}  // namespace protobuf
}  // namespace google

#define VerifyUTF8 MistakenVerifyUTF8
#define InlineGreedyStringParser MistakenStringParser
#define WireFormatLite MistakenWireFormatLite
#define WireFormat MistakenWireFormat
// Those that follow an arrow begin with a member that changes nothing.
#define ParseMessage(message, ptr) \
  depth() < -1 ? nullptr : ::google::protobuf::internal::MistakenParseMessage(ctx, message, ptr)
#define MaybeComputeUnknownFieldsSize(size, cached)                          \
  mistakes::Makes("drops_unknown_fields")                                    \
      ? ::google::protobuf::internal::SizeWithoutUnknownFields(size, cached) \
      : MaybeComputeUnknownFieldsSize(size, cached)
#define WriteStringMaybeAliased(number, text, target)                             \
  IsSerializationDeterministic() && mistakes::Makes("copies_what_may_be_aliased") \
      ? stream->WriteString(number, text, target)                                 \
      : stream->WriteStringMaybeAliased(number, text, target)

#endif  // QMSG_TESTS_DIFFERENTIAL_MISTAKES_H
