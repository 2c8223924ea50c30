// The evidence for and against bytes being messages of a type.
#pragma once

#include <google/protobuf/descriptor.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qmsg {

// The kinds of evidence. Their points are in evidence.cc.
enum class Sign {
  kDeclared,      // a field that is declared, with the right wire type
  kUnknown,       // a number that is not declared
  kWrongWire,     // a declared number with another wire type
  kText,          // printable text
  kGarbled,       // text that is not printable
  kMessage,       // a field that is a message, with bytes in it
  kEnum,          // a declared value of an enum
  kOddEnum,       // an undeclared one
  kFlag,          // a bool
  kChoice,        // a member of a oneof: each halving of the choices
  kTagFits,       // a type tag with the right member
  kTagMisfits,    // a type tag with another member, or none
  kTime,          // a point in time from 2000 to 2100
  kOddTime,       // another one
  kDuration,      // of at most a month, not negative
  kOddDuration,   // another one
  kOutOfRange,    // seconds or nanos out of range
  kDouble,        // of a usual magnitude
  kOddDouble,     // another one
  kLengthFits,    // a body that has its declared length
  kCut,           // a number too large for its type
  kZero,          // a zero or an empty text that a serializer omits
  kBackwards,     // a field after one with a higher number
  kTwice,         // a singular field, or members of a oneof, more than once
  kAbsent,        // an absent field of the outermost type
  kAbsentInside,  // an absent field of a submessage
  kCount,
};

// Counts over any number of messages, in memory of their depth.
class Evidence {
 public:
  // Adds the evidence of a message of that type. Returns an empty text, or why the bytes are not
  // valid: then the evidence is void. `base` is the offset of the bytes, for that text.
  std::string Judge(std::string_view bytes, const google::protobuf::Descriptor* type,
                    std::uint64_t base);

  std::uint64_t count(Sign sign) const { return counts_[static_cast<std::size_t>(sign)]; }
  std::uint64_t messages() const { return messages_; }

  // The sum of all points; 0 if there are no fields, since every type can be without. Higher is
  // likelier; only scores for the same bytes compare.
  std::int64_t Score() const;

  // Whether all fields are declared and all text is printable.
  bool FitsWell() const;

  // The evidence in words: "all 14 fields declared", "3 texts".
  std::vector<std::string> Reasons() const;

 private:
  class Collector;

  std::uint64_t Fields() const;

  void Add(Sign sign, std::uint64_t times = 1) { counts_[static_cast<std::size_t>(sign)] += times; }

  std::array<std::uint64_t, static_cast<std::size_t>(Sign::kCount)> counts_{};
  std::uint64_t messages_ = 0;
  int first_year_ = 0;  // of plausible times
  int last_year_ = 0;
};

}  // namespace qmsg
