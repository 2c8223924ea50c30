#include "shapes.h"

#include <google/protobuf/unknown_field_set.h>

#include "support/heap_use.h"
#include "support/message_list.h"
#include "support/wire.h"

namespace hostile {
namespace {

using namespace std::string_literals;
using contract::wire::LengthDelimitedField;
using contract::wire::VarintField;
using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;
using heap_use::Taken;
namespace JQ = quor::protobuf::JQ;
namespace Monitor = quor::protobuf::Monitor;
namespace QuorPHP = quor::protobuf::QuorPHP;
namespace Tarq = quor::protobuf::Tarq;

constexpr std::size_t kPointer = 8;
// A list grows to twice its size. On the heap the old array stays until it is copied: 1 + 2 places
// for each element. An arena keeps all that there were: 2 + 1 + 1/2 + ...
constexpr std::size_t kHeapPlaces = 3;
constexpr std::size_t kArenaPlaces = 4;
// Unknown fields lie in a vector on the heap, of an arena's message too.
constexpr std::size_t kUnknown = kHeapPlaces * sizeof(UnknownField);
// An arena calls a destructor for each string and each map: the object and the function.
constexpr std::size_t kDestructor = 2 * kPointer;
constexpr std::size_t kArenaString = sizeof(std::string) + kDestructor;
// A map's entry: the next one, the key, which is padded, and the value.
constexpr std::size_t kMapNode = 2 * kPointer + sizeof(QuorPHP::QVal);
// An entry is read into an object of its own, with a value of its own, which an arena keeps.
constexpr std::size_t kArenaMapEntry =
    sizeof(JQ::AttrList_AttrListEntry_DoNotUse) + sizeof(QuorPHP::QVal);
// A map's table doubles when it is filled to three quarters.
constexpr std::size_t kHeapTable = kHeapPlaces * kPointer * 4 / 3;
constexpr std::size_t kArenaTable = kArenaPlaces * kPointer * 4 / 3 + 1;

constexpr int kDeepest = 100;

Shape Elements(const std::string& name, const std::string& input, const Message& prototype,
               const std::string& element, std::size_t heap, std::size_t arena) {
  return {name, input,          &prototype,
          true, element.size(), [element](std::size_t size) { return Repeated(element, size); },
          heap, arena};
}

// One string that fills the input.
Shape Text(const std::string& name, const std::string& input, const std::string& character,
           const std::string& end) {
  return {name,
          input,
          &Tarq::ResponseBody::default_instance(),
          end.empty(),
          character.size(),
          [character, end](std::size_t size) {
            constexpr std::size_t kTagAndLength = 5;
            return LengthDelimitedField(
                3, Repeated(character, size - kTagAndLength - end.size()) + end);
          },
          character.size(),
          character.size()};
}

std::string DistinctKeys(std::size_t size) {
  // From here to 2^21 each key takes three bytes.
  constexpr std::uint64_t kFirstKey = 1 << 14;
  std::string bytes;
  for (std::uint64_t key = kFirstKey; bytes.size() + 8 <= size; ++key) {
    bytes += LengthDelimitedField(1, VarintField(1, key));
  }
  return bytes;
}

}  // namespace

std::string Repeated(const std::string& element, std::size_t size) {
  std::string bytes;
  bytes.reserve(size);
  while (bytes.size() + element.size() <= size) {
    bytes += element;
  }
  return bytes;
}

std::string NestedGroups(int depth, const std::string& content) {
  const auto levels = static_cast<std::size_t>(depth);
  return std::string(levels, '\x7b') + content + std::string(levels, '\x7c');
}

const std::vector<Shape>& Shapes() {
  static const auto& jobs = JQ::JobList::default_instance();
  static const auto& event = Monitor::Event::default_instance();
  static const auto& value = QuorPHP::QVal::default_instance();
  // A message without a field of number 15.
  static const auto& login = quor::protobuf::Login::Login::default_instance();
  static const std::vector<Shape> shapes = {
      Elements("objects", "`jobs {}`", jobs, "\x0a\x00"s,
               Taken(sizeof(JQ::Job)) + kHeapPlaces * kPointer,
               sizeof(JQ::Job) + kArenaPlaces * kPointer),
      Elements("objects with an object", "`jobs { attr_list {} }`", jobs, "\x0a\x02\x1a\x00"s,
               Taken(sizeof(JQ::Job)) + Taken(sizeof(JQ::AttrList)) + kHeapPlaces * kPointer,
               sizeof(JQ::Job) + sizeof(JQ::AttrList) + kDestructor + kArenaPlaces * kPointer),
      Elements("objects with a map", "`jobs { attr_list { attr_list {} } }`", jobs,
               "\x0a\x04\x1a\x02\x0a\x00"s,
               Taken(sizeof(JQ::Job)) + Taken(sizeof(JQ::AttrList)) + kHeapPlaces * kPointer +
                   Taken(8 * kPointer) + Taken(kMapNode),
               sizeof(JQ::Job) + sizeof(JQ::AttrList) + kDestructor + kArenaPlaces * kPointer +
                   8 * kPointer + kMapNode + kArenaMapEntry),
      Elements("lists of one, in each other",
               "`queries { stack_trace { frames { function_args { values {} } } } }`",
               Tarq::SqlQueries::default_instance(), "\x12\x08\x5a\x06\x0a\x04\x2a\x02\x0a\x00"s,
               Taken(sizeof(Tarq::SqlQuery)) + kHeapPlaces * kPointer +
                   Taken(sizeof(QuorPHP::StackTrace)) + Taken(5 * kPointer) +
                   Taken(sizeof(QuorPHP::StackTraceFrame)) + Taken(sizeof(QuorPHP::QuorArray)) +
                   Taken(5 * kPointer) + Taken(sizeof(QuorPHP::QuorArrayValue)),
               sizeof(Tarq::SqlQuery) + kArenaPlaces * kPointer + sizeof(QuorPHP::StackTrace) +
                   5 * kPointer + sizeof(QuorPHP::StackTraceFrame) + sizeof(QuorPHP::QuorArray) +
                   5 * kPointer + sizeof(QuorPHP::QuorArrayValue)),
      Elements("empty texts", R"(`headers: ""`)", Tarq::RequestHeaders::default_instance(),
               "\x12\x00"s, Taken(sizeof(std::string)) + kHeapPlaces * kPointer,
               kArenaString + kArenaPlaces * kPointer),
      {"map, other keys", "`attr_list { key: 16384 }`", &JQ::AttrList::default_instance(), true, 6,
       DistinctKeys, Taken(kMapNode) + kHeapTable, kMapNode + kArenaMapEntry + kArenaTable},
      Elements("map, one key", "`attr_list {}`", JQ::AttrList::default_instance(), "\x0a\x00"s, 0,
               kArenaMapEntry),
      Elements("unknown numbers", "`15: 0`", login, "\x78\x00"s, kUnknown, kUnknown),
      Elements("unknown empty texts", R"(`15: ""`)", login, "\x7a\x00"s,
               kUnknown + Taken(sizeof(std::string)), kUnknown + Taken(sizeof(std::string))),
      Elements("unknown empty groups", "`15 {}`", login, NestedGroups(1),
               kUnknown + Taken(sizeof(UnknownFieldSet)),
               kUnknown + Taken(sizeof(UnknownFieldSet))),
      // Each set but the innermost has a vector of one field.
      Elements("unknown groups, 100 deep", "`15 { 15 { ... } }`", login, NestedGroups(kDeepest),
               kUnknown + kDeepest * Taken(sizeof(UnknownFieldSet)) +
                   (kDeepest - 1) * Taken(sizeof(UnknownField)),
               kUnknown + kDeepest * Taken(sizeof(UnknownFieldSet)) +
                   (kDeepest - 1) * Taken(sizeof(UnknownField))),
      Elements("oneof, objects in turn", "`php_error {} custom {}`", event, "\x42\x00\x4a\x00"s, 0,
               sizeof(Monitor::PhpErrorData) + sizeof(Monitor::CustomEventData)),
      Elements("oneof, texts in turn", R"(`string_value: "" json_value: ""`)", value,
               "\x1a\x00\x32\x00"s, 0, 2 * kArenaString),
      Elements("one object again", "`function {}`", event, "\x22\x00"s, 0, 0),
      Elements("zero in ten bytes", "`flags: 0`", quor::protobuf::CT::Header::default_instance(),
               VarintField(1, 0).substr(0, 1) + std::string(9, '\x80') + '\x00', 0, 0),
      Text("one long text", R"(`body: "€..."`)", "\xe2\x82\xac", ""),
      Text("bad text, seen at its end", R"(`body: "€...\377"`)", "\xe2\x82\xac", "\xff"),
  };
  return shapes;
}

}  // namespace hostile
