#include "check.h"

#include <google/protobuf/arena.h>
#include <google/protobuf/duration.pb.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/util/json_util.h>

#include <cmath>
#include <limits>
#include <memory>

#include "support/expected_bytes.h"
#include "support/prototypes.h"

namespace fuzz {
namespace {

using contract::DeterministicBytes;
using contract::ExpectedBytes;
using contract::HoldsMap;
using contract::NewOnHeap;
using google::protobuf::Arena;
using google::protobuf::Duration;
using google::protobuf::FieldDescriptor;
using google::protobuf::LogSilencer;
using google::protobuf::Reflection;
using google::protobuf::TextFormat;
using google::protobuf::io::ArrayInputStream;
using google::protobuf::io::ArrayOutputStream;

std::string Hex(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    hex += kDigits[byte / 16];
    hex += kDigits[byte % 16];
  }
  return hex.empty() ? "none" : hex;
}

void ExpectSame(const std::string& actual_name, const std::string& actual,
                const std::string& expected) {
  if (actual != expected) {
    throw Disagreement(actual_name + "\n  bytes     " + Hex(actual) + "\n  expected  " +
                       Hex(expected));
  }
}

void ExpectWrites(const std::string& name, const Message& message, const std::string& expected) {
  ExpectSame(name, DeterministicBytes(message), expected);
}

void ExpectOutcome(const std::string& reader, bool accepted, bool expected) {
  if (accepted != expected) {
    throw Disagreement(reader + (accepted ? " accepts what is refused on the heap"
                                          : " refuses what is accepted on the heap"));
  }
}

void ExpectAccepted(const std::string& what, bool accepted) {
  if (!accepted) {
    throw Disagreement(what + " is refused");
  }
}

// Deterministic: the same bytes are always cut in the same way. Blocks of one byte come with all
// bytes, the other sizes take turns.
std::vector<int> BlockSizes(const std::string& bytes) {
  return {1, 2 + static_cast<int>(bytes.size() % 61)};
}

bool ParseInBlocks(Message& message, const std::string& bytes, int block_size) {
  ArrayInputStream stream(bytes.data(), static_cast<int>(bytes.size()), block_size);
  return message.ParseFromZeroCopyStream(&stream);
}

std::string WrittenInBlocks(const Message& message, int block_size) {
  std::string bytes(message.ByteSizeLong(), '\0');
  ArrayOutputStream stream(bytes.data(), static_cast<int>(bytes.size()), block_size);
  google::protobuf::io::CodedOutputStream output(&stream);
  output.SetSerializationDeterministic(true);
  if (!message.SerializeToCodedStream(&output)) {
    throw Disagreement("Written in blocks, the message does not fit into its ByteSizeLong()");
  }
  output.Trim();
  bytes.resize(static_cast<std::size_t>(stream.ByteCount()));
  return bytes;
}

void CheckReaders(const TypeUnderTest& type, const std::string& bytes, const Message& heap,
                  bool accepted) {
  const std::string written = DeterministicBytes(heap);

  Arena arena;
  Message& on_arena = *type.generated.default_instance->New(&arena);
  ExpectOutcome("The arena", on_arena.ParseFromString(bytes), accepted);
  ExpectWrites("Read on an arena", on_arena, written);

  for (const int size : BlockSizes(bytes)) {
    const std::unique_ptr<Message> message = NewOnHeap(*type.generated.default_instance);
    const std::string name = "Read in blocks of " + std::to_string(size);
    ExpectOutcome(name, ParseInBlocks(*message, bytes, size), accepted);
    // A stream delivers the part of a truncated text that it has.
    if (accepted) {
      ExpectWrites(name, *message, written);
    }
  }

  const std::unique_ptr<Message> dynamic = NewOnHeap(*type.dynamic);
  ExpectOutcome("By descriptors, the reader", dynamic->ParseFromString(bytes), accepted);
  if (!accepted) {
    return;
  }
  std::string by_descriptors = DeterministicBytes(*dynamic);
  // A dynamic message keeps a map as a list of entries, with repeated keys and unknown fields. A
  // generated class reads it as a map.
  if (HoldsMap(*type.generated.default_instance->GetDescriptor())) {
    const std::unique_ptr<Message> again = NewOnHeap(*type.generated.default_instance);
    ExpectAccepted("What is written by descriptors", again->ParseFromString(by_descriptors));
    by_descriptors = DeterministicBytes(*again);
  }
  ExpectSame("Read by descriptors", by_descriptors, written);
}

void CheckWriters(const TypeUnderTest& type, const Message& heap, const std::string& written) {
  CheckSize(heap, written);
  for (const int size : BlockSizes(written)) {
    ExpectSame("Written in blocks of " + std::to_string(size), WrittenInBlocks(heap, size),
               written);
  }
  const std::unique_ptr<Message> again = NewOnHeap(*type.generated.default_instance);
  // Without the option, the order of a map is unspecified.
  ExpectAccepted("What was written", again->ParseFromString(heap.SerializeAsString()));
  ExpectWrites("Read again", *again, written);
}

void CheckOperations(const TypeUnderTest& type, const Message& heap, const std::string& written) {
  const MessageClass& generated = type.generated;
  ExpectWrites("Constructed as a copy", *generated.copy_construct(heap), written);
  const std::unique_ptr<Message> copy = NewOnHeap(*generated.default_instance);
  generated.copy_from(*copy, heap);
  ExpectWrites("Copied", *copy, written);

  Arena arena;
  Message& on_arena = *type.generated.default_instance->New(&arena);
  generated.swap(*copy, on_arena);
  ExpectWrites("Swapped onto an arena", on_arena, written);
  ExpectWrites("Swapped for an empty message", *copy, "");

  generated.merge_from(*copy, on_arena);
  ExpectWrites("Merged into an empty message", *copy, written);

  const std::unique_ptr<Message> other = NewOnHeap(*type.generated.default_instance);
  generated.swap(*copy, *other);
  ExpectWrites("Swapped", *other, written);
  generated.move_assign(*copy, *other);
  ExpectWrites("Moved", *copy, written);

  // Concatenated bytes are merged messages.
  ExpectAccepted("What was written, twice", other->ParseFromString(written + written));
  generated.merge_from(*copy, heap);
  ExpectWrites("Merged into the same", *copy, DeterministicBytes(*other));

  on_arena.Clear();
  ExpectWrites("Cleared", on_arena, "");
  ExpectAccepted("What was written", on_arena.ParseFromString(written));
  ExpectWrites("Read into a cleared message", on_arena, written);
  generated.copy_from(on_arena, *type.generated.default_instance);
  ExpectWrites("Overwritten with an empty message", on_arena, "");
}

// The message holds what was read before the fault, and is as valid as any other. It may hold text
// that is not UTF-8.
void CheckRefused(const TypeUnderTest& type, Message& heap) {
  const std::string written = DeterministicBytes(heap);
  CheckSize(heap, written);
  heap.ShortDebugString();
  std::string json;
  static_cast<void>(google::protobuf::util::MessageToJsonString(heap, &json));

  const std::unique_ptr<Message> copy = NewOnHeap(*type.generated.default_instance);
  type.generated.copy_from(*copy, heap);
  ExpectWrites("A copy of what was refused", *copy, written);
  heap.Clear();
  ExpectWrites("Cleared after bytes were refused", heap, "");
  type.generated.swap(heap, *copy);
  ExpectWrites("Swapped after bytes were refused", heap, written);
}

// Calls visit(Message&) for the message and each one in it.
template <class Visitor>
void ForEachMessage(Message& message, const Visitor& visit) {
  const Reflection& reflection = *message.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection.ListFields(message, &fields);
  for (const FieldDescriptor* field : fields) {
    if (field->message_type() == nullptr) {
      continue;
    }
    if (!field->is_repeated()) {
      ForEachMessage(*reflection.MutableMessage(&message, field), visit);
      continue;
    }
    for (int i = 0; i < reflection.FieldSize(message, field); ++i) {
      ForEachMessage(*reflection.MutableRepeatedMessage(&message, field, i), visit);
    }
  }
  visit(message);
}

void ReplaceDoubles(Message& message, double (*replacement)(double)) {
  const Reflection& reflection = *message.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection.ListFields(message, &fields);
  for (const FieldDescriptor* field : fields) {
    if (field->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE) {
      reflection.SetDouble(&message, field, replacement(reflection.GetDouble(message, field)));
    }
  }
}

double WithoutPayload(double value) {
  return std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value;
}

double WithoutSignOfZero(double value) { return value == 0 ? 0 : WithoutPayload(value); }

// A copy that can be printed: without unknown fields, and with each double replaced.
std::unique_ptr<Message> Printable(const Message& message, double (*replacement)(double)) {
  std::unique_ptr<Message> printable = NewOnHeap(message);
  printable->CopyFrom(message);
  printable->DiscardUnknownFields();
  ForEachMessage(*printable, [&](Message& part) { ReplaceDoubles(part, replacement); });
  return printable;
}

}  // namespace

std::string BytesInText(const Message& message) {
  return DeterministicBytes(*Printable(message, WithoutPayload));
}

std::optional<std::string> BytesInJson(const Message& message) {
  const std::unique_ptr<Message> printable = Printable(message, WithoutSignOfZero);
  bool has_form = true;
  ForEachMessage(*printable, [&](Message& part) {
    const auto* duration = google::protobuf::DynamicCastToGenerated<Duration>(&part);
    has_form =
        has_form && (duration == nullptr || duration->seconds() <= 0 || duration->nanos() >= 0);
  });
  return has_form ? std::make_optional(DeterministicBytes(*printable)) : std::nullopt;
}

void CheckText(const Message& message, const std::string& expected) {
  TextFormat::Printer printer;
  printer.SetHideUnknownFields(true);
  std::string text;
  const std::unique_ptr<Message> again = NewOnHeap(message);
  ExpectAccepted("Its own text", printer.PrintToString(message, &text) &&
                                     TextFormat::ParseFromString(text, again.get()));
  ExpectWrites("Read from its text\n" + text, *again, expected);
}

void CheckJson(const Message& message, const std::optional<std::string>& expected) {
  std::string json;
  if (!google::protobuf::util::MessageToJsonString(message, &json).ok() || !expected) {
    return;
  }
  const std::unique_ptr<Message> again = NewOnHeap(message);
  const auto status = google::protobuf::util::JsonStringToMessage(json, again.get());
  ExpectAccepted("Its own JSON\n" + json + '\n' + status.ToString(), status.ok());
  ExpectWrites("Read from its JSON\n" + json, *again, *expected);
}

void CheckSize(const Message& message, const std::string& expected) {
  if (message.ByteSizeLong() != expected.size()) {
    throw Disagreement("ByteSizeLong() is " + std::to_string(message.ByteSizeLong()) +
                       ", written are " + std::to_string(expected.size()) + " bytes");
  }
}

void Check(const TypeUnderTest& type, const std::string& bytes) {
  const LogSilencer silence;
  const std::unique_ptr<Message> heap = NewOnHeap(*type.generated.default_instance);
  const bool accepted = heap->ParseFromString(bytes);
  CheckReaders(type, bytes, *heap, accepted);
  if (!accepted) {
    CheckRefused(type, *heap);
    return;
  }
  const std::string written = DeterministicBytes(*heap);
  CheckWriters(type, *heap, written);
  CheckOperations(type, *heap, written);
  CheckText(*heap, BytesInText(*heap));
  CheckJson(*heap, BytesInJson(*heap));
  // Last: reflection changes how a map is stored.
  ExpectSame("Worked out from its fields", ExpectedBytes(*heap), written);
  ExpectWrites("Written after being looked at", *heap, written);
}

}  // namespace fuzz
